// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Block.h"

#include <array>
#include <cstdint>
#include <netinet/in.h>
#include <optional>
#include <span>
#include <sys/socket.h>

namespace Serving {

/// What makes a packet another one than the block's own: a repetition, or a fault.
struct CPacketMarks {
    std::optional<GigEVision::Status> status = {};
    std::uint16_t flags = 0; ///< added; of extended headers
    std::uint32_t packetIdAdded = 0, blockIdAdded = 0;
    std::size_t cutBytes = 0; ///< off the end

    bool operator==(const CPacketMarks&) const = default;
};

/// Datagrams that go out by one call, to one destination. Their payload stays where it was drawn: the block must
/// outlive the batch, until it is cleared.
/// Threads: one at a time.
class CDatagramBatch {
public:
    static constexpr std::size_t kMaxDatagrams = 64;
    enum class EKind : std::uint8_t { New, Resent, Error, Test };

    CDatagramBatch();
    CDatagramBatch(const CDatagramBatch&) = delete;
    CDatagramBatch& operator=(const CDatagramBatch&) = delete;

    void Clear();
    void SendTo(const CEndpoint& destination, bool isFromOtherPort); ///< While it is empty.
    const CEndpoint& Destination() const { return m_destination; }
    bool IsFromOtherPort() const { return m_isFromOtherPort; }

    void AddPacket(const CBlock& block, std::uint32_t packetId, const CPacketMarks& marks, EKind kind);
    void AddError(const GigEVision::PacketHeader& header);
    void AddTest(GigEVision::Bytes datagram);

    std::size_t Count() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }
    std::size_t Bytes() const { return m_bytes; } ///< of all datagrams, without what IP and UDP add
    EKind Kind(std::size_t index) const { return m_kinds[index]; }
    std::size_t BytesOf(std::size_t index) const;
    std::span<const iovec> Parts(std::size_t index) const;
    std::span<mmsghdr> From(std::size_t index) { return std::span(m_messages).first(m_count).subspan(index); }

private:
    struct CSlot {
        std::array<std::uint8_t, 64> head; // header, and leader or trailer
        std::array<iovec, 2> parts;
    };

    void Add(std::size_t headBytes, GigEVision::Bytes data, EKind kind);

    std::array<CSlot, kMaxDatagrams> m_slots;
    std::array<mmsghdr, kMaxDatagrams> m_messages = {};
    std::array<EKind, kMaxDatagrams> m_kinds = {};
    std::size_t m_count = 0, m_bytes = 0;
    CEndpoint m_destination;
    bool m_isFromOtherPort = false;
    sockaddr_in m_address = {};
};

} // namespace Serving
