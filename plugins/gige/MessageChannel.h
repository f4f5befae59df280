// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "control/Connection.h"
#include "net/UdpSocket.h"

#include <gigevision/Gvcp.h>

#include <array>
#include <cstdint>

namespace Gige {

inline constexpr std::size_t kMaxMessageBytes = 576; ///< of a datagram; none of the protocol's is longer

/// One datagram of the camera, from its header to the end that this tells.
struct CMessage {
    std::array<std::uint8_t, kMaxMessageBytes> bytes = {}; ///< zero behind the message
    std::size_t size = 0;
};

class CMessageChannel;

/// Who takes messages. Called by the thread that serves the channel.
class IMessageSink {
public:
    virtual void OnMessage(const CMessageChannel& channel, const CMessage& message) noexcept = 0; ///< Once each.
    virtual void OnMalformed(const CMessageChannel& channel) noexcept = 0;

protected:
    ~IMessageSink() = default;
};

/// A camera's messages on their way to this host: a socket of which the camera was told. What comes from elsewhere is
/// dropped. Each message is handed on when it is sound and no repetition of a recent one, and acknowledged; what is not
/// even a message, too.
/// Threads: Serve is one thread's; Close any other's, at the same time.
class CMessageChannel {
public:
    /// How often, and after what time, the camera repeats what was not acknowledged.
    struct CSettings {
        std::uint32_t timeoutMs = 500, retries = 2;
    };

    /// Tells the camera where to send to. @p sink and @p connection outlive the channel.
    /// @throws GenICam::RuntimeException when the camera has no message channel, or refuses
    CMessageChannel(CConnection& connection, CSettings settings, IMessageSink& sink);

    void Close() noexcept; ///< Tells the camera to send no more.
    /// Waits for one datagram until @p untilNs of CLOCK_MONOTONIC, no longer once @p wakeDescriptor is readable.
    void Serve(std::int64_t untilNs, int wakeDescriptor) noexcept;

private:
    void Take(const GigEVision::CommandMessage& command, GigEVision::Bytes datagram);
    void Refuse(GigEVision::Bytes datagram);
    void HandOn(const GigEVision::CommandMessage& command, CMessage& message);
    bool IsRepetition(const CMessage& message);
    void Acknowledge(const GigEVision::CommandMessage& command, GigEVision::Status status);

    CConnection& m_connection;
    IMessageSink& m_sink;
    CUdpSocket m_socket;
    PluginKit::CEndpoint m_from;       // of the last datagram
    std::array<CMessage, 16> m_recent; // a ring
    std::size_t m_next = 0;            // to be overwritten in it
};

} // namespace Gige
