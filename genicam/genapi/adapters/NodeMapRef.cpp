// SPDX-License-Identifier: Apache-2.0
#include <GenApi/NodeMapRef.h>

#include <Base/GCException.h>

namespace GenApi {

CNodeMapHolder::CNodeMapHolder(const gcstring& DeviceName) : m_deviceName(DeviceName) {}

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

const gcstring& CNodeMapHolder::GetDeviceName() const noexcept {
    return m_deviceName;
}

} // namespace GenApi
