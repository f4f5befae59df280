// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Descriptor.h"
#include "control/AnswerMatch.h"
#include "net/UdpSocket.h"

#include <gigevision/Gvcp.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <limits>

namespace Gige {

/// How long, and how often, a command is tried.
struct CTries {
    std::uint32_t timeoutMs = 500; ///< of each try
    std::uint32_t count = 5;
    std::uint32_t firstTimeoutMs = 0; ///< of the first try; 0: as of the others
    /// After so much silence, since the device was heard, no other try is begun, and a promise ends where the link is
    /// down. What is under way then ends, too, but for suspectTryMs of its own.
    std::uint32_t silenceMs = std::numeric_limits<std::uint32_t>::max();
    std::int64_t untilNs = std::numeric_limits<std::int64_t>::max(); ///< of CLOCK_MONOTONIC; given up then
    bool isHeartbeat = false; ///< goes its own way, whether the device is suspect or not
    std::uint32_t busyMs = 0; ///< a busy device is given so long; 0: as a try
};

enum class EOutcome : std::uint8_t {
    Done,
    Refused,     ///< see the status
    Silent,      ///< no answer in all tries
    Malformed,   ///< what came was no answer
    Interrupted, ///< by Interrupt
};

/// How a command ended.
struct CAnswer {
    EOutcome outcome = EOutcome::Silent;
    GigEVision::Status status = GigEVision::Status::Success; ///< of Refused
    std::uint32_t value = 0;                                 ///< of a register
    GigEVision::Bytes data;                                  ///< of memory; valid until the next command
    std::uint32_t tries = 0;
    std::int64_t waitedNs = 0;
    bool wasPending = false; ///< the device promised an answer

    bool IsDone() const { return outcome == EOutcome::Done; }
    bool Is(GigEVision::Status wanted) const { return outcome == EOutcome::Refused && status == wanted; }
};

/// Asks one device, one command at a time: each is tried again, as the same datagram, until its answer comes.
/// Datagrams that are not its answer are dropped without ending the wait. A pending acknowledge begins the wait anew; a
/// busy device is asked again, with the tries that are left, for busyMs.
/// A command that used up its tries makes the device suspect: then each has one short try, until it is heard again. The
/// same while the interface's link is down.
/// Threads: one at a time, but for Interrupt, Resume and what is const.
class CCommandChannel {
public:
    struct CLimits {
        std::uint32_t promiseMs = 60'000; ///< of a single pending acknowledge
        std::uint32_t commandMs = 60'000; ///< of a command with all that prolongs it
        std::uint32_t suspectTryMs = 100;
    };

    /// @p timeouts counts tries without an answer; each command goes out twice while @p isDuplicating.
    CCommandChannel(CUdpSocket socket, const PluginKit::CEndpoint& device, const std::atomic<bool>& isDuplicating,
                    std::atomic<std::uint64_t>& timeouts, const CLimits& limits);

    CAnswer ReadRegister(std::uint32_t address, const CTries& tries);
    CAnswer WriteRegister(std::uint32_t address, std::uint32_t value, const CTries& tries);
    /// Both of at most GigEVision::kMaxMemoryBytes.
    CAnswer ReadMemory(std::uint32_t address, std::uint16_t bytes, const CTries& tries);
    CAnswer WriteMemory(std::uint32_t address, GigEVision::Bytes data, const CTries& tries);

    /// Ends the command that runs, and all that follow, until Resume.
    void Interrupt() noexcept;
    void Resume() noexcept;

    void SetShortestTry(std::uint32_t milliseconds) { m_shortestTryMs = milliseconds; } ///< but of suspect devices
    void Suspect() { m_isSuspect = true; }
    bool IsSuspect() const { return m_isSuspect; }
    std::int64_t LastHeardNs() const { return m_lastHeardNs; } ///< 0: never
    const CUdpSocket& Socket() const { return m_socket; }
    const PluginKit::CEndpoint& Device() const { return m_device; }

private:
    struct CWait;

    CAnswer Run(CExpectedAnswer expected, GigEVision::Bytes payload, const CTries& tries);
    CAnswer Ask(CExpectedAnswer& expected, GigEVision::Bytes payload, const CTries& tries, std::int64_t endNs);
    bool IsCut(const CTries& tries) const noexcept;
    std::uint32_t TryMs(const CTries& tries, std::uint32_t tried, bool isCut) const;
    std::int64_t SilentAtNs(const CTries& tries, std::int64_t beginNs) const;
    CAnswer Await(const CExpectedAnswer& expected, CWait wait);
    bool IsGone(const CWait& wait) const noexcept;
    bool Take(const CJudgedAnswer& judged, CWait& wait, CAnswer& answer);
    bool Pause(std::uint32_t milliseconds) noexcept;
    void Send(GigEVision::Bytes datagram) noexcept;
    GigEVision::MutableBytes PayloadRoom();

    CUdpSocket m_socket;
    const PluginKit::CEndpoint m_device;
    const std::atomic<bool>& m_isDuplicating;
    std::atomic<std::uint64_t>& m_timeouts;
    const CLimits m_limits;
    PluginKit::CDescriptor m_wake;
    std::uint16_t m_id;
    std::uint32_t m_shortestTryMs = 0;
    std::atomic<bool> m_isSuspect{false}, m_isInterrupted{false};
    std::atomic<std::int64_t> m_lastHeardNs{0};
    GigEVision::GvcpBuffer m_command;
    std::array<std::uint8_t, 2048> m_answer; // more than the protocol permits: what is cut would look malformed
};

} // namespace Gige
