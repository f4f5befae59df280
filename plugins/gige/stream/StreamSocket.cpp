// SPDX-License-Identifier: Apache-2.0
#include "stream/StreamSocket.h"

#include <Base/GCException.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/udp.h>
#include <poll.h>
#include <sys/socket.h>

namespace Gige {

namespace {

CRoute To(CRoute route, std::uint32_t destination) {
    route.hostAddress = destination; // the address to bind: a group or a broadcast address takes nothing else in
    return route;
}

template <typename T>
bool SetOption(int socket, int level, int name, const T& value) noexcept {
    return setsockopt(socket, level, name, &value, sizeof value) == 0;
}

std::uint64_t BufferBytes(int socket) noexcept {
    int granted = 0;
    socklen_t length = sizeof granted;
    getsockopt(socket, SOL_SOCKET, SO_RCVBUF, &granted, &length);
    return static_cast<std::uint64_t>(granted);
}

void Join(int socket, const CRoute& route, std::uint32_t group) {
    ip_mreqn membership = {};
    membership.imr_multiaddr.s_addr = htonl(group);
    membership.imr_address.s_addr = htonl(route.hostAddress);
    membership.imr_ifindex = static_cast<int>(route.interfaceIndex);
    if (!SetOption(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, membership)) {
        throw RUNTIME_EXCEPTION("Cannot join the group %s on %s: %s.", PluginKit::AddressText(group).c_str(),
                                route.interface.c_str(), std::strerror(errno));
    }
}

} // namespace

CStreamSocket::CStreamSocket(const CRoute& route, std::uint32_t destination, std::uint16_t port)
    : m_device(route.device.address), m_socket(CUdpSocket::ForDevice(To(route, destination), port)) {
    if (PluginKit::IsMulticast(destination)) {
        Join(Number(), route, destination);
    }
    SetOption(Number(), SOL_SOCKET, SO_RXQ_OVFL, int{1});
}

// The kernel doubles what it is asked for, and without the privilege caps it.
std::uint64_t CStreamSocket::SetBuffer(std::uint64_t bytes) noexcept {
    const auto half = static_cast<int>(std::min<std::uint64_t>(bytes / 2, std::numeric_limits<int>::max() / 2));
    if (!SetOption(Number(), SOL_SOCKET, SO_RCVBUFFORCE, half)) {
        SetOption(Number(), SOL_SOCKET, SO_RCVBUF, half);
    }
    return BufferBytes(Number());
}

bool CStreamSocket::MergePackets() noexcept {
    return SetOption(Number(), IPPROTO_UDP, UDP_GRO, int{1});
}

// Where the kernel does not, the receive thread itself passes over what others send.
void CStreamSocket::Connect(const PluginKit::CEndpoint& peer) noexcept {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(peer.address);
    address.sin_port = htons(peer.port);
    m_isConnected = connect(Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void CStreamSocket::Send(GigEVision::Bytes datagram) noexcept {
    (void)send(Number(), datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

bool CStreamSocket::Await(std::size_t bytes, std::int64_t untilNs) noexcept {
    for (;;) {
        const std::int64_t leftNs = untilNs - MonotonicNs();
        pollfd waited = {Number(), POLLIN, 0};
        if (leftNs <= 0 || poll(&waited, 1, static_cast<int>(leftNs / 1'000'000) + 1) < 0) {
            return false;
        }
        sockaddr_in from = {};
        socklen_t length = sizeof from;
        const ssize_t size = recvfrom(Number(), nullptr, 0, MSG_DONTWAIT | MSG_TRUNC, // the length alone counts
                                      reinterpret_cast<sockaddr*>(&from), &length);
        if (size == static_cast<ssize_t>(bytes) && ntohl(from.sin_addr.s_addr) == m_device) {
            return true;
        }
    }
}

std::uint32_t CStreamSocket::Dropped() const noexcept {
    std::array<std::uint32_t, SK_MEMINFO_VARS> numbers = {};
    socklen_t length = sizeof numbers;
    getsockopt(Number(), SOL_SOCKET, SO_MEMINFO, numbers.data(), &length);
    return numbers[SK_MEMINFO_DROPS];
}

// Bounded, as somebody may send faster than this drops.
void CStreamSocket::Drain() noexcept {
    constexpr int kMaxDatagrams = 100'000;
    for (int i = 0; i < kMaxDatagrams && (recv(Number(), nullptr, 0, MSG_DONTWAIT) >= 0 || errno == ECONNREFUSED);
         ++i) {
    }
}

} // namespace Gige
