// SPDX-License-Identifier: Apache-2.0
#include "stream/DatagramSlots.h"

#include <netinet/udp.h>

#include <algorithm>
#include <cstring>

namespace Gige {

CDatagramSlots::CDatagramSlots(std::size_t slots, std::size_t slotBytes)
    : m_memory(slots * slotBytes), m_slots(slots), m_messages(slots) {
    for (std::size_t i = 0; i < slots; ++i) {
        CSlot& slot = m_slots[i];
        slot.memory = {m_memory.data() + i * slotBytes, slotBytes};
        msghdr& header = m_messages[i].msg_hdr;
        header.msg_name = &slot.from;
        header.msg_iov = &slot.memory;
        header.msg_iovlen = 1;
        header.msg_control = slot.control;
    }
}

std::size_t CDatagramSlots::Fetch(int socket) noexcept {
    for (mmsghdr& message : m_messages) { // the kernel writes what was used over what there is
        message.msg_hdr.msg_namelen = sizeof(sockaddr_in);
        message.msg_hdr.msg_controllen = sizeof(CSlot::control);
    }
    const int count =
        recvmmsg(socket, m_messages.data(), static_cast<unsigned>(m_messages.size()), MSG_DONTWAIT, nullptr);
    return static_cast<std::size_t>(std::max(count, 0));
}

GigEVision::Bytes CDatagramSlots::Datagram(std::size_t index) const {
    const iovec& memory = m_slots[index].memory;
    return {static_cast<const std::uint8_t*>(memory.iov_base), m_messages[index].msg_len};
}

void CDatagramSlots::LeaveOutSources() noexcept {
    for (mmsghdr& message : m_messages) {
        message.msg_hdr.msg_name = nullptr;
    }
}

PluginKit::CEndpoint CDatagramSlots::From(std::size_t index) const {
    const sockaddr_in& from = m_slots[index].from;
    return {ntohl(from.sin_addr.s_addr), ntohs(from.sin_port)};
}

std::size_t CDatagramSlots::PacketBytes(std::size_t index) const {
    const int merged = ControlValue<int>(index, IPPROTO_UDP, UDP_GRO).value_or(0);
    return merged > 0 ? static_cast<std::size_t>(merged) : m_messages[index].msg_len;
}

std::optional<std::uint32_t> CDatagramSlots::Dropped(std::size_t index) const {
    return ControlValue<std::uint32_t>(index, SOL_SOCKET, SO_RXQ_OVFL);
}

template <typename T>
std::optional<T> CDatagramSlots::ControlValue(std::size_t index, int level, int type) const {
    const msghdr* const header = &m_messages[index].msg_hdr;
    if (header->msg_controllen < sizeof(cmsghdr)) {
        return std::nullopt;
    }
    for (cmsghdr* item = CMSG_FIRSTHDR(header); item; item = CMSG_NXTHDR(const_cast<msghdr*>(header), item)) {
        if (item->cmsg_level == level && item->cmsg_type == type && item->cmsg_len >= CMSG_LEN(sizeof(T))) {
            T value;
            std::memcpy(&value, CMSG_DATA(item), sizeof value);
            return value;
        }
    }
    return std::nullopt;
}

} // namespace Gige
