// SPDX-License-Identifier: Apache-2.0
#include "DatagramBatch.h"

#include <algorithm>
#include <cstring>

namespace Serving {

using GigEVision::PacketHeader;

CDatagramBatch::CDatagramBatch() {
    for (std::size_t i = 0; i < kMaxDatagrams; ++i) {
        msghdr& message = m_messages[i].msg_hdr;
        message.msg_name = &m_address;
        message.msg_namelen = sizeof m_address;
        message.msg_iov = m_slots[i].parts.data();
        message.msg_iovlen = m_slots[i].parts.size();
    }
}

void CDatagramBatch::Clear() {
    m_count = 0;
    m_bytes = 0;
}

void CDatagramBatch::SendTo(const CEndpoint& destination, bool isFromOtherPort) {
    m_destination = destination;
    m_isFromOtherPort = isFromOtherPort;
    m_address.sin_family = AF_INET;
    m_address.sin_addr.s_addr = htonl(destination.address);
    m_address.sin_port = htons(destination.port);
}

void CDatagramBatch::AddPacket(const CBlock& block, std::uint32_t packetId, const CPacketMarks& marks, EKind kind) {
    PacketHeader header = block.Header(packetId);
    header.status = marks.status.value_or(header.status);
    header.flags |= marks.flags;
    // encoding leaves out what the ids on the wire have no room for
    header.packetId = (header.packetId + marks.packetIdAdded) & (header.isExtended ? 0xFFFFFFFFu : 0xFFFFFFu);
    header.blockId = (header.blockId + marks.blockIdAdded) & (header.isExtended ? UINT64_MAX : 0xFFFFu);
    CSlot& slot = m_slots[m_count];
    const std::size_t headerBytes = EncodeHeader(header, slot.head).size();
    const GigEVision::Bytes content = block.Content(packetId), slice = block.Slice(packetId);
    std::copy(content.begin(), content.end(), slot.head.begin() + static_cast<std::ptrdiff_t>(headerBytes));
    const std::size_t headBytes = headerBytes + content.size();
    const std::size_t cutOfSlice = std::min(marks.cutBytes, slice.size());
    const std::size_t cutOfHead = std::min(marks.cutBytes - cutOfSlice, headBytes);
    Add(headBytes - cutOfHead, slice.first(slice.size() - cutOfSlice), kind);
}

void CDatagramBatch::AddError(const PacketHeader& header) {
    Add(EncodeHeader(header, m_slots[m_count].head).size(), {}, EKind::Error);
}

void CDatagramBatch::AddTest(GigEVision::Bytes datagram) {
    Add(0, datagram, EKind::Test);
}

void CDatagramBatch::Add(std::size_t headBytes, GigEVision::Bytes data, EKind kind) {
    CSlot& slot = m_slots[m_count];
    slot.parts[0] = {slot.head.data(), headBytes};
    slot.parts[1] = {const_cast<std::uint8_t*>(data.data()), data.size()}; // the kernel only reads it
    m_kinds[m_count] = kind;
    ++m_count;
    m_bytes += headBytes + data.size();
}

std::span<const iovec> CDatagramBatch::Parts(std::size_t index) const {
    return m_slots[index].parts;
}

std::size_t CDatagramBatch::BytesOf(std::size_t index) const {
    const std::array<iovec, 2>& parts = m_slots[index].parts;
    return parts[0].iov_len + parts[1].iov_len;
}

} // namespace Serving
