// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AcknowledgeCache.h"
#include "DeviceHost.h"
#include "PendingCommands.h"

#include <gigevision/Gvcp.h>

#include <array>
#include <cstdint>
#include <random>

namespace Serving {

class CActions;
class CBootstrap;
class CRegisterSpace;
class CServingFaults;
class CSession;
class IStream;
struct CDeviceState;

/// Commands in, acknowledges out: who may do what, what is answered, and what is answered wrongly on purpose.
/// Borrows: all that it is made with.
/// Threads: the control thread.
class CCommands {
public:
    CCommands(CDeviceState& state, CServingFaults& faults, CSession& session, CRegisterSpace& space,
              CBootstrap& bootstrap, CActions& actions, IStream& stream, IDeviceHost& host);

    void OnDatagram(GigEVision::Bytes datagram, const CArrival& arrival);
    void OnTime(std::int64_t nowNs); ///< Goes on with what is pending.
    void GiveUpPending(std::int64_t nowNs);
    std::int64_t DueNs() const { return m_pending.DueNs(); }

private:
    /// How a command ended; the payload stands in m_payload.
    struct CResult {
        GigEVision::Status status = GigEVision::Status::Success;
        GigEVision::Bytes payload = {};
        bool isSilent = false; ///< no acknowledge, though one was wanted
    };

    void Execute(const GigEVision::CommandMessage& command, GigEVision::Bytes datagram, const CArrival& arrival);
    CResult Dispatch(const GigEVision::CommandMessage& command, const CArrival& arrival);
    CResult AccessOrRefuse(const GigEVision::CommandMessage& command, const CArrival& arrival);
    CResult Access(const GigEVision::CommandMessage& command, const CArrival& arrival);
    CResult Discover(const GigEVision::CommandMessage& command);
    CResult ForceAddress(const GigEVision::CommandMessage& command);
    CResult Resend(const GigEVision::CommandMessage& command, const CEndpoint& from);
    CResult Act(const GigEVision::CommandMessage& command);
    CResult ReadRegisters(const GigEVision::CommandMessage& command, const CEndpoint& from);
    CResult WriteRegisters(const GigEVision::CommandMessage& command, const CArrival& arrival);
    CResult ReadMemory(const GigEVision::CommandMessage& command, const CEndpoint& from);
    CResult WriteMemory(const GigEVision::CommandMessage& command, const CArrival& arrival);
    GigEVision::Status WriteRegister(const GigEVision::RegisterWrite& write, const CArrival& arrival);
    CResult DropSilently(); ///< Answered by nothing, and counted.
    static CResult Unanswered();
    bool ChangeAddress(const CAddressing& wanted);
    void ConfigureAddress();

    void Acknowledge(const GigEVision::CommandMessage& command, GigEVision::Bytes datagram, const CResult& result,
                     const CArrival& arrival);
    void Send(GigEVision::Bytes acknowledge, const CEndpoint& to, std::int64_t delayNs, bool isBroadcastToo);
    void SendPending(const CPendingCommand& pending, std::int64_t nowNs);
    bool Pends(const GigEVision::CommandMessage& command, GigEVision::Bytes datagram, const CArrival& arrival);
    ERecipient RecipientAt(const CEndpoint& to) const;
    bool IsForeign(std::uint32_t address) const;
    std::int64_t DiscoveryDelayNs(const CArrival& arrival);
    void PauseHeartbeat(std::int64_t nowNs);

    CDeviceState& m_state;
    CServingFaults& m_faults;
    CSession& m_session;
    CRegisterSpace& m_space;
    CBootstrap& m_bootstrap;
    CActions& m_actions;
    IStream& m_stream;
    IDeviceHost& m_host;
    CAcknowledgeCache m_cache;
    CPendingCommands m_pending;
    std::minstd_rand m_random;
    std::array<std::uint8_t, GigEVision::kMaxGvcpPayload> m_payload = {};
};

} // namespace Serving
