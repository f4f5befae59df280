#include "StreamGrabber.h"

#include "Boundary.h"
#include "core/RegisterMap.h"

#include <Base/GCException.h>
#include <GenApi/IInteger.h>
#include <GenApi/Pointer.h>
#include <zelmo/PixelType.h>

#include <algorithm>
#include <cstring>

namespace CamEmu {

namespace {

void FillImage(const CFrame& frame, Zelmo::GrabResult& result) {
    const CImageFormat& format = frame.format;
    result.payloadType = Zelmo::PayloadType_Image;
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
        result.payloadSize = static_cast<std::int64_t>(frame.format.PayloadSize());
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

void CStreamPort::Read(void* bytes, std::int64_t address, std::int64_t length) {
    if (length != 4 && length != 8)
        throw RUNTIME_EXCEPTION("Cannot read %lld bytes: the stream grabber has registers of 4 and 8 bytes.",
                                static_cast<long long>(length));
    const std::uint64_t value = m_grabber.RegisterValue(address);
    std::memcpy(bytes, &value, static_cast<std::size_t>(length));
}

void CStreamPort::Write(const void*, std::int64_t address, std::int64_t) {
    throw ACCESS_EXCEPTION("Cannot write at 0x%llX: the registers of the stream grabber are read only.",
                           static_cast<unsigned long long>(address));
}

CStreamGrabber::CStreamGrabber(CPoolCamera& camera, std::function<void()> lockChanged)
    : m_camera(camera), m_lockChanged(std::move(lockChanged)), m_nodeMap(MakeStreamNodeMap(m_port)),
      m_wait(Zelmo::WaitObjectEx::Create()) {}

CStreamGrabber::~CStreamGrabber() {
    Close();
}

void CStreamGrabber::Open() {
    if (State() != EState::Closed)
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the stream grabber: it is open already.");
    if (!m_isPermitted)
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the stream grabber: the device was not opened for streaming.");
    if (m_camera.isStreaming.exchange(true))
        throw RUNTIME_EXCEPTION("Cannot open the stream grabber: the images of camera %s go to another one.",
                                m_camera.camera.Text(Reg::serialNumber).c_str());
    const std::lock_guard lock(m_lock);
    m_state = EState::Open;
}

// Cleans up whatever was left undone; the caller may drop everything and just close.
void CStreamGrabber::Close() {
    if (State() == EState::Closed)
        return;
    StopStreaming();
    m_camera.camera.Stream().DropQueued();
    ReleaseFormat();
    {
        const std::lock_guard lock(m_lock);
        m_results.clear();
        m_wait.Reset();
        m_buffers.clear();
        m_state = EState::Closed;
    }
    m_camera.isStreaming = false;
}

bool CStreamGrabber::IsOpen() const {
    return State() != EState::Closed;
}

Zelmo::StreamBufferHandle CStreamGrabber::RegisterBuffer(void* buffer, std::size_t sizeBytes) {
    const std::size_t needed = MaxBufferSize();
    const std::lock_guard lock(m_lock);
    if (m_state != EState::Prepared && m_state != EState::Streaming)
        throw LOGICAL_ERROR_EXCEPTION("Cannot register a buffer: PrepareGrab was not called.");
    if (!buffer)
        throw INVALID_ARGUMENT_EXCEPTION("Cannot register a buffer: the pointer is null.");
    if (sizeBytes < needed)
        throw INVALID_ARGUMENT_EXCEPTION("Cannot register a buffer of %zu bytes: MaxBufferSize promises %zu.",
                                         sizeBytes, needed);
    auto* const handle = reinterpret_cast<Zelmo::StreamBufferHandle>(++m_lastHandle);
    CBuffer& registered = AtBoundary("register a buffer", [&]() -> CBuffer& {
        m_camera.camera.Stream().Reserve(m_buffers.size() + 1);
        if (m_results.capacity() <= m_buffers.size())
            m_results.set_capacity(m_buffers.size() * 2 + 8);
        return m_buffers[handle];
    });
    registered.handle = handle;
    registered.memory = {static_cast<std::uint8_t*>(buffer), sizeBytes};
    return handle;
}

void* CStreamGrabber::DeregisterBuffer(Zelmo::StreamBufferHandle handle) {
    const std::lock_guard lock(m_lock);
    void* const memory = IdleBuffer(handle, "deregister").memory.data();
    m_buffers.erase(handle);
    return memory;
}

void CStreamGrabber::PrepareGrab() {
    const std::size_t promised = MaxBufferSize();
    if (State() != EState::Open)
        throw LOGICAL_ERROR_EXCEPTION("Cannot prepare the grab: the stream grabber is closed, or prepared already.");
    const CImageFormat format = m_camera.camera.LockFormat();
    if (promised < format.PayloadSize()) {
        m_camera.camera.UnlockFormat();
        m_lockChanged();
        throw RUNTIME_EXCEPTION("Cannot prepare the grab: MaxBufferSize is %zu bytes, an image takes %zu.", promised,
                                format.PayloadSize());
    }
    {
        const std::lock_guard lock(m_lock);
        m_format = format;
        m_state = EState::Prepared;
    }
    m_lockChanged();
}

bool CStreamGrabber::IsStreaming() const {
    return State() == EState::Streaming;
}

void CStreamGrabber::StartStreaming() {
    CImageFormat format;
    {
        const std::lock_guard lock(m_lock);
        if (m_state != EState::Prepared)
            throw LOGICAL_ERROR_EXCEPTION("Cannot start streaming: PrepareGrab was not called, or streaming goes on.");
        format = m_format;
    }
    AtBoundary("start streaming", [&] { m_camera.camera.Stream().Start(format, *this); });
    const std::lock_guard lock(m_lock);
    m_state = EState::Streaming;
}

void CStreamGrabber::StopStreaming() {
    if (State() != EState::Streaming)
        return;
    m_camera.camera.Stream().Stop();
    const std::lock_guard lock(m_lock);
    m_state = EState::Prepared;
}

// Nothing is wrong with a call when nothing was prepared: a failed start is undone by the same calls as a good one.
void CStreamGrabber::FinishGrab() {
    {
        const std::lock_guard lock(m_lock);
        if (m_state == EState::Streaming)
            throw LOGICAL_ERROR_EXCEPTION("Cannot finish the grab: streaming was not stopped.");
        if (const std::size_t away = CountAway())
            throw LOGICAL_ERROR_EXCEPTION("Cannot finish the grab: %zu buffers are queued or were not retrieved.",
                                          away);
        m_buffers.clear();
    }
    ReleaseFormat();
}

void CStreamGrabber::QueueBuffer(Zelmo::StreamBufferHandle handle, void* context) {
    const std::lock_guard lock(m_lock);
    CBuffer& buffer = IdleBuffer(handle, "queue");
    buffer.context = context;
    m_camera.camera.Stream().Queue({buffer.memory, &buffer});
    buffer.state = CBuffer::EState::Queued;
}

void CStreamGrabber::FlushBuffers() {
    if (State() != EState::Closed)
        AtBoundary("flush the buffers", [this] { m_camera.camera.Stream().CancelQueued(*this); });
}

std::size_t CStreamGrabber::GetNumQueuedBuffers() const {
    const std::lock_guard lock(m_lock);
    return CountAway();
}

bool CStreamGrabber::RetrieveResult(Zelmo::GrabResult& result) {
    const std::lock_guard lock(m_lock);
    if (m_results.empty())
        return false;
    const CFrame frame = m_results.front();
    m_results.pop_front();
    if (m_results.empty())
        m_wait.Reset();
    auto& buffer = *static_cast<CBuffer*>(frame.buffer.context);
    buffer.state = CBuffer::EState::Idle;

    result = {};
    result.context = buffer.context;
    result.handle = buffer.handle;
    result.buffer = buffer.memory.data();
    result.bufferSize = buffer.memory.size();
    FillStatus(frame, result);
    if (frame.status != EFrameStatus::Cancelled)
        FillImage(frame, result);
    return true;
}

Zelmo::WaitObject& CStreamGrabber::GetWaitObject() const {
    return m_wait;
}

GenApi::INodeMap* CStreamGrabber::GetNodeMap() {
    return m_nodeMap.get();
}

void CStreamGrabber::OnFrame(const CFrame& frame) noexcept {
    const std::lock_guard lock(m_lock);
    static_cast<CBuffer*>(frame.buffer.context)->state = CBuffer::EState::Ready;
    m_results.push_back(frame);
    if (m_results.size() == 1)
        m_wait.Signal();
}

CStreamGrabber::EState CStreamGrabber::State() const {
    const std::lock_guard lock(m_lock);
    return m_state;
}

std::size_t CStreamGrabber::MaxBufferSize() const {
    return static_cast<std::size_t>(GenApi::CIntegerPtr(m_nodeMap->GetNode("MaxBufferSize"))->GetValue());
}

void CStreamGrabber::ReleaseFormat() {
    {
        const std::lock_guard lock(m_lock);
        if (m_state != EState::Prepared)
            return;
        m_state = EState::Open;
    }
    m_camera.camera.UnlockFormat();
    m_lockChanged();
}

std::size_t CStreamGrabber::CountAway() const {
    return static_cast<std::size_t>(std::count_if(m_buffers.begin(), m_buffers.end(), [](const auto& entry) {
        return entry.second.state != CBuffer::EState::Idle;
    }));
}

CStreamGrabber::CBuffer& CStreamGrabber::IdleBuffer(Zelmo::StreamBufferHandle handle, const char* attempt) {
    const auto found = m_buffers.find(handle);
    if (found == m_buffers.end())
        throw LOGICAL_ERROR_EXCEPTION("Cannot %s a buffer: the handle %p is not registered.", attempt, handle);
    if (found->second.state == CBuffer::EState::Queued)
        throw LOGICAL_ERROR_EXCEPTION("Cannot %s buffer %p: it is queued.", attempt, handle);
    if (found->second.state == CBuffer::EState::Ready)
        throw LOGICAL_ERROR_EXCEPTION("Cannot %s buffer %p: its result was not retrieved.", attempt, handle);
    return found->second;
}

// The addresses are those of CamEmuStream.xml.
std::uint64_t CStreamGrabber::RegisterValue(std::int64_t address) const {
    const CStreamCounters counters = m_camera.camera.Stream().Counters();
    switch (address) {
    case 0x00:
        return m_camera.camera.PayloadSize();
    case 0x08:
        return State() == EState::Prepared || State() == EState::Streaming;
    case 0x10:
        return counters.begun;
    case 0x18:
        return counters.delivered;
    case 0x20:
        return counters.lost;
    case 0x28:
        return counters.failed;
    default:
        throw RUNTIME_EXCEPTION("Cannot read at 0x%llX: the stream grabber has no such register.",
                                static_cast<unsigned long long>(address));
    }
}

} // namespace CamEmu
