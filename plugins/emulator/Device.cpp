#include "Device.h"

#include "Boundary.h"
#include "PluginLog.h"
#include "core/RegisterMap.h"

#include <Base/GCException.h>
#include <GenApi/INode.h>

namespace CamEmu {

Zelmo::CDeviceInfo DescribeCamera(CCamera& camera) {
    const std::string serial = camera.Text(Reg::serialNumber);
    const std::string userName = camera.Text(Reg::userId);
    const std::string model = camera.Text(Reg::modelName);
    const std::string friendly = (userName.empty() ? model : userName) + " (" + serial + ")";
    Zelmo::CHarlixCamEmuDeviceInfo info;
    info.SetFullName((std::string(deviceClass) + " " + serial).c_str())
        .SetFriendlyName(friendly.c_str())
        .SetVendorName(camera.Text(Reg::vendorName).c_str())
        .SetTLType("CamEmu");
    info.SetModelName(model.c_str())
        .SetSerialNumber(serial.c_str())
        .SetUserDefinedName(userName.c_str())
        .SetDeviceVersion(camera.Text(Reg::deviceVersion).c_str())
        .SetManufacturerInfo(camera.Text(Reg::manufacturerInfo).c_str())
        .SetDeviceID(camera.Text(Reg::deviceId).c_str())
        .SetDeviceFactory("CamEmu")
        .SetDeviceIdx(std::to_string(camera.Number()).c_str())
        .SetXMLSource(CRegisterPort::DescriptionUrl().c_str());
    return info;
}

CDevice::CDevice(CPoolCamera& camera, Zelmo::ITransportLayer& transportLayer)
    : m_camera(camera), m_transportLayer(transportLayer), m_info(DescribeCamera(camera.camera)), m_port(camera.camera),
      m_grabber(camera, [this] { InvalidateLock(); }) {}

CDevice::~CDevice() {
    Close();
}

void CDevice::Open(Zelmo::AccessModeSet modes) {
    const Zelmo::String_t name = m_info.GetFullName();
    if (m_isOpen)
        throw LOGICAL_ERROR_EXCEPTION("Cannot open device '%s': it is open already.", name.c_str());
    const bool control = modes.test(Zelmo::Control);
    if (control && m_camera.isControlled.exchange(true))
        throw RUNTIME_EXCEPTION("Cannot open device '%s' for control: another device object controls it.",
                                name.c_str());
    try {
        m_port.SetAccessMode(control ? GenApi::RW : GenApi::RO);
        m_nodeMap = AtBoundary("open the device", [this] { return MakeCameraNodeMap(m_port); });
    } catch (...) {
        if (control)
            m_camera.isControlled = false;
        throw;
    }
    m_modes = modes;
    m_isOpen = true;
    m_grabber.Permit(modes.test(Zelmo::Stream));
}

void CDevice::Close() {
    if (!m_isOpen)
        return;
    m_grabber.Close();
    m_grabber.Permit(false);
    if (HasControl())
        m_camera.camera.Stream().StopAcquisition();
    m_nodeMap.reset();
    if (HasControl())
        m_camera.isControlled = false;
    m_modes.reset();
    m_isOpen = false;
}

Zelmo::IStreamGrabber* CDevice::GetStreamGrabber(std::size_t index) {
    return index == 0 ? &m_grabber : nullptr;
}

Zelmo::DeviceCallbackHandle CDevice::RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) {
    const std::lock_guard lock(m_callbackLock);
    AtBoundary("register a removal callback", [&] { m_callbacks.emplace(++m_lastCallback, callback); });
    return m_lastCallback;
}

void CDevice::DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) {
    const std::lock_guard lock(m_callbackLock);
    m_callbacks.erase(handle);
}

void CDevice::GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) {
    if (!m_isOpen)
        throw RUNTIME_EXCEPTION("Cannot read the description of device '%s': it is closed.",
                                m_info.GetFullName().c_str());
    AtBoundary("read the description", [&] {
        const std::string_view text = DescriptionText(cameraDescription);
        Zelmo::String_t document(text.data(), text.size());
        url = CRegisterPort::DescriptionUrl().c_str();
        bytes = std::move(document);
    });
}

// The lock itself is read anew each time, since another device object may stream; but the application may have
// callbacks on what it decides.
void CDevice::InvalidateLock() noexcept {
    try {
        m_nodeMap->GetNode("TLParamsLockedReg")->InvalidateNode();
    } catch (const std::exception& e) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Error, "Device '%s': exception in a node callback: %s",
                        m_info.GetFullName().c_str(), e.what());
    } catch (...) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Error, "Device '%s': unknown exception in a node callback.",
                        m_info.GetFullName().c_str());
    }
}

} // namespace CamEmu
