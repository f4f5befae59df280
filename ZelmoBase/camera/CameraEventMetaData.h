// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Types.h>

#include <Base/GCSynch.h>

#include <memory>

namespace GenApi {
struct INode;
struct INodeMap;
} // namespace GenApi

namespace Zelmo {

class CCameraEventHandler;
class CCameraEventConnection;
class CEventGrabEngine;
class CInstantCamera;

/// What belongs to the registration of a camera event handler: its node, and the connection to it while the camera is
/// open. The handler is told of changes that are made while this camera delivers a message on the same thread; what
/// handlers, or other threads, write tells nobody.
/// Locks: the camera event lock guards all members.
class CCameraEventMetaData final : public std::enable_shared_from_this<CCameraEventMetaData> {
public:
    /// Borrows @p engine and @p lock, the camera event lock.
    CCameraEventMetaData(CInstantCamera& camera, CCameraEventHandler& handler, const CEventGrabEngine& engine,
                         GenICam::CLock& lock, String_t nodeName, long userId, bool isMandatory);
    CCameraEventMetaData(const CCameraEventMetaData&) = delete;
    CCameraEventMetaData& operator=(const CCameraEventMetaData&) = delete;
    ~CCameraEventMetaData(); ///< Disconnects.

    const String_t& GetNodeName() const noexcept { return m_nodeName; }
    long GetUserId() const noexcept { return m_userId; }

    /// @throws GenICam::RuntimeException for a mandatory node that is not there; std::bad_alloc.
    void Connect(GenApi::INodeMap& nodeMap);
    void Disconnect() noexcept;

private:
    friend class CCameraEventConnection;
    void OnNodeChanged(GenApi::INode* node, const CCameraEventConnection* connection) noexcept; // any thread
    void LogFailure(const char* text) const noexcept;

    CInstantCamera& m_camera;
    CCameraEventHandler& m_handler;
    const CEventGrabEngine& m_engine;
    GenICam::CLock& m_lock;
    const String_t m_nodeName;
    const long m_userId;
    const bool m_isMandatory;
    std::shared_ptr<CCameraEventConnection> m_connection; // null while there is none
};

} // namespace Zelmo
