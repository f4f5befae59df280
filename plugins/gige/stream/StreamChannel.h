// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "stream/StreamParameters.h"
#include "stream/StreamSocket.h"

#include <cstdint>
#include <optional>

namespace Gige {

class CConnection;

/// The first stream channel of a camera, and the socket at its other end. With control the camera is told where to send
/// to and how large its packets are to be; without it, it is asked, and a group is joined.
/// Threads: one at a time.
class CStreamChannel {
public:
    explicit CStreamChannel(CConnection& connection) : m_connection(connection) {}
    ~CStreamChannel() { Close(); }
    CStreamChannel(const CStreamChannel&) = delete;
    CStreamChannel& operator=(const CStreamChannel&) = delete;

    /// A new opening of the device: what was found out about packet sizes, and said about buffers, is forgotten.
    void Forget();

    /// Opens the channel, with packets as large as the parameters want them.
    /// @throws GenICam::RuntimeException no camera, no socket, or nothing that could be received
    void Open(const CStreamParameters& parameters);
    /// The camera is told with two short tries, if at all.
    void Close() noexcept;
    bool IsOpen() const { return m_socket.has_value(); }

    /// Fits the receive buffer to images of so many bytes, lets nothing in but the camera, and drops what came so far.
    void MakeReady(const CStreamParameters& parameters, std::uint64_t imageBytes);

    CStreamSocket& Socket() { return *m_socket; }
    std::uint32_t PacketSize() const { return m_packetSize; }
    std::uint64_t GrantedBytes() const { return m_grantedBytes; }
    /// Where its packets come from; 0 when the camera does not tell.
    std::uint16_t SourcePort() const { return m_sourcePort; }

private:
    struct CDestination {
        std::uint32_t address = 0;
        std::uint16_t port = 0;
    };
    struct CVerdict {
        std::uint32_t limit = 0; // the largest size that the interface takes
        std::uint32_t size = 0;  // found; where no test packet arrived, what is used without
        bool isSameAs(std::uint32_t otherLimit, std::uint32_t present) const {
            return limit == otherLimit && size == present;
        }
    };

    bool IsConfiguring(const CStreamParameters& parameters) const;
    CDestination Wanted(const CStreamParameters& parameters) const;
    CDestination Configured() const;
    void Tell(const CDestination& destination);
    void FindPacketSize();
    std::optional<std::uint32_t> SetPacketSize(std::uint32_t flags, std::uint32_t size);
    std::uint32_t UsablePacketSize() const;
    bool TestPacketArrives(std::uint32_t flags, std::uint32_t size);
    void WarnOfSmallBuffer(std::uint64_t neededBytes);
    std::uint32_t Read(std::uint32_t offset) const;

    CConnection& m_connection;
    std::optional<CStreamSocket> m_socket;
    bool m_isTold = false; // the camera was given the port
    std::uint32_t m_packetSize = 0;
    std::uint64_t m_grantedBytes = 0;
    std::uint16_t m_sourcePort = 0;
    CVerdict m_verdict;
    bool m_hasWarned = false;
};

} // namespace Gige
