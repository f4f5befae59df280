// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/CameraEventMetaData.h"
#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"

#include <GenApi/NodeCallback.h>

#include <atomic>
#include <memory>
#include <utility>

namespace Zelmo {

/// One connection to a node, in the name of @p named: itself or its category. From its registration on it keeps itself,
/// until the node map has called Destroy; by then no call of it runs any more. So the registration may end, and the
/// handler go, while the node still knows it.
class CCameraEventConnection final : public GenApi::CNodeCallback {
public:
    CCameraEventConnection(GenApi::INode* node, GenApi::INode* named,
                           const std::shared_ptr<CCameraEventMetaData>& target)
        : CNodeCallback(node, GenApi::cbPostOutsideLock), m_named(named), m_target(target) {}

    static std::shared_ptr<CCameraEventConnection> Make(GenApi::INode* node, GenApi::INode* named,
                                                        const std::shared_ptr<CCameraEventMetaData>& target) {
        auto connection = std::make_shared<CCameraEventConnection>(node, named, target);
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
            target->OnNodeChanged(m_named, this);
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

    GenApi::INode* const m_named;
    const std::weak_ptr<CCameraEventMetaData> m_target;
    std::shared_ptr<CCameraEventConnection> m_self;
    GenApi::CallbackHandleType m_handle = 0;
    std::atomic<bool> m_isGone{false};
};

} // namespace Zelmo
