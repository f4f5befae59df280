// SPDX-License-Identifier: Apache-2.0
#include "Camera.h"

#include "ChunkImage.h"
#include "DeviceSelector.h"
#include "Errors.h"
#include "Output.h"

#include <zelmo/EventGrabber.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/TlFactory.h>

namespace tool {
namespace {

using namespace Zelmo;

/// How the transport layer sees the camera now; unknown when even that fails.
EDeviceAccessiblityInfo LookUpAccess(const CDeviceInfo& info) {
    EDeviceAccessiblityInfo access = DeviceAccessibility_Unknown;
    try {
        const bool accessible = CTlFactory::GetInstance().IsDeviceAccessible(info, GetWantedAccess(), &access);
        return accessible ? DeviceAccessibility_Ok : access;
    } catch (const GenICam::GenericException&) {
        return DeviceAccessibility_Unknown;
    }
}

GenApi::INodeMap* FindNodeMap(CInstantCamera& camera, IZelmoDevice& device, const std::string& name) {
    if (name == "camera") {
        return &camera.GetInstantCameraNodeMap();
    }
    if (name == "device") {
        return device.GetNodeMap();
    }
    if (name == "tl") {
        return device.GetTLNodeMap();
    }
    if (name == "stream") {
        IStreamGrabber* grabber = device.GetStreamGrabber(0);
        return grabber != nullptr ? grabber->GetNodeMap() : nullptr;
    }
    if (name == "event") {
        IEventGrabber* grabber = device.GetEventGrabber();
        return grabber != nullptr ? grabber->GetNodeMap() : nullptr;
    }
    return nullptr;
}

} // namespace

Camera::Camera(const CDeviceInfo& info, const std::string& why, AccessModeSet access, ImageCamera* object)
    : Camera(info, why, access, nullptr, object) {}

Camera::Camera(const CDeviceInfo& info, Output& output) : Camera(info, {}, GetWantedAccess(), &output, nullptr) {}

Camera::Camera(const CDeviceInfo& info, const std::string& why, AccessModeSet access, Output* looker,
               ImageCamera* object)
    : m_name(GetCameraName(info)), m_info(info), m_own(object == nullptr ? std::make_unique<ImageCamera>() : nullptr),
      m_object(object == nullptr ? *m_own : *object) {
    m_object.RegisterConfiguration(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
    m_removal = OnRemoved(m_object, [this] { m_isRemoved = true; });
    try {
        CTlFactory& factory = CTlFactory::GetInstance();
        m_device = factory.CreateDevice(info);
        try {
            Open(info, why, access, looker); // before it is attached: the object would open it for more than looking
            m_object.Attach(m_device, Cleanup_Delete);
        } catch (...) {
            factory.DestroyDevice(m_device);
            throw;
        }
    } catch (const GenICam::GenericException& error) {
        throw FromLibrary(error, "Reaching camera " + m_name);
    }
}

Camera::~Camera() = default;

bool Camera::IsRemoved() const {
    const std::lock_guard lock(m_lock);
    return m_isRemoved || (m_device != nullptr && m_device->IsRemoved());
}

CReopenReport Camera::Reopen(const String_t& settings, std::chrono::milliseconds limit, const WaitObject& cancel) {
    {
        const std::lock_guard lock(m_lock);
        m_isRemoved = true;
        m_device = nullptr;
    }
    const CReopenReport report = Zelmo::Reopen(m_object, m_info, settings, limit, &cancel);
    IZelmoDevice* const device = m_object.GetDevice();
    const std::lock_guard lock(m_lock);
    m_device = device;
    m_isRemoved = false;
    return report;
}

void Camera::Open(const CDeviceInfo& info, const std::string& why, AccessModeSet wanted, Output* looker) {
    try {
        m_device->Open(wanted);
    } catch (const GenICam::GenericException& error) {
        const EDeviceAccessiblityInfo access = LookUpAccess(info);
        const bool isTaken =
            access == DeviceAccessibility_InUse || dynamic_cast<const GenICam::AccessException*>(&error) != nullptr;
        if (isTaken && looker != nullptr && OpenAsMonitor()) {
            looker->Note("Another program has control of camera " + m_name + ": opened to look at it only");
            return;
        }
        const bool told = access != DeviceAccessibility_Ok && access != DeviceAccessibility_Unknown;
        const std::string attempted = "Opening camera " + m_name;
        if (!told) {
            throw FromLibrary(error, attempted);
        }
        throw ToolError(ExitCode::Access, access == DeviceAccessibility_InUse ? "in_use" : "access_denied",
                        attempted + " failed: " + error.GetDescription() + " (" + ExplainAccess(access) +
                            (why.empty() ? "" : "; " + why) + ")");
    }
}

bool Camera::OpenAsMonitor() noexcept {
    try {
        m_device->Open(AccessModeSet());
        return true;
    } catch (const std::exception&) { // the first failure tells more
        return false;
    }
}

GenApi::INodeMap& Camera::GetNodeMap(const std::string& name) {
    try {
        GenApi::INodeMap* nodeMap = FindNodeMap(m_object, *m_device, name);
        if (nodeMap != nullptr) {
            return *nodeMap;
        }
    } catch (const GenICam::GenericException& error) {
        throw FromLibrary(error, "Getting the node map '" + name + "' of camera " + m_name);
    }
    throw FeatureError("", "no_node_map", "Camera " + m_name + " has no node map '" + name + "'");
}

GenApi::INodeMap& Camera::GetNodeMap(const DeviceOptions& options) {
    if (options.nodeMap != "chunk") {
        return GetNodeMap(options.nodeMap);
    }
    m_chunkImage = GrabChunkImage(*this, options.imageTimeoutMs);
    return m_chunkImage->GetChunkDataNodeMap();
}

AccessModeSet GetWantedAccess() {
    return Control | Stream;
}

std::string ExplainAccess(EDeviceAccessiblityInfo access) {
    switch (access) {
    case DeviceAccessibility_Ok:
        return "ok";
    case DeviceAccessibility_InUse:
        return "it is in use by another program, which has control of it; close that one first";
    case DeviceAccessibility_WrongSubnet:
        return "this host cannot reach it by its address; 'zelmo ip force' gives it another one";
    case DeviceAccessibility_NoPermission:
        return "this user may not open it; check the permissions of its device file";
    case DeviceAccessibility_NotReachable:
        return "it does not answer; check cable and power";
    case DeviceAccessibility_Unknown:
        break;
    }
    return "the transport layer does not tell why";
}

} // namespace tool
