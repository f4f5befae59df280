// SPDX-License-Identifier: Apache-2.0
#include <GenApi/NodeMapRef.h>

#include <Base/GCException.h>

namespace GenApi {

CNodeMapHolder::CNodeMapHolder(const gcstring& DeviceName) : m_deviceName(DeviceName) {}
CNodeMapHolder::CNodeMapHolder(INodeMap* pNodeMap)
    : m_deviceName("Device"), m_nodeMap(std::shared_ptr<INodeMap>(), pNodeMap) {} // an owner of nothing

bool CNodeMapHolder::IsSet() const noexcept {
    return m_nodeMap != nullptr;
}

INodeMap* CNodeMapHolder::Get() const noexcept {
    return m_nodeMap.get();
}

INodeMap& CNodeMapHolder::Checked() const {
    if (!m_nodeMap) {
        throw ACCESS_EXCEPTION("Feature not present (reference not valid)");
    }
    return *m_nodeMap;
}

INodeMap* CNodeMapHolder::Create(CNodeMapFactory& Factory) {
    if (m_nodeMap) {
        throw RUNTIME_EXCEPTION("Node map already created");
    }
    m_nodeMap.reset(Factory.CreateNodeMap(m_deviceName),
                    [](INodeMap* nodeMap) { dynamic_cast<IDestroy&>(*nodeMap).Destroy(); });
    return m_nodeMap.get();
}

INodeMap* CNodeMapHolder::Create(CNodeMapFactory& Factory, CNodeMapFactory& Injection) {
    Factory.AddInjectionData(Injection);
    return Create(Factory);
}

void CNodeMapHolder::Reset() noexcept {
    m_nodeMap.reset();
}

gcstring CNodeMapHolder::GetDeviceName() const {
    return m_nodeMap ? m_nodeMap->GetDeviceName() : m_deviceName;
}

IDeviceInfo& CNodeMapHolder::Device() const {
    auto* const info = dynamic_cast<IDeviceInfo*>(&Checked());
    if (!info) {
        throw DYNAMICCAST_EXCEPTION("The node map tells nothing of its device");
    }
    return *info;
}

} // namespace GenApi
