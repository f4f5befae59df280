// SPDX-License-Identifier: Apache-2.0
#include "discovery/ControlQuery.h"

#include "net/UdpSocket.h"

#include <gigevision/Gvcp.h>
#include <gigevision/Registers.h>

#include <random>

namespace Gige {
namespace {

constexpr int kTries = 3;
constexpr std::int64_t kTryNs = 200'000'000;

EControlState StateOf(const GigEVision::AcknowledgeMessage& message, const GigEVision::RegisterList& values) {
    if (GigEVision::IsError(message.status)) { // under exclusive access others may not even read who has it
        return message.status == GigEVision::Status::AccessDenied ? EControlState::Exclusive : EControlState::Free;
    }
    const std::uint32_t ccp = values.words[0];
    return (ccp & GigEVision::Ccp::kExclusive) != 0 ? EControlState::Exclusive
           : (ccp & GigEVision::Ccp::kControl) != 0 ? EControlState::Controlled
                                                    : EControlState::Free;
}

} // namespace

EControlState AskForControlState(const CRoute& route) {
    CUdpSocket socket = CUdpSocket::ForDevice(route);
    GigEVision::RegisterList asked;
    asked.words[asked.count++] = GigEVision::Register::kCcp;
    GigEVision::GvcpBuffer buffer, answer;
    GigEVision::CommandMessage command;
    command.flags = GigEVision::Flag::kAcknowledge;
    command.command = static_cast<std::uint16_t>(GigEVision::Command::ReadReg);
    command.requestId = GigEVision::NextRequestId(static_cast<std::uint16_t>(std::random_device()()));
    command.payload =
        GigEVision::EncodeReadReg(asked, GigEVision::MutableBytes(buffer).subspan(GigEVision::kGvcpHeaderBytes));
    const GigEVision::Bytes datagram = GigEVision::EncodeCommand(command, buffer);
    for (int i = 0; i < kTries; ++i) {
        socket.SendTo(route.device, datagram);
        const std::int64_t end = MonotonicNs() + kTryNs;
        while (const auto received = socket.Receive(answer, end)) {
            const auto message = GigEVision::DecodeAcknowledge(received->bytes);
            const bool isOurs = message && received->from == route.device && message->id == command.requestId &&
                                message->acknowledge == GigEVision::AcknowledgeOf(command.command);
            if (const auto values = isOurs ? GigEVision::DecodeReadRegAck(*message, 1) : std::nullopt) {
                return StateOf(*message, *values);
            }
            if (MonotonicNs() >= end) {
                break;
            }
        }
    }
    return EControlState::Silent;
}

} // namespace Gige
