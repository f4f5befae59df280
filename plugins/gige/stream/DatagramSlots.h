// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Endpoint.h"

#include <gigevision/Bytes.h>

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace Gige {

/// Memory for one batch of datagrams, fetched by one system call.
/// Threads: one at a time.
class CDatagramSlots {
public:
    /// Room for datagrams of @p slotBytes; what is longer is cut.
    CDatagramSlots(std::size_t slots, std::size_t slotBytes);
    CDatagramSlots(const CDatagramSlots&) = delete;
    CDatagramSlots& operator=(const CDatagramSlots&) = delete;

    std::size_t Count() const { return m_messages.size(); }
    /// Fetches what is there, without waiting. @return how many; 0 also for an error, which is then gone
    std::size_t Fetch(int socket) noexcept;

    GigEVision::Bytes Datagram(std::size_t index) const;
    PluginKit::CEndpoint From(std::size_t index) const; ///< While HasSources.
    bool HasSources() const { return m_messages.front().msg_hdr.msg_name != nullptr; }
    void LeaveOutSources() noexcept; ///< Of what is fetched from now on, which takes the kernel less time.
    /// Bytes of each packet, but the last, of a datagram that the kernel has put together; else all of them.
    std::size_t PacketBytes(std::size_t index) const;
    /// How many datagrams the socket had no room for so far; nullopt: the kernel tells nothing, as it never happened.
    std::optional<std::uint32_t> Dropped(std::size_t index) const;

private:
    struct CSlot {
        sockaddr_in from;
        iovec memory;
        alignas(cmsghdr) std::byte control[CMSG_SPACE(sizeof(std::uint32_t)) + CMSG_SPACE(sizeof(int))];
    };

    template <typename T>
    std::optional<T> ControlValue(std::size_t index, int level, int type) const;

    std::vector<std::uint8_t> m_memory;
    std::vector<CSlot> m_slots;
    std::vector<mmsghdr> m_messages;
};

} // namespace Gige
