// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Mutex.h"
#include "control/CommandChannel.h"
#include "control/Connection.h"
#include "control/FairTurn.h"

#include <algorithm>
#include <memory>
#include <string>

namespace Gige {

/// What was attempted, for texts: "read 4 bytes at 0x00000A00".
struct CAttempt {
    const char* verb;
    std::uint32_t address;
    std::size_t bytes;
};

/// The inside of a connection. What has no lock and is not atomic belongs to whoever has the turn.
struct CConnection::CState {
    CState(CConnectionSettings& settings_, CConnectionCounts& counts_) : settings(settings_), counts(counts_) {}

    // Opening.cpp
    void Open(const CRoute& newRoute, Zelmo::AccessModeSet modes, std::uint64_t mac);
    void Connect(Zelmo::AccessModeSet modes, std::uint64_t mac);
    void Abandon() noexcept;
    CAnswer ReadCcpFirst();
    bool RequireCamera(std::uint64_t mac);
    void RequireInterfaceOf(std::uint64_t mac);
    std::uint32_t ReadIdentity(std::uint32_t address);
    void TakeControl(const CAnswer& before, std::uint32_t ccp);
    void HaveControl();
    void WaitForControl(std::uint32_t ccp);
    void RequirePresence();
    std::uint32_t ReadHoldMs();
    bool IsHeldByThisProcess();
    [[noreturn]] void ThrowHeld();
    PluginKit::CEndpoint ReadHolder(); ///< Zero where the camera does not tell.
    CTries ShortTries(std::uint32_t count) const;
    std::uint32_t ReadOptional(std::uint32_t address);
    void ReadCapabilities();
    void Configure();
    void CloseLeftovers();
    bool SwitchOn(std::uint32_t configuration);
    void LearnPendingTimeout();
    bool ApplyHeartbeatTimeout();
    void Release() noexcept;

    // Heartbeat.cpp
    void Beat();
    void TakeBeat(const CAnswer& answer);
    void MissBeat();
    void BeatAgainAt(std::int64_t dueNs);
    CTries BeatTries() const;
    void CheckControl(); ///< After a refusal: maybe control is gone.
    bool IsOurs(const CAnswer& ccp, bool isHolderCompared);
    void Lose(const std::string& cause);

    // Memory.cpp: they take the turn for each command.
    void ReadMemory(std::uint32_t address, GigEVision::MutableBytes bytes, std::int64_t untilNs);
    void ReadBlocks(std::uint32_t address, GigEVision::MutableBytes bytes, std::int64_t untilNs);
    void WriteMemory(std::uint32_t address, GigEVision::Bytes bytes);
    bool TryWriteUnaligned(std::uint32_t address, GigEVision::Bytes bytes);
    void WriteWords(std::uint32_t address, GigEVision::Bytes bytes);
    void WriteBlocks(std::uint32_t address, GigEVision::Bytes bytes);
    void WriteMerged(std::uint32_t address, GigEVision::Bytes bytes);
    void WritePartOfWord(std::uint32_t address, std::size_t offset, GigEVision::Bytes bytes);

    // Connection.cpp
    CTries ReadTries() const;
    CTries WriteTries() const;
    CTries TriesOf(std::uint32_t timeoutMs, std::uint32_t count) const;
    std::uint32_t PatienceWithStream() const; ///< Milliseconds of a first try; 0: as without a stream.
    std::uint32_t LongestTryMs() const;       ///< With control.
    std::int64_t EndNs() const { return std::min(openUntilNs, limitNs.load()); }
    void RequireUsable(const CAttempt& attempt) const;
    std::uint32_t ReadRegister(std::uint32_t address, std::int64_t untilNs = INT64_MAX);
    void WriteRegister(std::uint32_t address, std::uint32_t value);
    [[noreturn]] void Fail(const CAttempt& attempt, const CAnswer& answer) const;
    [[noreturn]] void FailWrite(const CAttempt& attempt, const CAnswer& answer);
    std::string Camera() const { return "the camera at " + PluginKit::AddressText(route.device.address); }

    CConnectionSettings& settings;
    CConnectionCounts& counts;
    CFairTurn turn;
    CRoute route;                               // as of the last Open
    CCapabilities capabilities;                 // the same
    std::atomic<std::uint32_t> interface { 0 }; // of the device, that its channels send from
    std::unique_ptr<CCommandChannel> channel;   // from Open to Close
    std::atomic<bool> isOpen{false}, isClosing{false}, hasControl{false}, isLost{false};
    std::atomic<std::int64_t> nextBeatNs{INT64_MAX};
    std::atomic<bool> isHurried{false};           // by Hurry, since the last heartbeat began
    std::function<void()> onLoss;                 // called during the turn
    std::function<bool()> isStreaming;            // the same
    bool isPromising = false;                     // the device says when a command takes longer than pendingTimeoutMs
    std::uint32_t pendingTimeoutMs = 0;           // as it tells; 0: it does not
    std::int64_t openUntilNs = INT64_MAX;         // while it is opened
    std::atomic<std::int64_t> limitNs{INT64_MAX}; // the caller's
    bool hasLeftovers = false;                    // a session before may not have ended for the device
    std::uint32_t askedHeartbeatMs = 0;           // as the settings were when the device was told
    std::atomic<std::uint32_t> heartbeatMs{3000}; // as it holds for this connection
    std::int64_t provenNs = 0;                    // when the device last said that control is ours
    std::uint32_t missedBeats = 0;                // in a row
    mutable PluginKit::CMutex textLock;
    std::string lossText PLUGIN_GUARDED_BY(textLock);
};

/// "ACCESS_DENIED (0x8006)".
std::string StatusText(GigEVision::Status status);
/// Why there was no success: "it refuses: ACCESS_DENIED (0x8006)".
std::string CauseText(const CAnswer& answer);

} // namespace Gige
