// SPDX-License-Identifier: Apache-2.0
#include "MessageChannel.h"

#include "DeviceState.h"
#include <core/Camera.h>
#include <core/EventMessage.h>
#include <gigevision/Registers.h>
#include <serving/Stream.h>
#include <serving/Ticks.h>

#include <array>
#include <exception>

namespace Serving {

namespace Register = GigEVision::Register;
namespace Flag = GigEVision::Flag;
using GigEVision::EventItem;
using GigEVision::Status;

namespace {

constexpr std::size_t kQueued = 64;
constexpr std::uint16_t kSwitchoverEvent = 0x0007;

std::uint16_t IdOf(GigEVision::Bytes datagram) {
    return GigEVision::GetBigEndian<std::uint16_t>(&datagram[6]);
}

} // namespace

CMessageChannel::CMessageChannel(CamEmu::CCamera& camera, IStream& stream, CTicks& ticks, IDeviceHost& host,
                                 CDeviceState& state)
    : m_camera(camera), m_stream(stream), m_ticks(ticks), m_host(host), m_state(state) {}

std::uint32_t CMessageChannel::Read(std::uint32_t address) const {
    switch (address) {
    case Register::kMcp:
        return m_port;
    case Register::kMcda:
        return m_destination;
    case Register::kMctt:
        return m_timeoutMs;
    case Register::kMcrc:
        return m_retries;
    default:
        return m_sourcePort;
    }
}

Status CMessageChannel::Write(std::uint32_t address, std::uint32_t value) {
    switch (address) {
    case Register::kMcp:
        return WritePort(value);
    case Register::kMcda:
        if (!m_state.MaySendTo(value)) {
            return Status::AccessDenied;
        }
        m_destination = value;
        return Status::Success;
    case Register::kMctt:
        m_timeoutMs = value;
        return Status::Success;
    case Register::kMcrc:
        m_retries = value;
        return Status::Success;
    default:
        return Status::WriteProtect;
    }
}

Status CMessageChannel::WritePort(std::uint32_t value) {
    Close();
    const auto port = static_cast<std::uint16_t>(value & 0xFFFF);
    if (port == 0) {
        return Status::Success;
    }
    try {
        const PluginKit::CLockGuard lock(m_lock);
        m_queue.Open(kQueued);
    } catch (const std::exception&) {
        return Status::Error;
    }
    try {
        m_sourcePort = m_host.OpenMessages();
    } catch (const std::exception&) {
        return Status::Error;
    }
    m_port = port;
    if (!m_camera.Events().Connect(*this)) {
        Close();
        return Status::Busy;
    }
    return Status::Success;
}

void CMessageChannel::Close() noexcept {
    if (m_port == 0) {
        return;
    }
    m_camera.Events().Disconnect(*this);
    m_host.CloseMessages();
    m_port = m_sourcePort = 0;
    m_sent.clear();
    const PluginKit::CLockGuard lock(m_lock);
    m_queue.Clear();
    m_dropped += m_queue.Dropped();
}

std::uint64_t CMessageChannel::Dropped() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_dropped + (m_port != 0 ? m_queue.Dropped() : 0);
}

// The frames' numbers begin anew with each acquisition, which may be before it is sent: it waits with its block id.
void CMessageChannel::OnEvent(const CamEmu::CEvent& event) noexcept {
    CamEmu::CEvent queued = event;
    queued.frame = m_stream.BlockIdOf(event.frame);
    bool wasEmpty = false;
    {
        const PluginKit::CLockGuard lock(m_lock);
        wasEmpty = m_queue.IsEmpty();
        m_queue.Push(queued, m_camera.Events().IsWanted(CamEmu::EEvent::EventOverrun));
    }
    if (wasEmpty) {
        m_host.Wake();
    }
}

bool CMessageChannel::HasEvents() const {
    const PluginKit::CLockGuard lock(m_lock);
    return !m_queue.IsEmpty();
}

bool CMessageChannel::Pop(CamEmu::CEvent& event) {
    const PluginKit::CLockGuard lock(m_lock);
    return m_queue.Pop(event);
}

CEndpoint CMessageChannel::Destination() const {
    return {m_state.MaySendTo(m_destination) ? m_destination : 0, m_port};
}

std::int64_t CMessageChannel::DueNs() const {
    if (m_port == 0) {
        return kNever;
    }
    if (WaitsForAcknowledge()) {
        return m_resendNs;
    }
    return HasEvents() ? 0 : kNever;
}

void CMessageChannel::OnTime(std::int64_t nowNs) {
    if (m_port == 0) {
        return;
    }
    if (WaitsForAcknowledge() && nowNs >= m_resendNs) {
        Resend(nowNs);
    }
    while (!WaitsForAcknowledge() && HasEvents()) {
        SendNext(nowNs);
    }
}

// Where it goes is told anew each time.
void CMessageChannel::Resend(std::int64_t nowNs) {
    if (m_retriesLeft == 0 || Destination().address == 0) {
        m_sent.clear(); // nobody hears it
        return;
    }
    --m_retriesLeft;
    ++m_state.counts.eventsResent;
    m_resendNs = nowNs + m_timeoutMs * kNsPerMs;
    m_host.SendMessage(Destination(), m_sent);
}

void CMessageChannel::SendNext(std::int64_t nowNs) {
    CamEmu::CEvent event;
    const CEndpoint to = Destination();
    if (!Pop(event) || to.address == 0) {
        return;
    }
    EventItem item;
    item.eventId = static_cast<std::uint16_t>(CamEmu::kFirstEventId + static_cast<std::uint32_t>(event.kind));
    item.channel = 0;
    item.blockId = event.frame;
    item.timestamp = m_ticks.Of(event.timestampNs);
    const bool wantsAcknowledge = m_timeoutMs != 0 && !IsMulticast(to.address);
    std::vector<std::uint8_t> datagram = Send(item, wantsAcknowledge);
    if (wantsAcknowledge) {
        m_sent = std::move(datagram);
        m_retriesLeft = m_retries;
        m_resendNs = nowNs + m_timeoutMs * kNsPerMs;
    }
}

void CMessageChannel::SendSwitchover() {
    if (m_port == 0 || Destination().address == 0) {
        return;
    }
    EventItem item;
    item.eventId = kSwitchoverEvent;
    item.timestamp = m_ticks.Now();
    Send(item, false);
}

// Standard ids tell no size.
std::vector<std::uint8_t> CMessageChannel::Send(const EventItem& item, bool wantsAcknowledge) {
    const bool isExtended = m_state.HasExtendedIds();
    EventItem sent = item;
    sent.size = isExtended ? GigEVision::kExtendedEventItemBytes : 0;
    std::array<std::uint8_t, GigEVision::kExtendedEventItemBytes> payload;
    GigEVision::CommandMessage message;
    message.flags =
        static_cast<std::uint8_t>((wantsAcknowledge ? Flag::kAcknowledge : 0) | (isExtended ? Flag::kExtendedIds : 0));
    message.command = static_cast<std::uint16_t>(GigEVision::Command::Event);
    message.requestId = m_lastId = GigEVision::NextRequestId(m_lastId);
    message.payload = GigEVision::EncodeEventItem(sent, isExtended, payload);
    GigEVision::GvcpBuffer buffer;
    const GigEVision::Bytes datagram = GigEVision::EncodeCommand(message, buffer);
    ++m_state.counts.events;
    m_host.SendMessage(Destination(), datagram);
    return {datagram.begin(), datagram.end()};
}

void CMessageChannel::OnDatagram(GigEVision::Bytes datagram, const CEndpoint& from) {
    const auto acknowledge = GigEVision::DecodeAcknowledge(datagram);
    const std::uint16_t wanted = GigEVision::AcknowledgeOf(static_cast<std::uint16_t>(GigEVision::Command::Event));
    if (WaitsForAcknowledge() && acknowledge && from == Destination() && acknowledge->acknowledge == wanted &&
        acknowledge->id == IdOf(m_sent)) {
        m_sent.clear();
    }
}

} // namespace Serving
