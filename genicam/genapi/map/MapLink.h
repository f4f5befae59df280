#pragma once

#include "genicam/genapi/map/MapCore.h"

#include <GenApi/IPortConstruct.h>

#include <memory>
#include <utility>
#include <vector>

namespace GenApi {

/// The link of an adapter to a node map: changes what is behind many ports as one, and knows when the map is gone.
/// A map of another make is served through its public interface: its nodes are invalidated one by one after the lock
/// was given back, and it must outlive the link. Threads: one at a time. Each operation takes the map's lock.
class MapLink {
public:
    MapLink() = default; ///< leads nowhere
    explicit MapLink(INodeMap& map);

    /// Whether the map is there; not safe against another thread that is just destroying it.
    bool IsAlive() const noexcept { return m_map != nullptr && (m_core == nullptr || !m_life.expired()); }
    INodeMap& Map() const noexcept { return *m_map; }

    /// Runs @p step under the lock; it calls its argument with each INode that it has changed, which makes void what
    /// depends on it. All callbacks fire once, first inside the lock, then outside. @p step must not throw once it has
    /// changed something. @throws what callbacks throw, when all is done.
    template <class Step>
    void Change(Step&& step);

    /// Runs @p step, which connects and disconnects ports by the operations below; all callbacks fire once. It is given
    /// the batch, so that a port which fails keeps no other from its turn.
    template <class Step>
    void Reconnect(Step&& step);

    /// Connects a port node; takes a connection back, unless somebody has connected another one since.
    void Connect(INode& portNode, IPortConstruct& implementation);
    void Disconnect(INode& portNode, IPort& implementation);

private:
    INodeMap* m_map = nullptr;
    MapCore* m_core = nullptr; // null for a map of another make
    std::weak_ptr<const void> m_life;
};

/// Logs the exception in flight, for what ends an adapter and cannot throw.
void LogLateFailure(const char* occasion) noexcept;

template <class Step>
void MapLink::Change(Step&& step) {
    if (m_core != nullptr) {
        m_core->ChangeAll([core = m_core, &step](CallbackBatch&) {
            step([core](INode& node) { core->Invalidate(static_cast<NodeBase&>(node)); });
        });
        return;
    }
    std::vector<INode*> touched;
    {
        const GenICam::AutoLock lock(m_map->GetLock());
        step([&touched](INode& node) { touched.push_back(&node); });
    }
    for (INode* node : touched) {
        node->InvalidateNode();
    }
}

template <class Step>
void MapLink::Reconnect(Step&& step) {
    if (m_core != nullptr) {
        m_core->ChangeAll(step);
        return;
    }
    CallbackBatch batch; // of failures alone: the map fires its callbacks itself
    step(batch);
    batch.Rethrow();
}

} // namespace GenApi
