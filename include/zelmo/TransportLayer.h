// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/AccessMode.h>
#include <zelmo/Device.h>
#include <zelmo/DeviceInfo.h>
#include <zelmo/Export.h>
#include <zelmo/Types.h>

#include <cstddef>

namespace Zelmo {

/// Finds devices and makes device objects: transport layers, their interfaces, and CTlFactory over all of them.
/// Called on application threads, several at a time, without any lock of the library: an implementation locks for
/// itself. Failures are exceptions of the GenICam family; of others out of EnumerateDevices no text reaches the log.
class ZELMO_API IDeviceFactory {
public:
    /// Appends the devices that can be reached now when @p addToList, else replaces; may take seconds. CTlFactory
    /// always appends, and what was appended before an exception stays. Each entry carries at least DeviceClass and a
    /// FullName that CreateDevice understands. @return the count; what CTlFactory and CInterfaceBase count is told
    /// there.
    virtual int EnumerateDevices(DeviceInfoList& list, bool addToList) = 0;

    /// The same with only those devices that satisfy one of the patterns in @p filter; an empty filter lets all pass.
    virtual int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList) = 0;

    /// Makes the object of the one device that satisfies @p info. It is not opened. Goes back through DestroyDevice.
    /// @throws GenICam::RuntimeException when none does, or more than one.
    virtual IZelmoDevice* CreateDevice(const CDeviceInfo& info) = 0;

    /// The same, but takes the first one of several.
    virtual IZelmoDevice* CreateFirstDevice(const CDeviceInfo& info) = 0;

    /// The same two with texts for the transport layer, which the library hands through unread. A transport layer that
    /// has no use for them ignores them. These are the forms that CTlFactory calls.
    virtual IZelmoDevice* CreateDevice(const CDeviceInfo& info, const StringList_t& strings) = 0;
    virtual IZelmoDevice* CreateFirstDevice(const CDeviceInfo& info, const StringList_t& strings) = 0;

    /// Makes the object of the device with this full name. Deprecated, as full names are unique within a transport
    /// layer only.
    virtual IZelmoDevice* CreateDevice(const String_t& fullName) = 0;

    /// Closes the device if it is still open, and ends it. The pointer came from a create operation of the same
    /// transport layer.
    virtual void DestroyDevice(IZelmoDevice* device) = 0;

    /// Whether the device could be opened for @p modes now. @p accessibilityInfo may be null; it gets the reason.
    virtual bool IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes,
                                    EDeviceAccessiblityInfo* accessibilityInfo) = 0;

protected:
    ~IDeviceFactory() = default;
};

/// One kind of camera connection, made by a plug-in's "Create" and ended by its "Destroy", with the factory lock held.
/// A second base is ITransportLayerPrivate.
class ZELMO_API ITransportLayer : public IDeviceFactory {
public:
    /// The entry of which the object was made: its FullName is the one that "GetTLInfoList" gives. Must not throw.
    virtual CTlInfo GetTlInfo() const = 0;

protected:
    ~ITransportLayer() = default;
};

/// A second base of transport layers, reached by a cross cast: how many hold the object. All calls come with the
/// factory lock held. A transport layer without this interface is destroyed when it is released the first time.
class ZELMO_API ITransportLayerPrivate {
public:
    /// The identifier of the one property that the library sends: a byte of value 1, right after "Create", when
    /// ZELMO_DEVICE_FILTER lets this transport layer's device class take part.
    static constexpr int AdmittedPropertyId = 3338661;

    /// Adds one reference. The count starts at 0: the first reference comes right after "Create".
    virtual void AddRef() = 0;

    /// Drops one reference. @return how many are left; at 0 "Destroy" follows. Must not throw.
    virtual int Release() = 0;

    /// References held now. Not called by this library.
    virtual int GetReferenceCount() const = 0;

    /// Whether SetPrivateProperty knows @p id. Not called by this library.
    virtual bool HasPrivateProperty(int id) const = 0;

    /// Copies at most @p sizeBytes of a property. @return its size, 0 for an unknown one. Not called by this library.
    virtual std::size_t GetPrivateProperty(int id, void* data, std::size_t sizeBytes) const = 0;

    /// Takes a property; unknown ones are ignored. @p data is valid during the call only.
    virtual void SetPrivateProperty(int id, const void* data, std::size_t sizeBytes) = 0;

protected:
    ~ITransportLayerPrivate() = default;
};

/// Marks the three functions by which the library gets at a plug-in; nothing else of a plug-in is visible. All are
/// called with the factory lock held, which is recursive: they may call CTlFactory, and during the search for plug-ins
/// see those loaded before. A shared library that lacks one is not used.
#define ZELMO_PLUGIN_EXPORT extern "C" ZELMO_API

/// "GetTLInfoList": appends the plug-in's entries; the flag is always true. Each has a DeviceClass, by which the
/// factory picks the transport layer, and a FullName that is unique among all plug-ins. Every call gives equal entries.
/// When it throws, the plug-in has no entries this time.
using GetTlInfoListFunction = void (*)(TlInfoList& list, bool flag);

/// "Create": makes the transport layer of an entry; null when it cannot. Not called again while that object lives. An
/// exception of the GenICam family counts as null; its text is logged.
using CreateTlFunction = ITransportLayer* (*)(const CTlInfo& info);

/// "Destroy": ends what "Create" made, when the last reference is gone or the library terminates. Must not throw: most
/// callers cannot go on, and the process ends.
using DestroyTlFunction = void (*)(ITransportLayer* tl);

} // namespace Zelmo
