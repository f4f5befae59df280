#include "StreamSession.h"

#include "Errors.h"

#include <GenApi/GenApi.h>
#include <zelmo/WaitObject.h>

#include <new>

namespace tool {
namespace {

using GenICam::GenericException;

std::int64_t ReadInteger(GenApi::INodeMap* nodeMap, const char* name) {
    auto* integer = nodeMap != nullptr ? dynamic_cast<GenApi::IInteger*>(nodeMap->GetNode(name)) : nullptr;
    return integer != nullptr && GenApi::IsReadable(integer->GetAccessMode()) ? integer->GetValue() : 0;
}

/// Steps down: what fails is passed over, as the steps behind it still have to be done.
template <class Action>
void Try(Action action) noexcept {
    try {
        action();
    } catch (const std::exception&) {
    }
}

template <class Action>
auto OnCamera(const std::string& attempted, const Camera& camera, Action action) {
    try {
        return action();
    } catch (const GenericException& error) {
        throw FromLibrary(error, attempted + " camera " + camera.GetName());
    }
}

} // namespace

StreamSession::StreamSession(Camera& camera, unsigned buffers) : m_camera(camera), m_bufferCount(buffers) {}

StreamSession::~StreamSession() {
    Stop();
}

void StreamSession::Start() {
    try {
        OnCamera("Starting the stream of", m_camera, [this] {
            OpenGrabber();
            Prepare();
            StartStreaming();
            ExecuteOnCamera("AcquisitionStart");
        });
    } catch (...) {
        Stop();
        throw;
    }
}

void StreamSession::OpenGrabber() {
    Zelmo::IStreamGrabber* grabber = m_camera.GetDevice().GetStreamGrabber(0);
    if (grabber == nullptr) {
        throw ToolError(ExitCode::Failed, "no_stream", "Camera " + m_camera.GetName() + " has no image stream");
    }
    if (grabber->IsOpen()) {
        throw ToolError(ExitCode::Access, "in_use",
                        "The stream of camera " + m_camera.GetName() + " is in use already");
    }
    grabber->Open();
    m_grabber = grabber;
    m_stage = Stage::Open;
}

void StreamSession::Prepare() {
    const std::size_t sizeBytes = GetPayloadSize();
    WriteParameter("MaxBufferSize", static_cast<std::int64_t>(sizeBytes));
    WriteParameter("MaxNumBuffer", m_bufferCount);
    m_grabber->PrepareGrab();
    m_stage = Stage::Prepared;
    RegisterBuffers(sizeBytes);
}

std::size_t StreamSession::GetPayloadSize() {
    std::int64_t sizeBytes = ReadInteger(m_grabber->GetNodeMap(), "PayloadSize");
    if (sizeBytes <= 0) {
        sizeBytes = ReadInteger(m_camera.GetDevice().GetNodeMap(), "PayloadSize");
    }
    if (sizeBytes <= 0) {
        throw ToolError(ExitCode::Failed, "device",
                        "Camera " + m_camera.GetName() + " does not tell how large its images are (PayloadSize)");
    }
    return static_cast<std::size_t>(sizeBytes);
}

void StreamSession::WriteParameter(const char* name, std::int64_t value) {
    auto* integer = dynamic_cast<GenApi::IInteger*>(m_grabber->GetNodeMap()->GetNode(name));
    if (integer == nullptr || !GenApi::IsWritable(integer->GetAccessMode())) {
        throw ToolError(ExitCode::Failed, "device",
                        std::string("Cannot set ") + name + " of the stream of camera " + m_camera.GetName() + " to " +
                            std::to_string(value) + ": it cannot be written");
    }
    integer->SetValue(value);
}

void StreamSession::RegisterBuffers(std::size_t sizeBytes) {
    m_buffers.reserve(m_bufferCount); // QueueBuffer gets addresses of the elements: they must not move
    for (unsigned i = 0; i < m_bufferCount; ++i) {
        std::unique_ptr<std::uint8_t[]> data(new (std::nothrow) std::uint8_t[sizeBytes]());
        if (!data) {
            throw HostError("Out of memory: " + std::to_string(m_bufferCount) + " buffers of " +
                            std::to_string(sizeBytes) + " bytes do not fit; --buffers sets their number");
        }
        const auto handle = m_grabber->RegisterBuffer(data.get(), sizeBytes);
        m_buffers.push_back({std::move(data), handle});
    }
}

void StreamSession::StartStreaming() {
    m_stage = Stage::Streaming; // StopStreaming follows even when this fails
    m_grabber->StartStreaming();
    for (Buffer& buffer : m_buffers) {
        m_grabber->QueueBuffer(buffer.handle, &buffer);
    }
}

void StreamSession::ExecuteOnCamera(const char* name) {
    m_stage = Stage::Acquiring;
    GenApi::INodeMap* nodeMap = m_camera.GetDevice().GetNodeMap();
    auto* command = nodeMap != nullptr ? dynamic_cast<GenApi::ICommand*>(nodeMap->GetNode(name)) : nullptr;
    if (command != nullptr && GenApi::IsWritable(command->GetAccessMode())) {
        command->Execute();
    }
}

void StreamSession::Stop() noexcept {
    if (m_stage >= Stage::Acquiring && !m_camera.IsRemoved()) {
        Try([this] { ExecuteOnCamera("AcquisitionStop"); });
    }
    if (m_stage >= Stage::Streaming) {
        Try([this] { m_grabber->StopStreaming(); });
        Try([this] { m_grabber->FlushBuffers(); });
        Try([this] {
            for (Zelmo::GrabResult result; m_grabber->RetrieveResult(result); result = {}) {
            }
        });
    }
    for (Buffer& buffer : m_buffers) {
        Try([&] { m_grabber->DeregisterBuffer(buffer.handle); });
    }
    if (m_stage >= Stage::Prepared) {
        Try([this] { m_grabber->FinishGrab(); });
    }
    if (m_stage >= Stage::Open) {
        Try([this] { m_grabber->Close(); });
    }
    m_buffers.clear(); // the grabber knows them no more
    m_stage = Stage::Idle;
}

int StreamSession::GetFd() const {
    return m_grabber->GetWaitObject().GetFd();
}

bool StreamSession::Retrieve(Zelmo::GrabResult& result) {
    return OnCamera("Receiving an image from", m_camera, [&] { return m_grabber->RetrieveResult(result); });
}

void StreamSession::Requeue(const Zelmo::GrabResult& result) {
    OnCamera("Receiving images from", m_camera, [&] { m_grabber->QueueBuffer(result.handle, result.context); });
}

} // namespace tool
