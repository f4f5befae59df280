// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>

#include <cstdint>
#include <memory>

namespace GenApi {

struct INodeMap;
class EventNodes;

/// Delivers event messages to the nodes of a node map that have the event's id as EventID. A port node gives its
/// registers the bytes of the last event with its id: it is not available before the first one. Any other node is only
/// invalidated.
///
/// Events of a message are delivered one after the other. Of each a copy is taken under the lock of the node map, then
/// the callbacks of all that depends on it fire on the calling thread: those outside the lock after it was given back.
/// A callback that fails keeps neither other callbacks nor later events from their turn; its exception comes out at the
/// end. Threads: one at a time for an adapter, any for its node map, at the same time. One node map may serve several
/// adapters; a port belongs to that which was attached last. A node map of this library may be destroyed before the
/// adapter, one of another make may not.
class GENICAM_API CEventAdapter {
public:
    CEventAdapter(const CEventAdapter&) = delete;
    CEventAdapter& operator=(const CEventAdapter&) = delete;
    virtual ~CEventAdapter(); ///< Detaches the node map.

    /// Connects the event ports of a node map (borrowed), in place of the one before.
    /// @throws GenICam::InvalidArgumentException on null.
    void AttachNodeMap(INodeMap* pNodeMap);
    void DetachNodeMap(); ///< The event ports are not available after that. Nothing happens without a node map.

    /// Delivers the events of a message that lies at the start of @p numBytes. The length in its header counts, where
    /// that is less: the rest may be anything. Ids that no node has are passed over.
    /// @throws GenICam::RuntimeException for what is no whole event message; then nothing was delivered.
    virtual void DeliverMessage(const uint8_t msg[], uint32_t numBytes) = 0;

protected:
    explicit CEventAdapter(INodeMap* pNodeMap = nullptr);

    EventNodes& Nodes() noexcept { return *m_nodes; }

private:
    std::unique_ptr<EventNodes> m_nodes;
};

} // namespace GenApi
