// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Endpoint.h"

#include <gigevision/Gvcp.h>

#include <cstdint>

namespace Serving {

/// How images with chunks are sent unless the extended chunk mode is on.
enum class EChunkForm : std::uint32_t {
    ExtendedChunkData, ///< type 0x0005: the leader tells of the image, as in version 1.2 of the standard
    ChunkData,         ///< type 0x0004: the chunks alone do
    Count_
};

/// How a stream channel sends, out of its registers.
struct CStreamSettings {
    CEndpoint destination = {};      ///< SCDA : SCP; address 0: nothing is sent yet
    std::uint32_t packetSize = 1500; ///< SCPS
    bool doNotFragment = false;
    std::uint64_t packetDelayNs = 0; ///< SCPD
    bool extendedIds = false;
    bool extendedChunks = false; ///< SCCFG: chunks go behind an image with its leader
    EChunkForm chunkForm = EChunkForm::ExtendedChunkData;
    bool resendToRequester = false; ///< SCCFG
    bool statusCodes11 = false, statusCodes20 = false;
};

/// What a stream has done since the camera is served.
struct CStreamCounts {
    std::uint64_t blocks = 0, packets = 0, bytes = 0; ///< sent, resent ones not among them
    std::uint64_t resendRequests = 0, resentPackets = 0, refusedPackets = 0;
    std::uint64_t lostBlocks = 0;                ///< not made, for want of memory or rate
    std::uint64_t unsentBlocks = 0;              ///< made while the channel was closed or had no destination
    std::uint64_t sendErrors = 0, oversized = 0; ///< EMSGSIZE
};

/// The stream channel of a served camera as its control side sees it. All calls come from the one control thread; none
/// waits for the network.
class IStream {
public:
    virtual ~IStream() = default;

    /// Opens the channel: block ids begin at 1, the history is empty. @return the port that packets come from, SCSP.
    /// @throws std::system_error when no socket can be had; then it is closed.
    virtual std::uint16_t Open(const CStreamSettings& settings) = 0;
    virtual void Apply(const CStreamSettings& settings) = 0; ///< While open; from the next block on.
    /// Stops the acquisition's images too. What is under way to the wire is finished or dropped at once.
    virtual void Close() noexcept = 0;
    virtual bool IsOpen() const = 0;

    /// Before the camera starts to acquire: freezes the format and takes the frames, which are dropped while the
    /// channel is closed. @throws std::bad_alloc, std::system_error; then nothing is started.
    virtual void StartFrames() = 0;
    /// When it has stopped: the block that is sent is finished; the history stays. Nothing happens twice.
    virtual void StopFrames() noexcept = 0;
    virtual bool TakesFrames() const = 0;
    /// The id, as on the wire but of 64 bits, of the block with the camera's frame number @p frame. Threads: any; no
    /// locks.
    virtual std::uint64_t BlockIdOf(std::uint64_t frame) const = 0;

    virtual void Resend(const GigEVision::ResendRequest& request, const CEndpoint& requester) = 0;
    virtual void SendTestPacket(std::uint32_t packetSize, bool doNotFragment) = 0;
    virtual void Mute(bool isMuted) = 0; ///< While it is, all goes on but that nothing is sent.
    virtual CStreamCounts Counts() const = 0;
};

} // namespace Serving
