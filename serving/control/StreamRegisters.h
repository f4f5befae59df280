// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Registers.h>
#include <gigevision/Status.h>
#include <serving/Stream.h>

#include <cstdint>

namespace Serving {

class CAcquisition;
struct CDeviceState;

/// The registers of the one stream channel, and what writing them does to the stream.
/// Borrows: all that it is made with.
/// Threads: the control thread.
class CStreamRegisters {
public:
    CStreamRegisters(IStream& stream, CAcquisition& acquisition, const CDeviceState& state);

    /// @p offset is that within the channel.
    std::uint32_t Read(std::uint32_t offset) const;
    GigEVision::Status Write(std::uint32_t offset, std::uint32_t value);

    bool IsStreaming() const { return m_stream.IsOpen() && m_stream.TakesFrames(); }
    EChunkForm ChunkForm() const { return m_chunkForm; }
    GigEVision::Status SetChunkForm(EChunkForm form);
    void Apply(); ///< What else a stream depends on has changed.
    void Close() noexcept;

private:
    GigEVision::Status WritePort(std::uint32_t value);
    GigEVision::Status WritePacketSize(std::uint32_t value);
    GigEVision::Status WriteDestination(std::uint32_t address);
    GigEVision::Status WriteConfiguration(std::uint32_t value);
    std::uint32_t PossibleSize(std::uint32_t wanted) const;
    CStreamSettings Settings() const;

    IStream& m_stream;
    CAcquisition& m_acquisition;
    const CDeviceState& m_state;
    std::uint16_t m_port = 0, m_sourcePort = 0; // 0 while closed
    std::uint32_t m_packetSize;                 // with its flag
    std::uint32_t m_delayTicks = 0, m_destination = 0;
    std::uint32_t m_configuration = GigEVision::Scc::kExtendedChunks; // what clients take chunks from unasked
    EChunkForm m_chunkForm = EChunkForm::ExtendedChunkData;
};

} // namespace Serving
