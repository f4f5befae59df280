// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/UdpSocket.h"

#include <cstdint>

namespace Gige {

/// The socket that the packets of a camera come to. From the kernel it learns how many it had no room for.
/// Threads: one at a time.
class CStreamSocket {
public:
    /// Hears what the camera of @p route sends to @p destination, which is the host's own address, a group, which is
    /// joined, or a broadcast address.
    /// @throws GenICam::RuntimeException that names address, interface and cause
    CStreamSocket(const CRoute& route, std::uint32_t destination, std::uint16_t port);

    int Number() const { return m_socket.Number(); }
    std::uint16_t LocalPort() const { return m_socket.LocalPort(); }

    /// Asks for room for so many bytes of the kernel's memory. @return what was granted
    std::uint64_t SetBuffer(std::uint64_t bytes) noexcept;
    /// Lets the kernel put packets together, of which one datagram then holds several. @return whether it can
    bool MergePackets() noexcept;
    /// From now on the kernel lets nothing through but what comes from there.
    void Connect(const PluginKit::CEndpoint& peer) noexcept;
    bool IsConnected() const { return m_isConnected; } ///< What had come before may still be there.
    /// Without an address: to the peer. What cannot be sent now is lost.
    void Send(GigEVision::Bytes datagram) noexcept;
    void SendTo(const PluginKit::CEndpoint& to, GigEVision::Bytes datagram) noexcept { m_socket.SendTo(to, datagram); }

    /// Waits for a datagram of exactly so many bytes from the camera; others are dropped.
    bool Await(std::size_t bytes, std::int64_t untilNs) noexcept;
    /// How many datagrams it had no room for since it was opened; 0 also where the kernel does not tell.
    std::uint32_t Dropped() const noexcept;
    /// Drops what has come so far.
    void Drain() noexcept;

private:
    const std::uint32_t m_device;
    CUdpSocket m_socket;
    bool m_isConnected = false;
};

} // namespace Gige
