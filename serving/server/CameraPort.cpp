// SPDX-License-Identifier: Apache-2.0
#include "CameraPort.h"

#include "ServeError.h"
#include "ServingNetwork.h"

#include <serving/Device.h>

#include <gigevision/Gvcp.h>

#include "core/AcquisitionClock.h"

#include <net/if.h>

#include <algorithm>
#include <limits>
#include <system_error>

namespace Serving {
namespace {

bool IsNetworkMask(std::uint32_t mask) {
    return mask != 0 && (~mask & (~mask + 1)) == 0;
}

/// What is missing on the interface, and what is there.
CServeError NotThere(std::uint32_t address, const CNetworkInterface& interface) {
    const std::string start = AddressText(address) + " is no address of " + interface.name;
    if (interface.isLoopback) {
        return UsageError(start + ", which has 127.0.0.0/8; for another network name its interface by --interface");
    }
    return UsageError(start + ", which has " + AddressesText(interface) +
                      "; --manage-addresses adds it while cameras are served");
}

} // namespace

CCameraPort::CCameraPort(CServingNetwork& network, const CAddressing& addressing)
    : m_network(network), m_loopbackIndex(if_nametoindex("lo")), m_initial(addressing), m_addressing(addressing) {
    const std::uint32_t address = addressing.address;
    const auto mask = network.addresses.Claim(address, addressing.mask);
    if (!mask) {
        throw NotThere(address, network.addresses.Interface());
    }
    m_initial.mask = m_addressing.mask = *mask;
    try {
        if (!IsHostAddress({address, *mask})) {
            throw UsageError(AddressText(address) + " cannot be a camera's address");
        }
        ListenAt(address, *mask);
        network.broadcasts.Add(*this);
    } catch (...) {
        m_network.loop.Forget(m_control.Number());
        network.addresses.Release(address);
        throw;
    }
}

CCameraPort::~CCameraPort() {
    m_network.broadcasts.Remove(*this);
    CloseMessages();
    m_network.loop.Forget(m_control.Number());
    m_network.addresses.Release(m_addressing.address);
}

/// Replaces the socket for commands; when it fails the former one is left.
void CCameraPort::ListenAt(std::uint32_t address, std::uint32_t mask) {
    CDescriptor socket = OpenUnicastSocket({address, GigEVision::kGvcpPort});
    m_network.broadcasts.Listen(CInterfaceAddress{address, mask}.Broadcast());
    m_network.loop.Watch(socket.Number(), [this] { OnControl(); });
    if (m_control.IsOpen()) {
        m_network.loop.Forget(m_control.Number());
    }
    m_control = std::move(socket);
}

void CCameraPort::Attach(CDevice& device, std::function<void(std::uint32_t)> onMoved) {
    m_device = &device;
    m_onMoved = std::move(onMoved);
}

void CCameraPort::Detach() noexcept {
    m_device = nullptr;
}

template <class Action>
void CCameraPort::Guarded(const char* attempted, Action action) noexcept {
    try {
        if (m_device != nullptr) {
            action(*m_device);
        }
    } catch (const std::exception& error) {
        m_network.notes.Note(AddressText(m_addressing.address) + ": " + attempted + " failed: " + error.what(),
                             CamEmu::MonotonicNs());
    }
}

void CCameraPort::OnControl() {
    for (const CReceived& received : m_network.buffer.Receive(m_control.Number())) {
        if (IsHeard(received, m_network.addresses.Interface(), m_loopbackIndex)) {
            Guarded("a command", [&](CDevice& device) {
                device.OnDatagram(received.bytes, {received.from, false, CamEmu::MonotonicNs()});
            });
        }
    }
}

void CCameraPort::OnBroadcast(const CReceived& received) {
    Guarded("a broadcast command", [&](CDevice& device) {
        device.OnDatagram(received.bytes, {received.from, true, CamEmu::MonotonicNs()});
    });
}

void CCameraPort::OnMessages() {
    for (const CReceived& received : m_network.buffer.Receive(m_messages.Number())) {
        if (IsHeard(received, m_network.addresses.Interface(), m_loopbackIndex)) {
            Guarded("an acknowledge", [&](CDevice& device) {
                device.OnMessageDatagram(received.bytes, {received.from, false, CamEmu::MonotonicNs()});
            });
        }
    }
}

void CCameraPort::OnTime(std::int64_t nowNs) {
    while (!m_delayed.empty() && m_delayed.begin()->first <= nowNs) {
        const auto due = m_delayed.extract(m_delayed.begin());
        Send(m_control.Number(), due.mapped().to, due.mapped().bytes);
    }
    const bool isWoken = m_isWoken.exchange(false);
    if (m_device != nullptr && (isWoken || m_device->NextDueNs() <= nowNs)) {
        Guarded("what was due", [&](CDevice& device) { device.OnTime(nowNs); });
    }
}

std::int64_t CCameraPort::NextDueNs() const {
    constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();
    const std::int64_t answerNs = m_delayed.empty() ? never : m_delayed.begin()->first;
    return std::min(answerNs, m_device != nullptr ? m_device->NextDueNs() : never);
}

bool CCameraPort::HasBudget(std::uint32_t to, std::size_t bytes) {
    const std::int64_t nowNs = CamEmu::MonotonicNs();
    if (m_network.budget.Take(to, bytes, nowNs)) {
        return true;
    }
    ++m_droppedAnswers;
    m_network.notes.Note(
        "Too many commands of clients without control, such as " + AddressText(to) + ": some are not answered", nowNs);
    return false;
}

void CCameraPort::Answer(const CEndpoint& to, GigEVision::Bytes datagram, ERecipient recipient, std::int64_t delayNs) {
    if (recipient == ERecipient::Primary || HasBudget(to.address, datagram.size())) {
        SendOrDelay(to, datagram, delayNs);
    }
}

void CCameraPort::AnswerByBroadcast(std::uint16_t port, GigEVision::Bytes datagram, std::int64_t delayNs) {
    constexpr std::uint32_t everybody = 0xFFFFFFFF;
    if (HasBudget(everybody, datagram.size())) {
        SendOrDelay({everybody, port}, datagram, delayNs);
    }
}

void CCameraPort::SendOrDelay(const CEndpoint& to, GigEVision::Bytes datagram, std::int64_t delayNs) {
    if (delayNs <= 0) {
        Send(m_control.Number(), to, datagram);
    } else if (m_delayed.size() < kDelayedAnswers) {
        m_delayed.emplace(CamEmu::MonotonicNs() + delayNs, CDelayed{to, {datagram.begin(), datagram.end()}});
    } else {
        ++m_droppedAnswers;
    }
}

void CCameraPort::Send(int socket, const CEndpoint& to, GigEVision::Bytes datagram) {
    // over the interface, so that clients of other networks are reached there too
    SendDatagram(socket, to, m_addressing.address, m_network.addresses.Interface().index, datagram);
}

std::uint16_t CCameraPort::OpenMessages() {
    CloseMessages();
    try {
        m_messages = OpenUnicastSocket({m_addressing.address, 0});
        m_network.loop.Watch(m_messages.Number(), [this] { OnMessages(); });
    } catch (const CServeError& error) {
        m_messages.Reset();
        throw std::system_error(std::make_error_code(std::errc::io_error), error.what());
    }
    return LocalEndpoint(m_messages.Number()).port;
}

void CCameraPort::CloseMessages() noexcept {
    if (m_messages.IsOpen()) {
        m_network.loop.Forget(m_messages.Number());
        m_messages.Reset();
    }
}

void CCameraPort::SendMessage(const CEndpoint& to, GigEVision::Bytes datagram) {
    if (m_messages.IsOpen()) {
        Send(m_messages.Number(), to, datagram);
    }
}

bool CCameraPort::ChangeAddress(const CAddressing& wanted) {
    if (!IsNetworkMask(wanted.mask) || !IsHostAddress({wanted.address, wanted.mask})) {
        return false;
    }
    try {
        if (wanted.address != m_addressing.address) {
            Move(wanted);
        }
        m_addressing = wanted;
        return true;
    } catch (const CServeError& error) {
        m_network.notes.Note(AddressText(m_addressing.address) + " stays where it is: " + error.what(),
                             CamEmu::MonotonicNs());
        return false;
    }
}

void CCameraPort::Move(const CAddressing& wanted) {
    const auto mask = m_network.addresses.Claim(wanted.address, wanted.mask);
    if (!mask) {
        throw NotThere(wanted.address, m_network.addresses.Interface());
    }
    try {
        ListenAt(wanted.address, *mask);
    } catch (...) {
        m_network.addresses.Release(wanted.address);
        throw;
    }
    m_network.addresses.Release(m_addressing.address);
    m_onMoved(wanted.address);
}

void CCameraPort::RestoreAddress() {
    ChangeAddress(m_initial);
}

void CCameraPort::Wake() noexcept {
    m_isWoken = true;
    m_network.loop.WakeUp();
}

} // namespace Serving
