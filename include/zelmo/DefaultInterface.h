// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCThreadAnnotations.h>
#include <zelmo/Export.h>
#include <zelmo/internal/InterfaceBase.h>

namespace Zelmo {

class CRecursiveMutex;

/// The one interface of a transport layer that has no interfaces of its own: forwards all device operations to it. A
/// plug-in constructs it and disposes of it by Delete.
///
/// Its enumeration calls the transport layer's EnumerateDevices(list, true) and adds filter and sort, so a transport
/// layer can in turn build its filtered form on a default interface.
/// Threads: any; device operations rely on the transport layer's own locking.
class ZELMO_API CDefaultInterface : public CInterfaceBase<IInterface>, public IInterfacePrivate {
public:
    /// @p transportLayer is borrowed and must outlive the interface.
    CDefaultInterface(ITransportLayer* transportLayer, const CInterfaceInfo& info);
    CDefaultInterface(const CDefaultInterface&) = delete;
    CDefaultInterface& operator=(const CDefaultInterface&) = delete;

    using CInterfaceBase<IInterface>::EnumerateDevices;
    IZelmoDevice* CreateDevice(const CDeviceInfo& info) override;
    IZelmoDevice* CreateFirstDevice(const CDeviceInfo& info) override;
    IZelmoDevice* CreateDevice(const CDeviceInfo& info, const StringList_t& strings) override;
    IZelmoDevice* CreateFirstDevice(const CDeviceInfo& info, const StringList_t& strings) override;
    IZelmoDevice* CreateDevice(const String_t& fullName) override;
    void DestroyDevice(IZelmoDevice* device) override;
    bool IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes,
                            EDeviceAccessiblityInfo* accessibilityInfo) override;

    /// Closes the interface if it is open.
    ~CDefaultInterface() override;

protected:
    void InternalOpen() override;
    void InternalClose() override;
    bool InternalIsOpen() const override;
    const CInterfaceInfo& InternalGetInterfaceInfo() const override;
    GenApi::INodeMap* InternalGetNodeMap() override; ///< Null: a default interface has no parameters.
    int InternalEnumerateDevices(DeviceInfoList& list) override;

public:
    void Delete() override;

private:
    bool m_isOpen GENICAM_GUARDED_BY(m_lock) = false;
    ITransportLayer* m_transportLayer;
    CInterfaceInfo m_interfaceInfo; // never changes
    CRecursiveMutex* m_lock;
};

} // namespace Zelmo
