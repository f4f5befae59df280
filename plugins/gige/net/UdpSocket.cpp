// SPDX-License-Identifier: Apache-2.0
#include "net/UdpSocket.h"

#include <Base/GCException.h>

#include <arpa/inet.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <system_error>
#include <utility>

namespace Gige {

namespace {

using PluginKit::CDescriptor;
using PluginKit::CEndpoint;

constexpr const char* kPortsVariable = "ZELMO_GIGE_PORTS";

struct CPortRange {
    std::uint16_t first = 0, last = 0;
};

std::string ErrorText(int error) {
    return std::system_category().message(error);
}

std::optional<std::uint16_t> ParsePort(std::string_view text) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc{} && end == text.data() + text.size() && port != 0 ? std::optional(port) : std::nullopt;
}

/// 0 to 0, any port, when the variable is unset.
CPortRange ReadPortRange() {
    const char* const value = std::getenv(kPortsVariable);
    if (value == nullptr || *value == '\0') {
        return {};
    }
    const std::string_view text = value;
    const std::size_t dash = text.find('-');
    const auto first = ParsePort(text.substr(0, dash));
    const auto last = dash == text.npos ? first : ParsePort(text.substr(dash + 1));
    if (!first || !last || *first > *last) {
        throw RUNTIME_EXCEPTION("The environment variable %s is '%s'; needed are two ports, such as '40000-40100'.",
                                kPortsVariable, value);
    }
    return {*first, *last};
}

sockaddr_in ToSystem(const CEndpoint& endpoint) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(endpoint.port);
    address.sin_addr.s_addr = htonl(endpoint.address);
    return address;
}

CEndpoint FromSystem(const sockaddr_in& address) {
    return {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

CDescriptor MakeSocket() {
    CDescriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!descriptor.IsOpen()) {
        throw RUNTIME_EXCEPTION("Cannot make a UDP socket: %s.", ErrorText(errno).c_str());
    }
    return descriptor;
}

template <class Value>
bool SetOption(const CDescriptor& descriptor, int level, int name, const Value& value) {
    return setsockopt(descriptor.Number(), level, name, &value, sizeof value) == 0;
}

/// Routes may lead elsewhere. Kernels before 5.7 keep this for the privileged; there at least what is sent leaves here.
void BindToInterface(const CDescriptor& descriptor, const std::string& interface) {
    if (interface.empty() || setsockopt(descriptor.Number(), SOL_SOCKET, SO_BINDTODEVICE, interface.c_str(),
                                        static_cast<socklen_t>(interface.size())) == 0) {
        return;
    }
    const int error = errno;
    const std::uint32_t index = htonl(if_nametoindex(interface.c_str()));
    if (error != EPERM || index == 0 || !SetOption(descriptor, IPPROTO_IP, IP_UNICAST_IF, index)) {
        throw RUNTIME_EXCEPTION("Cannot bind a UDP socket to the interface %s: %s.", interface.c_str(),
                                ErrorText(error).c_str());
    }
}

/// @return 0, or why not.
int TryBind(const CDescriptor& descriptor, const CEndpoint& local) {
    const sockaddr_in address = ToSystem(local);
    return bind(descriptor.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
}

void BindToFreePort(const CDescriptor& descriptor, std::uint32_t address, CPortRange range,
                    const std::string& interface) {
    int error = EADDRINUSE;
    for (std::uint32_t port = range.first; port <= range.last && error == EADDRINUSE; ++port) {
        error = TryBind(descriptor, {address, static_cast<std::uint16_t>(port)});
    }
    if (error != 0) {
        throw RUNTIME_EXCEPTION("Cannot bind a UDP socket to %s, ports %u to %u, of the interface %s: %s.",
                                PluginKit::AddressText(address).c_str(), range.first, range.last, interface.c_str(),
                                ErrorText(error).c_str());
    }
}

/// A group, or the broadcast address of all networks or of this one, where that has one.
bool IsForMany(const CRoute& route) {
    const std::uint32_t hostBits = ~route.hostMask;
    return PluginKit::IsMulticast(route.hostAddress) || route.hostAddress == INADDR_BROADCAST ||
           (hostBits > 1 && (route.hostAddress & hostBits) == hostBits);
}

/// When there is something to read, or an error to fetch: true.
bool WaitReadable(int socket, std::int64_t untilNs, int wakeDescriptor) noexcept {
    constexpr std::int64_t kSecondNs = 1'000'000'000;
    pollfd waited[] = {{socket, POLLIN, 0}, {wakeDescriptor, POLLIN, 0}}; // poll passes over negative ones
    for (;;) {
        const std::int64_t leftNs = std::max<std::int64_t>(untilNs - MonotonicNs(), 0);
        const timespec left = {leftNs / kSecondNs, leftNs % kSecondNs};
        const int ready = ppoll(waited, 2, &left, nullptr);
        if (ready > 0) {
            return waited[0].revents != 0;
        }
        if (ready == 0 || errno != EINTR) {
            return false;
        }
    }
}

} // namespace

std::int64_t MonotonicNs() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

CUdpSocket::CUdpSocket(CDescriptor socket) : m_socket(std::move(socket)) {
    sockaddr_in local{};
    socklen_t length = sizeof local;
    if (getsockname(m_socket.Number(), reinterpret_cast<sockaddr*>(&local), &length) == 0) {
        m_local = FromSystem(local);
    }
}

CUdpSocket CUdpSocket::ForDevice(const CRoute& route, std::uint16_t port) {
    const CPortRange range = port != 0 ? CPortRange{port, port} : ReadPortRange();
    CDescriptor descriptor = MakeSocket();
    BindToInterface(descriptor, route.interface);
    const bool isForMany = IsForMany(route);
    if (isForMany && port != 0) {
        SetOption(descriptor, SOL_SOCKET, SO_REUSEADDR, 1); // each listener gets its copy
    }
    BindToFreePort(descriptor, route.hostAddress, range, route.interface);
    if (isForMany) { // one that was free is shared from now on, with those who are told of it
        SetOption(descriptor, SOL_SOCKET, SO_REUSEADDR, 1);
    }
    return CUdpSocket(std::move(descriptor));
}

CUdpSocket CUdpSocket::ForBroadcast(const std::string& interface) {
    const CPortRange range = ReadPortRange();
    CDescriptor descriptor = MakeSocket();
    BindToInterface(descriptor, interface);
    if (!SetOption(descriptor, SOL_SOCKET, SO_BROADCAST, 1)) {
        throw RUNTIME_EXCEPTION("Cannot permit broadcasts over the interface %s: %s.", interface.c_str(),
                                ErrorText(errno).c_str());
    }
    BindToFreePort(descriptor, INADDR_ANY, range, interface);
    return CUdpSocket(std::move(descriptor));
}

// Netlink may tell it up to a second later.
bool CUdpSocket::IsLinkDown() const noexcept {
    ifreq request{};
    socklen_t length = sizeof request.ifr_name;
    ethtool_value link{ETHTOOL_GLINK, 1};
    request.ifr_data = reinterpret_cast<char*>(&link);
    return getsockopt(Number(), SOL_SOCKET, SO_BINDTODEVICE, request.ifr_name, &length) == 0 && length > 0 &&
           ioctl(Number(), SIOCETHTOOL, &request) == 0 && link.data == 0;
}

bool CUdpSocket::SendTo(const CEndpoint& to, GigEVision::Bytes datagram) noexcept {
    const sockaddr_in address = ToSystem(to);
    const auto send = [&] {
        return sendto(m_socket.Number(), datagram.data(), datagram.size(), 0,
                      reinterpret_cast<const sockaddr*>(&address), sizeof address) >= 0;
    };
    return send() || ((errno == ECONNREFUSED || errno == EINTR) && send()); // refused: what was sent before
}

std::optional<CUdpSocket::CReceived> CUdpSocket::Receive(GigEVision::MutableBytes buffer, std::int64_t untilNs,
                                                         int wakeDescriptor) noexcept {
    for (;;) {
        sockaddr_in from{};
        socklen_t length = sizeof from;
        const ssize_t bytes =
            recvfrom(m_socket.Number(), buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&from), &length);
        if (bytes >= 0) {
            return CReceived{FromSystem(from), buffer.first(static_cast<std::size_t>(bytes))};
        }
        // An ICMP error was fetched with this: what else came may still stand behind it.
        const bool isEmpty = errno == EAGAIN || errno == EWOULDBLOCK;
        if (isEmpty ? !WaitReadable(m_socket.Number(), untilNs, wakeDescriptor) : MonotonicNs() >= untilNs) {
            return std::nullopt;
        }
    }
}

} // namespace Gige
