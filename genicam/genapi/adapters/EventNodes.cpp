// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/adapters/EventNodes.h"

#include "genicam/genapi/model/LoadLog.h"

#include <GenApi/INode.h>
#include <GenApi/INodeMap.h>

#include <string>
#include <utility>

namespace GenApi {

EventNodes::~EventNodes() {
    try {
        Disconnect();
    } catch (...) {
        LogLateFailure("An event adapter ends while a callback fails");
    }
}

void EventNodes::FindNodes(INodeMap& map, std::vector<Slot>& slots, HexIndex& index) {
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes) {
        const gcstring text = node->GetEventID();
        if (text.empty()) {
            continue;
        }
        if (const std::optional<HexId> id = ParseHexId(text.view())) {
            index.Add(*id, static_cast<std::uint32_t>(slots.size()));
            slots.emplace_back(*node);
            if (dynamic_cast<IPortConstruct*>(node) != nullptr) {
                slots.back().port = std::make_unique<CEventPort>();
            }
        } else {
            LogLoadWarning("Node '" + std::string(node->GetName().view()) + "' gets no event: its EventID '" +
                           std::string(text.view()) + "' is no hexadecimal number of at most 16 bytes.");
        }
    }
    index.Sort();
}

void EventNodes::Connect(INodeMap& map) {
    std::vector<Slot> slots;
    HexIndex index;
    FindNodes(map, slots, index);
    MapLink link(map);
    ForgetDeadMap();
    m_slots.swap(slots);
    m_index = std::move(index);
    std::swap(m_link, link);
    CallbackBatch batch; // of failures alone: callbacks of the map before keep nobody from the new one
    batch.Run([&] { link.Disconnect(); });
    batch.Run([this] { m_link.Connect(LinksOf(m_slots)); });
    batch.Rethrow();
}

void EventNodes::Disconnect() {
    ForgetDeadMap();
    // callbacks find nothing attached any more; the ports live until they are done
    const std::vector<Slot> slots = std::exchange(m_slots, {});
    MapLink link = std::exchange(m_link, {});
    m_index.Clear();
    link.Disconnect();
}

PortLinks EventNodes::LinksOf(const std::vector<Slot>& slots) {
    PortLinks links;
    for (const Slot& slot : slots) {
        if (slot.port != nullptr) {
            links.push_back({&slot.node, slot.port.get()});
        }
    }
    return links;
}

void EventNodes::ForgetDeadMap() noexcept {
    if (!m_link.IsAlive()) {
        m_slots.clear();
        m_index.Clear();
    }
}

void EventNodes::Deliver(HexId id, const std::uint8_t* event, std::size_t length) {
    ForgetDeadMap();
    const auto entries = m_index.Find(id);
    if (entries.empty()) {
        return;
    }
    m_link.Change(
        [&](const auto& select) {
            for (const HexIndex::Entry& entry : entries) {
                const Slot& slot = m_slots[entry.place];
                if (slot.port != nullptr) {
                    slot.port->ReserveEvent(length);
                }
                select(slot.node);
            }
        },
        [&] {
            for (const HexIndex::Entry& entry : entries) {
                if (const auto& port = m_slots[entry.place].port) {
                    port->AttachEvent(event, length);
                }
            }
        });
}

} // namespace GenApi
