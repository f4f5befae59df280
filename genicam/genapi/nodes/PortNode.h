// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NodeBase.h"
#include "genicam/genapi/nodes/RawCache.h"

#include <GenApi/IChunkPort.h>
#include <GenApi/IPortConstruct.h>
#include <GenApi/IPortRecorder.h>

#include <span>
#include <utility>
#include <vector>

namespace GenApi {

/// A port: hands accesses of registers on to the implementation that is connected, and keeps the bytes that were read.
/// Borrows: the implementation and the list that is being recorded.
class PortNode final : public NodeBase, public IPortConstruct, public IChunkPort, public IPortRecorder {
public:
    PortNode(MapCore& core, NodeIndex index) : NodeBase(core, index) { MarkHasRaw(); }

    // IPort
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
    // IPortConstruct
    void SetPortImpl(IPort* pPort) override;
    EYesNo GetSwapEndianess() override { return m_swapEndianess ? Yes : No; }
    // IChunkPort
    gcstring GetChunkID() const override;
    EYesNo CacheChunkData() const override;
    // IPortReplay, IPortRecorder
    void Replay(IPortWriteList* pPortRecorder, bool Invalidate = true) override;
    void StartRecording(IPortWriteList* pPortRecorder) override;
    void StopRecording() override;

    EAccessMode GetAccessMode() const override { return NodeBase::GetAccessMode(); }
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIPort; }

    /// The implementation, for whoever connects many ports as one change and invalidates them himself; under the lock.
    IPort*& Implementation() noexcept { return m_implementation; }

    /// Accesses of registers, with the bytes swapped where the port asks for it; under the lock.
    void ReadBytes(std::uint8_t* bytes, std::int64_t address, std::int64_t length);
    /// A write makes void what is kept of the place, but spares @p claim, by which the caller is going to keep the
    /// bytes.
    void WriteBytes(const std::uint8_t* bytes, std::int64_t address, std::int64_t length, const RawCache::Claim& claim);
    RawCache& Raw() noexcept { return m_raw; }
    /// A buffer for the bytes of one read, lent so that registers need none of their own; what is given back stands
    /// until the next one is.
    std::vector<std::uint8_t> TakeBuffer() noexcept { return std::exchange(m_buffer, {}); }
    std::span<const std::uint8_t> GiveBuffer(std::vector<std::uint8_t>&& buffer) noexcept {
        return m_buffer = std::move(buffer);
    }

protected:
    EAccessMode OwnMode() override;
    void BindProperty(const Property& property) override;
    void DropRaw() noexcept override { m_raw.DropAll(); }

private:
    bool NeedsSwap(std::int64_t length) const noexcept {
        return m_swapEndianess && (length == 2 || length == 4 || length == 8);
    }
    void RequireConnected();
    void RefuseCircle(IPort* port);
    void WriteThroughPort(const void* bytes, std::int64_t address, std::int64_t length, const RawCache::Claim& claim);

    IPort* m_implementation = nullptr;
    IPortWriteList* m_recording = nullptr;
    bool m_swapEndianess = false;
    NodeBase* m_chunkId = nullptr;
    RawCache m_raw;
    std::vector<std::uint8_t> m_buffer;
};

} // namespace GenApi
