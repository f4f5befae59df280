// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Bytes.h>
#include <gigevision/Gvcp.h>
#include <gigevision/Gvsp.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace Gige {

/// How lost packets are asked for, and how long is waited. Times in nanoseconds; taken over between two datagrams.
struct CResendSettings {
    bool isEnabled = true;              ///< else nothing is asked for
    std::uint32_t window = 32;          ///< blocks open at once, at most maxBuffers; one more ends the oldest
    std::uint32_t threshold = 2;        ///< packets: a gap counts once so many later ones of the block have come
    std::int64_t timeoutNs = 1'000'000; ///< and once it is so old
    std::uint32_t batching = 0;         ///< packets: gaps no further apart are asked for by one command
    std::int64_t responseTimeoutNs = 20'000'000;    ///< longest time until it is asked again
    std::uint32_t maxRequests = 6;                  ///< of one packet
    std::int64_t packetTimeoutNs = 20'000'000;      ///< silence within a block, after which its rest counts as missing
    std::int64_t frameRetentionNs = 200'000'000;    ///< since the last new packet, once something later was seen
    std::int64_t newestRetentionNs = 5'000'000'000; ///< the same of the newest block of all
};

/// What holds for one streaming, from the opening of the channel to its end.
struct CStreamFormat {
    std::uint32_t packetSize = 1500; ///< bytes, with the headers of IP and UDP, as the device was told
    std::uint64_t payloadBytes = 0;  ///< of the largest block; 0: not known
    std::uint16_t channel = 0;
    std::uint32_t maxOpenBlocks = 16; ///< room for windows up to this
    std::uint32_t maxBuffers = 64;    ///< room for so many
    std::uint32_t maxBufferBytes = 0; ///< of the largest buffer; bounds the packets of a block
    bool acceptsAllIn = false;        ///< blocks of one packet, which a device sends only if it was told to
};

/// Memory to be filled. The token is the caller's.
struct CFreeBuffer {
    void* token = nullptr;
    GigEVision::MutableBytes memory;
};

enum class EBlockEnd : std::uint8_t { Complete, Failed, Canceled };

/// Why a block failed.
enum class EBlockFault : std::uint32_t {
    None = 0,
    PacketsMissing = 1, ///< it was waited for, or asked for, in vain
    LeaderMissing = 2,
    PacketsGone = 3, ///< the device says that it has them no more
    BufferTooSmall = 4,
    DataOverrun = 5,   ///< the device lost data of this block
    Contradictory = 6, ///< packets that cannot be of one block: a short one in the middle, two leaders that differ
    WindowFull = 7,    ///< ended for a newer one
};

/// A buffer on its way back. Sizes in bytes; of fixed size, as it is made on an image's road.
struct CFinishedBlock {
    void* token = nullptr;
    EBlockEnd end = EBlockEnd::Canceled;
    EBlockFault fault = EBlockFault::None;
    std::uint16_t status = 0;           ///< the device's, of leader, packets or trailer, where it is not 0
    std::uint64_t blockId = 0;          ///< unwrapped; see CReassembler
    std::uint16_t payloadType = 0;      ///< with its bits, as in the leader; 0 without one
    GigEVision::ImageGeometry geometry; ///< sizeY: the lines really sent. Multi-part: of a first part that is an image
    bool isGeometryKnown = false;
    std::uint64_t timestamp = 0;
    std::uint64_t payloadBytes = 0; ///< valid bytes from the buffer's start
    bool hasChunks = false;         ///< the payload is a chain of chunks
    // Of a failed block:
    std::uint32_t packets = 0;                                    ///< leader and trailer included; 0 where not known
    std::uint32_t missing = 0, firstMissing = 0, lastMissing = 0; ///< packet ids
    std::uint32_t requested = 0;                                  ///< packets asked for, each as often as it was
    std::uint32_t tries = 0;                                      ///< of the packet asked for most often
    std::uint64_t droppedByHost = 0; ///< datagrams that the socket had no room for, since the last one before the block
    std::uint64_t bufferBytes = 0, neededBytes = 0; ///< of BufferTooSmall
};

/// What to send to the device's control port, from the stream's socket; without an acknowledge.
struct CResendCommand {
    GigEVision::ResendRequest request;
};

/// All since the streaming began; they never fall.
struct CStreamCounts {
    std::uint64_t complete = 0, failed = 0;              ///< blocks handed out
    std::uint64_t canceled = 0;                          ///< begun blocks that CancelAll ended
    std::uint64_t lostBlocks = 0;                        ///< by their ids: of which nothing came
    std::uint64_t underruns = 0;                         ///< blocks for which there was no buffer
    std::uint64_t packets = 0;                           ///< of open blocks, that were taken
    std::uint64_t missingPackets = 0;                    ///< at the end of failed blocks
    std::uint64_t resendCommands = 0, resendPackets = 0; ///< sent; packets asked for by them
    std::uint64_t resentPackets = 0;                     ///< that came after they were asked for
    std::uint64_t doubledPackets = 0;                    ///< that were there already
    std::uint64_t ignoredPackets = 0;                    ///< of no open block, or no packets at all
    std::uint64_t errorPackets = 0;                      ///< with an error status
    std::uint64_t droppedByHost = 0;                     ///< by the socket
    std::uint64_t resynchronizations = 0;                ///< times that the device began to count anew
    std::uint64_t lastBlockId = 0;
};

/// Puts the packets of a stream together. A state machine: datagrams and the time in; finished blocks and resend
/// commands out. It knows no socket, no thread and no clock, and after its construction it allocates nothing.
///
/// Invariant: a block ends as Complete only when each of its bytes came from a packet of this block, and leader and
/// trailer, too; or, of a failed one, the bytes that did not come are what the buffer held before.
/// A buffer is with the reassembler from AddBuffer until its CFinishedBlock was taken; nothing else touches it.
/// Blocks come out in the order of their ids; a failed one is handed out as such, one of which nothing came is counted.
/// Ids: 16-bit ones are unwrapped, so that they go on rising; the first one is that of the first block seen. A device
/// that begins to count anew opens a new epoch, whose ids are the device's own again.
/// Threads: one at a time.
class CReassembler {
public:
    CReassembler(const CStreamFormat& format, const CResendSettings& settings);
    ~CReassembler();
    CReassembler(const CReassembler&) = delete;
    CReassembler& operator=(const CReassembler&) = delete;

    void Change(const CResendSettings& settings);
    bool AddBuffer(const CFreeBuffer& buffer); ///< @return false when there are maxBuffers with it already.

    void OnDatagram(GigEVision::Bytes datagram, std::int64_t nowNs);
    void OnForeign() noexcept; ///< A datagram that the camera has not sent: it is counted.
    /// The socket dropped that many datagrams since it was opened, by the kernel's count. Just before the datagram that
    /// came with this count: the difference is that of the open blocks, and of one that this datagram begins.
    void OnDroppedByHost(std::uint32_t total);
    void OnTick(std::int64_t nowNs); ///< Whenever NextTickNs was reached, and after a batch of datagrams.
    std::int64_t NextTickNs() const; ///< INT64_MAX when only datagrams matter.

    /// Commands that are due. Those taken count as sent.
    std::span<const CResendCommand> TakeResends();
    /// @return false when none is finished. Blocks are finished in the order in which they are handed out.
    bool TakeFinished(CFinishedBlock& block);

    /// Every buffer, half filled ones included, comes back as Canceled, behind what is finished already. Packets of the
    /// blocks that were open are dropped from then on, by their ids.
    void CancelAll();
    std::size_t Buffers() const; ///< That are with the reassembler: free, open and finished.
    const CStreamCounts& Counts() const;

private:
    struct CState;
    std::unique_ptr<CState> m_state;
};

/// "Block 17: 12 of 2,867 packets missing (first 40, last 51), 72 asked for, 3 tries; 0 dropped by this host." Of a
/// complete one: its type, where the contract cannot name it, and what the camera remarks; else empty. Allocates.
std::string Explain(const CFinishedBlock& block);

} // namespace Gige
