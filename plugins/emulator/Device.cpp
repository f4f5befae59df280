// SPDX-License-Identifier: Apache-2.0
#include "Device.h"

#include "PluginLog.h"
#include "common/Boundary.h"
#include "common/DescriptionBinding.h"
#include "common/LoggedCallback.h"
#include "core/RegisterMap.h"

#include <Base/GCException.h>
#include <GenApi/INode.h>

#include <utility>

namespace CamEmu {

namespace {

std::uint32_t CheckForcedFailures(const char* parameter, std::uint64_t value) {
    if (value < 1 || value > kMaxForcedFailures) {
        throw OUT_OF_RANGE_EXCEPTION("Cannot set %s to %llu: it goes from 1 to %u.", parameter,
                                     static_cast<unsigned long long>(value), kMaxForcedFailures);
    }
    return static_cast<std::uint32_t>(value);
}

} // namespace

Zelmo::CDeviceInfo DescribeCamera(CCamera& camera) {
    const std::string serial = camera.Text(Reg::kSerialNumber);
    const std::string userName = camera.Text(Reg::kUserId);
    const std::string model = camera.Text(Reg::kModelName);
    const std::string friendly = (userName.empty() ? model : userName) + " (" + serial + ")";
    Zelmo::CHarlixCamEmuDeviceInfo info;
    info.SetFullName((std::string(kDeviceClass) + " " + serial).c_str())
        .SetFriendlyName(friendly.c_str())
        .SetVendorName(camera.Text(Reg::kVendorName).c_str())
        .SetTLType("CamEmu");
    info.SetModelName(model.c_str())
        .SetSerialNumber(serial.c_str())
        .SetUserDefinedName(userName.c_str())
        .SetDeviceVersion(camera.Text(Reg::kDeviceVersion).c_str())
        .SetManufacturerInfo(camera.Text(Reg::kManufacturerInfo).c_str())
        .SetDeviceID(camera.Text(Reg::kDeviceId).c_str())
        .SetDeviceFactory("CamEmu")
        .SetDeviceIdx(std::to_string(camera.Number()).c_str())
        .SetXMLSource(CRegisterPort::DescriptionUrl().c_str());
    info.ClearUserProvidedFlag();
    return info;
}

CDevice::CDevice(CPoolCamera& camera, Zelmo::ITransportLayer& transportLayer)
    : m_camera(camera), m_transportLayer(transportLayer), m_info(DescribeCamera(camera.camera)), m_port(camera.link),
      m_connectionPort([this](std::int64_t address) { return ConnectionValue(address); },
                       [this](std::int64_t address, std::uint64_t value) { SetConnectionValue(address, value); }),
      m_connectionMap(MakeConnectionNodeMap(m_connectionPort)), m_grabber(camera, [this] { InvalidateLock(); }),
      m_eventGrabber(camera), m_watch(*this, m_info.GetFullName().c_str(), LogCategory(), camera.endedWatches) {}

CDevice::~CDevice() {
    Close();
}

void CDevice::Open(Zelmo::AccessModeSet modes) {
    if (m_isOpen) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open device '%s': it is open already.", m_info.GetFullName().c_str());
    }
    if (modes.test(Zelmo::Exclusive)) {
        modes.set(Zelmo::Control);
    }
    try {
        PluginKit::AtBoundary("open the device", [&] { Connect(modes); });
    } catch (...) {
        m_camera.link.Leave(*this);
        m_watch.Stop();
        throw;
    }
    m_modes = modes;
    m_isOpen = true;
    m_grabber.Permit(modes.test(Zelmo::Stream));
    m_eventGrabber.Permit(modes.test(Zelmo::Event));
}

void CDevice::Connect(Zelmo::AccessModeSet modes) {
    m_watch.Start(); // first: the cable may be pulled as soon as it is in use
    m_camera.link.Admit({this, modes, &m_watch});
    m_port.Open(modes.test(Zelmo::Control) ? GenApi::RW : GenApi::RO);
    PluginKit::CBoundDescription bound = PluginKit::MakeBoundNodeMap(m_info, m_port, [this](bool isMerged) {
        if (m_camera.failingDownloads.Take() != 0) {
            throw RUNTIME_EXCEPTION("ForceFailedDownload was executed.");
        }
        return isMerged ? MakeCameraFactory() : SharedCameraFactory();
    });
    if (m_camera.failingOpens.Take() != 0) { // last: an attempt that fails anyway does not count
        throw RUNTIME_EXCEPTION("Cannot open device '%s': ForceFailedOpen was executed.", m_info.GetFullName().c_str());
    }
    m_nodeMap = std::move(bound.nodeMap);
    m_chunks.Open(std::move(bound.factory), *m_nodeMap);
}

void CDevice::Close() {
    if (!m_isOpen) {
        return;
    }
    m_grabber.Close();
    m_grabber.Permit(false);
    m_eventGrabber.Close();
    m_eventGrabber.Permit(false);
    if (HasControl()) {
        m_camera.camera.Stream().StopAcquisition();
    }
    m_eventAdapters.Clear();
    m_chunks.Close();
    m_nodeMap.reset();
    m_camera.link.Leave(*this);
    m_watch.Stop();
    m_modes.reset();
    m_isOpen = false;
}

Zelmo::IStreamGrabber* CDevice::GetStreamGrabber(std::size_t index) {
    return index == 0 ? &m_grabber : nullptr;
}

Zelmo::IEventAdapter* CDevice::CreateEventAdapter() {
    return m_isOpen ? m_eventAdapters.Make(*m_nodeMap) : nullptr;
}

Zelmo::DeviceCallbackHandle CDevice::RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) {
    return PluginKit::AtBoundary("register a removal callback", [&] { return m_watch.Add(callback); });
}

void CDevice::DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) {
    m_watch.Remove(handle);
}

void CDevice::GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) {
    if (m_isOpen ? IsRemoved() : m_camera.link.IsPulled()) {
        throw RUNTIME_EXCEPTION("Cannot read the description of device '%s': it was removed.",
                                m_info.GetFullName().c_str());
    }
    PluginKit::AtBoundary("read the description", [&] {
        const std::string_view text = DescriptionText(kCameraDescription);
        Zelmo::String_t document(text.data(), text.size());
        url = CRegisterPort::DescriptionUrl().c_str();
        bytes = std::move(document);
    });
}

// The lock itself is read anew each time, since another device object may stream; but the application may have
// callbacks on what it decides.
void CDevice::InvalidateLock() noexcept {
    PluginKit::RunLogged(LogCategory(), m_info.GetFullName().c_str(), "a node callback", [this] {
        for (const char* name : {"TLParamsLockedReg", "RegionLocked", "MaxWidthReg", "MaxHeightReg"}) {
            if (GenApi::INode* const node = m_nodeMap->GetNode(name)) { // a site's description may lack it
                node->InvalidateNode();
            }
        }
    });
}

// The addresses are those of CamEmuConnection.xml.
std::uint64_t CDevice::ConnectionValue(std::int64_t address) const {
    switch (address) {
    case 0x00:
        return static_cast<std::uint64_t>(m_camera.link.StatusFor(*this));
    case 0x10:
        return m_port.Reads().all;
    case 0x18:
        return m_port.Reads().failed;
    case 0x20:
        return m_port.Writes().all;
    case 0x28:
        return m_port.Writes().failed;
    case 0x38:
        return m_camera.failedOpenCount;
    case 0x48:
        return m_camera.failedDownloadCount;
    case 0x50:
        return m_chunks.isOn ? 1 : 0;
    default:
        PluginKit::ThrowNoNumber(address);
    }
}

void CDevice::SetConnectionValue(std::int64_t address, std::uint64_t value) {
    switch (address) {
    case 0x30:
        m_camera.failingOpens.Set(m_camera.failedOpenCount);
        break;
    case 0x38:
        m_camera.failedOpenCount = CheckForcedFailures("ForceFailedOpenCount", value);
        break;
    case 0x40:
        m_camera.failingDownloads.Set(m_camera.failedDownloadCount);
        break;
    case 0x48:
        m_camera.failedDownloadCount = CheckForcedFailures("ForceFailedDownloadCount", value);
        break;
    case 0x50:
        m_chunks.isOn = value != 0;
        break;
    default:
        PluginKit::ThrowReadOnly(address);
    }
}

} // namespace CamEmu
