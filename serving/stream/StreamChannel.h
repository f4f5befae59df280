// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "StreamSender.h"

#include <core/Camera.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace Serving {

/// The stream channel of a served camera: takes its frames, makes blocks of them, and has them sent while it is open.
/// A frame is drawn into the memory of a block, which goes from the camera to the sender, stays in its history and
/// comes back to be drawn again; only the blocks that the camera is about to need wait with it. Time stamps of blocks
/// are those of the frames: whoever resets the camera's ticks sets the time origin of its frame stream, too
/// (CFrameStream::SetTimeOrigin).
/// Owns:    the blocks, and the sender from Open to Close.
/// Borrows: all that it is made with.
/// Threads: as IStream; frames come on the camera's stream thread. Counts, Mute and BlockIdOf any.
/// Locks:   m_lock, inside those of the camera's registers and around those of its frame stream and of the sender; not
///          held while threads are ended. BlockIdOf takes none: events come with locks of the frame stream held.
class CStreamChannel final : public IStream, private CamEmu::IFrameSink, private IBlockHome {
public:
    /// @p address is the camera's, where packets come from.
    CStreamChannel(CamEmu::CCamera& camera, CServingFaults& faults, CRateBudgets& budgets, std::uint32_t address);
    ~CStreamChannel() override { Close(); }
    CStreamChannel(const CStreamChannel&) = delete;
    CStreamChannel& operator=(const CStreamChannel&) = delete;

    std::uint16_t Open(const CStreamSettings& settings) override;
    void Apply(const CStreamSettings& settings) override;
    void Close() noexcept override;
    bool IsOpen() const override;
    void StartFrames() override;
    void StopFrames() noexcept override;
    bool TakesFrames() const override;
    std::uint64_t BlockIdOf(std::uint64_t frame) const override;
    void Resend(const GigEVision::ResendRequest& request, const CEndpoint& requester) override;
    void SendTestPacket(std::uint32_t packetSize, bool doNotFragment) override;
    void Mute(bool isMuted) override { m_isMuted = isMuted; } ///< Packets count as sent; requests are not heard.
    CStreamCounts Counts() const override;

    void SetAddress(std::uint32_t address); ///< The camera has another one; packets come from it after the next Open.

private:
    void OnFrame(const CamEmu::CFrame& frame) noexcept override;
    void OnSent(CBlock& block) noexcept override;
    void OnReleased(CBlock& block) noexcept override;

    bool SendFrame(CBlock& block, const CamEmu::CFrame& frame) PLUGIN_REQUIRES(m_lock);
    CBlockIds NextIds(const CamEmu::CFrame& frame, std::uint64_t id) PLUGIN_REQUIRES(m_lock);
    std::uint32_t LayoutIdOf(const CamEmu::CFrame& frame) PLUGIN_REQUIRES(m_lock);
    void Prepare(std::size_t payloadBytes);
    void MakeBlocks(std::size_t payloadBytes) PLUGIN_REQUIRES(m_lock);
    void FeedCamera() noexcept PLUGIN_REQUIRES(m_lock);
    bool EndFeeding() noexcept; ///< @return whether the camera was fed.
    void TakeBackFromCamera() noexcept;
    void Free(CBlock& block) noexcept PLUGIN_REQUIRES(m_lock);
    void Move(CBlock& block, CBlock::EPlace place) PLUGIN_REQUIRES(m_lock);
    std::unique_ptr<CStreamSender> TakeSender();

    CamEmu::CCamera& m_camera;
    CServingFaults& m_faults;
    CRateBudgets& m_budgets;
    std::atomic<bool> m_isMuted = false;
    CSenderCounts m_counts;
    std::atomic<std::int64_t> m_base = 0; // added to a frame's number + 1 for its block id
    std::atomic<bool> m_takesFrames = false;

    mutable PluginKit::CMutex m_lock;
    std::uint32_t m_address PLUGIN_GUARDED_BY(m_lock);
    CStreamSettings m_settings PLUGIN_GUARDED_BY(m_lock);
    std::vector<std::unique_ptr<CBlock>> m_blocks PLUGIN_GUARDED_BY(m_lock);
    std::vector<CBlock*> m_free PLUGIN_GUARDED_BY(m_lock);      // the one that came back last is taken first
    std::size_t m_payloadBytes PLUGIN_GUARDED_BY(m_lock) = 0;   // of the blocks that are made now
    std::size_t m_blocksInFlight PLUGIN_GUARDED_BY(m_lock) = 0; // with camera and sender, as the next
    std::size_t m_maxInFlight PLUGIN_GUARDED_BY(m_lock) = 0;
    std::uint64_t m_lastId PLUGIN_GUARDED_BY(m_lock) = 0; // of a block since the channel was opened
    std::uint64_t m_lost PLUGIN_GUARDED_BY(m_lock) = 0;   // before the frames were started
    std::uint64_t m_unsent PLUGIN_GUARDED_BY(m_lock) = 0;
    std::uint32_t m_layoutId PLUGIN_GUARDED_BY(m_lock) = 0, m_layoutChunks PLUGIN_GUARDED_BY(m_lock) = 0;
    std::size_t m_layoutBytes PLUGIN_GUARDED_BY(m_lock) = 0;
    std::unique_ptr<CStreamSender> m_sender PLUGIN_GUARDED_BY(m_lock);
};

} // namespace Serving
