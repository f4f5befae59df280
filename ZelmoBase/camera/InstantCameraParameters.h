// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/ZelmoPowerNodeMapPtr.h"

#include <GenApi/IBoolean.h>
#include <GenApi/IInteger.h>

namespace Zelmo {

/// One node of a map, looked up by name on first use and then kept. Use it with the lock of the node map held.
template <class Interface>
class CKeptNode {
public:
    /// Borrows both.
    CKeptNode(const CZelmoPowerNodeMapPtr& nodeMap, const char* name) noexcept : m_nodeMap(nodeMap), m_name(name) {}
    CKeptNode(const CKeptNode&) = delete;
    CKeptNode& operator=(const CKeptNode&) = delete;

    /// @throws GenICam::RuntimeException without a node map, or where it has no such node.
    Interface* operator->();

private:
    const CZelmoPowerNodeMapPtr& m_nodeMap;
    const char* const m_name;
    Interface* m_node = nullptr; // the map's own
};

extern template class CKeptNode<GenApi::IInteger>;
extern template class CKeptNode<GenApi::IBoolean>;

/// The node map of the camera object itself, from the built-in document "InstantCameraParams", and those of its nodes
/// that the camera uses. Its lock is the camera lock. Without a node map, which only a broken library has, the first
/// use of a node fails.
class CInstantCameraNodeMapPtr final : public CZelmoPowerNodeMapPtr {
public:
    CInstantCameraNodeMapPtr();

    /// Tells the nodes which real-time priorities threads may have here, and sets both priorities to their defaults.
    void SetThreadPriorities();

    CKeptNode<GenApi::IInteger> GrabParamsLocked{*this, "GrabParamsLocked"};
    CKeptNode<GenApi::IInteger> QueueParamsLocked{*this, "QueueParamsLocked"};
    CKeptNode<GenApi::IInteger> AccessModeParamsLocked{*this, "AccessModeParamsLocked"};
    CKeptNode<GenApi::IInteger> GrabEngineThreadPriority_Max{*this, "GrabEngineThreadPriority_Max"};
    CKeptNode<GenApi::IInteger> GrabLoopThreadPriority_Max{*this, "GrabLoopThreadPriority_Max"};
    CKeptNode<GenApi::IInteger> GrabEngineThreadPriority_Min{*this, "GrabEngineThreadPriority_Min"};
    CKeptNode<GenApi::IInteger> GrabLoopThreadPriority_Min{*this, "GrabLoopThreadPriority_Min"};
    CKeptNode<GenApi::IInteger> GrabEngineThreadPriority_Value{*this, "GrabEngineThreadPriority_Value"};
    CKeptNode<GenApi::IInteger> GrabLoopThreadPriority_Value{*this, "GrabLoopThreadPriority_Value"};
    CKeptNode<GenApi::IInteger> StaticChunkNodeMapPoolSize{*this, "StaticChunkNodeMapPoolSize"};
    CKeptNode<GenApi::IInteger> MaxNumBuffer{*this, "MaxNumBuffer"};
    CKeptNode<GenApi::IInteger> MaxNumQueuedBuffer{*this, "MaxNumQueuedBuffer"};
    CKeptNode<GenApi::IInteger> MaxNumGrabResults{*this, "MaxNumGrabResults"};
    CKeptNode<GenApi::IInteger> InternalGrabEngineThreadPriority{*this, "InternalGrabEngineThreadPriority"};
    CKeptNode<GenApi::IInteger> GrabLoopThreadTimeout{*this, "GrabLoopThreadTimeout"};
    CKeptNode<GenApi::IInteger> GrabLoopThreadPriority{*this, "GrabLoopThreadPriority"};
    CKeptNode<GenApi::IBoolean> MigrationModeActive{*this, "MigrationModeActive"};
    CKeptNode<GenApi::IBoolean> GrabCameraEvents{*this, "GrabCameraEvents"};
    CKeptNode<GenApi::IBoolean> MonitorModeActive{*this, "MonitorModeActive"};
    CKeptNode<GenApi::IBoolean> ChunkNodeMapsEnable{*this, "ChunkNodeMapsEnable"};
    CKeptNode<GenApi::IBoolean> InternalGrabEngineThreadPriorityOverride{*this,
                                                                         "InternalGrabEngineThreadPriorityOverride"};
    CKeptNode<GenApi::IBoolean> ClearBufferModeEnable{*this, "ClearBufferModeEnable"};
    CKeptNode<GenApi::IBoolean> AcquisitionStartStopExecutionEnable{*this, "AcquisitionStartStopExecutionEnable"};
    CKeptNode<GenApi::IBoolean> GrabLoopThreadUseTimeout{*this, "GrabLoopThreadUseTimeout"};
    CKeptNode<GenApi::IBoolean> GrabLoopThreadPriorityOverride{*this, "GrabLoopThreadPriorityOverride"};
};

} // namespace Zelmo
