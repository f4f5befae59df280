// SPDX-License-Identifier: Apache-2.0
#include "StreamGrabber.h"

#include "common/Boundary.h"
#include "core/RegisterMap.h"

#include <Base/GCException.h>
#include <GenApi/IInteger.h>
#include <GenApi/Pointer.h>
#include <zelmo/PixelType.h>

namespace CamEmu {

namespace {

void FillImage(const CFrame& frame, Zelmo::GrabResult& result) {
    const CImageFormat& format = frame.format;
    result.payloadType = frame.hasChunks ? Zelmo::PayloadType_ChunkData : Zelmo::PayloadType_Image;
    result.pixelType = static_cast<Zelmo::EPixelType>(format.pixels->code);
    result.timeStamp = static_cast<std::uint64_t>(frame.timestampNs);
    result.sizeX = static_cast<std::int32_t>(format.width);
    result.sizeY = static_cast<std::int32_t>(format.height);
    result.offsetX = static_cast<std::int32_t>(format.offsetX);
    result.offsetY = static_cast<std::int32_t>(format.offsetY);
    result.paddingX = 0;
    result.paddingY = 0;
    result.blockId = frame.blockId;
}

void FillStatus(const CFrame& frame, Zelmo::GrabResult& result) {
    switch (frame.status) {
    case EFrameStatus::Complete:
        result.status = Zelmo::GrabStatus_Grabbed;
        result.payloadSize = static_cast<std::int64_t>(frame.payloadSize);
        break;
    case EFrameStatus::TooSmall:
    case EFrameStatus::Forced:
        result.status = Zelmo::GrabStatus_Failed;
        result.payloadSize = 0;
        result.errorCode = FrameError(frame.status).code;
        result.errorDescription = FrameError(frame.status).text;
        break;
    case EFrameStatus::Cancelled:
        result.status = Zelmo::GrabStatus_Canceled;
        result.payloadSize = 0;
        break;
    }
}

} // namespace

CStreamGrabber::CStreamGrabber(CPoolCamera& camera, std::function<void()> lockChanged)
    : m_camera(camera), m_lockChanged(std::move(lockChanged)), m_nodeMap(MakeStreamNodeMap(m_port)),
      m_wait(Zelmo::WaitObjectEx::Create()) {}

CStreamGrabber::~CStreamGrabber() {
    Close();
}

void CStreamGrabber::Open() {
    if (State() != EState::Closed) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the stream grabber: it is open already.");
    }
    if (!m_isPermitted) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the stream grabber: the device was not opened for streaming.");
    }
    RequireReachable("open the stream grabber");
    if (m_camera.isStreaming.exchange(true)) {
        throw RUNTIME_EXCEPTION("Cannot open the stream grabber: the images of camera %s go to another one.",
                                m_camera.camera.Text(Reg::kSerialNumber).c_str());
    }
    const PluginKit::CLockGuard lock(m_lock);
    m_state = EState::Open;
}

// Cleans up whatever was left undone; the caller may drop everything and just close.
void CStreamGrabber::Close() {
    if (State() == EState::Closed) {
        return;
    }
    StopStreaming();
    m_camera.camera.Stream().DropQueued();
    ReleaseFormat();
    {
        const PluginKit::CLockGuard lock(m_lock);
        m_results.clear();
        m_wait.Reset();
        m_buffers.Clear();
        m_state = EState::Closed;
    }
    m_camera.isStreaming = false;
}

bool CStreamGrabber::IsOpen() const {
    return State() != EState::Closed;
}

Zelmo::StreamBufferHandle CStreamGrabber::RegisterBuffer(void* buffer, std::size_t sizeBytes) {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_state != EState::Prepared && m_state != EState::Streaming) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot register a buffer: PrepareGrab was not called.");
    }
    m_buffers.RequireRoom(buffer, sizeBytes);
    // The check does not see that the lock is held inside the lambda.
    return PluginKit::AtBoundary("register a buffer", [&]() PLUGIN_UNCHECKED_LOCKS {
        m_camera.camera.Stream().Reserve(m_buffers.Count() + 1);
        if (m_results.capacity() <= m_buffers.Count()) {
            m_results.set_capacity(m_buffers.Count() * 2 + 8);
        }
        return m_buffers.Add(buffer, sizeBytes).handle;
    });
}

void* CStreamGrabber::DeregisterBuffer(Zelmo::StreamBufferHandle handle) {
    const PluginKit::CLockGuard lock(m_lock);
    return m_buffers.Remove(handle);
}

void CStreamGrabber::PrepareGrab() {
    const std::size_t promised = Promise("MaxBufferSize");
    const std::size_t maxBuffers = Promise("MaxNumBuffer");
    if (State() != EState::Open) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot prepare the grab: the stream grabber is closed, or prepared already.");
    }
    RequireReachable("prepare the grab");
    const CLockedFormat locked = m_camera.camera.LockFormat();
    if (promised < locked.payloadSize) {
        m_camera.camera.UnlockFormat();
        m_lockChanged();
        throw RUNTIME_EXCEPTION("Cannot prepare the grab: MaxBufferSize is %zu bytes, an image takes %zu.", promised,
                                locked.payloadSize);
    }
    {
        const PluginKit::CLockGuard lock(m_lock);
        m_locked = locked;
        m_buffers.Limit(promised, maxBuffers);
        m_state = EState::Prepared;
    }
    m_lockChanged();
}

bool CStreamGrabber::IsStreaming() const {
    return State() == EState::Streaming;
}

void CStreamGrabber::StartStreaming() {
    RequireReachable("start streaming");
    CImageFormat format;
    {
        const PluginKit::CLockGuard lock(m_lock);
        if (m_state != EState::Prepared) {
            throw LOGICAL_ERROR_EXCEPTION("Cannot start streaming: PrepareGrab was not called, or streaming goes on.");
        }
        format = m_locked.format;
    }
    if (m_camera.camera.Faults().FailsStart()) {
        throw RUNTIME_EXCEPTION("Cannot start streaming: ForceFailedStart was executed on camera %s.",
                                m_camera.camera.Text(Reg::kSerialNumber).c_str());
    }
    PluginKit::AtBoundary("start streaming", [&] { m_camera.camera.Stream().Start(format, *this); });
    const PluginKit::CLockGuard lock(m_lock);
    m_state = EState::Streaming;
}

void CStreamGrabber::StopStreaming() {
    if (State() != EState::Streaming) {
        return;
    }
    m_camera.camera.Stream().Stop();
    const PluginKit::CLockGuard lock(m_lock);
    m_counters = m_camera.camera.Stream().Counters();
    m_state = EState::Prepared;
}

// Nothing is wrong with a call when nothing was prepared: a failed start is undone by the same calls as a good one.
void CStreamGrabber::FinishGrab() {
    {
        const PluginKit::CLockGuard lock(m_lock);
        if (m_state == EState::Streaming) {
            throw LOGICAL_ERROR_EXCEPTION("Cannot finish the grab: streaming was not stopped.");
        }
        if (m_buffers.Away() > 0) {
            throw LOGICAL_ERROR_EXCEPTION("Cannot finish the grab: %zu buffers are queued or were not retrieved.",
                                          m_buffers.Away());
        }
        m_buffers.Clear();
    }
    ReleaseFormat();
}

void CStreamGrabber::QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) {
    const PluginKit::CLockGuard lock(m_lock);
    PluginKit::CRegisteredBuffer& buffer = m_buffers.Queue(handle, context);
    m_camera.camera.Stream().Queue({buffer.memory, &buffer});
}

void CStreamGrabber::FlushBuffers() {
    if (State() != EState::Closed) {
        PluginKit::AtBoundary("flush the buffers", [this] { m_camera.camera.Stream().CancelQueued(*this); });
    }
}

std::size_t CStreamGrabber::GetNumQueuedBuffers() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_buffers.Away();
}

bool CStreamGrabber::RetrieveResult(Zelmo::GrabResult& result) {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_results.empty()) {
        return false;
    }
    const CFrame frame = m_results.front();
    if (frame.status != EFrameStatus::Cancelled && m_camera.camera.Faults().FailsRetrieval()) {
        throw RUNTIME_EXCEPTION("Cannot retrieve a result: ForceFailedRetrieval was executed on the camera.");
    }
    m_results.pop_front();
    if (m_results.empty()) {
        m_wait.Reset();
    }
    auto& buffer = *static_cast<PluginKit::CRegisteredBuffer*>(frame.buffer.context);
    m_buffers.Retrieve(buffer);

    result = {};
    result.context = buffer.context;
    result.handle = buffer.handle;
    result.buffer = buffer.memory.data();
    result.bufferSize = buffer.memory.size();
    FillStatus(frame, result);
    if (frame.status != EFrameStatus::Cancelled) {
        FillImage(frame, result);
    }
    return true;
}

Zelmo::WaitObject& CStreamGrabber::GetWaitObject() const {
    return m_wait;
}

GenApi::INodeMap* CStreamGrabber::GetNodeMap() {
    return m_nodeMap.get();
}

void CStreamGrabber::OnFrame(const CFrame& frame) noexcept {
    Deliver(frame);
    if (frame.status != EFrameStatus::Cancelled && m_camera.camera.Faults().RemovesNow()) {
        m_camera.link.Pull(); // no frame begins after this one
    }
}

void CStreamGrabber::Deliver(const CFrame& frame) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    static_cast<PluginKit::CRegisteredBuffer*>(frame.buffer.context)->state =
        PluginKit::CRegisteredBuffer::EState::Ready;
    m_results.push_back(frame);
    if (m_results.size() == 1) {
        m_wait.Signal();
    }
}

CStreamGrabber::EState CStreamGrabber::State() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_state;
}

void CStreamGrabber::RequireReachable(const char* attempt) const {
    if (m_camera.link.IsPulled()) {
        throw RUNTIME_EXCEPTION("Cannot %s: camera %s was removed.", attempt,
                                m_camera.camera.Text(Reg::kSerialNumber).c_str());
    }
}

std::size_t CStreamGrabber::Promise(const char* parameter) const {
    return static_cast<std::size_t>(GenApi::CIntegerPtr(m_nodeMap->GetNode(parameter))->GetValue());
}

void CStreamGrabber::ReleaseFormat() {
    {
        const PluginKit::CLockGuard lock(m_lock);
        if (m_state != EState::Prepared) {
            return;
        }
        m_state = EState::Open;
    }
    m_camera.camera.UnlockFormat();
    m_lockChanged();
}

std::uint64_t CStreamGrabber::ImageSize() const {
    std::uint64_t size = 0;
    if (!m_camera.link.Access([&](CCamera& camera) { size = camera.PayloadSize(); })) {
        throw RUNTIME_EXCEPTION("Cannot read PayloadSize: the camera was removed.");
    }
    return size;
}

// The addresses are those of CamEmuStream.xml.
std::uint64_t CStreamGrabber::RegisterValue(std::int64_t address) const {
    if (address == 0x00) {
        return ImageSize();
    }
    const PluginKit::CLockGuard lock(m_lock);
    switch (address) {
    case 0x08:
        return m_state == EState::Prepared || m_state == EState::Streaming;
    case 0x40:
        return m_buffers.Count();
    case 0x48:
        return m_buffers.Away() - m_results.size();
    case 0x50:
        return m_results.size();
    default:
        return FrameCount(address);
    }
}

std::uint64_t CStreamGrabber::FrameCount(std::int64_t address) const {
    const CStreamCounters counters = m_state == EState::Streaming ? m_camera.camera.Stream().Counters() : m_counters;
    switch (address) {
    case 0x10:
        return counters.begun;
    case 0x18:
        return counters.delivered;
    case 0x20:
        return counters.lost;
    case 0x28:
        return counters.failed;
    case 0x30:
        return counters.underruns;
    case 0x38:
        return counters.delivered + counters.failed;
    default:
        PluginKit::ThrowNoNumber(address);
    }
}

} // namespace CamEmu
