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

/// One event message as the device sent it. The bytes mean something to the event adapter only.
struct EventResult {
    static constexpr std::size_t BufferSizeBytes = 576;

    std::int64_t status = 0;                   ///< 0 for success, else the plug-in's own.
    String_t description;                      ///< Of a failure, for people.
    std::uint8_t buffer[BufferSizeBytes] = {}; ///< The message, unused bytes behind it.
};

/// The plug-in's side of a device's event messages. Owned by the device.
/// Threads: all but GetWaitObject are called one at a time, with the camera's lock held. Failures are exceptions of the
/// GenICam family.
class ZELMO_API IEventGrabber {
public:
    /// Begins to collect messages. Called when grabbing starts; having thrown, Close follows all the same.
    virtual void Open() = 0;

    /// Stops collecting and drops what is pending.
    virtual void Close() = 0;

    /// Whether messages are being collected. Not called by this library.
    virtual bool IsOpen() const = 0;

    /// Takes the oldest message. @return false, with @p result as it was, when there is none.
    virtual bool RetrieveEvent(EventResult& result) = 0;

    /// Signaled while messages are pending; the plug-in resets it with the last one. Valid as long as the device is
    /// open, also while the grabber is closed. Applications wait on it on any thread.
    virtual WaitObject& GetWaitObject() const = 0;

    /// The grabber's parameters; null when there are none. Owned by the grabber.
    virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
    ~IEventGrabber() = default;
};

/// Writes event messages into the device's node map. Made and destroyed by the device; used while that is open.
class ZELMO_API IEventAdapter {
public:
    /// Delivers one message, always with EventResult::BufferSizeBytes, whatever the length of the message itself.
    /// Called with the camera's lock held; node callbacks, and so application code, run inside the call, event by event
    /// where a message has several. What that code does with the device, as closing it, comes behind the call.
    /// What it throws goes to the caller of RetrieveResult.
    virtual void DeliverMessage(const void* buffer, std::size_t sizeBytes) = 0;

protected:
    ~IEventAdapter() = default;
};

} // namespace Zelmo
