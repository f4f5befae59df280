// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/CameraEventMetaData.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/camera/EventGrabEngine.h"
#include "ZelmoBase/camera/HandlerScope.h"
#include "ZelmoBase/core/Guarded.h"

#include <zelmo/CameraEventHandler.h>

#include <Base/GCException.h>
#include <GenApi/INodeMap.h>
#include <GenApi/NodeCallback.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace Zelmo {

/// One connection to a node. From its registration on it keeps itself, until the node map has called Destroy; by then
/// no call of it runs any more. So the registration may end, and the handler go, while the node still knows it.
class CCameraEventConnection final : public GenApi::CNodeCallback {
public:
    CCameraEventConnection(GenApi::INode* node, const std::shared_ptr<CCameraEventMetaData>& target)
        : CNodeCallback(node, GenApi::cbPostOutsideLock), m_target(target) {}

    static std::shared_ptr<CCameraEventConnection> Make(GenApi::INode* node,
                                                        const std::shared_ptr<CCameraEventMetaData>& target) {
        auto connection = std::make_shared<CCameraEventConnection>(node, target);
        connection->m_self = connection;
        const ScopedHold hold{*connection};
        connection->m_handle = node->RegisterCallback(connection.get());
        hold.isRegistered = true;
        return connection;
    }

    void Disconnect() noexcept {
        if (m_isGone.exchange(true)) {
            return; // the node map has gone before
        }
        RunLogged(CameraLogCategory(), "Exception caught while deregistering camera event nodecallback, msg='%s'",
                  "Unknown exception caught while deregistering camera event nodecallback.",
                  [this] { GetNode()->DeregisterCallback(m_handle); });
    }

    void operator()(GenApi::ECallbackType cause) const override {
        if (cause != m_CallbackType) {
            return;
        }
        if (const std::shared_ptr<CCameraEventMetaData> target = m_target.lock()) {
            target->Notify(m_pNode, m_self);
        }
    }

    void Destroy() override {
        m_isGone = true; // when the node map ends: the node is not to be touched any more
        const std::shared_ptr<CCameraEventConnection> last = std::move(m_self);
    }

private:
    struct ScopedHold {
        CCameraEventConnection& connection;
        mutable bool isRegistered = false;
        ~ScopedHold() {
            if (!isRegistered) {
                connection.m_self.reset(); // nobody would call Destroy
            }
        }
    };

    const std::weak_ptr<CCameraEventMetaData> m_target;
    std::shared_ptr<CCameraEventConnection> m_self;
    GenApi::CallbackHandleType m_handle = 0;
    std::atomic<bool> m_isGone{false};
};

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
        m_connection = CCameraEventConnection::Make(node, shared_from_this());
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

void CCameraEventMetaData::Notify(GenApi::INode* node,
                                  const std::shared_ptr<CCameraEventConnection>& connection) noexcept {
    if (!m_engine.IsDelivering()) {
        return;
    }
    GenICam::AutoLock lock(m_lock);
    if (m_connection != connection) {
        return; // disconnected since the node map began to call
    }
    const auto handler = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(&m_handler)); // its low 32 bits
    const CHandlerScope scope;
    RunGuarded([this, node] { m_handler.OnCameraEvent(m_camera, m_userId, node); },
               [handler](const char* text) {
                   if (text != nullptr) {
                       hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                                       "Exception caught while notifying event OnCameraEvent handler %x, rethrow=0, "
                                       "msg=%s",
                                       handler, text);
                   } else {
                       hxlog::LogTrace(CameraLogCategory(), hxlog::LogLevel_Error,
                                       "Unknown exception caught while notifying event OnCameraEvent handler %x, "
                                       "rethrow=0",
                                       handler);
                   }
               });
}

} // namespace Zelmo
