// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraPool.h"
#include "Descriptions.h"
#include "common/BufferRegistry.h"
#include "common/Mutex.h"
#include "common/NumberPort.h"

#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <boost/circular_buffer.hpp>

#include <cstdint>
#include <functional>
#include <memory>

namespace CamEmu {

/// Hands the frames of a camera's stream out as grab results. The features that decide the size of an image are locked
/// from PrepareGrab to FinishGrab.
/// Owns:    the registration of buffers, never their memory; the queue of results.
/// Borrows: the pool camera.
/// Threads: as the contract tells; OnFrame comes on the camera's stream thread.
/// Locks:   m_lock, then the stream's. Neither is held while the node map's is taken, while the stream is started,
///          stopped or flushed, nor in a callback.
class CStreamGrabber final : public Zelmo::IStreamGrabber, private IFrameSink {
public:
    /// @p lockChanged is called after the format was locked or unlocked; it must not throw.
    CStreamGrabber(CPoolCamera& camera, std::function<void()> lockChanged);
    ~CStreamGrabber();

    void Permit(bool streaming) { m_isPermitted = streaming; } ///< whether the device was opened for streaming

    void Open() override;
    void Close() override;
    bool IsOpen() const override;
    Zelmo::StreamBufferHandle RegisterBuffer(void* buffer, std::size_t sizeBytes) override;
    void* DeregisterBuffer(Zelmo::StreamBufferHandle handle) override;
    void PrepareGrab() override;
    bool IsStreaming() const override;
    void StartStreaming() override;
    void StopStreaming() override;
    void FinishGrab() override;
    void QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) override;
    void FlushBuffers() override;
    std::size_t GetNumQueuedBuffers() const override;
    bool RetrieveResult(Zelmo::GrabResult& result) override;
    Zelmo::WaitObject& GetWaitObject() const override;
    GenApi::INodeMap* GetNodeMap() override;

private:
    enum class EState { Closed, Open, Prepared, Streaming };

    void OnFrame(const CFrame& frame) noexcept override;
    void Deliver(const CFrame& frame) noexcept;
    EState State() const;
    void RequireReachable(const char* attempt) const;
    std::size_t Promise(const char* parameter) const;
    void ReleaseFormat();
    std::uint64_t ImageSize() const;
    std::uint64_t RegisterValue(std::int64_t address) const;
    std::uint64_t FrameCount(std::int64_t address) const PLUGIN_REQUIRES(m_lock);

    CPoolCamera& m_camera;
    const std::function<void()> m_lockChanged;
    bool m_isPermitted = false;
    PluginKit::CNumberPort m_port{[this](std::int64_t address) { return RegisterValue(address); }};
    PluginKit::NodeMapPtr m_nodeMap;
    mutable Zelmo::WaitObjectEx m_wait; // signaled exactly while m_results is not empty

    mutable PluginKit::CMutex m_lock;
    EState m_state PLUGIN_GUARDED_BY(m_lock) = EState::Closed;
    CLockedFormat m_locked PLUGIN_GUARDED_BY(m_lock); // from PrepareGrab to FinishGrab
    PluginKit::CBufferRegistry m_buffers PLUGIN_GUARDED_BY(m_lock);
    CStreamCounters m_counters PLUGIN_GUARDED_BY(m_lock);               // of the last streaming that was stopped
    boost::circular_buffer<CFrame> m_results PLUGIN_GUARDED_BY(m_lock); // room for every registered buffer
};

} // namespace CamEmu
