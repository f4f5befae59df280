// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/AttachedDevice.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"

#include <zelmo/Device.h>

#include <Base/GCException.h>
#include <GenApi/IBoolean.h>
#include <GenApi/ICommand.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/INodeMap.h>
#include <GenApi/Pointer.h>

#include <algorithm>
#include <iterator>

namespace Zelmo {
namespace {

struct CClassOfKind {
    CameraDeviceKind kind;
    const char* deviceClass;
};

constexpr CClassOfKind kClasses[] = {{CameraDeviceKind_GigE, "HarlixGigE"},
                                     {CameraDeviceKind_Usb, "HarlixUsb"},
                                     {CameraDeviceKind_1394, "Harlix1394"},
                                     {CameraDeviceKind_CameraLink, "HarlixCameraLink"},
                                     {CameraDeviceKind_Mipex, "HarlixMipex"}};

constexpr std::string_view kGenTLPrefix = "HarlixGTC";

CameraDeviceKind GetKindOfClass(std::string_view deviceClass) {
    const auto* const found =
        std::find_if(std::begin(kClasses), std::end(kClasses),
                     [deviceClass](const CClassOfKind& entry) { return deviceClass == entry.deviceClass; });
    if (found != std::end(kClasses)) {
        return found->kind;
    }
    return deviceClass.substr(0, kGenTLPrefix.size()) == kGenTLPrefix ? CameraDeviceKind_GenTL : CameraDeviceKind_Other;
}

template <class Interface>
Interface* FindNode(GenApi::INodeMap& nodeMap, const char* name) {
    return dynamic_cast<Interface*>(nodeMap.GetNode(name));
}

std::uint32_t ReadVersion(GenApi::INodeMap& nodeMap, const char* name) {
    const GenApi::CIntegerPtr node(nodeMap.GetNode(name));
    if (!GenApi::IsReadable(node)) {
        throw RUNTIME_EXCEPTION("Failed to read SFNC version from camera device node map.");
    }
    return static_cast<std::uint32_t>(node->GetValue());
}

} // namespace

void CAttachedDevice::Set(IZelmoDevice* device, bool isOwned) noexcept {
    Clear();
    m_device = device;
    m_isOwned = isOwned;
}

void CAttachedDevice::Clear() noexcept {
    m_device = nullptr;
    m_isOwned = false;
    ++m_number;
    m_kind = CameraDeviceKind_None;
    ForgetNodes();
}

CameraDeviceKind CAttachedDevice::GetKind() const {
    if (m_kind == CameraDeviceKind_None && m_device != nullptr) {
        const String_t deviceClass = m_device->GetDeviceInfo().GetDeviceClass();
        m_kind = GetKindOfClass(deviceClass.view());
    }
    return m_kind;
}

bool CAttachedDevice::IsCxp() const {
    return GetKind() == CameraDeviceKind_GenTL && m_device->GetDeviceInfo().GetTLType() == "CXP";
}

GenApi::INodeMap* CAttachedDevice::GetNodeMap() const {
    return m_device != nullptr ? m_device->GetNodeMap() : nullptr;
}

void CAttachedDevice::FetchNodes() {
    ForgetNodes();
    RunLogged(CameraLogCategory(), "Exception caught while getting potentially often used nodes, msg='%s'",
              "Unknown exception caught while getting potentially often used nodes.", [this] {
                  if (GenApi::INodeMap* const nodeMap = GetNodeMap()) {
                      m_softwareTrigger = FindNode<GenApi::ICommand>(*nodeMap, "TriggerSoftware");
                      m_status = FindNode<GenApi::IBoolean>(*nodeMap, "AcquisitionStatus");
                      m_statusSelector = FindNode<GenApi::IEnumeration>(*nodeMap, "AcquisitionStatusSelector");
                  }
              });
}

void CAttachedDevice::ForgetNodes() noexcept {
    m_softwareTrigger = nullptr;
    m_status = nullptr;
    m_statusSelector = nullptr;
    m_sfncVersion = {};
    m_isVersionRead = false;
}

SfncVersion CAttachedDevice::GetSfncVersion() const {
    if (!m_isVersionRead) {
        SfncVersion version;
        GenApi::INodeMap* const nodeMap = GetNodeMap();
        if (nodeMap != nullptr && nodeMap->GetNode("DeviceSFNCVersionMajor") != nullptr) {
            version.major = ReadVersion(*nodeMap, "DeviceSFNCVersionMajor");
            version.minor = ReadVersion(*nodeMap, "DeviceSFNCVersionMinor");
            version.subMinor = ReadVersion(*nodeMap, "DeviceSFNCVersionSubMinor");
        }
        m_sfncVersion = version;
        m_isVersionRead = true;
    }
    return m_sfncVersion;
}

} // namespace Zelmo
