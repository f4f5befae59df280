// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "NetworkInterface.h"

#include <serving/DeviceHost.h>

#include <optional>
#include <vector>

namespace Serving {

enum class EAddressPolicy { AsFound, Manage };

/// The addresses of the interface that cameras are served on. Where it may manage them, those that are missing are
/// added and taken away again; never one that was there before.
/// Owns:    the addresses that it added, up to its end.
/// Threads: the control thread.
class CInterfaceAddresses {
public:
    CInterfaceAddresses(CNetworkInterface interface, EAddressPolicy policy);
    ~CInterfaceAddresses();
    CInterfaceAddresses(const CInterfaceAddresses&) = delete;
    CInterfaceAddresses& operator=(const CInterfaceAddresses&) = delete;

    const CNetworkInterface& Interface() const { return m_interface; }

    /// Makes sure that the interface has the address. @return its network's mask; nullopt when it has not and it may
    /// not be added. @throws CServeError when adding it fails.
    std::optional<std::uint32_t> Claim(std::uint32_t address, std::uint32_t maskIfAdded);
    /// Once for each claim: the last one takes it away if it was added here.
    void Release(std::uint32_t address) noexcept;

private:
    struct CAdded {
        CInterfaceAddress address;
        unsigned claims = 0;
    };

    std::vector<CAdded>::iterator FindAdded(std::uint32_t address);

    CNetworkInterface m_interface;
    EAddressPolicy m_policy;
    std::vector<CAdded> m_added;
};

/// Whether a camera can have it: neither 0, multicast, nor a network's first or last number.
bool IsHostAddress(const CInterfaceAddress& address);

} // namespace Serving
