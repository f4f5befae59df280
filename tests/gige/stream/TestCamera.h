// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SentBlock.h"
#include "serving/OwnAddress.h"

#include "common/Descriptor.h"
#include "common/Endpoint.h"
#include <gigevision/Gvcp.h>
#include <gigevision/Gvsp.h>
#include <gigevision/Registers.h>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/udp.h>
#include <poll.h>
#include <sys/socket.h>

#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

namespace Gige {

namespace Register = GigEVision::Register;
namespace Scps = GigEVision::Scps;
using ByteList = std::vector<std::uint8_t>;

constexpr std::uint32_t Channel(std::uint32_t offset) {
    return Register::kStreamChannel + offset;
}

/// An image of @p id, of 5 packets by default, whose bytes tell its id.
inline CBlockShape Image(std::uint64_t id, std::uint32_t bytes = 3000) {
    CBlockShape shape;
    shape.idOnWire = shape.seed = shape.timestamp = id;
    shape.bytes = bytes;
    return shape;
}

/// A device on the loopback network that sends exactly what a test tells it to. A thread answers commands: registers
/// hold what is written to them.
class CTestCamera {
public:
    explicit CTestCamera(std::uint32_t last = 3)
        : m_address(Serving::OwnAddress(last)), m_control(Socket({m_address, GigEVision::kGvcpPort})),
          m_stream(Socket({m_address, 0})) {
        sockaddr_in local = {};
        socklen_t length = sizeof local;
        getsockname(m_stream.Number(), reinterpret_cast<sockaddr*>(&local), &length);
        m_registers[Register::kGvcpCapability] = GigEVision::GvcpCapability::kPacketResend;
        m_registers[Register::kGvspCapability] = GigEVision::GvspCapability::kScsp;
        m_registers[Register::kStreamChannels] = 1;
        m_registers[Channel(Register::kScps)] = 1400;
        m_registers[Channel(Register::kScsp)] = ntohs(local.sin_port);
        const int on = 1;
        setsockopt(m_stream.Number(), IPPROTO_IP, IP_MULTICAST_IF, &local.sin_addr, sizeof local.sin_addr);
        setsockopt(m_stream.Number(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
        setsockopt(m_stream.Number(), SOL_SOCKET, SO_BINDTODEVICE, "lo", 2); // nothing leaves this machine
        m_thread = std::thread([this] { Serve(); });
    }
    ~CTestCamera() {
        m_isEnding = true;
        m_thread.join();
    }

    std::uint32_t Address() const { return m_address; }
    std::uint32_t Get(std::uint32_t address) const {
        const std::lock_guard lock(m_lock);
        const auto found = m_registers.find(address);
        return found != m_registers.end() ? found->second : 0;
    }
    void Set(std::uint32_t address, std::uint32_t value) {
        const std::lock_guard lock(m_lock);
        m_registers[address] = value;
    }

    CSentBlock Cut(CBlockShape shape) const {
        shape.packetSize = Get(Channel(Register::kScps)) & Scps::kSize;
        return CSentBlock(shape);
    }
    /// Sends a block but for the packets @p lost, which are kept for those who ask.
    void Send(const CBlockShape& shape, const std::set<std::uint32_t>& lost = {}) {
        const CSentBlock block = Cut(shape);
        {
            const std::lock_guard lock(m_lock);
            m_last = block;
        }
        for (std::uint32_t id = 0; id <= block.trailerId; ++id) {
            if (!lost.contains(id)) {
                SendPacket(block.Packet(id));
            }
        }
    }
    /// The same, with the payload given to the kernel in one piece.
    void SendMerged(const CBlockShape& shape) {
        const CSentBlock block = Cut(shape);
        ByteList payload;
        for (std::uint32_t id = 1; id < block.trailerId; ++id) {
            const ByteList packet = block.Packet(id);
            payload.insert(payload.end(), packet.begin(), packet.end());
        }
        SendPacket(block.Packet(0));
        SetSegments(static_cast<int>(GigEVision::DatagramBytes(block.shape.packetSize)));
        SendPacket(payload);
        SetSegments(0);
        SendPacket(block.Packet(block.trailerId));
    }
    void SendPacket(GigEVision::Bytes datagram) {
        SendFrom(m_stream, Destination(), datagram);
        ++m_sent;
    }
    /// To the stream's port, from another one than its packets come from.
    void SendStray(GigEVision::Bytes datagram) const { SendFrom(m_control, Destination(), datagram); }
    /// Sends where @p other does.
    void Follow(const CTestCamera& other) {
        for (const std::uint32_t offset : {Register::kScda, Register::kScp, Register::kScps}) {
            Set(Channel(offset), other.Get(Channel(offset)));
        }
    }

    /// Whether somebody has sent an empty datagram to the stream's port, as firewalls want it.
    bool WasPathOpened() const {
        std::uint8_t byte = 0;
        return recv(m_stream.Number(), &byte, 1, MSG_DONTWAIT) == 0;
    }

    // Set before the host comes.
    std::atomic<std::uint32_t> m_largestSize{16000}; ///< a larger packet size becomes this one
    std::atomic<std::uint32_t> m_pathBytes{16000};   ///< larger test packets do not arrive
    std::atomic<bool> m_refusesSizes{false};
    std::atomic<unsigned> m_testPackets{0}; ///< asked for
    std::atomic<bool> m_isDeaf{false};      ///< to commands; any time
    std::atomic<std::uint64_t> m_sent{0};   ///< packets of the stream; told

private:
    static PluginKit::CDescriptor Socket(const PluginKit::CEndpoint& local) {
        PluginKit::CDescriptor made(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        const sockaddr_in address = Convert(local);
        EXPECT_EQ(bind(made.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        return made;
    }
    void SetSegments(int bytes) const { setsockopt(m_stream.Number(), IPPROTO_UDP, UDP_SEGMENT, &bytes, sizeof bytes); }
    PluginKit::CEndpoint Destination() const {
        return {Get(Channel(Register::kScda)), static_cast<std::uint16_t>(Get(Channel(Register::kScp)))};
    }
    static sockaddr_in Convert(const PluginKit::CEndpoint& endpoint) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(endpoint.address);
        address.sin_port = htons(endpoint.port);
        return address;
    }
    static void SendFrom(const PluginKit::CDescriptor& socket, const PluginKit::CEndpoint& to,
                         GigEVision::Bytes datagram) {
        const sockaddr_in address = Convert(to);
        sendto(socket.Number(), datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&address),
               sizeof address);
    }
    void Serve() {
        while (!m_isEnding) {
            pollfd waited = {m_control.Number(), POLLIN, 0};
            if (poll(&waited, 1, 20) <= 0) {
                continue;
            }
            std::array<std::uint8_t, 600> buffer;
            sockaddr_in from = {};
            socklen_t length = sizeof from;
            const ssize_t size = recvfrom(m_control.Number(), buffer.data(), buffer.size(), 0,
                                          reinterpret_cast<sockaddr*>(&from), &length);
            const GigEVision::Bytes datagram(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
            if (const auto command = GigEVision::DecodeCommand(datagram); command && !m_isDeaf) {
                Answer(*command, {ntohl(from.sin_addr.s_addr), ntohs(from.sin_port)});
            }
        }
    }

    void Answer(const GigEVision::CommandMessage& command, const PluginKit::CEndpoint& from) {
        std::array<std::uint8_t, 16> buffer;
        GigEVision::AcknowledgeMessage answer;
        answer.acknowledge = GigEVision::AcknowledgeOf(command.command);
        answer.id = command.requestId;
        if (command.Is(GigEVision::Command::PacketResend)) {
            return Resend(
                *GigEVision::DecodePacketResend(command.payload, command.Has(GigEVision::Flag::kExtendedIds)));
        }
        const auto address = GigEVision::GetBigEndian<std::uint32_t>(command.payload.data());
        if (command.Is(GigEVision::Command::ReadReg)) {
            GigEVision::PutBigEndian(buffer.data(), Get(address));
        } else {
            answer.status = Write(address, GigEVision::GetBigEndian<std::uint32_t>(command.payload.data() + 4));
            GigEVision::PutBigEndian<std::uint32_t>(buffer.data(), 1);
        }
        answer.payload = GigEVision::Bytes(buffer).first(4);
        GigEVision::GvcpBuffer encoded;
        SendFrom(m_control, from, EncodeAcknowledge(answer, encoded));
    }

    GigEVision::Status Write(std::uint32_t address, std::uint32_t value) {
        if (address != Channel(Register::kScps)) {
            Set(address, value);
            return GigEVision::Status::Success;
        }
        const std::uint32_t size = value & Scps::kSize;
        if (m_refusesSizes && size > m_largestSize) {
            return GigEVision::Status::InvalidParameter;
        }
        const std::uint32_t used = std::min<std::uint32_t>(size, m_largestSize);
        Set(address, (value & ~(Scps::kFireTestPacket | Scps::kSize)) | used);
        if ((value & Scps::kFireTestPacket) != 0) {
            ++m_testPackets;
            if (used <= m_pathBytes) {
                SendPacket(ByteList(GigEVision::DatagramBytes(used)));
            }
        }
        return GigEVision::Status::Success;
    }

    void Resend(const GigEVision::ResendRequest& request) {
        std::optional<CSentBlock> block;
        {
            const std::lock_guard lock(m_lock);
            block = m_last;
        }
        if (block && block->shape.idOnWire == request.blockId) {
            const auto range = request.RangeIn(block->trailerId);
            for (std::uint32_t id = range ? range->first : 1; range && id <= range->last; ++id) {
                SendPacket(block->Packet(id));
            }
        }
    }

    const std::uint32_t m_address;
    PluginKit::CDescriptor m_control, m_stream;
    mutable std::mutex m_lock;
    std::map<std::uint32_t, std::uint32_t> m_registers;
    std::optional<CSentBlock> m_last;
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};

} // namespace Gige
