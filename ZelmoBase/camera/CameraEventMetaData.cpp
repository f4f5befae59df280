// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/CameraEventMetaData.h"

#include "ZelmoBase/camera/CameraEventConnection.h"
#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/EventGrabEngine.h"
#include "ZelmoBase/camera/HandlerScope.h"
#include "ZelmoBase/core/Guarded.h"

#include <zelmo/CameraEventHandler.h>

#include <Base/GCException.h>
#include <GenApi/ICategory.h>
#include <GenApi/INode.h>
#include <GenApi/INodeMap.h>

#include <cstdint>
#include <utility>

namespace Zelmo {
namespace {

/// Many cameras have a category for what an event brings, but its id only at the features: then the first of them
/// stands for the category, which itself never changes.
GenApi::INode* FindEventNode(GenApi::INode* named) {
    const auto* const category = dynamic_cast<GenApi::ICategory*>(named);
    if (category != nullptr && named->GetEventID().empty()) {
        GenApi::FeatureList_t features;
        category->GetFeatures(features);
        for (GenApi::IValue* const feature : features) {
            if (dynamic_cast<GenApi::ICategory*>(feature) == nullptr) {
                return dynamic_cast<GenApi::INode*>(feature);
            }
        }
    }
    return named;
}

} // namespace

CCameraEventMetaData::CCameraEventMetaData(CInstantCamera& camera, CCameraEventHandler& handler,
                                           const CEventGrabEngine& engine, GenICam::CLock& lock, String_t nodeName,
                                           long userId, bool isMandatory)
    : m_camera(camera), m_handler(handler), m_engine(engine), m_lock(lock), m_nodeName(std::move(nodeName)),
      m_userId(userId), m_isMandatory(isMandatory) {}

CCameraEventMetaData::~CCameraEventMetaData() {
    Disconnect();
}

void CCameraEventMetaData::Connect(GenApi::INodeMap& nodeMap) {
    Disconnect();
    GenApi::INode* const node = nodeMap.GetNode(m_nodeName);
    if (node != nullptr) {
        m_connection = CCameraEventConnection::Make(FindEventNode(node), node, shared_from_this());
    } else if (m_isMandatory) {
        throw RUNTIME_EXCEPTION("Node %s for registering camera event callback not found. The spelling of the node's "
                                "name may be wrong.",
                                m_nodeName.c_str());
    }
}

void CCameraEventMetaData::Disconnect() noexcept {
    if (const std::shared_ptr<CCameraEventConnection> connection = std::move(m_connection)) {
        connection->Disconnect();
    }
}

void CCameraEventMetaData::OnNodeChanged(GenApi::INode* node, const CCameraEventConnection* connection) noexcept {
    const auto tell = [&] {
        GenICam::AutoLock lock(m_lock);
        if (m_connection.get() == connection) { // else deregistered by a handler of the same event
            const CHandlerScope scope;
            m_handler.OnCameraEvent(m_camera, m_userId, node);
        }
    };
    m_engine.TellHandler([&] { RunGuarded(tell, [this](const char* text) { LogFailure(text); }); });
}

void CCameraEventMetaData::LogFailure(const char* text) const noexcept {
    const auto handler = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(&m_handler)); // its low 32 bits
    if (text != nullptr) {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                        "Exception caught while notifying event OnCameraEvent handler %x, rethrow=0, msg=%s", handler,
                        text);
    } else {
        hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                        "Unknown exception caught while notifying event OnCameraEvent handler %x, rethrow=0", handler);
    }
}

} // namespace Zelmo
