// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/SfncVersion.h>

#include <cstdint>

namespace GenApi {
struct IBoolean;
struct ICommand;
struct IEnumeration;
struct INodeMap;
} // namespace GenApi

namespace Zelmo {

class IZelmoDevice;

/// The kind of connection of a device, by its class.
enum CameraDeviceKind : unsigned {
    CameraDeviceKind_GigE = 0,
    CameraDeviceKind_1394 = 1,
    CameraDeviceKind_CameraLink = 2,
    CameraDeviceKind_Usb = 3,
    CameraDeviceKind_Mipex = 4,
    CameraDeviceKind_GenTL = 5,
    CameraDeviceKind_Other = 6,
    CameraDeviceKind_None = 7 ///< No device.
};

/// The device of a camera object and what the camera remembers of it. Guarded by the camera lock.
class CAttachedDevice {
public:
    IZelmoDevice* Get() const noexcept { return m_device; }
    bool IsOwned() const noexcept { return m_isOwned; }
    /// Of this attachment. What was begun with a device is still about the same one while its number is.
    std::uint64_t GetNumber() const noexcept { return m_number; }

    void Set(IZelmoDevice* device, bool isOwned) noexcept;
    void Clear() noexcept;

    CameraDeviceKind GetKind() const; ///< Read on first use.
    bool IsCxp() const;

    /// Null where there is none.
    GenApi::INodeMap* GetNodeMap() const;
    /// The nodes below and the version live from opening to closing.
    void FetchNodes(); ///< Failures are logged.
    void ForgetNodes() noexcept;

    /// Read on first use. @throws GenICam::RuntimeException where it is there and cannot be read.
    SfncVersion GetSfncVersion() const;

    // Null where the device has none; of its node map.
    GenApi::ICommand* GetSoftwareTrigger() const noexcept { return m_softwareTrigger; }
    GenApi::IBoolean* GetStatus() const noexcept { return m_status; }
    GenApi::IEnumeration* GetStatusSelector() const noexcept { return m_statusSelector; }

private:
    IZelmoDevice* m_device = nullptr; // owned by the camera or the application
    bool m_isOwned = false;
    std::uint64_t m_number = 0;
    mutable CameraDeviceKind m_kind = CameraDeviceKind_None;
    mutable SfncVersion m_sfncVersion;
    mutable bool m_isVersionRead = false;
    GenApi::ICommand* m_softwareTrigger = nullptr;
    GenApi::IBoolean* m_status = nullptr;
    GenApi::IEnumeration* m_statusSelector = nullptr;
};

} // namespace Zelmo
