// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>
#include <zelmo/AccessMode.h>
#include <zelmo/Callback.h>
#include <zelmo/DeviceInfo.h>
#include <zelmo/Export.h>

#include <cstddef>
#include <cstdint>

namespace GenApi {
struct INodeMap;
}

namespace Zelmo {

class IChunkParser;
class IEventAdapter;
class IEventGrabber;
class IStreamGrabber;
class ITransportLayer;
class IZelmoDevice;

/// Whether a device could be opened now, and why not.
enum EDeviceAccessiblityInfo {
    DeviceAccessibility_Unknown,      ///< The transport layer cannot tell.
    DeviceAccessibility_Ok,           ///< It could be opened.
    DeviceAccessibility_InUse,        ///< Opened by somebody in a way that excludes the wanted one.
    DeviceAccessibility_WrongSubnet,  ///< Seen, but its address is out of reach of this host.
    DeviceAccessibility_NoPermission, ///< This user may not open it.
    DeviceAccessibility_NotReachable  ///< Known, but it does not answer.
};

/// A removal callback as it is kept by a device, and its registration; 0 is none.
using DeviceRemovalCallback = Callback1<IZelmoDevice*>;
using DeviceCallbackHandle = std::uint64_t;

/// A device as such: open state and identity. Made by the transport layer's CreateDevice operations, given back through
/// DestroyDevice of the same transport layer or of CTlFactory.
/// Threads: a device is called by one thread at a time, with the camera's lock held where a camera object owns it.
class ZELMO_API IDevice {
public:
    /// Connects to the device for @p modes. May take seconds. Having thrown, the device is closed.
    virtual void Open(AccessModeSet modes) = 0;

    /// Disconnects; stream and event grabbers, adapters and node maps are no longer used then. Works, without an
    /// exception, also after the device was physically removed, and when it is not open.
    virtual void Close() = 0;

    virtual bool IsOpen() const = 0;

    /// The modes for which an open device was opened, else the empty set.
    virtual AccessModeSet AccessMode() const = 0;

protected:
    ~IDevice() = default;
};

/// A camera behind its transport layer: what a plug-in implements and the camera object drives. Everything that it
/// hands out belongs to it. A second base may be IZelmoDevicePrivate, and IDescriptionSource.
class ZELMO_API IZelmoDevice : public IDevice {
public:
    /// Must carry the device class of its transport layer, open or not: DestroyDevice finds the way back by it.
    virtual const CDeviceInfo& GetDeviceInfo() const = 0;

    /// How many stream grabbers there are. Not called by this library.
    virtual std::size_t GetNumStreamGrabbers() const = 0;

    /// The stream grabber of channel @p index, always 0 here; null when the device has no such channel. Asked for
    /// before Open, too: the same one all the device's life.
    virtual IStreamGrabber* GetStreamGrabber(std::size_t index) = 0;

    virtual IEventGrabber* GetEventGrabber() = 0; ///< Null when the device sends no events.

    /// The camera's features; null when there are none. The same map from Open to Close. Also asked for while closed:
    /// null then, or a map that may be used.
    virtual GenApi::INodeMap* GetNodeMap() = 0;

    /// Parameters of the connection, under the same terms. What is to be set before the device opens must be there
    /// while it is closed.
    virtual GenApi::INodeMap* GetTLNodeMap() = 0;

    /// Whether the device was found to be physically gone since it was opened. Not called by this library.
    virtual bool IsRemoved() const = 0;

    /// The layer that made the device; null when it does not tell. Not called by this library.
    virtual ITransportLayer* GetTransportLayer() const = 0;

    /// An adapter that writes event messages into GetNodeMap(). Called while open, when the camera has the node
    /// "EventSelector"; goes back through DestroyEventAdapter before Close. Null when none can be made: no events then.
    virtual IEventAdapter* CreateEventAdapter() = 0;
    virtual void DestroyEventAdapter(IEventAdapter* adapter) = 0;

    /// A chunk parser with a node map of its own, in fact an ISelfReliantChunkParser, which ends through its own
    /// Destroy; null when none can be made. Called on the thread that opens the device, starts grabbing, retrieves
    /// results or resizes the pool of parsers; the last one also while the device is closed.
    virtual IChunkParser* CreateChunkParser() = 0;

    /// Takes back a parser that is not self-reliant. Not called by this library.
    virtual void DestroyChunkParser(IChunkParser* parser) = 0;

    /// Keeps a copy of @p callback, to be called once when an open device turns out to be physically gone: on a thread
    /// of the plug-in, without any of its locks held. The callback returns at once and throws nothing. Called right
    /// after Open, or while closed.
    /// @return a handle, or 0 when the device does not report its removal.
    virtual DeviceCallbackHandle RegisterRemovalCallback(DeviceRemovalCallback& callback) = 0;

    /// Forgets the callback; waits for one that is just running, so that its client may go then. Called before Close.
    virtual void DeregisterRemovalCallback(DeviceCallbackHandle handle) = 0;

protected:
    ~IZelmoDevice() = default;
};

/// A second base of devices, reached by a cross cast.
class ZELMO_API IZelmoDevicePrivate {
public:
    /// The handle of the device in its driver; null when there is none. Not called by this library.
    virtual void* GetNativeHandle() const = 0;

    /// The description from which chunk parsers make their node maps, empty when there is none. Not called by this
    /// library.
    virtual String_t GetChunkNodeMapDescription() const = 0;

    /// Whether CreateChunkParser has a description to work from. Called while open, when grabbing starts with chunks
    /// enabled.
    virtual bool IsChunkNodeMapDescriptionAvailable() const = 0;

protected:
    ~IZelmoDevicePrivate() = default;
};

/// An optional second base of devices, reached by a cross cast: the GenICam description as the device delivers it.
/// Needs no node map, so that a description of which none can be made can be looked at: works while the device is open
/// and, as the failed opening leaves it closed, while it is closed too; then the device is reached just for the call.
class ZELMO_API IDescriptionSource {
public:
    /// Sets @p url to where the description comes from, as the device names it, and @p bytes to its content, zipped or
    /// not.
    /// @throws GenICam::RuntimeException when the device does not deliver it; both stay as they were.
    virtual void GetDescription(String_t& url, String_t& bytes) = 0;

protected:
    ~IDescriptionSource() = default;
};

/// Has @p member of @p client called when @p device turns out to be physically gone, on a thread of the plug-in.
/// @return the device's handle, 0 when it does not report its removal.
/// @throws GenICam::RuntimeException for a null device.
template <class Client, class Member>
DeviceCallbackHandle RegisterRemovalCallback(IZelmoDevice* device, Client& client, Member member) {
    if (!device) {
        throw RUNTIME_EXCEPTION("Failed to register removal callback, invalid device object.");
    }
    DeviceRemovalCallback callback(new Member_CallbackBody<Client, Member, IZelmoDevice*>(client, member));
    return device->RegisterRemovalCallback(callback);
}

} // namespace Zelmo
