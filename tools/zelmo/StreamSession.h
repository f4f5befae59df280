#pragma once

#include "Camera.h"

#include <zelmo/StreamGrabber.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace tool {

/// One acquisition of one camera: drives the stream grabber through its life. Owns the buffers; borrows the camera.
/// Threads: one at a time.
class StreamSession {
public:
    StreamSession(Camera& camera, unsigned buffers);
    ~StreamSession(); ///< Stops.
    StreamSession(const StreamSession&) = delete;
    StreamSession& operator=(const StreamSession&) = delete;

    /// Returns when the camera sends images. @throws ToolError; then nothing is left started.
    void Start();

    /// Stops camera and grabber and gives everything back, in reverse; goes on past failures.
    void Stop() noexcept;

    int GetFd() const; ///< Readable while results are pending; between Start and Stop.

    /// False when nothing is there. @throws ToolError
    bool Retrieve(Zelmo::GrabResult& result);

    /// Gives the buffer of a result back to be filled again. @throws ToolError
    void Requeue(const Zelmo::GrabResult& result);

private:
    /// What is to be undone. Each stage holds all before it.
    enum class Stage { Idle, Open, Prepared, Streaming, Acquiring };

    struct Buffer {
        std::unique_ptr<std::uint8_t[]> data;
        Zelmo::StreamBufferHandle handle = nullptr;
    };

    void OpenGrabber();
    void Prepare();
    void RegisterBuffers(std::size_t sizeBytes);
    void StartStreaming();
    void ExecuteOnCamera(const char* command);
    std::size_t GetPayloadSize();
    void WriteParameter(const char* name, std::int64_t value);

    Camera& m_camera;
    const unsigned m_bufferCount;
    Zelmo::IStreamGrabber* m_grabber = nullptr; // the device owns it
    Stage m_stage = Stage::Idle;
    std::vector<Buffer> m_buffers;
};

} // namespace tool
