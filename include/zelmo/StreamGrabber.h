// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Types.h>

#include <cstddef>
#include <cstdint>

namespace GenApi {
struct INodeMap;
}

namespace Zelmo {

class WaitObject;
enum EPixelType : std::int64_t; // PixelType.h

/// Names a registered buffer. Its meaning belongs to the plug-in; null names none.
using StreamBufferHandle = void*;

/// How a queued buffer came back.
enum EGrabStatus : std::int32_t {
    GrabStatus_Undefined = -1,
    GrabStatus_Grabbed = 2,  ///< Holds an image.
    GrabStatus_Canceled = 3, ///< Came back by FlushBuffers; its content means nothing.
    GrabStatus_Failed = 4    ///< The image is damaged or incomplete; the error fields say why.
};

/// What a buffer holds.
enum EPayloadType : std::int32_t {
    PayloadType_Undefined = -1,
    PayloadType_Image = 0,
    PayloadType_RawData = 1,
    PayloadType_File = 2,
    PayloadType_ChunkData = 3 ///< An image or other data with chunks appended.
};

/// One buffer on its way back from the stream grabber. A plug-in fills what it knows and leaves the rest as it is.
struct GrabResult {
    void* context = nullptr;             ///< As given to QueueBuffer.
    StreamBufferHandle handle = nullptr; ///< The buffer's handle.
    void* buffer = nullptr;              ///< Address of the data.
    std::uint64_t bufferSize = 0;        ///< Size of the buffer, in bytes.
    EGrabStatus status = GrabStatus_Undefined;
    EPayloadType payloadType = PayloadType_Undefined;
    EPixelType pixelType = static_cast<EPixelType>(-1);
    std::uint64_t timeStamp = 0;   ///< When the camera took the image, in ticks of the camera's clock.
    std::int32_t sizeX = -1;       ///< Pixels in a line.
    std::int32_t sizeY = -1;       ///< Lines.
    std::int32_t offsetX = -1;     ///< Position of the first pixel on the sensor, in pixels.
    std::int32_t offsetY = -1;     ///< In lines.
    std::int32_t paddingX = -1;    ///< Bytes behind each line.
    std::int32_t paddingY = -1;    ///< Bytes behind the image.
    std::int64_t payloadSize = -1; ///< Bytes of the buffer that were filled.
    std::uint32_t errorCode = 0;   ///< The plug-in's own; 0 for none.
    String_t errorDescription;     ///< For people.
    std::uint64_t blockId = ~0ULL; ///< The camera's image counter; a gap means lost images, all ones that it has none.
};

/// The plug-in's side of an image stream: takes empty buffers, gives them back filled. Owned by the device; the same
/// object serves one acquisition after the other.
///
/// The calls of one acquisition, in this order: IsOpen, Open, the node "PayloadSize" is read, "MaxBufferSize" and
/// "MaxNumBuffer" are written, PrepareGrab, StartStreaming, QueueBuffer again and again with RetrieveResult on each
/// signal of the wait object; then StopStreaming, FlushBuffers, RetrieveResult until nothing is left, FinishGrab,
/// Close. RegisterBuffer comes before a buffer is queued for the first time, for some devices before StartStreaming
/// already; DeregisterBuffer after a result, or never: buffers may be left registered. After a step that failed, be it
/// Open, all follow from StopStreaming on, Close only while open: they do nothing where there is nothing to undo.
///
/// Buffers belong to the caller. A registered buffer that is not queued may be registered, queued and deregistered at
/// any time of a session, and its memory may be freed before FinishGrab or Close: the plug-in touches a buffer only
/// between QueueBuffer and the result that brings it back, and needs its memory for nothing else, deregistering
/// included.
///
/// Threads: one call at a time, but for FlushBuffers, the wait object and the node map, which any thread may use at any
/// time. Failures are exceptions of the GenICam family. When the device is physically removed, StopStreaming,
/// FlushBuffers, RetrieveResult, DeregisterBuffer, FinishGrab and Close still work, and all queued buffers come back.
class ZELMO_API IStreamGrabber {
public:
    /// Takes the stream channel. Called by the thread that starts grabbing, with the camera's lock held. Having thrown,
    /// the grabber is closed.
    virtual void Open() = 0;

    /// Gives the channel back and drops what is still registered, and even queued where a step before failed: from then
    /// on no buffer is touched. Called only while open, on the thread that stops.
    virtual void Close() = 0;

    /// A grabber that is open before an acquisition starts is in use elsewhere, and the start is refused.
    virtual bool IsOpen() const = 0;

    /// Makes @p buffer of @p sizeBytes known, so that queueing it is quick. Called after PrepareGrab, also while
    /// streaming; the buffer is at least as large as "MaxBufferSize" says. Having thrown, the buffer is not registered.
    virtual StreamBufferHandle RegisterBuffer(void* buffer, std::size_t sizeBytes) = 0;

    /// Forgets a buffer that is not queued. Called while streaming too. The result is ignored: the buffer, or null.
    virtual void* DeregisterBuffer(StreamBufferHandle handle) = 0;

    /// Allocates what streaming needs, after "MaxBufferSize" and "MaxNumBuffer" were written to the node map; the
    /// features that decide the size of an image are locked until FinishGrab. Having thrown, nothing is allocated.
    virtual void PrepareGrab() = 0;

    /// Whether buffers are being filled: true between StartStreaming and StopStreaming. Not called by this library.
    virtual bool IsStreaming() const = 0;

    /// Begins to fill queued buffers. Called after PrepareGrab, before the first QueueBuffer and, but for devices whose
    /// buffers are all announced first, before the first RegisterBuffer; the camera is started after that. Images that
    /// come while no buffer is queued are lost and leave a gap in the block ids.
    virtual void StartStreaming() = 0;

    /// Stops filling buffers; those that are queued stay so. Harmless when nothing streams, and on a closed grabber.
    virtual void StopStreaming() = 0;

    /// Frees what PrepareGrab made. Called after all buffers were retrieved. Harmless when nothing was prepared, and on
    /// a closed grabber.
    virtual void FinishGrab() = 0;

    /// Hands a registered buffer over to be filled; @p context comes back in its result. Called on any thread that
    /// returns a buffer, so it must not block. Having thrown, the buffer is not queued.
    virtual void QueueBuffer(StreamBufferHandle handle, void* context) = 0;

    /// Makes each queued buffer come back as a result with GrabStatus_Canceled, also after the device was removed. May
    /// run while another thread waits on the wait object or retrieves a result; streaming goes on with buffers queued
    /// later. Harmless when nothing is queued, and on a closed grabber.
    virtual void FlushBuffers() = 0;

    /// Buffers handed over and not yet retrieved. Not called by this library.
    virtual std::size_t GetNumQueuedBuffers() const = 0;

    /// Takes the oldest result. Called on the grab engine thread at real-time priority, and on the stopping thread once
    /// that one is gone. @return false, with @p result as it was, when there is none; the wait object is then reset.
    virtual bool RetrieveResult(GrabResult& result) = 0;

    /// Signaled while results are pending; resetting it belongs to the plug-in, in RetrieveResult. Other threads wait
    /// on it during any call, so it stays valid and the same from Open to Close.
    virtual WaitObject& GetWaitObject() const = 0;

    /// The grabber's parameters, never null while the device is open, also while the grabber is closed: integers
    /// "PayloadSize" (bytes of the largest image under the present settings, 0 when unknown: then that of the camera's
    /// features counts), "MaxBufferSize" (bytes) and "MaxNumBuffer", both writable between Open and PrepareGrab, where
    /// a value that they do not take fails the start. Where a plug-in cares, also the boolean "AnnounceAnytimeEnable":
    /// whether buffers may be registered while streaming. Owned by the grabber.
    virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
    ~IStreamGrabber() = default;
};

} // namespace Zelmo
