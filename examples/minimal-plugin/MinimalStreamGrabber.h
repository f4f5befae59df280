// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MinimalCamera.h"
#include "NodeMaps.h"
#include <zelmo/PixelType.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>

namespace Minimal {

/// Fills queued buffers with a picture that moves by one grey step a frame, while the camera acquires.
/// Threads: the application's, and while streaming one of its own; m_mutex guards what both touch.
class MinimalStreamGrabber final : public Zelmo::IStreamGrabber {
public:
    static constexpr int kWidth = 64;
    static constexpr int kHeight = 48;
    static constexpr int kImageSizeBytes = kWidth * kHeight; // Mono8

    /// @p connection is asked for the parameter FramePeriod when streaming starts.
    MinimalStreamGrabber(MinimalCamera& camera, GenApi::INodeMap& connection);
    ~MinimalStreamGrabber();

    void Permit(bool streaming) { m_isPermitted = streaming; } ///< Whether the device is open for Stream.

    void Open() override;
    void Close() override;
    bool IsOpen() const override { return m_isOpen; }
    Zelmo::StreamBufferHandle RegisterBuffer(void* buffer, std::size_t sizeBytes) override;
    void* DeregisterBuffer(Zelmo::StreamBufferHandle handle) override;
    void PrepareGrab() override;
    bool IsStreaming() const override { return m_thread.joinable(); }
    void StartStreaming() override;
    void StopStreaming() override;
    void FinishGrab() override;
    void QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) override;
    void FlushBuffers() override;
    std::size_t GetNumQueuedBuffers() const override;
    bool RetrieveResult(Zelmo::GrabResult& result) override;
    Zelmo::WaitObject& GetWaitObject() const override { return m_resultsPending; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.get(); }

private:
    struct Buffer {
        void* memory;
        std::size_t sizeBytes;
    };
    struct QueuedBuffer {
        Zelmo::StreamBufferHandle handle;
        Buffer buffer;
        void* context;
    };

    void Run();
    void Expose();
    std::size_t PayloadSizeBytes() const;
    Zelmo::GrabResult ResultOf(const QueuedBuffer& queued, Zelmo::EGrabStatus status) const;
    void Deliver(Zelmo::GrabResult result);

    MinimalCamera& m_camera;
    GenApi::INodeMap& m_connection;
    bool m_isPermitted = false;
    bool m_isPrepared = false;
    std::chrono::milliseconds m_framePeriod{}; // of this streaming
    NodeMapPtr m_nodeMap;                      // there while the grabber is closed, too
    bool m_isOpen = false;
    mutable Zelmo::WaitObjectEx m_resultsPending = Zelmo::WaitObjectEx::Create();

    mutable std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_stop = false;
    std::map<Zelmo::StreamBufferHandle, Buffer> m_registered;
    std::deque<QueuedBuffer> m_queued;
    std::deque<Zelmo::GrabResult> m_results;
    std::uint64_t m_nextBlockId = 0;

    std::thread m_thread; // last: it touches all of the above
};

} // namespace Minimal
