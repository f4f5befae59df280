// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ByteList.h"
#include "Receiver.h"

#include <gigevision/Gvcp.h>

#include <chrono>
#include <cstdint>

namespace Serving {

using GigEVision::Command;
using GigEVision::Status;

inline constexpr std::chrono::seconds kPatience{60}; // more is a hang

/// A client with a socket for commands; nothing that it sends is lost on the loopback network.
class CClient {
public:
    struct CAnswer {
        Status status;
        CEndpoint from;
        ByteList payload;
    };

    /// @return the request's id.
    std::uint16_t Send(std::uint32_t to, Command command, const ByteList& payload) {
        m_id = GigEVision::NextRequestId(m_id);
        GigEVision::GvcpBuffer buffer;
        m_socket.Send(GigEVision::EncodeCommand(
                          {GigEVision::Flag::kAcknowledge, static_cast<std::uint16_t>(command), m_id, payload}, buffer),
                      {to, GigEVision::kGvcpPort});
        return m_id;
    }
    /// Answers to other requests are passed over.
    CAnswer Receive(std::uint16_t id) {
        while (const auto datagram = m_socket.Next(kPatience)) {
            const auto message = GigEVision::DecodeAcknowledge(datagram->bytes);
            if (message && message->id == id) {
                return {message->status, datagram->from, {message->payload.begin(), message->payload.end()}};
            }
        }
        ADD_FAILURE() << "no answer";
        return {Status::LocalProblem, {}, {}};
    }
    CAnswer Ask(std::uint32_t to, Command command, const ByteList& payload = {}) {
        return Receive(Send(to, command, payload));
    }
    Status Write(std::uint32_t to, std::uint32_t address, std::uint32_t value) {
        return Ask(to, Command::WriteReg, Words({address, value})).status;
    }
    std::uint32_t Read(std::uint32_t to, std::uint32_t address) {
        const CAnswer answer = Ask(to, Command::ReadReg, Words({address}));
        return answer.payload.size() == 4 ? GigEVision::GetBigEndian<std::uint32_t>(answer.payload.data()) : 0xBADBAD;
    }
    CEndpoint Address() const { return m_socket.Address(); }

private:
    CReceiver m_socket;
    std::uint16_t m_id = 0;
};

} // namespace Serving
