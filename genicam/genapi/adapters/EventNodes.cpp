#include "genicam/genapi/adapters/EventNodes.h"

#include "genicam/genapi/map/LoadLog.h"

#include <GenApi/INode.h>
#include <GenApi/INodeMap.h>

#include <string>

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
    Disconnect();
    m_slots = std::move(slots);
    m_index = std::move(index);
    m_link = std::move(link);
    m_link.Reconnect([this](CallbackBatch& batch) {
        for (const Slot& slot : m_slots) {
            if (slot.port != nullptr) {
                batch.Run([&] { m_link.Connect(slot.node, *slot.port); });
            }
        }
    });
}

void EventNodes::Disconnect() {
    ForgetDeadMap();
    // callbacks find nothing attached any more; the ports live until they are done
    const std::vector<Slot> slots = std::move(m_slots);
    MapLink link = std::move(m_link);
    m_slots.clear();
    m_link = MapLink();
    m_index.Clear();
    if (link.IsAlive()) {
        link.Reconnect([&](CallbackBatch& batch) {
            for (const Slot& slot : slots) {
                if (slot.port != nullptr) {
                    batch.Run([&] { link.Disconnect(slot.node, *slot.port); });
                }
            }
        });
    }
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
    m_link.Change([&](const auto& invalidate) {
        for (const HexIndex::Entry& entry : entries) {
            if (const auto& port = m_slots[entry.place].port) {
                port->ReserveEvent(length); // may throw: nothing has changed yet
            }
        }
        for (const HexIndex::Entry& entry : entries) {
            const Slot& slot = m_slots[entry.place];
            if (slot.port != nullptr) {
                slot.port->AttachEvent(event, length);
            }
            invalidate(slot.node);
        }
    });
}

} // namespace GenApi
