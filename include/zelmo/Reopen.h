// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>
#include <zelmo/CameraSettings.h>
#include <zelmo/ChronoWaits.h>
#include <zelmo/Cleanup.h>
#include <zelmo/Device.h>
#include <zelmo/DeviceInfo.h>
#include <zelmo/InstantCamera.h>
#include <zelmo/TlFactory.h>
#include <zelmo/Types.h>
#include <zelmo/WaitObject.h>

#include <algorithm>
#include <chrono>
#include <exception>

namespace Zelmo {

/// What Reopen has achieved.
struct CReopenReport {
    StringList_t notRestored; ///< "<name>: <reason>" for each setting that could not be restored.
    std::chrono::milliseconds duration{};
    unsigned attempts = 0; ///< How often a device was there to be opened; the last time it worked.
};

namespace Internal {

/// One wait for one device. Times are those of Reopen.
class CReopening {
public:
    CReopening(CInstantCamera& camera, const CDeviceInfo& info, const String_t& settings, const WaitObject* cancel)
        : m_camera(camera), m_settings(settings), m_cancel(cancel) {
        if (!info.IsSerialNumberAvailable() || info.GetSerialNumber().empty()) {
            throw INVALID_ARGUMENT_EXCEPTION("Cannot wait for the camera '%s': its info has no serial number.",
                                             info.GetFullName().c_str());
        }
        if (!settings.empty()) {
            ToFeatureBag(settings); // a text that is none must not cost the device
        }
        m_pattern.SetSerialNumber(info.GetSerialNumber());
        if (info.IsDeviceClassAvailable()) {
            m_pattern.SetDeviceClass(info.GetDeviceClass());
        }
        if (info.IsVendorNameAvailable() && info.IsModelNameAvailable()) { // serial numbers are a maker's
            m_pattern.SetVendorName(info.GetVendorName());
            m_pattern.SetModelName(info.GetModelName());
        }
    }

    CReopenReport Run(unsigned int limitMs) {
        m_camera.DestroyDevice();
        while (!TryOnce()) {
            const auto left = limitMs == WaitTimeoutInfinite ? kPause : std::chrono::milliseconds(limitMs) - Elapsed();
            if (left <= left.zero()) {
                throw TIMEOUT_EXCEPTION("The camera %s did not come back within %u ms. %s",
                                        m_pattern.GetSerialNumber().c_str(), limitMs, m_obstacle.c_str());
            }
            Pause(std::min(left, kPause));
        }
        m_report.duration = Elapsed();
        return m_report;
    }

private:
    static constexpr std::chrono::milliseconds kPause{200}; // enumerating may send packets to a whole network

    std::chrono::milliseconds Elapsed() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_begin);
    }

    void Pause(std::chrono::milliseconds time) const {
        if (m_cancel == nullptr) {
            WaitObject::Sleep(ToTimeoutMs(time));
        } else if (Wait(*m_cancel, time)) {
            throw RUNTIME_EXCEPTION("Waiting for the camera %s was cancelled.", m_pattern.GetSerialNumber().c_str());
        }
    }

    /// A device that is there may still be starting, or held by somebody who has not noticed its loss: it is tried
    /// again.
    bool TryOnce() {
        DeviceInfoList found;
        DeviceInfoList patterns;
        patterns.push_back(m_pattern);
        CTlFactory::GetInstance().EnumerateDevices(found, patterns);
        if (found.empty()) {
            m_obstacle = "It was not found.";
            return false;
        }
        ++m_report.attempts;
        try {
            Open(found.front());
            m_report.notRestored = RestoreSettings(m_camera, m_settings);
            if (!m_camera.IsCameraDeviceRemoved()) {
                return true;
            }
            m_obstacle = "It was removed again.";
        } catch (const GenICam::GenericException& e) {
            m_obstacle = e.GetDescription();
        } catch (const std::exception& e) { // of a handler
            m_obstacle = e.what();
        }
        m_camera.DestroyDevice();
        return false;
    }

    void Open(const CDeviceInfo& info) {
        CTlFactory& factory = CTlFactory::GetInstance();
        IZelmoDevice* const device = factory.CreateDevice(info);
        try {
            m_camera.Attach(device, Cleanup_Delete);
        } catch (...) {
            factory.DestroyDevice(device);
            throw;
        }
        m_camera.Open();
    }

    CInstantCamera& m_camera;
    const String_t& m_settings;
    const WaitObject* const m_cancel;
    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    CDeviceInfo m_pattern;
    String_t m_obstacle;
    CReopenReport m_report;
};

} // namespace Internal

/// Gets a camera back after its removal: destroys the device, waits until one with the serial number, the maker, the
/// model and the device class of @p info is there, attaches and opens it as Open does, and restores @p settings, a text
/// of SaveSettings; an empty one restores nothing. Looks five times a second, and tries again what fails, be it a
/// handler's fault: without a limit for ever. Handlers, the parameters of the camera object and results that are held
/// stay; grabbing is for the application to start.
///
/// On a thread of the application, without the camera lock held: for OnRemoved it would lock the camera all the time.
/// @param info is copied, so that it may be that of the device that goes; taken while the camera was there
/// @param limit for all of it; the last attempt may run over it
/// @param cancel ends the wait early when it is signaled; null: nothing does
/// @throws GenICam::TimeoutException with what stood in the way; GenICam::RuntimeException when it was cancelled; in
///         both cases no device is attached. GenICam::InvalidArgumentException for an info without serial number,
///         GenICam::OutOfRangeException for a limit as of ToTimeoutMs, and GenICam::RuntimeException for a text that is
///         none of settings: nothing has been done then.
template <class Rep = std::chrono::milliseconds::rep, class Period = std::chrono::milliseconds::period>
CReopenReport Reopen(CInstantCamera& camera, const CDeviceInfo& info, const String_t& settings,
                     std::chrono::duration<Rep, Period> limit = kNoTimeLimit, const WaitObject* cancel = nullptr) {
    const unsigned int limitMs = ToTimeoutMs(limit);
    return Internal::CReopening(camera, info, settings, cancel).Run(limitMs);
}

} // namespace Zelmo
