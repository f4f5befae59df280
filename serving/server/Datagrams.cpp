// SPDX-License-Identifier: Apache-2.0
#include "Datagrams.h"

#include "ServeError.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>

namespace Serving {
namespace {

sockaddr_in ToSocketAddress(const CEndpoint& endpoint) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(endpoint.address);
    address.sin_port = htons(endpoint.port);
    return address;
}

CEndpoint ToEndpoint(const sockaddr_in& address) {
    return {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

void SwitchOn(const CDescriptor& socket, int level, int option) {
    const int on = 1;
    if (setsockopt(socket.Number(), level, option, &on, sizeof on) != 0) {
        throw SystemError("Cannot set up a UDP socket");
    }
}

CDescriptor MakeSocket() {
    CDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.IsOpen()) {
        throw SystemError("Cannot open a UDP socket");
    }
    SwitchOn(socket, IPPROTO_IP, IP_PKTINFO);
    return socket;
}

void Bind(const CDescriptor& socket, const CEndpoint& at) {
    const sockaddr_in address = ToSocketAddress(at);
    if (bind(socket.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return;
    }
    if (errno == EADDRINUSE) {
        throw CServeError(EExit::Access, "in_use", Text(at) + " is in use by another program");
    }
    throw SystemError("Cannot listen at " + Text(at));
}

/// Room for IP_PKTINFO beside a datagram.
union CPacketInfoSpace {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
};

unsigned InterfaceOf(msghdr& message) {
    for (cmsghdr* one = CMSG_FIRSTHDR(&message); one != nullptr; one = CMSG_NXTHDR(&message, one)) {
        if (one->cmsg_level == IPPROTO_IP && one->cmsg_type == IP_PKTINFO) {
            in_pktinfo info;
            std::memcpy(&info, CMSG_DATA(one), sizeof info);
            return static_cast<unsigned>(info.ipi_ifindex);
        }
    }
    return 0;
}

} // namespace

CDescriptor OpenUnicastSocket(const CEndpoint& at) {
    CDescriptor socket = MakeSocket();
    SwitchOn(socket, SOL_SOCKET, SO_BROADCAST); // answers to clients of other networks
    Bind(socket, at);
    return socket;
}

CDescriptor OpenBroadcastSocket(const CEndpoint& at, const CNetworkInterface& interface) {
    CDescriptor socket = MakeSocket();
    SwitchOn(socket, SOL_SOCKET, SO_REUSEADDR);
    // kernels that want a privilege for it refuse: then what came by is looked at alone
    if (setsockopt(socket.Number(), SOL_SOCKET, SO_BINDTODEVICE, interface.name.c_str(),
                   static_cast<socklen_t>(interface.name.size() + 1)) != 0 &&
        errno != EPERM) {
        throw SystemError("Cannot listen on " + interface.name);
    }
    Bind(socket, at);
    return socket;
}

CEndpoint LocalEndpoint(int socket) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    return ToEndpoint(address);
}

bool SendDatagram(int socket, const CEndpoint& to, std::uint32_t source, unsigned interface, GigEVision::Bytes bytes) {
    sockaddr_in address = ToSocketAddress(to);
    iovec data{const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
    CPacketInfoSpace space{};
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = sizeof address;
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = &space;
    message.msg_controllen = sizeof space;
    in_pktinfo info{};
    info.ipi_ifindex = static_cast<int>(interface);
    info.ipi_spec_dst.s_addr = htonl(source);
    cmsghdr* control = CMSG_FIRSTHDR(&message);
    control->cmsg_level = IPPROTO_IP;
    control->cmsg_type = IP_PKTINFO;
    control->cmsg_len = CMSG_LEN(sizeof info);
    std::memcpy(CMSG_DATA(control), &info, sizeof info);
    return sendmsg(socket, &message, MSG_NOSIGNAL) >= 0;
}

std::span<const CReceived> CReceiveBuffer::Receive(int socket) {
    std::array<mmsghdr, kDatagrams> messages{};
    std::array<iovec, kDatagrams> data;
    std::array<sockaddr_in, kDatagrams> from{};
    std::array<CPacketInfoSpace, kDatagrams> space{};
    for (std::size_t i = 0; i < kDatagrams; ++i) {
        data[i] = {m_bytes[i].data(), kBytes};
        msghdr& message = messages[i].msg_hdr;
        message.msg_name = &from[i];
        message.msg_namelen = sizeof from[i];
        message.msg_iov = &data[i];
        message.msg_iovlen = 1;
        message.msg_control = &space[i];
        message.msg_controllen = sizeof space[i];
    }
    const int count = recvmmsg(socket, messages.data(), kDatagrams, MSG_DONTWAIT, nullptr);
    const std::size_t received = count > 0 ? static_cast<std::size_t>(count) : 0;
    for (std::size_t i = 0; i < received; ++i) {
        m_received[i] = {
            ToEndpoint(from[i]), InterfaceOf(messages[i].msg_hdr), {m_bytes[i].data(), messages[i].msg_len}};
    }
    return {m_received.data(), received};
}

} // namespace Serving
