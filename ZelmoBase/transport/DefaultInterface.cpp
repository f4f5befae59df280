// SPDX-License-Identifier: Apache-2.0
#include <zelmo/DefaultInterface.h>

#include <Base/GCException.h>

#include "ZelmoBase/core/Mutex.h"

namespace Zelmo {

CDefaultInterface::CDefaultInterface(ITransportLayer* transportLayer, const CInterfaceInfo& info)
    : m_transportLayer(transportLayer), m_interfaceInfo(info), m_lock(new CRecursiveMutex) {}

CDefaultInterface::~CDefaultInterface() {
    {
        CLockGuard lock(*m_lock);
        if (IsOpen()) {
            Close();
        }
    }
    delete m_lock;
}

IZelmoDevice* CDefaultInterface::CreateDevice(const CDeviceInfo& info) {
    return m_transportLayer->CreateDevice(info);
}

IZelmoDevice* CDefaultInterface::CreateFirstDevice(const CDeviceInfo& info) {
    return m_transportLayer->CreateFirstDevice(info);
}

IZelmoDevice* CDefaultInterface::CreateDevice(const CDeviceInfo& info, const StringList_t& strings) {
    return m_transportLayer->CreateDevice(info, strings);
}

IZelmoDevice* CDefaultInterface::CreateFirstDevice(const CDeviceInfo& info, const StringList_t& strings) {
    return m_transportLayer->CreateFirstDevice(info, strings);
}

IZelmoDevice* CDefaultInterface::CreateDevice(const String_t& fullName) {
    return m_transportLayer->CreateDevice(fullName);
}

void CDefaultInterface::DestroyDevice(IZelmoDevice* device) {
    m_transportLayer->DestroyDevice(device);
}

bool CDefaultInterface::IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes,
                                           EDeviceAccessiblityInfo* accessibilityInfo) {
    return m_transportLayer->IsDeviceAccessible(info, modes, accessibilityInfo);
}

void CDefaultInterface::InternalOpen() {
    CLockGuard lock(*m_lock);
    m_isOpen = true;
}

void CDefaultInterface::InternalClose() {
    CLockGuard lock(*m_lock);
    m_isOpen = false;
}

bool CDefaultInterface::InternalIsOpen() const {
    CLockGuard lock(*m_lock);
    return m_isOpen;
}

const CInterfaceInfo& CDefaultInterface::InternalGetInterfaceInfo() const {
    CLockGuard lock(*m_lock);
    return m_interfaceInfo;
}

GenApi::INodeMap* CDefaultInterface::InternalGetNodeMap() {
    if (!InternalIsOpen()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot access nodemap of closed interface.");
    }
    return nullptr;
}

int CDefaultInterface::InternalEnumerateDevices(DeviceInfoList& list) {
    return m_transportLayer->EnumerateDevices(list, true);
}

void CDefaultInterface::Delete() {
    delete this;
}

} // namespace Zelmo
