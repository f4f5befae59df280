// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/MapCore.h"

#include <GenApi/IPortConstruct.h>

#include <memory>
#include <utility>
#include <vector>

namespace GenApi {

/// A port node and what is to stand behind it.
struct PortLink {
    INode* node;
    IPortConstruct* implementation;
};
using PortLinks = std::vector<PortLink>;

/// The link of an adapter to a node map: changes what is behind many ports as one, and knows when the map is gone.
/// A map of another make is served through its public interface: its nodes are invalidated one by one after the lock
/// was given back, and it must outlive the link. Threads: one at a time. Each operation takes the map's lock.
class MapLink {
public:
    MapLink() = default; ///< leads nowhere
    explicit MapLink(INodeMap& map);

    /// Whether the map is there; not safe against another thread that is just destroying it.
    bool IsAlive() const noexcept { return m_map != nullptr && (m_core == nullptr || !m_life.expired()); }

    /// Under the lock, @p select calls its argument with each INode that is going to change, each once, which makes
    /// void what depends on them; then @p step changes them, and does not throw. All callbacks fire once, first inside
    /// the lock, then outside. Allocates nothing where the same nodes change again.
    /// @throws what @p select throws, with nothing changed; what callbacks throw, when all is done.
    template <class Select, class Step>
    void Change(Select&& select, Step&& step);

    /// Connects port nodes, in one change. @throws what callbacks throw, when all is done.
    void Connect(PortLinks links);
    /// Takes all that back, but where somebody has connected another one since; nothing if the map is gone.
    /// @throws as Connect; the implementations are not used any more in any case.
    void Disconnect();

private:
    void InvalidateSelected();

    INodeMap* m_map = nullptr;
    MapCore* m_core = nullptr; // null for a map of another make
    std::weak_ptr<const void> m_life;
    PortLinks m_ports;                 // connected
    std::vector<NodeBase*> m_selected; // of the change in progress; under the map's lock
    Closure m_closure;                 // of the nodes that were selected last; likewise
};

/// Logs the exception in flight, for what ends an adapter and cannot throw.
void LogLateFailure(const char* occasion) noexcept;

template <class Select, class Step>
void MapLink::Change(Select&& select, Step&& step) {
    if (m_core != nullptr) {
        m_core->ChangeAll([&](CallbackBatch&) {
            m_selected.clear();
            select([this](INode& node) { m_selected.push_back(static_cast<NodeBase*>(&node)); });
            InvalidateSelected();
            step();
        });
        return;
    }
    std::vector<INode*> selected;
    {
        const GenICam::AutoLock lock(m_map->GetLock());
        select([&selected](INode& node) { selected.push_back(&node); });
        step();
    }
    CallbackBatch batch; // of failures alone: the map fires its callbacks itself
    for (INode* node : selected) {
        batch.Run([node] { node->InvalidateNode(); });
    }
    batch.Rethrow();
}

} // namespace GenApi
