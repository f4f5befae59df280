// SPDX-License-Identifier: Apache-2.0
#include "InterfaceAddresses.h"

#include "ServeError.h"

#include <serving/Descriptor.h>
#include <serving/Endpoint.h>

#include <arpa/inet.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>

namespace Serving {
namespace {

/// A request of rtnetlink that adds an address to an interface or takes it away.
struct CAddressRequest {
    nlmsghdr header{};
    ifaddrmsg message{};
    struct CAttribute {
        rtattr header{sizeof(CAttribute), 0};
        std::uint32_t address = 0;
    } local, peer, broadcast;

    CAddressRequest(unsigned index, const CInterfaceAddress& address) {
        header.nlmsg_len = sizeof(CAddressRequest);
        message.ifa_family = AF_INET;
        message.ifa_prefixlen = static_cast<unsigned char>(std::popcount(address.mask));
        message.ifa_index = index;
        Put(local, IFA_LOCAL, address.address);
        Put(peer, IFA_ADDRESS, address.address);
        Put(broadcast, IFA_BROADCAST, address.Broadcast());
    }

private:
    static void Put(CAttribute& attribute, unsigned short type, std::uint32_t address) {
        attribute.header.rta_type = type;
        attribute.address = htonl(address);
    }
};
static_assert(sizeof(CAddressRequest) == NLMSG_LENGTH(sizeof(ifaddrmsg)) + 3 * RTA_LENGTH(4));

/// @return what the kernel says: 0, or the number of the error.
int Ask(CAddressRequest request, unsigned short type, unsigned flags) {
    const CDescriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    request.header.nlmsg_type = type;
    request.header.nlmsg_flags = static_cast<unsigned short>(NLM_F_REQUEST | NLM_F_ACK | flags);
    struct {
        nlmsghdr header;
        nlmsgerr error;
        char rest[256];
    } answer{};
    if (send(socket.Number(), &request, sizeof request, 0) < 0 ||
        recv(socket.Number(), &answer, sizeof answer, 0) < static_cast<ssize_t>(sizeof(nlmsghdr) + sizeof(int))) {
        return errno != 0 ? errno : EIO;
    }
    return answer.header.nlmsg_type == NLMSG_ERROR ? -answer.error.error : EIO;
}

int Add(unsigned index, const CInterfaceAddress& address) {
    return Ask({index, address}, RTM_NEWADDR, NLM_F_CREATE | NLM_F_EXCL);
}

/// The kernel takes the further addresses of a network away with its first one: they are put back.
void Remove(const std::string& name, const CInterfaceAddress& removed) {
    const CNetworkInterface before = LookAtInterface(name);
    Ask({before.index, removed}, RTM_DELADDR, 0); // gone already: as good
    const CNetworkInterface after = LookAtInterface(name);
    for (const CInterfaceAddress& one : before.addresses) {
        if (one.address != removed.address && after.Find(one.address) == nullptr) {
            Add(after.index, one);
        }
    }
}

} // namespace

CInterfaceAddresses::CInterfaceAddresses(CNetworkInterface interface, EAddressPolicy policy)
    : m_interface(std::move(interface)), m_policy(policy) {}

CInterfaceAddresses::~CInterfaceAddresses() {
    while (!m_added.empty()) {
        m_added.back().claims = 1;
        Release(m_added.back().address.address);
    }
}

std::optional<std::uint32_t> CInterfaceAddresses::Claim(std::uint32_t address, std::uint32_t maskIfAdded) {
    m_interface = LookAtInterface(m_interface.name); // others may have changed it
    if (const CInterfaceAddress* there = m_interface.Find(address)) {
        if (const auto added = FindAdded(address); added != m_added.end()) {
            ++added->claims;
        }
        return there->mask;
    }
    const CInterfaceAddress wanted{address, maskIfAdded};
    if (m_policy == EAddressPolicy::AsFound || m_interface.isLoopback || !IsHostAddress(wanted)) {
        return std::nullopt;
    }
    m_added.reserve(m_added.size() + 1);
    if (const int error = Add(m_interface.index, wanted); error != 0) {
        errno = error;
        throw SystemError("Cannot add " + AddressText(address) + " to " + m_interface.name);
    }
    m_added.push_back({wanted, 1});
    return maskIfAdded;
}

void CInterfaceAddresses::Release(std::uint32_t address) noexcept {
    const auto added = FindAdded(address);
    if (added == m_added.end() || --added->claims > 0) {
        return;
    }
    try {
        Remove(m_interface.name, added->address);
    } catch (const std::exception&) { // the interface itself is gone
    }
    m_added.erase(added);
}

std::vector<CInterfaceAddresses::CAdded>::iterator CInterfaceAddresses::FindAdded(std::uint32_t address) {
    return std::find_if(m_added.begin(), m_added.end(),
                        [&](const CAdded& one) { return one.address.address == address; });
}

bool IsHostAddress(const CInterfaceAddress& address) {
    const std::uint32_t host = address.address & ~address.mask;
    const bool hasEnds = std::popcount(address.mask) < 31; // networks of two and of one have none
    return address.address >> 24 != 0 && address.address >> 28 < 0xE &&
           (!hasEnds || (host != 0 && host != ~address.mask));
}

} // namespace Serving
