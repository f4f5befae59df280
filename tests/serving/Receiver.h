// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "OwnAddress.h"

#include <gigevision/Gvsp.h>
#include <serving/Descriptor.h>
#include <serving/Endpoint.h>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace Serving {

/// A UDP socket that takes the datagrams of a stream and puts its blocks together, as far as they came.
class CReceiver {
public:
    CReceiver() : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0)) {
        sockaddr_in address = Convert({OwnAddress(2), 0});
        socklen_t length = sizeof address;
        const int size = 4 << 20;
        const int on = 1;
        setsockopt(m_socket.Number(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
        setsockopt(m_socket.Number(), SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
        EXPECT_EQ(bind(m_socket.Number(), reinterpret_cast<sockaddr*>(&address), length), 0);
        EXPECT_EQ(getsockname(m_socket.Number(), reinterpret_cast<sockaddr*>(&address), &length), 0);
        m_port = ntohs(address.sin_port);
    }
    CEndpoint Address() const { return {OwnAddress(2), m_port}; }

    void Send(GigEVision::Bytes bytes, const CEndpoint& to) {
        const sockaddr_in address = Convert(to);
        EXPECT_EQ(sendto(m_socket.Number(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                         sizeof address),
                  static_cast<ssize_t>(bytes.size()))
            << Text(to);
    }

    struct CDatagram {
        std::vector<std::uint8_t> bytes;
        CEndpoint from;
    };
    std::optional<CDatagram> Next(std::chrono::milliseconds limit) {
        pollfd waited = {m_socket.Number(), POLLIN, 0};
        if (poll(&waited, 1, static_cast<int>(limit.count())) <= 0) {
            return std::nullopt;
        }
        CDatagram datagram{std::vector<std::uint8_t>(65536), {}};
        sockaddr_in from = {};
        socklen_t length = sizeof from;
        const ssize_t size = recvfrom(m_socket.Number(), datagram.bytes.data(), datagram.bytes.size(), 0,
                                      reinterpret_cast<sockaddr*>(&from), &length);
        datagram.bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(0, size)));
        datagram.from = {ntohl(from.sin_addr.s_addr), ntohs(from.sin_port)};
        return datagram;
    }

    /// Of one block: by packet id.
    using Packets = std::map<std::uint32_t, std::vector<std::uint8_t>>;
    /// Takes what comes within @p limit, until the block is complete.
    bool Collect(std::uint64_t block, Packets& packets, std::chrono::milliseconds limit) {
        while (!IsComplete(packets)) {
            const auto datagram = Next(limit);
            if (!datagram) {
                return false;
            }
            const auto packet = GigEVision::DecodePacket(datagram->bytes);
            if (packet && packet->header.blockId == block && !GigEVision::IsError(packet->header.status)) {
                packets[packet->header.packetId] = datagram->bytes;
                m_resent += packet->header.status == GigEVision::Status::PacketResend ? 1 : 0;
            }
            m_sources.insert(datagram->from);
        }
        return true;
    }
    static bool IsComplete(const Packets& packets) {
        if (packets.empty() || packets.begin()->first != 0) {
            return false;
        }
        const auto& [id, datagram] = *packets.rbegin();
        return GigEVision::DecodePacket(datagram)->header.Is(GigEVision::PacketFormat::Trailer) &&
               packets.size() == id + 1;
    }
    static std::vector<std::uint8_t> ImageOf(const Packets& packets) {
        std::vector<std::uint8_t> image;
        for (const auto& [id, datagram] : packets) {
            const auto packet = GigEVision::DecodePacket(datagram);
            if (packet->header.Is(GigEVision::PacketFormat::Generic)) {
                image.insert(image.end(), packet->content.begin(), packet->content.end());
            }
        }
        return image;
    }

    std::set<CEndpoint> m_sources;
    std::size_t m_resent = 0; // marked as such

private:
    static sockaddr_in Convert(const CEndpoint& endpoint) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(endpoint.address);
        address.sin_port = htons(endpoint.port);
        return address;
    }

    CDescriptor m_socket;
    std::uint16_t m_port = 0;
};

} // namespace Serving
