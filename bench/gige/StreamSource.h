// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Endpoint.h"

#include <serving/stream/Block.h>
#include <serving/stream/DatagramBatch.h>
#include <serving/stream/StreamSocket.h>

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

namespace gige_bench {

/// Images of a camera, cut into the packets of blocks with standard ids; all of them show the same.
/// Threads: one at a time, but SentNs: any.
class CStreamSource {
public:
    /// @p burst: the most datagrams that go out by one call.
    CStreamSource(std::uint32_t address, std::uint32_t side, std::uint32_t packetSize, std::size_t burst);

    std::uint16_t Port() const { return m_socket.Port(); }
    std::size_t ImageBytes() const { return m_block.MemoryBytes(); }
    std::uint64_t PacketsOfImage() const { return std::uint64_t{m_block.TrailerId()} + 1; }

    /// From now on blocks go there, and their numbers begin at 1.
    void Begin(const PluginKit::CEndpoint& destination);
    /// Sends the next packets of a block, by one call. @return their bytes of image
    std::size_t SendBurst();
    bool IsBetweenBlocks() const { return m_nextPacket == 0; }
    std::uint64_t Blocks() const { return m_number - 1; } ///< That were sent.
    /// When the last packet of a block was given to the kernel.
    std::int64_t SentNs(std::uint64_t number) const {
        return m_sentNs[number % kStamps].load(std::memory_order_acquire);
    }

private:
    static constexpr std::size_t kStamps = 1024;

    void PrepareBlock();

    const std::uint32_t m_side, m_packetSize;
    const std::size_t m_burst;
    Serving::CStreamSocket m_socket;
    Serving::CBlock m_block;
    Serving::CDatagramBatch m_batch;
    std::uint64_t m_number = 1;
    std::uint32_t m_nextPacket = 0;
    std::vector<std::atomic<std::int64_t>> m_sentNs = std::vector<std::atomic<std::int64_t>>(kStamps);
};

/// Sends blocks of several sources, each with so many bytes of image a second; at once at rate 0.
/// Threads: one at a time.
class CPacer {
public:
    CPacer(std::span<CStreamSource* const> sources, double bytesPerSecond);

    /// Sends so many of each. Allocates nothing. @return bytes of image a second, of each
    double Send(std::uint64_t blocks);

private:
    struct CDue {
        CStreamSource* source;
        std::int64_t startNs = 0, timeNs = 0;
        std::uint64_t bytes = 0;
    };

    void SendNext(std::uint64_t blocks);

    const double m_bytesPerSecond;
    std::vector<CDue> m_dues;
    std::uint64_t m_bytes = 0;
};

} // namespace gige_bench
