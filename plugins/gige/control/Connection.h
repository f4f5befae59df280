// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/Route.h"

#include <gigevision/Bytes.h>
#include <zelmo/AccessMode.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Gige {

/// What a device says it can do, read once when it is opened.
struct CCapabilities {
    std::uint32_t version = 0, deviceMode = 0;
    std::uint32_t gvcp = 0, gvsp = 0, message = 0; ///< masks of gigevision/Registers.h
    std::uint32_t streamChannels = 0, messageChannels = 0;
    std::uint32_t streamChannel = 0; ///< SCC of channel 0
    std::uint64_t tickFrequency = 0; ///< Hz; 0: no time stamps

    bool Has(std::uint32_t gvcpMask) const { return (gvcp & gvcpMask) == gvcpMask; }
};

/// Times and tries, changed by the connection's node map before and while a device is open.
struct CConnectionSettings {
    std::atomic<std::uint32_t> heartbeatTimeoutMs{3000}; ///< 500 to 600,000
    std::atomic<std::uint32_t> readTimeoutMs{500}, writeTimeoutMs{500};
    std::atomic<std::uint32_t> maxRetriesRead{4}, maxRetriesWrite{4};
    std::atomic<bool> isDuplicating{false}; ///< each command goes out twice
};

struct CConnectionCounts {
    std::atomic<std::uint64_t> reads{0}, writes{0}, failedReads{0}, failedWrites{0}; ///< whole operations
    std::atomic<std::uint64_t> timeouts{0};                                          ///< single tries without an answer
};

/// The control channel to one device: who has it, registers and memory, the heartbeat. One command at a time; callers
/// are served in the order in which they came, the heartbeat before all of them.
/// Owns:    the control socket, whose port it keeps from Open to Open, so that the camera knows the host again.
/// Threads: any, but Open and Close, which come one at a time. Beat is the service thread's.
/// Locks:   its own queue of callers, a leaf. None is held while it waits for the network, but the turn.
/// Bounds:  see plugins/gige/README.md. A command that used up its tries makes the connection suspect: then each gets
///          one try of 100 ms until the camera is heard again.
class CConnection {
public:
    CConnection(CConnectionSettings& settings, CConnectionCounts& counts);
    ~CConnection(); ///< Closes.
    CConnection(const CConnection&) = delete;
    CConnection& operator=(const CConnection&) = delete;

    /// Takes control as @p modes wants it (Exclusive, Control, or neither, which only reads), reads what the device can
    /// do, and switches on what it offers: pending acknowledges and the finer status codes. Where this process had the
    /// camera before from the same port, what it left open is closed first.
    /// Addresses change, and another camera may have this one's by now. Only one that has @p mac, at any of its
    /// interfaces, is touched; its channels then send from that interface. One that tells nothing, as somebody has it
    /// for himself, is asked again once it gave control, and gets that back if it is another. Zero: any camera.
    /// @throws GenICam::AccessException  somebody else has control: who, where the camera tells
    /// @throws GenICam::RuntimeException it does not answer, or refuses, or is another one
    void Open(const CRoute& route, Zelmo::AccessModeSet modes, std::uint64_t mac = 0);
    /// Ends what is under way, and the heartbeat, so that what is to be written last need not wait for either.
    void PrepareClose() noexcept;
    /// Gives control back; what fails on the way is logged.
    void Close() noexcept;
    bool IsOpen() const;
    bool HasControl() const; ///< As opened; whether it was lost meanwhile says IsLost.
    /// Whether the camera was taken over from a session that ended without a word. Channels were closed; what only its
    /// description tells of, as an acquisition that goes on, is left to the caller.
    bool HadLeftovers() const;

    const CRoute& Route() const;
    const CCapabilities& Capabilities() const;
    /// Of the camera's interface that is used: the register that @p ofFirst is for its first one.
    std::uint32_t InterfaceRegister(std::uint32_t ofFirst) const;
    std::uint32_t ChannelPort(std::uint16_t port) const; ///< What SCP or MCP is to hold for @p port of this host.

    /// @throws GenICam::AccessException  the camera refuses for the lack of rights
    /// @throws GenICam::TimeoutException no answer
    /// @throws GenICam::RuntimeException any other refusal, with address and status; or the device was removed
    std::uint32_t ReadRegister(std::uint32_t address);
    void WriteRegister(std::uint32_t address, std::uint32_t value);
    /// Any address and length: what is not on 4 bytes is rounded, or merged with what is there.
    void ReadMemory(std::uint32_t address, GigEVision::MutableBytes bytes,
                    std::int64_t untilNs = INT64_MAX); ///< Given up at @p untilNs of CLOCK_MONOTONIC.
    void WriteMemory(std::uint32_t address, GigEVision::Bytes bytes);
    std::string ReadText(std::uint32_t address, std::size_t bytes); ///< To its zero byte, or all.

    /// From now on no command goes on beyond @p untilNs of CLOCK_MONOTONIC, but the heartbeat; INT64_MAX: no limit.
    void LimitUntil(std::int64_t untilNs) noexcept;

    /// The same where nothing can be done about a failure: false then, after 400 ms at most, whoever has the turn.
    bool TryWriteRegister(std::uint32_t address, std::uint32_t value) noexcept;

    /// One heartbeat: reads who has control. @return false when control, or the device, is lost for good; the text then
    /// says why, and all further commands fail at once.
    bool Beat() noexcept;
    /// When the next heartbeat is due, of CLOCK_MONOTONIC.
    std::int64_t NextBeatNs() const;
    void Hurry() noexcept; ///< The next heartbeat is due now: the link came back.
    /// @p listener is called, by whoever notices, each time the connection is lost. To be set while it is closed.
    void OnLoss(std::function<void()> listener);
    /// @p isStreaming tells whether images have come in the stream that is open; asked during the turn, by any thread.
    /// To be set while it is closed.
    void AskForStream(std::function<bool()> isStreaming);
    bool IsLost() const;
    std::string LossText() const; ///< Empty while it is not lost.

    const CConnectionSettings& Settings() const;

private:
    struct CState;
    std::unique_ptr<CState> m_state;
};

} // namespace Gige
