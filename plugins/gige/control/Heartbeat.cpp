// SPDX-License-Identifier: Apache-2.0
#include "PluginLog.h"
#include "control/ConnectionState.h"

#include <gigevision/Registers.h>

#include <algorithm>

namespace Gige {

namespace {

using GigEVision::Status;
using PluginKit::CEndpoint;
namespace Register = GigEVision::Register;
namespace Ccp = GigEVision::Ccp;

constexpr std::uint32_t kBeatTryMs = 200;
constexpr std::uint32_t kMissedBeatsOfSuspect = 3; // a single datagram may be lost

constexpr std::int64_t ToNs(std::uint32_t milliseconds) {
    return std::int64_t{milliseconds} * 1'000'000;
}

} // namespace

// A read of CCP in any case, whatever else was sent: there are devices that count nothing else, and then anybody's. So
// who only reads must not read that.
void CConnection::CState::Beat() {
    isHurried = false;
    const CAnswer answer = channel->ReadRegister(hasControl ? Register::kCcp : Register::kVersion, BeatTries());
    if (answer.outcome == EOutcome::Done || answer.outcome == EOutcome::Refused) {
        TakeBeat(answer);
    } else if (answer.outcome != EOutcome::Interrupted) {
        MissBeat();
    }
}

void CConnection::CState::TakeBeat(const CAnswer& answer) {
    missedBeats = 0;
    const std::int64_t nowNs = MonotonicNs();
    if (!hasControl) { // who only reads is content to hear it
        BeatAgainAt(nowNs + ToNs(heartbeatMs) / 3);
        return;
    }
    const bool wasLongAgo = nowNs - provenNs > ToNs(heartbeatMs) * 2 / 3;
    if (!IsOurs(answer, wasLongAgo)) {
        return;
    }
    if (answer.IsDone()) {
        provenNs = MonotonicNs();
    }
    if (settings.heartbeatTimeoutMs != askedHeartbeatMs) {
        ApplyHeartbeatTimeout();
    }
    BeatAgainAt(nowNs + ToNs(heartbeatMs) / 3);
}

// The device has dropped this host only when its own time-out has passed; until then a link may come back.
void CConnection::CState::MissBeat() {
    const std::int64_t nowNs = MonotonicNs();
    if (nowNs - channel->LastHeardNs() >= ToNs(heartbeatMs)) {
        Lose("nothing was heard of it for " + std::to_string(heartbeatMs) + " ms");
        return;
    }
    if (++missedBeats >= kMissedBeatsOfSuspect) {
        channel->Suspect();
    }
    BeatAgainAt(nowNs);
}

void CConnection::CState::BeatAgainAt(std::int64_t dueNs) {
    nextBeatNs = dueNs;
    if (isHurried) {
        nextBeatNs = MonotonicNs();
    }
}

// A promise does not hold for longer than the device's patience, or that of who waits behind it.
CTries CConnection::CState::BeatTries() const {
    const std::int64_t untilNs = std::min(MonotonicNs() + ToNs(heartbeatMs), EndNs());
    return {std::min(kBeatTryMs, LongestTryMs()), 1, 0, heartbeatMs, untilNs, true};
}

void CConnection::CState::CheckControl() {
    CTries tries = BeatTries();
    tries.count = 3;
    const CAnswer answer = channel->ReadRegister(Register::kCcp, tries);
    if (answer.outcome == EOutcome::Done || answer.outcome == EOutcome::Refused) {
        IsOurs(answer, true);
    }
}

/// @return false when it is not, and then it is lost.
bool CConnection::CState::IsOurs(const CAnswer& ccp, bool isHolderCompared) {
    if (ccp.Is(Status::AccessDenied)) {
        Lose("another application has exclusive control of it");
        return false;
    }
    if (!ccp.IsDone()) { // no word on control, but a sign of life
        return true;
    }
    if ((ccp.value & (Ccp::kExclusive | Ccp::kControl)) == 0) {
        Lose("it let go of its control: it missed the heartbeat, or started anew");
        return false;
    }
    const CEndpoint own{route.hostAddress, channel->Socket().LocalPort()};
    const CEndpoint holder = isHolderCompared ? ReadHolder() : CEndpoint{};
    if (holder.port != 0 && holder != own) {
        Lose(Text(holder) + " has control of it now");
        return false;
    }
    return true;
}

void CConnection::CState::Lose(const std::string& cause) {
    {
        const PluginKit::CLockGuard guard(textLock);
        lossText = cause + ".";
    }
    isLost = true;
    nextBeatNs = INT64_MAX;
    if (onLoss) {
        onLoss();
    }
    hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Error, "The connection to %s is lost: %s.", Camera().c_str(),
                    cause.c_str());
}

} // namespace Gige
