// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Descriptor.h"
#include "common/Endpoint.h"
#include "net/Route.h"

#include <gigevision/Bytes.h>

#include <cstdint>
#include <optional>

namespace Gige {

/// A UDP socket of this host, bound to an interface; it never blocks.
/// Threads: one at a time, but for what is sent: any.
class CUdpSocket {
public:
    /// At @p port of the route's host address; 0 takes the first free port of ZELMO_GIGE_PORTS ("40000-40100"), or any
    /// when that is unset. A group or broadcast address with a port can be shared with others. Not connected: the
    /// caller does that where it hears one peer alone.
    /// @throws GenICam::RuntimeException that names address, interface and cause
    static CUdpSocket ForDevice(const CRoute& route, std::uint16_t port = 0);
    /// Hears broadcasts and what comes to any address over one interface, and may send broadcasts.
    static CUdpSocket ForBroadcast(const std::string& interface);

    int Number() const { return m_socket.Number(); }
    std::uint32_t LocalAddress() const { return m_local.address; }
    std::uint16_t LocalPort() const { return m_local.port; }

    /// What cannot be sent now is lost, as on the wire. @return whether the kernel took it; errno says why not.
    bool SendTo(const PluginKit::CEndpoint& to, GigEVision::Bytes datagram) noexcept;

    bool IsLinkDown() const noexcept; ///< Of the interface; false where the system does not tell.

    struct CReceived {
        PluginKit::CEndpoint from;
        GigEVision::Bytes bytes; ///< front part of the buffer; cut where that is too small
    };
    /// Waits until @p untilNs of CLOCK_MONOTONIC at the latest, and no longer once @p wakeDescriptor, unless it is -1,
    /// is readable. An ICMP error is silence. nullopt: nothing came.
    std::optional<CReceived> Receive(GigEVision::MutableBytes buffer, std::int64_t untilNs,
                                     int wakeDescriptor = -1) noexcept;

private:
    explicit CUdpSocket(PluginKit::CDescriptor socket);

    PluginKit::CDescriptor m_socket;
    PluginKit::CEndpoint m_local;
};

/// CLOCK_MONOTONIC in nanoseconds.
std::int64_t MonotonicNs() noexcept;

} // namespace Gige
