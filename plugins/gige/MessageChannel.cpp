// SPDX-License-Identifier: Apache-2.0
#include "MessageChannel.h"

#include <Base/GCException.h>
#include <gigevision/Registers.h>

#include <algorithm>
#include <optional>

namespace Gige {

namespace {

namespace Register = GigEVision::Register;
using GigEVision::Command;
using GigEVision::CommandMessage;
using GigEVision::Flag::kExtendedIds;

constexpr std::uint8_t kCommandKey = 0x42;

bool HasData(const CommandMessage& command) {
    return command.Is(Command::EventData);
}

CMessage MessageOf(GigEVision::Bytes datagram) {
    CMessage message;
    message.size = datagram.size();
    std::copy(datagram.begin(), datagram.end(), message.bytes.begin());
    return message;
}

// Whether whoever reads the message later finds items in it, and nothing else.
bool IsSound(const CommandMessage& command) {
    const bool isExtended = command.Has(kExtendedIds), hasData = HasData(command);
    if (!GigEVision::AreEventItems(command.payload, isExtended, hasData)) {
        return false;
    }
    GigEVision::EventItems items(command.payload, isExtended, hasData);
    while (const auto item = items.Next()) {
        if (!hasData && !item->data.empty()) { // an EVENT has none
            return false;
        }
    }
    return true;
}

CUdpSocket OpenSocket(const CConnection& connection) {
    if (connection.Capabilities().messageChannels == 0) {
        throw RUNTIME_EXCEPTION("Cannot open the event grabber: the camera has no message channel.");
    }
    if (!connection.HasControl()) {
        throw RUNTIME_EXCEPTION("Cannot open the event grabber: the camera sends events to who controls it, and it was "
                                "opened without control.");
    }
    return CUdpSocket::ForDevice(connection.Route());
}

} // namespace

CMessageChannel::CMessageChannel(CConnection& connection, CSettings settings, IMessageSink& sink)
    : m_connection(connection), m_sink(sink), m_socket(OpenSocket(connection)) {
    connection.WriteRegister(Register::kMcda, connection.Route().hostAddress);
    connection.TryWriteRegister(Register::kMctt, settings.timeoutMs); // both need not be there
    connection.TryWriteRegister(Register::kMcrc, settings.retries);
    try {
        connection.WriteRegister(Register::kMcp, connection.ChannelPort(m_socket.LocalPort()));
    } catch (...) {
        Close(); // only the answer may be lost
        throw;
    }
}

void CMessageChannel::Close() noexcept {
    m_connection.TryWriteRegister(Register::kMcp, 0);
}

void CMessageChannel::Serve(std::int64_t untilNs, int wakeDescriptor) noexcept {
    std::array<std::uint8_t, kMaxMessageBytes> buffer;
    const auto received = m_socket.Receive(buffer, untilNs, wakeDescriptor);
    if (!received || received->from.address != m_connection.Route().device.address) {
        return;
    }
    m_from = received->from;
    if (const auto command = GigEVision::DecodeCommand(received->bytes)) {
        Take(*command, received->bytes.first(GigEVision::kGvcpHeaderBytes + command->payload.size()));
    } else {
        Refuse(received->bytes);
    }
}

// What begins as a command does, but is none.
void CMessageChannel::Refuse(GigEVision::Bytes datagram) {
    if (datagram.empty() || datagram[0] != kCommandKey) {
        return;
    }
    if (!IsRepetition(MessageOf(datagram))) {
        m_sink.OnMalformed(*this);
    }
    if (datagram.size() >= GigEVision::kGvcpHeaderBytes) {
        const auto word = [&](std::size_t at) { return GigEVision::GetBigEndian<std::uint16_t>(&datagram[at]); };
        Acknowledge({datagram[1], word(2), word(6), {}}, GigEVision::Status::InvalidHeader);
    }
}

void CMessageChannel::Take(const CommandMessage& command, GigEVision::Bytes datagram) {
    const bool isMessage = command.Is(Command::Event) || command.Is(Command::EventData);
    if (isMessage) {
        CMessage message = MessageOf(datagram);
        if (!IsRepetition(message)) {
            HandOn(command, message);
        }
    }
    Acknowledge(command, isMessage ? GigEVision::Status::Success : GigEVision::Status::NotImplemented);
}

void CMessageChannel::HandOn(const CommandMessage& command, CMessage& message) {
    if (!IsSound(command)) {
        m_sink.OnMalformed(*this);
        return;
    }
    if (HasData(command) && !command.Has(kExtendedIds)) { // one item; what it tells of its size is not to be trusted
        GigEVision::PutBigEndian(message.bytes.data() + GigEVision::kGvcpHeaderBytes, std::uint16_t{0});
    }
    m_sink.OnMessage(*this, message);
}

// The request id stands in the header, so that it is compared, too.
bool CMessageChannel::IsRepetition(const CMessage& message) {
    const bool isKnown = std::any_of(m_recent.begin(), m_recent.end(), [&](const CMessage& other) {
        return other.size == message.size && other.bytes == message.bytes;
    });
    if (!isKnown) {
        m_recent[m_next] = message;
        m_next = (m_next + 1) % m_recent.size();
    }
    return isKnown;
}

void CMessageChannel::Acknowledge(const CommandMessage& command, GigEVision::Status status) {
    if (command.Has(GigEVision::Flag::kAcknowledge)) {
        GigEVision::GvcpBuffer buffer;
        m_socket.SendTo(m_from,
                        GigEVision::EncodeAcknowledge(
                            {status, GigEVision::AcknowledgeOf(command.command), command.requestId, {}}, buffer));
    }
}

} // namespace Gige
