// SPDX-License-Identifier: Apache-2.0
#include "control/Connection.h"

#include "control/ConnectionState.h"

#include <Base/GCException.h>
#include <gigevision/Registers.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace Gige {

namespace {

using GigEVision::Status;
namespace Register = GigEVision::Register;

constexpr std::uint32_t kShortestTryMs = 100; // a device that takes longer says so
constexpr std::uint32_t kStreamingTryMs = 200;
constexpr std::uint32_t kLastWordMs = 20;      // for the answer of a camera that was silent before
constexpr std::uint32_t kUsualTimeoutMs = 500; // who sets a longer one wants it
constexpr std::int64_t kOptionalNs = 400'000'000;

template <class Operation>
auto Counted(std::atomic<std::uint64_t>& all, std::atomic<std::uint64_t>& failed, Operation operation) {
    ++all;
    try {
        return operation();
    } catch (...) {
        ++failed;
        throw;
    }
}

std::string AttemptText(const CAttempt& attempt) {
    char text[80];
    std::snprintf(text, sizeof text, "%s %zu bytes at 0x%08X of ", attempt.verb, attempt.bytes, attempt.address);
    return text;
}

std::string MillisecondsText(std::int64_t ns) {
    return std::to_string(ns / 1'000'000) + " ms";
}

} // namespace

std::string StatusText(Status status) {
    const std::string_view name = GigEVision::StatusName(status);
    char number[8];
    std::snprintf(number, sizeof number, "0x%04X", static_cast<unsigned>(status));
    return name.empty() ? std::string("status ") + number : std::string(name) + " (" + number + ")";
}

std::string CauseText(const CAnswer& answer) {
    const std::string tries = std::to_string(answer.tries) + (answer.tries == 1 ? " try in " : " tries in ") +
                              MillisecondsText(answer.waitedNs);
    switch (answer.outcome) {
    case EOutcome::Refused:
        return "it refuses: " + StatusText(answer.status);
    case EOutcome::Malformed:
        return "its answers are malformed (" + tries + ")";
    case EOutcome::Interrupted:
        return "the connection is being closed";
    default:
        return answer.wasPending ? "it asked for more time again and again (" + MillisecondsText(answer.waitedNs) + ")"
                                 : "it does not answer (" + tries + ")";
    }
}

CTries CConnection::CState::ReadTries() const {
    return TriesOf(settings.readTimeoutMs, settings.maxRetriesRead + 1);
}

CTries CConnection::CState::WriteTries() const {
    return TriesOf(settings.writeTimeoutMs, settings.maxRetriesWrite + 1);
}

// The turn is held during a try, so that a long one would cost the heartbeat: more of them are made in the same time.
CTries CConnection::CState::TriesOf(std::uint32_t timeoutMs, std::uint32_t count) const {
    CTries tries{timeoutMs, count};
    tries.untilNs = EndNs();
    if (!hasControl) {
        return tries;
    }
    tries.silenceMs = heartbeatMs;
    tries.timeoutMs = tries.busyMs = std::clamp(timeoutMs, 1u, LongestTryMs());
    if (const std::uint32_t patienceMs = PatienceWithStream(); patienceMs != 0 && timeoutMs <= kUsualTimeoutMs) {
        tries.firstTimeoutMs = missedBeats > 0 ? 0 : patienceMs; // it was silent already
        tries.timeoutMs = std::min(tries.timeoutMs, kShortestTryMs);
        return tries;
    }
    const std::uint32_t allMs = std::max(timeoutMs * count, isPromising ? 0 : pendingTimeoutMs + kShortestTryMs);
    tries.count = (allMs + tries.timeoutMs - 1) / tries.timeoutMs;
    return tries;
}

// A camera that sends images, and has told how soon it answers or asks for more time, is not busy but gone when it is
// silent for longer: who stops a grab then does not wait for what is left of the heartbeat's patience. The tries after
// the first one are for what got lost.
std::uint32_t CConnection::CState::PatienceWithStream() const {
    const std::uint32_t patienceMs = std::max(kStreamingTryMs, pendingTimeoutMs + kShortestTryMs);
    const bool owesAWord = isPromising && pendingTimeoutMs != 0 && patienceMs <= LongestTryMs();
    return owesAWord && isStreaming && isStreaming() ? patienceMs : 0;
}

// Two lost answers in a row, of a command or of the heartbeat, leave time for a third.
std::uint32_t CConnection::CState::LongestTryMs() const {
    return std::max(kShortestTryMs, heartbeatMs / 5);
}

void CConnection::CState::RequireUsable(const CAttempt& attempt) const {
    if (isLost) {
        const PluginKit::CLockGuard guard(textLock);
        throw RUNTIME_EXCEPTION("Cannot " + AttemptText(attempt) + Camera() + ": it was removed: " + lossText);
    }
    if (!channel || !isOpen) {
        throw RUNTIME_EXCEPTION("Cannot %sa camera: the connection is closed.", AttemptText(attempt).c_str());
    }
}

void CConnection::CState::Fail(const CAttempt& attempt, const CAnswer& answer) const {
    const std::string text = "Cannot " + AttemptText(attempt) + Camera() + ": " + CauseText(answer) + ".";
    if (answer.Is(Status::AccessDenied) || answer.Is(Status::WriteProtect)) {
        throw ACCESS_EXCEPTION(text);
    }
    if (answer.outcome == EOutcome::Silent || answer.outcome == EOutcome::Malformed) {
        throw TIMEOUT_EXCEPTION(text);
    }
    throw RUNTIME_EXCEPTION(text);
}

void CConnection::CState::FailWrite(const CAttempt& attempt, const CAnswer& answer) {
    if (answer.Is(Status::AccessDenied) && hasControl) {
        CheckControl();
        RequireUsable(attempt);
    }
    Fail(attempt, answer);
}

std::uint32_t CConnection::CState::ReadRegister(std::uint32_t address, std::int64_t untilNs) {
    const CAttempt attempt{"read", address, 4};
    RequireUsable(attempt);
    CTries tries = ReadTries();
    tries.untilNs = std::min(tries.untilNs, untilNs);
    const CAnswer answer = channel->ReadRegister(address, tries);
    if (!answer.IsDone()) {
        Fail(attempt, answer);
    }
    return answer.value;
}

void CConnection::CState::WriteRegister(std::uint32_t address, std::uint32_t value) {
    const CAttempt attempt{"write", address, 4};
    RequireUsable(attempt);
    const CAnswer answer = channel->WriteRegister(address, value, WriteTries());
    if (!answer.IsDone()) {
        FailWrite(attempt, answer);
    }
}

CConnection::CConnection(CConnectionSettings& settings, CConnectionCounts& counts)
    : m_state(std::make_unique<CState>(settings, counts)) {}

CConnection::~CConnection() {
    Close();
}

void CConnection::Open(const CRoute& route, Zelmo::AccessModeSet modes, std::uint64_t mac) {
    const CTurnGuard turn(m_state->turn);
    if (m_state->isOpen) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open %s: it is open already.", m_state->Camera().c_str());
    }
    m_state->Open(route, modes, mac);
}

// Whoever waits for an answer, or for the turn, is sent away: a dead line must not hold up who closes.
void CConnection::PrepareClose() noexcept {
    if (m_state->isOpen) {
        m_state->isClosing = true;
        m_state->channel->Interrupt();
        const CTurnGuard turn(m_state->turn);
        m_state->channel->Resume();
    }
}

void CConnection::Close() noexcept {
    if (!m_state->isOpen.exchange(false)) {
        return;
    }
    m_state->channel->Interrupt();
    const CTurnGuard turn(m_state->turn);
    m_state->channel->Resume();
    m_state->Release();
    m_state->nextBeatNs = INT64_MAX;
    m_state->hasControl = false;
    m_state->channel.reset();
}

bool CConnection::IsOpen() const {
    return m_state->isOpen;
}

bool CConnection::HadLeftovers() const {
    return m_state->hasLeftovers && m_state->hasControl;
}

bool CConnection::HasControl() const {
    return m_state->hasControl;
}

const CRoute& CConnection::Route() const {
    return m_state->route;
}

const CCapabilities& CConnection::Capabilities() const {
    return m_state->capabilities;
}

// Those of the first one are in two places: some begin with its MAC address, some with the number of interfaces.
std::uint32_t CConnection::InterfaceRegister(std::uint32_t ofFirst) const {
    const std::uint32_t interface = m_state->interface;
    if (interface == 0) {
        return ofFirst;
    }
    const std::uint32_t place =
        ofFirst - (ofFirst < Register::kInterfaces ? Register::kMacHigh : Register::kInterfaces);
    return Register::kOtherInterfaces + (interface - 1) * Register::kInterfaceStride + place;
}

std::uint32_t CConnection::ChannelPort(std::uint16_t port) const {
    constexpr std::uint32_t kOneInterface =
        GigEVision::ChannelPort::kInterface & ~(GigEVision::ChannelPort::kInterface << 1);
    return m_state->interface * kOneInterface | port;
}

std::uint32_t CConnection::ReadRegister(std::uint32_t address) {
    return Counted(m_state->counts.reads, m_state->counts.failedReads, [&] {
        const CTurnGuard turn(m_state->turn);
        return m_state->ReadRegister(address);
    });
}

void CConnection::WriteRegister(std::uint32_t address, std::uint32_t value) {
    Counted(m_state->counts.writes, m_state->counts.failedWrites, [&] {
        const CTurnGuard turn(m_state->turn);
        m_state->WriteRegister(address, value);
    });
}

void CConnection::ReadMemory(std::uint32_t address, GigEVision::MutableBytes bytes, std::int64_t untilNs) {
    Counted(m_state->counts.reads, m_state->counts.failedReads, [&] { m_state->ReadMemory(address, bytes, untilNs); });
}

void CConnection::WriteMemory(std::uint32_t address, GigEVision::Bytes bytes) {
    Counted(m_state->counts.writes, m_state->counts.failedWrites, [&] { m_state->WriteMemory(address, bytes); });
}

std::string CConnection::ReadText(std::uint32_t address, std::size_t bytes) {
    std::vector<std::uint8_t> text(bytes);
    ReadMemory(address, text);
    return std::string(text.begin(), std::find(text.begin(), text.end(), std::uint8_t{0}));
}

void CConnection::LimitUntil(std::int64_t untilNs) noexcept {
    m_state->limitNs = untilNs;
}

// Its end holds for the turn, too, and where a pending answer asks for more.
bool CConnection::TryWriteRegister(std::uint32_t address, std::uint32_t value) noexcept {
    CTries tries{kShortestTryMs, 2};
    tries.untilNs = MonotonicNs() + kOptionalNs;
    const CTurnGuard turn(m_state->turn, tries.untilNs);
    if (!turn.IsTaken() || !m_state->isOpen || m_state->isLost) {
        return false;
    }
    if (m_state->channel->IsSuspect()) { // it may hear that, but will hardly answer
        tries.timeoutMs = kLastWordMs;
    }
    const bool isDone = m_state->channel->WriteRegister(address, value, tries).IsDone();
    ++m_state->counts.writes;
    m_state->counts.failedWrites += isDone ? 0 : 1;
    return isDone;
}

bool CConnection::Beat() noexcept {
    const CTurnGuard turn(m_state->turn, CFairTurn::EKind::Heartbeat);
    if (m_state->isOpen && !m_state->isLost && !m_state->isClosing) {
        m_state->Beat();
    } else {
        m_state->nextBeatNs = INT64_MAX;
    }
    return !m_state->isLost;
}

std::int64_t CConnection::NextBeatNs() const {
    return m_state->nextBeatNs;
}

void CConnection::Hurry() noexcept {
    if (m_state->isOpen && !m_state->isLost) {
        m_state->isHurried = true; // first: a heartbeat that is under way looks at it last
        m_state->nextBeatNs = MonotonicNs();
    }
}

void CConnection::OnLoss(std::function<void()> listener) {
    m_state->onLoss = std::move(listener);
}

void CConnection::AskForStream(std::function<bool()> isStreaming) {
    m_state->isStreaming = std::move(isStreaming);
}

bool CConnection::IsLost() const {
    return m_state->isLost;
}

std::string CConnection::LossText() const {
    const PluginKit::CLockGuard guard(m_state->textLock);
    return m_state->lossText;
}

const CConnectionSettings& CConnection::Settings() const {
    return m_state->settings;
}

} // namespace Gige
