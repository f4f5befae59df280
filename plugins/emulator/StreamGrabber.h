#pragma once

#include "CameraPool.h"
#include "Descriptions.h"

#include <GenApi/PortImpl.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <boost/circular_buffer.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace CamEmu {

class CStreamGrabber;

/// The stream grabber's own parameters as registers, read only; CamEmuStream.xml describes them.
class CStreamPort : public GenApi::CPortImpl {
public:
    explicit CStreamPort(const CStreamGrabber& grabber) : m_grabber(grabber) {}

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RO; }
    void Read(void* bytes, std::int64_t address, std::int64_t length) override;
    void Write(const void* bytes, std::int64_t address, std::int64_t length) override;

private:
    const CStreamGrabber& m_grabber;
};

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
    friend class CStreamPort;

    enum class EState { Closed, Open, Prepared, Streaming };

    /// A buffer that was registered. It goes Idle → Queued (with the stream) → Ready (among the results) → Idle; only
    /// an idle one can be queued or deregistered.
    struct CBuffer {
        enum class EState { Idle, Queued, Ready };

        Zelmo::StreamBufferHandle handle = nullptr;
        std::span<std::uint8_t> memory;
        void* context = nullptr;
        EState state = EState::Idle;
    };

    void OnFrame(const CFrame& frame) noexcept override;
    EState State() const;
    std::size_t MaxBufferSize() const;
    void ReleaseFormat();
    std::size_t CountAway() const;
    CBuffer& IdleBuffer(Zelmo::StreamBufferHandle handle, const char* attempt);
    std::uint64_t RegisterValue(std::int64_t address) const;

    CPoolCamera& m_camera;
    const std::function<void()> m_lockChanged;
    bool m_isPermitted = false;
    CStreamPort m_port{*this};
    NodeMapPtr m_nodeMap;
    mutable Zelmo::WaitObjectEx m_wait; // signaled exactly while m_results is not empty

    mutable std::mutex m_lock; // guards all below
    EState m_state = EState::Closed;
    CImageFormat m_format; // from PrepareGrab to FinishGrab
    std::uintptr_t m_lastHandle = 0;
    std::unordered_map<Zelmo::StreamBufferHandle, CBuffer> m_buffers;
    boost::circular_buffer<CFrame> m_results; // room for every registered buffer
};

} // namespace CamEmu
