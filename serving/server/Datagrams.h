// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "NetworkInterface.h"

#include <serving/Descriptor.h>
#include <serving/Endpoint.h>

#include <gigevision/Bytes.h>

#include <array>
#include <span>

namespace Serving {

/// UDP sockets as cameras need them; none blocks. Addresses and ports are in the host's byte order.

/// At an address of its own, that no other socket may share. Port 0: any.
/// @throws CServeError "127.0.0.2:3956 is in use by another program", and others.
CDescriptor OpenUnicastSocket(const CEndpoint& at);

/// At a broadcast address, heard on one interface only; any number of sockets and programs hear there.
/// @throws CServeError.
CDescriptor OpenBroadcastSocket(const CEndpoint& at, const CNetworkInterface& interface);

CEndpoint LocalEndpoint(int socket);

/// From @p source over the interface with number @p interface, whatever the routes say; 0: by the routes. What cannot
/// be sent is lost, as on the wire. @return whether it was sent.
bool SendDatagram(int socket, const CEndpoint& to, std::uint32_t source, unsigned interface, GigEVision::Bytes bytes);

struct CReceived {
    CEndpoint from;
    unsigned interface = 0;  ///< that it came by
    GigEVision::Bytes bytes; ///< cut at 1024: no command is longer
};

/// Room for what is read at once from a socket.
/// Threads: one.
class CReceiveBuffer {
public:
    /// At most 32 datagrams; none when there are none. They are valid until the next call.
    std::span<const CReceived> Receive(int socket);

private:
    static constexpr std::size_t kDatagrams = 32, kBytes = 1024;

    std::array<std::array<std::uint8_t, kBytes>, kDatagrams> m_bytes;
    std::array<CReceived, kDatagrams> m_received;
};

} // namespace Serving
