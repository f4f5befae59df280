// SPDX-License-Identifier: Apache-2.0
#include "PluginLog.h"
#include "control/ConnectionState.h"
#include "control/ControlPorts.h"

#include <Base/GCException.h>
#include <gigevision/Registers.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace Gige {

namespace {

using GigEVision::Status;
using PluginKit::CEndpoint;
namespace Ccp = GigEVision::Ccp;
namespace Configuration = GigEVision::GvcpConfiguration;
namespace Capability = GigEVision::GvcpCapability;
namespace Register = GigEVision::Register;

constexpr std::uint32_t kFirstTryMs = 200;       // so that an absent camera is soon told
constexpr std::uint32_t kPresenceMs = 1300;      // the same: then no further try begins
constexpr std::uint32_t kShortTryMs = 200;       // where much else waits
constexpr std::uint32_t kOpeningMs = 5000;       // for all, without the time that another one is waited for
constexpr std::uint32_t kAskAgainMs = 200;       // while another application has control
constexpr std::uint32_t kLongestHoldMs = 15'000; // a heartbeat time-out that is waited for
constexpr std::uint32_t kLongestPendingTimeoutMs = 10'000;
constexpr std::uint32_t kShortestHeartbeatMs = 500, kLongestHeartbeatMs = 600'000;
constexpr std::uint32_t kClosingMs = 300, kClosingTryMs = 100;

constexpr std::int64_t ToNs(std::uint32_t milliseconds) {
    return std::int64_t{milliseconds} * 1'000'000;
}

// Some refuse others to read it then, some do not.
bool IsExclusive(const CAnswer& ccp) {
    return ccp.Is(Status::AccessDenied) || (ccp.IsDone() && (ccp.value & Ccp::kExclusive) != 0);
}

} // namespace

void CConnection::CState::Open(const CRoute& newRoute, Zelmo::AccessModeSet modes, std::uint64_t mac) {
    route = newRoute;
    capabilities = {};
    interface = 0;
    isPromising = false;
    pendingTimeoutMs = 0;
    isClosing = isLost = false;
    missedBeats = 0;
    heartbeatMs = std::clamp(settings.heartbeatTimeoutMs.load(), kShortestHeartbeatMs, kLongestHeartbeatMs);
    {
        const PluginKit::CLockGuard guard(textLock);
        lossText.clear();
    }
    channel = std::make_unique<CCommandChannel>(
        MakeControlSocket(route, modes.test(Zelmo::Exclusive) || modes.test(Zelmo::Control)), route.device,
        settings.isDuplicating, counts.timeouts, CCommandChannel::CLimits{});
    openUntilNs = MonotonicNs() + ToNs(kOpeningMs);
    try {
        Connect(modes, mac);
    } catch (const GenICam::TimeoutException& e) {
        Abandon();
        throw RUNTIME_EXCEPTION("Cannot open " + Camera() + ": " + e.GetDescription());
    } catch (...) {
        Abandon();
        throw;
    }
    openUntilNs = INT64_MAX;
    isOpen = true;
}

void CConnection::CState::Connect(Zelmo::AccessModeSet modes, std::uint64_t mac) {
    const CAnswer ccp = ReadCcpFirst();
    const bool isKnown = RequireCamera(mac);
    const bool isExclusive = modes.test(Zelmo::Exclusive);
    if (isExclusive || modes.test(Zelmo::Control)) {
        TakeControl(ccp, isExclusive ? Ccp::kExclusive : Ccp::kControl);
        if (!isKnown) {
            RequireCamera(mac);
        }
    } else if (IsExclusive(ccp)) {
        ThrowHeld();
    }
    ReadCapabilities();
    if (hasControl) {
        Configure();
    }
    LearnPendingTimeout();
    provenNs = MonotonicNs();
    nextBeatNs = provenNs + ToNs(heartbeatMs) / 3;
}

void CConnection::CState::Abandon() noexcept {
    Release();
    openUntilNs = INT64_MAX;
    hasControl = false;
    nextBeatNs = INT64_MAX;
    channel.reset();
}

/// Who has control, as the first thing that the camera is asked.
CAnswer CConnection::CState::ReadCcpFirst() {
    CTries tries = ReadTries();
    tries.firstTimeoutMs = kFirstTryMs;
    tries.silenceMs = kPresenceMs;
    const CAnswer answer = channel->ReadRegister(Register::kCcp, tries);
    if (!answer.IsDone() && !answer.Is(Status::AccessDenied)) {
        throw RUNTIME_EXCEPTION("Cannot open " + Camera() + ": " + CauseText(answer) + ".");
    }
    return answer;
}

/// @return false: it does not tell, as somebody has it for himself.
bool CConnection::CState::RequireCamera(std::uint64_t mac) {
    try {
        if (mac != 0) {
            RequireInterfaceOf(mac);
        }
    } catch (const GenICam::AccessException&) {
        if (hasControl) {
            throw;
        }
        return false;
    }
    return true;
}

void CConnection::CState::RequireInterfaceOf(std::uint64_t mac) {
    const auto macAt = [this](std::uint32_t address) {
        const std::uint64_t high = ReadIdentity(address) & GigEVision::kMacHighMask;
        return high << 32 | ReadIdentity(address + Register::kMacLow - Register::kMacHigh);
    };
    const std::uint64_t first = macAt(Register::kMacHigh);
    if (first == mac) {
        return;
    }
    const std::uint32_t interfaces = std::min(ReadIdentity(Register::kInterfaces), Register::kMaxInterfaces);
    for (std::uint32_t i = 1; i < interfaces; ++i) {
        if (macAt(Register::kOtherInterfaces + (i - 1) * Register::kInterfaceStride) == mac) {
            interface = i;
            return;
        }
    }
    throw RUNTIME_EXCEPTION("Cannot open %s: another one answers there, of the MAC address %012llx: enumerate anew.",
                            Camera().c_str(), static_cast<unsigned long long>(first));
}

std::uint32_t CConnection::CState::ReadIdentity(std::uint32_t address) {
    const CAnswer answer = channel->ReadRegister(address, ReadTries());
    if (!answer.IsDone()) {
        Fail({"read", address, 4}, answer);
    }
    return answer.value;
}

void CConnection::CState::TakeControl(const CAnswer& before, std::uint32_t ccp) {
    hasLeftovers = !before.IsDone() || (before.value & (Ccp::kExclusive | Ccp::kControl)) != 0;
    if (hasLeftovers) { // of this process, which it then knows by its port, or of another application
        WaitForControl(ccp);
    } else {
        const CAnswer written = channel->WriteRegister(Register::kCcp, ccp, WriteTries());
        if (written.Is(Status::AccessDenied)) { // somebody came in between
            WaitForControl(ccp);
        } else if (!written.IsDone()) {
            if (written.outcome != EOutcome::Refused) {
                HaveControl();
            }
            throw RUNTIME_EXCEPTION("Cannot take control of " + Camera() + ": " + CauseText(written) + ".");
        }
    }
    HaveControl();
}

// Also where only the answer may be lost: then it is given back, and the next session has it from the same port.
void CConnection::CState::HaveControl() {
    hasControl = true;
    RememberControlPort(route, channel->Socket());
}

// Whoever had it may be gone: the camera notices by its heartbeat, which is waited for. Nothing but writes: there are
// cameras that take anybody's read of CCP for the heartbeat, and do not answer a write that they refuse.
void CConnection::CState::WaitForControl(std::uint32_t ccp) {
    CTries tries = WriteTries();
    tries.timeoutMs = kAskAgainMs;
    tries.count = 1;
    tries.isHeartbeat = true;
    std::int64_t untilNs = 0;
    for (;;) {
        const CAnswer written = channel->WriteRegister(Register::kCcp, ccp, tries);
        if (written.IsDone()) {
            return;
        }
        if (untilNs == 0) {
            if (IsHeldByThisProcess()) {
                ThrowHeld();
            }
            const std::uint32_t holdMs = ReadHoldMs() + 1000;
            untilNs = MonotonicNs() + ToNs(holdMs);
            openUntilNs += ToNs(holdMs);
            tries.untilNs = EndNs();
        }
        if (written.outcome != EOutcome::Refused) {
            HaveControl(); // perhaps
            RequirePresence();
        }
        if (MonotonicNs() >= untilNs) {
            ThrowHeld();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(kAskAgainMs));
    }
}

// Asks for what nobody takes for a heartbeat. A single datagram may be lost.
void CConnection::CState::RequirePresence() {
    channel->ReadRegister(Register::kVersion, ShortTries(1));
    if (MonotonicNs() - channel->LastHeardNs() >= ToNs(kPresenceMs)) {
        throw RUNTIME_EXCEPTION("Cannot open %s: it does not answer any more.", Camera().c_str());
    }
}

std::uint32_t CConnection::CState::ReadHoldMs() {
    const CAnswer answer = channel->ReadRegister(Register::kHeartbeatTimeout, ShortTries(3));
    return std::min(answer.IsDone() && answer.value != 0 ? answer.value : heartbeatMs.load(), kLongestHoldMs);
}

bool CConnection::CState::IsHeldByThisProcess() {
    const CEndpoint holder = ReadHolder();
    return holder.port != 0 && holder.port != channel->Socket().LocalPort() && IsControlPort(route, holder);
}

void CConnection::CState::ThrowHeld() {
    const CEndpoint holder = ReadHolder();
    const std::string who = holder.port == 0               ? "another application, which it does not name,"
                            : IsControlPort(route, holder) ? "this process, at " + Text(holder) + ","
                                                           : "another application, at " + Text(holder) + ",";
    throw ACCESS_EXCEPTION("Cannot open %s: %s has control of it.", Camera().c_str(), who.c_str());
}

// Within a heartbeat, too: a device that may be silent on registers that it does not have is not asked for them.
CEndpoint CConnection::CState::ReadHolder() {
    const auto read = [this](std::uint32_t address) {
        const CAnswer answer = channel->ReadRegister(address, ShortTries(2));
        return answer.IsDone() ? answer.value : 0;
    };
    const std::uint32_t gvcp = capabilities.gvcp != 0 ? capabilities.gvcp : read(Register::kGvcpCapability);
    if ((gvcp & Capability::kPrimaryApplication) == 0) {
        return {};
    }
    const auto port = static_cast<std::uint16_t>(read(Register::kPrimaryPort));
    const std::uint32_t address = port != 0 ? read(Register::kPrimaryIp) : 0;
    return address != 0 ? CEndpoint{address, port} : CEndpoint{};
}

CTries CConnection::CState::ShortTries(std::uint32_t count) const {
    return {kShortTryMs, count, 0, UINT32_MAX, EndNs(), true};
}

// Who has control may be refused what is not there; nobody else, and a busy device has not told yet.
std::uint32_t CConnection::CState::ReadOptional(std::uint32_t address) {
    const CAnswer answer = channel->ReadRegister(address, ReadTries());
    const bool isTold = answer.IsDone() || (answer.outcome == EOutcome::Refused && answer.status != Status::Busy &&
                                            (hasControl || answer.status != Status::AccessDenied));
    if (!isTold) {
        Fail({"read", address, 4}, answer);
    }
    return answer.value;
}

void CConnection::CState::ReadCapabilities() {
    capabilities.version = ReadOptional(Register::kVersion);
    capabilities.deviceMode = ReadOptional(Register::kDeviceMode);
    capabilities.gvcp = ReadOptional(Register::kGvcpCapability);
    capabilities.gvsp = ReadOptional(Register::kGvspCapability);
    capabilities.message = ReadOptional(Register::kMessageCapability);
    capabilities.streamChannels = ReadOptional(Register::kStreamChannels);
    capabilities.messageChannels = ReadOptional(Register::kMessageChannels);
    if (capabilities.streamChannels != 0) {
        capabilities.streamChannel = ReadOptional(Register::kStreamChannel + Register::kScc);
    }
    const std::uint64_t high = ReadOptional(Register::kTickFrequencyHigh);
    capabilities.tickFrequency = high << 32 | ReadOptional(Register::kTickFrequencyLow);
}

void CConnection::CState::Configure() {
    if (!hasLeftovers && capabilities.streamChannels != 0) { // there are devices that send on without anybody
        const std::uint32_t scp = ReadOptional(Register::kStreamChannel + Register::kScp);
        hasLeftovers = (scp & GigEVision::ChannelPort::kPort) != 0;
    }
    if (hasLeftovers) {
        CloseLeftovers();
    }
    if (!ApplyHeartbeatTimeout()) {
        throw RUNTIME_EXCEPTION("Cannot open %s: it does not answer any more.", Camera().c_str());
    }
    std::uint32_t wanted = 0;
    wanted |= capabilities.Has(Capability::kPending) ? Configuration::kPending : 0;
    wanted |= capabilities.Has(Capability::kStatusCodes11) ? Configuration::kStatusCodes11 : 0;
    wanted |= capabilities.Has(Capability::kStatusCodes20) ? Configuration::kStatusCodes20 : 0;
    isPromising = SwitchOn(wanted) && (wanted & Configuration::kPending) != 0;
}

bool CConnection::CState::SwitchOn(std::uint32_t configuration) {
    const std::uint32_t before = ReadOptional(Register::kGvcpConfiguration);
    const std::uint32_t after = (before | configuration) & ~Configuration::kHeartbeatDisable;
    if (after == before) {
        return true;
    }
    const CAnswer written = channel->WriteRegister(Register::kGvcpConfiguration, after, WriteTries());
    if (!written.IsDone()) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Warn,
                        "Cannot switch on pending acknowledges and status codes of %s: %s.", Camera().c_str(),
                        CauseText(written).c_str());
    }
    return written.IsDone();
}

// A session of this process that ended without a word: what it had opened would go on sending.
void CConnection::CState::CloseLeftovers() {
    const std::uint32_t channels = std::min(capabilities.streamChannels, Register::kMaxStreamChannels);
    for (std::uint32_t i = 0; i < channels; ++i) {
        const std::uint32_t address = Register::kStreamChannel + i * Register::kStreamChannelStride + Register::kScp;
        const CAnswer answer = channel->WriteRegister(address, 0, WriteTries());
        if (!answer.IsDone() && answer.outcome != EOutcome::Refused) {
            Fail({"write", address, 4}, answer);
        }
    }
    if (capabilities.messageChannels != 0) {
        channel->WriteRegister(Register::kMcp, 0, WriteTries());
    }
}

// Where the device cannot say that it is not done, it may take so long.
void CConnection::CState::LearnPendingTimeout() {
    if (capabilities.version < Register::kVersion20) {
        return;
    }
    pendingTimeoutMs = std::min(ReadOptional(Register::kPendingTimeout), kLongestPendingTimeoutMs);
    if (pendingTimeoutMs == 0 || isPromising) {
        return;
    }
    if (!hasControl) {
        channel->SetShortestTry(pendingTimeoutMs + 100);
    } else if (pendingTimeoutMs + 100 >= heartbeatMs) {
        hxlog::LogTrace(
            LogCategory(), hxlog::LogLevel_Warn,
            "A command may take %u ms of %s, without a word from it, and then it counts as removed. Remedy: "
            "set HeartbeatTimeout to %u ms or more.",
            pendingTimeoutMs, Camera().c_str(), 2 * pendingTimeoutMs);
    }
}

/// @return false when there was no answer. What the device makes of it holds, but it is not waited for longer.
bool CConnection::CState::ApplyHeartbeatTimeout() {
    const std::uint32_t asked = settings.heartbeatTimeoutMs;
    const std::uint32_t wanted = std::clamp(asked, kShortestHeartbeatMs, kLongestHeartbeatMs);
    const CAnswer written = channel->WriteRegister(Register::kHeartbeatTimeout, wanted, WriteTries());
    const CAnswer read = channel->ReadRegister(Register::kHeartbeatTimeout, ReadTries());
    if (!read.IsDone() && read.outcome != EOutcome::Refused) {
        return false;
    }
    if (!written.IsDone()) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Warn, "Cannot set the heartbeat time-out of %s to %u ms: %s.",
                        Camera().c_str(), wanted, CauseText(written).c_str());
    }
    askedHeartbeatMs = asked;
    heartbeatMs = read.IsDone() && read.value >= kShortestHeartbeatMs ? std::min(read.value, wanted) : wanted;
    return true;
}

// Control comes last, as without it the others are refused. Who does not answer the first is not asked for all.
void CConnection::CState::Release() noexcept {
    if (!hasControl || isLost) {
        return;
    }
    const CTries tries{kClosingTryMs, 1, 0, UINT32_MAX, MonotonicNs() + ToNs(kClosingMs), false};
    if (capabilities.streamChannels != 0) {
        channel->WriteRegister(Register::kStreamChannel + Register::kScp, 0, tries);
    }
    if (capabilities.messageChannels != 0 && !channel->IsSuspect()) {
        channel->WriteRegister(Register::kMcp, 0, tries);
    }
    const CAnswer answer = channel->WriteRegister(Register::kCcp, 0, tries);
    if (!answer.IsDone()) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Warn,
                        "Cannot give back control of %s, which ends with the heartbeat: %s.", Camera().c_str(),
                        CauseText(answer).c_str());
    }
}

} // namespace Gige
