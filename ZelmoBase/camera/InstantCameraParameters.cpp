// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/InstantCameraParameters.h"

#include "ZelmoBase/parameter/NodeMapFromResource.h"

#include <zelmo/NodeMapTools.h>
#include <zelmo/ThreadPriority.h>

#include <Base/GCException.h>

#include <algorithm>

namespace Zelmo {
namespace {

constexpr int kGrabEngineThreadPriority = 25;

GenApi::INodeMap* CreateNodeMap() {
    try {
        return CreateNodeMapFromResource("InstantCameraParams");
    } catch (const GenICam::GenericException&) { // the first use tells
        return nullptr;
    }
}

} // namespace

CZelmoPowerNodeMapPtr::~CZelmoPowerNodeMapPtr() {
    DestroyNodeMap(m_nodeMap);
}

GenApi::INodeMap& CZelmoPowerNodeMapPtr::operator*() const {
    if (m_nodeMap == nullptr) {
        throw RUNTIME_EXCEPTION("NULL pointer dereferenced");
    }
    return *m_nodeMap;
}

template <class Interface>
Interface* CKeptNode<Interface>::operator->() {
    if (m_node == nullptr) {
        m_node = dynamic_cast<Interface*>(m_nodeMap->GetNode(m_name));
    }
    if (m_node == nullptr) {
        throw RUNTIME_EXCEPTION("The camera's own node map has no such node '%s'.", m_name);
    }
    return m_node;
}

template class CKeptNode<GenApi::IInteger>;
template class CKeptNode<GenApi::IBoolean>;

CInstantCameraNodeMapPtr::CInstantCameraNodeMapPtr() : CZelmoPowerNodeMapPtr(CreateNodeMap()) {}

void CInstantCameraNodeMapPtr::SetThreadPriorities() {
    int min = 0;
    int max = 0;
    GetRTThreadPriorityCapabilities(min, max);
    GrabEngineThreadPriority_Max->SetValue(max);
    GrabLoopThreadPriority_Max->SetValue(max);
    GrabEngineThreadPriority_Min->SetValue(min);
    GrabLoopThreadPriority_Min->SetValue(min);
    GrabEngineThreadPriority_Value->SetValue(std::max(std::min(kGrabEngineThreadPriority, max), min));
    GrabLoopThreadPriority_Value->SetValue(min);
}

} // namespace Zelmo
