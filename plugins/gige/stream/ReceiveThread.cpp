// SPDX-License-Identifier: Apache-2.0
#include "stream/ReceiveThread.h"

#include "PluginLog.h"

#include <gigevision/Gvcp.h>
#include <gigevision/Gvsp.h>
#include <zelmo/ThreadPriority.h>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <system_error>

namespace Gige {

namespace {

constexpr std::int64_t kSecondNs = 1'000'000'000;
constexpr std::int64_t kBacklogNs = 2'000'000;        // is read before anything is asked for
constexpr std::int64_t kKeepAliveNs = 10 * kSecondNs; // firewalls forget after 30 s or later

int MakeWakeDescriptor() {
    const int descriptor = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "no descriptor to wake the receive thread with");
    }
    return descriptor;
}

// Small packets come in larger numbers; a batch of jumbo ones stays within the processor's cache.
std::size_t SlotCount(const CReceiveSetup& setup) {
    constexpr std::uint32_t kJumbo = 2048;
    return setup.isMerging || setup.packetSize > kJumbo ? 32 : 64;
}

std::size_t SlotBytes(const CReceiveSetup& setup) {
    constexpr std::size_t kCacheLine = 64, kLargestDatagram = 65536;
    const std::size_t packet = setup.isMerging ? kLargestDatagram : std::max(setup.packetSize, 1500u);
    return (packet + kCacheLine - 1) / kCacheLine * kCacheLine;
}

// Not a test packet, or what somebody else of that address sends. Block 0 is none.
bool IsOfAnImage(GigEVision::Bytes datagram) {
    using namespace GigEVision;
    const auto packet = DecodePacket(datagram);
    return packet && !IsError(packet->header.status) && packet->header.blockId != 0 &&
           packet->header.format >= static_cast<std::uint8_t>(PacketFormat::Leader) &&
           packet->header.format <= static_cast<std::uint8_t>(PacketFormat::GenDc);
}

} // namespace

CReceiveThread::CReceiveThread(CStreamSocket& socket, CReassembler& reassembler, IReceiveClient& client,
                               const CReceiveSetup& setup)
    : m_socket(socket), m_reassembler(reassembler), m_client(client), m_setup(setup),
      m_slots(SlotCount(setup), SlotBytes(setup)), m_wake(MakeWakeDescriptor()), m_droppedBefore(socket.Dropped()),
      m_droppedTotal(m_droppedBefore), m_requestId(static_cast<std::uint16_t>(MonotonicNs() / 1000 | 1)),
      m_nextKeepAliveNs(MonotonicNs() + kKeepAliveNs) {}

void CReceiveThread::Start() {
    m_thread = std::thread([this] { Run(); });
}

void CReceiveThread::Stop() noexcept {
    if (m_thread.joinable()) {
        m_isEnding = true;
        Wake();
        m_thread.join();
    }
}

void CReceiveThread::Wake() noexcept {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_wake.Number(), &one, sizeof one); // full: it is awake already
}

// After a full batch the next one is there already: then it costs one system call instead of two.
void CReceiveThread::Run() noexcept {
    TakePriority();
    while (!m_isEnding) {
        const bool isAwaited = !m_isFull;
        if (isAwaited) {
            Wait(MonotonicNs());
        }
        const std::int64_t nowNs = MonotonicNs();
        if (!Process(nowNs) && !isAwaited) {
            continue; // it was not: nothing has changed since
        }
        if (isAwaited) {
            m_backlogSinceNs = nowNs;
        }
        if (!m_isFull || nowNs - m_backlogSinceNs >= kBacklogNs) { // else answers may be among what waits
            m_backlogSinceNs = nowNs;
            m_reassembler.OnTick(nowNs);
            SendResends();
        }
        m_client.FetchResults(m_reassembler, m_costs);
        KeepPathOpen(nowNs);
        LookForSilence(nowNs);
    }
    NoteDropped(m_socket.Dropped()); // datagrams tell of those lost before them, and behind the last there is none
}

void CReceiveThread::Wait(std::int64_t nowNs) noexcept {
    std::int64_t untilNs = std::min(m_reassembler.NextTickNs(), m_nextKeepAliveNs);
    if (m_setup.tellsOfSilence) {
        untilNs = std::min(untilNs, nowNs + kSecondNs / 4);
    }
    const std::int64_t leftNs = std::max<std::int64_t>(untilNs - nowNs, 0);
    const timespec left = {leftNs / kSecondNs, leftNs % kSecondNs};
    pollfd waited[] = {{m_socket.Number(), POLLIN, 0}, {m_wake.Number(), POLLIN, 0}};
    ++m_costs.waits;
    if (ppoll(waited, 2, &left, nullptr) > 0 && waited[1].revents != 0) {
        std::uint64_t wakes = 0;
        [[maybe_unused]] const ssize_t bytes = read(m_wake.Number(), &wakes, sizeof wakes);
    }
}

// A socket that was connected and then empty holds nothing but what the device sends.
bool CReceiveThread::Process(std::int64_t nowNs) noexcept {
    const bool isConnected = m_socket.IsConnected();
    const std::size_t count = m_slots.Fetch(m_socket.Number());
    ++m_costs.receives;
    m_isFull = count == m_slots.Count();
    if (count > 0) {
        TakeBatch(count, nowNs);
    }
    if (isConnected && !m_isFull && m_slots.HasSources()) {
        m_slots.LeaveOutSources();
    }
    return count > 0;
}

void CReceiveThread::TakeBatch(std::size_t count, std::int64_t nowNs) noexcept {
    ++m_costs.batches;
    m_costs.datagrams += count;
    m_client.BringBuffers(m_reassembler);
    for (std::size_t i = 0; i < count; ++i) {
        if (const auto dropped = m_slots.Dropped(i)) {
            NoteDropped(*dropped);
        }
        if (!m_slots.HasSources() || IsFromDevice(i)) {
            m_hasHeardDevice = true;
            TakeDatagram(i, nowNs);
        } else {
            m_reassembler.OnForeign();
        }
    }
}

// The kernel's count goes round. A datagram that came ahead of this stream may tell less than there was before it.
void CReceiveThread::NoteDropped(std::uint32_t total) noexcept {
    if (static_cast<std::int32_t>(total - m_droppedTotal) > 0) {
        m_droppedTotal = total;
        m_reassembler.OnDroppedByHost(total - m_droppedBefore);
    }
}

void CReceiveThread::TakeDatagram(std::size_t index, std::int64_t nowNs) noexcept {
    GigEVision::Bytes rest = m_slots.Datagram(index);
    const std::size_t packetBytes = std::max<std::size_t>(m_slots.PacketBytes(index), 1);
    do {
        const GigEVision::Bytes packet = rest.first(std::min(packetBytes, rest.size()));
        m_reassembler.OnDatagram(packet, nowNs);
        rest = rest.subspan(packet.size());
    } while (!rest.empty());
}

// A camera without the register that tells its port is known by its first packet. Until that comes any port may be it.
bool CReceiveThread::IsFromDevice(std::size_t index) noexcept {
    const PluginKit::CEndpoint from = m_slots.From(index);
    if (from.address != m_setup.device.address) {
        return false;
    }
    if (m_setup.sourcePort == 0 && IsOfAnImage(m_slots.Datagram(index))) {
        m_setup.sourcePort = from.port;
        m_socket.Connect(from);
    }
    return m_setup.sourcePort == 0 || from.port == m_setup.sourcePort;
}

void CReceiveThread::SendResends() noexcept {
    for (const CResendCommand& command : m_reassembler.TakeResends()) {
        GigEVision::GvcpBuffer buffer;
        GigEVision::CommandMessage message;
        message.flags = command.request.isExtended ? GigEVision::Flag::kExtendedIds : std::uint8_t{0};
        message.command = static_cast<std::uint16_t>(GigEVision::Command::PacketResend);
        message.requestId = m_requestId = GigEVision::NextRequestId(m_requestId);
        message.payload = GigEVision::EncodePacketResend(
            command.request, GigEVision::MutableBytes(buffer).subspan(GigEVision::kGvcpHeaderBytes));
        m_socket.SendTo(m_setup.device, GigEVision::EncodeCommand(message, buffer));
        ++m_costs.sends;
    }
}

void CReceiveThread::KeepPathOpen(std::int64_t nowNs) noexcept {
    if (nowNs >= m_nextKeepAliveNs) {
        m_nextKeepAliveNs = nowNs + kKeepAliveNs;
        if (m_setup.sourcePort != 0) {
            m_socket.Send({});
            ++m_costs.sends;
        }
    }
}

void CReceiveThread::LookForSilence(std::int64_t nowNs) noexcept {
    if (!m_setup.tellsOfSilence) {
        return;
    }
    if (m_hasHeardDevice) {
        m_setup.tellsOfSilence = false;
    } else if (m_silentSinceNs == 0) {
        m_client.BringBuffers(m_reassembler);
        m_silentSinceNs = m_reassembler.Buffers() > 0 ? nowNs : 0;
    } else if (nowNs - m_silentSinceNs >= kSecondNs) {
        m_setup.tellsOfSilence = false;
        m_hasToldOfSilence = true;
        hxlog::LogTrace(
            LogCategory(), hxlog::LogLevel_Warn,
            "Stream of camera %s: not one packet has come to port %u in the first second. If the camera waits "
            "for a trigger, all is well; else a firewall drops them, or packets of %u bytes are too large for "
            "the way.",
            PluginKit::AddressText(m_setup.device.address).c_str(), m_socket.LocalPort(), m_setup.packetSize);
    }
}

void CReceiveThread::TakePriority() noexcept {
    if (!m_setup.priority) {
        return;
    }
    if (const int error = Zelmo::SetRTThreadPriority(pthread_self(), *m_setup.priority)) {
        hxlog::LogTrace(
            LogCategory(), hxlog::LogLevel_Warn,
            "Stream of camera %s: the receive thread does not get the priority %d: %s. The limit is that of "
            "real-time priorities, see 'ulimit -r'.",
            PluginKit::AddressText(m_setup.device.address).c_str(), *m_setup.priority,
            std::system_category().message(error).c_str());
    }
}

} // namespace Gige
