// SPDX-License-Identifier: Apache-2.0
#include "StreamSocket.h"

#include "Endpoint.h"

#include <cerrno>
#include <linux/filter.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <system_error>

namespace Serving {

namespace {

constexpr int kSendBufferBytes = 1 << 20; // the kernel grants what it may

template <typename T>
void SetOption(int socket, int level, int name, const T& value) noexcept {
    setsockopt(socket, level, name, &value, sizeof value); // without it the stream still works on common networks
}

void DropAllThatComes(int socket) noexcept {
    sock_filter nothing = {BPF_RET | BPF_K, 0, 0, 0};
    SetOption(socket, SOL_SOCKET, SO_ATTACH_FILTER, sock_fprog{1, &nothing});
}

} // namespace

CStreamSocket::CStreamSocket(std::uint32_t address)
    : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    sockaddr_in bound = {};
    bound.sin_family = AF_INET;
    bound.sin_addr.s_addr = htonl(address);
    socklen_t length = sizeof bound;
    auto* const generic = reinterpret_cast<sockaddr*>(&bound);
    if (!m_socket.IsOpen() || bind(Number(), generic, length) != 0 || getsockname(Number(), generic, &length) != 0) {
        throw std::system_error(errno, std::generic_category(), "Cannot open a stream from " + AddressText(address));
    }
    m_port = ntohs(bound.sin_port);
    DropAllThatComes(Number());
    SetOption(Number(), SOL_SOCKET, SO_SNDBUF, kSendBufferBytes);
    SetOption(Number(), IPPROTO_IP, IP_MULTICAST_TTL, 1);
    SetOption(Number(), IPPROTO_IP, IP_MULTICAST_IF, bound.sin_addr);
    SetDoNotFragment(false);
}

// PROBE sets the bit and sends what is larger than the path is known to take, as a camera does.
void CStreamSocket::SetDoNotFragment(bool isSet) noexcept {
    if (isSet != m_doNotFragment) {
        m_doNotFragment = isSet;
        SetOption(Number(), IPPROTO_IP, IP_MTU_DISCOVER, isSet ? IP_PMTUDISC_PROBE : IP_PMTUDISC_DONT);
    }
}

} // namespace Serving
