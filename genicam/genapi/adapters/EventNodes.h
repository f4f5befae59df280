// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/adapters/HexId.h"
#include "genicam/genapi/map/MapLink.h"

#include <GenApi/EventPort.h>

#include <memory>
#include <vector>

namespace GenApi {

/// The nodes of one node map that take part in events.
/// Owns: the ports. Threads: one at a time; what the map's nodes see changes under the map's lock alone.
class EventNodes {
public:
    EventNodes() = default;
    EventNodes(const EventNodes&) = delete;
    EventNodes& operator=(const EventNodes&) = delete;
    ~EventNodes();

    void Connect(INodeMap& map); ///< in place of the map before
    void Disconnect();

    /// Gives one event to all nodes with this id; callbacks fire. @throws what callbacks throw.
    void Deliver(HexId id, const std::uint8_t* event, std::size_t length);

private:
    struct Slot {
        explicit Slot(INode& eventNode) : node(eventNode) {}
        INode& node;
        std::unique_ptr<CEventPort> port; // null if the node is none
    };

    static void FindNodes(INodeMap& map, std::vector<Slot>& slots, HexIndex& index);
    static PortLinks LinksOf(const std::vector<Slot>& slots);
    void ForgetDeadMap() noexcept;

    MapLink m_link;
    std::vector<Slot> m_slots;
    HexIndex m_index;
};

} // namespace GenApi
