// SPDX-License-Identifier: Apache-2.0
#include "control/CommandChannel.h"

#include <Base/GCException.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/random.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace Gige {

namespace {

using GigEVision::Bytes;
using GigEVision::Command;
using GigEVision::Status;
using PluginKit::CDescriptor;
using PluginKit::CEndpoint;

constexpr std::uint32_t kFirstBusyPauseMs = 10;
constexpr std::uint32_t kLinkLookMs = 200; // how often a long wait looks at the link

constexpr std::int64_t ToNs(std::uint32_t milliseconds) {
    return std::int64_t{milliseconds} * 1'000'000;
}

/// So that answers to a session before are not taken for those of this one.
std::uint16_t RandomId() {
    std::uint16_t id = 0;
    if (getrandom(&id, sizeof id, GRND_NONBLOCK) != sizeof id) {
        id = static_cast<std::uint16_t>(MonotonicNs() >> 10);
    }
    return id;
}

CDescriptor MakeWakeDescriptor() {
    CDescriptor descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!descriptor.IsOpen()) {
        throw RUNTIME_EXCEPTION("Cannot make an event descriptor: %s.", std::system_category().message(errno).c_str());
    }
    return descriptor;
}

} // namespace

/// One try's patience.
struct CCommandChannel::CWait {
    std::int64_t untilNs = 0;    ///< of this try
    std::int64_t shortestNs = 0; ///< a pending acknowledge prolongs it by at least this
    std::int64_t endNs = 0;      ///< of the whole command
    std::int64_t silenceNs = 0;  ///< after which a link that is down ends it
};

CCommandChannel::CCommandChannel(CUdpSocket socket, const CEndpoint& device, const std::atomic<bool>& isDuplicating,
                                 std::atomic<std::uint64_t>& timeouts, const CLimits& limits)
    : m_socket(std::move(socket)), m_device(device), m_isDuplicating(isDuplicating), m_timeouts(timeouts),
      m_limits(limits), m_wake(MakeWakeDescriptor()), m_id(RandomId()) {}

CAnswer CCommandChannel::ReadRegister(std::uint32_t address, const CTries& tries) {
    GigEVision::RegisterList list;
    list.words[0] = address;
    list.count = 1;
    return Run({Command::ReadReg, 0, 4}, GigEVision::EncodeReadReg(list, PayloadRoom()), tries);
}

CAnswer CCommandChannel::WriteRegister(std::uint32_t address, std::uint32_t value, const CTries& tries) {
    GigEVision::RegisterWriteList list;
    list.writes[0] = {address, value};
    list.count = 1;
    return Run({Command::WriteReg, 0, 0}, GigEVision::EncodeWriteReg(list, PayloadRoom()), tries);
}

CAnswer CCommandChannel::ReadMemory(std::uint32_t address, std::uint16_t bytes, const CTries& tries) {
    return Run({Command::ReadMem, 0, bytes}, GigEVision::EncodeReadMem({address, bytes}, PayloadRoom()), tries);
}

CAnswer CCommandChannel::WriteMemory(std::uint32_t address, Bytes data, const CTries& tries) {
    return Run({Command::WriteMem, 0, 0}, GigEVision::EncodeMemory({address, data}, PayloadRoom()), tries);
}

void CCommandChannel::Interrupt() noexcept {
    m_isInterrupted = true;
    eventfd_write(m_wake.Number(), 1);
}

void CCommandChannel::Resume() noexcept {
    eventfd_t count = 0;
    eventfd_read(m_wake.Number(), &count);
    m_isInterrupted = false;
}

GigEVision::MutableBytes CCommandChannel::PayloadRoom() {
    return GigEVision::MutableBytes(m_command).subspan(GigEVision::kGvcpHeaderBytes);
}

// A busy device is asked anew, under a new id: to the same one it might repeat its answer.
CAnswer CCommandChannel::Run(CExpectedAnswer expected, Bytes payload, const CTries& tries) {
    const std::int64_t startNs = MonotonicNs();
    const std::int64_t endNs = std::min(tries.untilNs, startNs + ToNs(m_limits.commandMs));
    const std::uint32_t busyMs = tries.busyMs != 0 ? tries.busyMs : tries.timeoutMs;
    std::uint32_t pausedMs = 0, pauseMs = kFirstBusyPauseMs;
    CTries left = tries; // in all: what was lost in between is not tried anew
    for (;;) {
        CAnswer answer = Ask(expected, payload, left, endNs);
        answer.waitedNs = MonotonicNs() - startNs;
        if (!answer.Is(Status::Busy) || pausedMs + pauseMs > busyMs || MonotonicNs() + ToNs(pauseMs) > endNs ||
            !Pause(pauseMs)) {
            return answer;
        }
        left.count = std::max(left.count, answer.tries) - (answer.tries - 1);
        pausedMs += pauseMs;
        pauseMs *= 2;
    }
}

CAnswer CCommandChannel::Ask(CExpectedAnswer& expected, Bytes payload, const CTries& tries, std::int64_t endNs) {
    const bool isCut = IsCut(tries);
    const std::uint32_t count = isCut ? 1 : std::max(tries.count, 1u);
    const std::int64_t beginNs = MonotonicNs();
    expected.id = m_id = GigEVision::NextRequestId(m_id);
    const Bytes datagram = GigEVision::EncodeCommand(
        {GigEVision::Flag::kAcknowledge, static_cast<std::uint16_t>(expected.command), expected.id, payload},
        m_command);
    CAnswer answer;
    bool isMalformed = false, wasPending = false;
    for (std::uint32_t tried = 1; tried <= count; ++tried) {
        const std::int64_t nowNs = MonotonicNs();
        if (nowNs >= endNs || (tried > 1 && (nowNs >= SilentAtNs(tries, beginNs) || IsCut(tries)))) {
            break;
        }
        Send(datagram);
        const std::int64_t tryNs = ToNs(TryMs(tries, tried, isCut));
        const std::int64_t shortestNs = std::max(tryNs, ToNs(TryMs(tries, 1, isCut)));
        const std::int64_t silentNs = std::max(SilentAtNs(tries, beginNs), nowNs + ToNs(m_limits.suspectTryMs));
        answer =
            Await(expected, {std::min({nowNs + tryNs, silentNs, endNs}), shortestNs, endNs, ToNs(tries.silenceMs)});
        answer.tries = tried;
        if (answer.outcome != EOutcome::Silent && answer.outcome != EOutcome::Malformed) {
            return answer;
        }
        wasPending = wasPending || answer.wasPending;
        isMalformed = isMalformed || answer.outcome == EOutcome::Malformed;
        ++m_timeouts;
    }
    answer.outcome = isMalformed ? EOutcome::Malformed : EOutcome::Silent;
    answer.wasPending = wasPending;
    m_isSuspect = m_isSuspect || !tries.isHeartbeat;
    return answer;
}

// A cable that is out may come back, but nobody is to wait for that.
bool CCommandChannel::IsCut(const CTries& tries) const noexcept {
    return !tries.isHeartbeat && (m_isSuspect || m_socket.IsLinkDown());
}

std::uint32_t CCommandChannel::TryMs(const CTries& tries, std::uint32_t tried, bool isCut) const {
    const std::uint32_t wanted = tried == 1 && tries.firstTimeoutMs != 0 ? tries.firstTimeoutMs : tries.timeoutMs;
    if (isCut) {
        return std::min(wanted, m_limits.suspectTryMs);
    }
    return tries.isHeartbeat ? wanted : std::max(wanted, m_shortestTryMs);
}

std::int64_t CCommandChannel::SilentAtNs(const CTries& tries, std::int64_t beginNs) const {
    const std::int64_t heardNs = m_lastHeardNs;
    return (heardNs != 0 ? heardNs : beginNs) + ToNs(tries.silenceMs);
}

// Whoever floods this socket does not prolong the wait.
CAnswer CCommandChannel::Await(const CExpectedAnswer& expected, CWait wait) {
    CAnswer answer;
    do {
        const std::int64_t lookNs = MonotonicNs() + ToNs(kLinkLookMs);
        const auto received = m_socket.Receive(m_answer, std::min(wait.untilNs, lookNs), m_wake.Number());
        if (received && received->from == m_device && Take(JudgeAnswer(received->bytes, expected), wait, answer)) {
            return answer;
        }
    } while (!m_isInterrupted && MonotonicNs() < wait.untilNs && !IsGone(wait));
    if (m_isInterrupted) {
        answer.outcome = EOutcome::Interrupted;
    }
    return answer;
}

bool CCommandChannel::IsGone(const CWait& wait) const noexcept {
    return m_lastHeardNs != 0 && MonotonicNs() >= m_lastHeardNs + wait.silenceNs && m_socket.IsLinkDown();
}

/// @return whether that is the answer.
bool CCommandChannel::Take(const CJudgedAnswer& judged, CWait& wait, CAnswer& answer) {
    if (judged.meaning == EMeaning::Malformed) {
        answer.outcome = EOutcome::Malformed;
        return false;
    }
    m_lastHeardNs = MonotonicNs();
    m_isSuspect = false;
    if (judged.meaning == EMeaning::Pending) {
        const std::int64_t promisedNs = ToNs(std::min<std::uint32_t>(judged.pendingMs, m_limits.promiseMs));
        answer.wasPending = true;
        wait.untilNs = std::min(m_lastHeardNs + std::max(promisedNs, wait.shortestNs), wait.endNs);
    }
    if (judged.meaning != EMeaning::Answer) {
        return false;
    }
    answer.outcome = GigEVision::IsError(judged.message.status) ? EOutcome::Refused : EOutcome::Done;
    answer.status = judged.message.status;
    answer.value = judged.value;
    answer.data = judged.data;
    return true;
}

/// @return false when it was interrupted.
bool CCommandChannel::Pause(std::uint32_t milliseconds) noexcept {
    const std::int64_t untilNs = MonotonicNs() + ToNs(milliseconds);
    for (;;) {
        const std::int64_t leftMs = (untilNs - MonotonicNs() + 999'999) / 1'000'000;
        pollfd waited = {m_wake.Number(), POLLIN, 0};
        if (m_isInterrupted || leftMs <= 0 || poll(&waited, 1, static_cast<int>(leftMs)) >= 0) {
            return !m_isInterrupted;
        }
    }
}

void CCommandChannel::Send(Bytes datagram) noexcept {
    m_socket.SendTo(m_device, datagram);
    if (m_isDuplicating) {
        m_socket.SendTo(m_device, datagram);
    }
}

} // namespace Gige
