// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/map/NodeMap.h"

#include <GenApi/IPortConstruct.h>

#include <Base/GCException.h>

#include <utility>

namespace GenApi {

NodeMap::NodeMap(ModelPtr model, CLock* userLock, const gcstring& deviceName)
    : m_core(std::move(model), userLock, deviceName, *this) {}

void NodeMap::GetNodes(NodeList_t& Nodes) const {
    Nodes.clear();
    Nodes.reserve(m_core.NodeCount());
    for (NodeIndex node = 0; node < m_core.NodeCount(); ++node) {
        Nodes.push_back(&m_core.NodeAt(node));
    }
}

INode* NodeMap::GetNode(const gcstring& Name) const {
    const NodeIndex node = m_core.Description().Find(Name.view());
    return node != kNoNode ? &m_core.NodeAt(node) : nullptr;
}

bool NodeMap::Connect(IPort* pPort, const gcstring& PortName) const {
    const NodeIndex index = m_core.Description().Find(PortName.view());
    auto* const portNode = index != kNoNode ? dynamic_cast<IPortConstruct*>(&m_core.NodeAt(index)) : nullptr;
    if (portNode == nullptr) {
        return false;
    }
    // the implementation learns of its node first, as callbacks of the connection may use it; but the port node of
    // another map keeps the device that it leads to
    auto* const implementation = dynamic_cast<IPortConstruct*>(pPort);
    if (implementation != nullptr && dynamic_cast<INode*>(pPort) == nullptr) {
        implementation->SetPortImpl(portNode);
    }
    portNode->SetPortImpl(pPort);
    return true;
}

bool NodeMap::ParseSwissKnifes(gcstring_vector* pErrorList) const {
    const GenICam::AutoLock lock(m_core.Lock());
    bool areSound = true;
    for (NodeIndex index = 0; index < m_core.NodeCount(); ++index) {
        NodeBase& node = m_core.NodeAt(index);
        try {
            node.CompileFormulas();
        } catch (const GenICam::GenericException& failure) {
            areSound = false;
            if (pErrorList != nullptr) {
                pErrorList->push_back(gcstring(node.NameText() + ": " + failure.GetDescription()));
            }
        }
    }
    return areSound;
}

gcstring NodeMap::GetModelName() {
    return gcstring(std::string_view(m_core.Description().Device().modelName));
}

gcstring NodeMap::GetVendorName() {
    return gcstring(std::string_view(m_core.Description().Device().vendorName));
}

gcstring NodeMap::GetToolTip() {
    return gcstring(std::string_view(m_core.Description().Device().toolTip));
}

gcstring NodeMap::GetStandardNameSpace() {
    return gcstring(std::string_view(m_core.Description().Device().standardNameSpace));
}

void NodeMap::GetGenApiVersion(GenICam::Version_t& Version, uint16_t& Build) {
    Version.Major = 3;
    Version.Minor = 1;
    Version.SubMinor = 0;
    Build = 0;
}

void NodeMap::GetSchemaVersion(GenICam::Version_t& Version) {
    const DeviceInformation& device = m_core.Description().Device();
    Version.Major = device.schemaMajor;
    Version.Minor = device.schemaMinor;
    Version.SubMinor = device.schemaSubMinor;
}

void NodeMap::GetDeviceVersion(GenICam::Version_t& Version) {
    const DeviceInformation& device = m_core.Description().Device();
    Version.Major = device.major;
    Version.Minor = device.minor;
    Version.SubMinor = device.subMinor;
}

gcstring NodeMap::GetProductGuid() {
    return gcstring(std::string_view(m_core.Description().Device().productGuid));
}

gcstring NodeMap::GetVersionGuid() {
    return gcstring(std::string_view(m_core.Description().Device().versionGuid));
}

UserData_t NodeMap::GetUserData() const {
    const GenICam::AutoLock lock(m_core.Lock());
    return m_userData;
}

UserData_t NodeMap::SetUserData(UserData_t pUserData) {
    const GenICam::AutoLock lock(m_core.Lock());
    return std::exchange(m_userData, pUserData);
}

} // namespace GenApi
