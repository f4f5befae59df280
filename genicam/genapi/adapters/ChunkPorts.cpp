// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/adapters/ChunkPorts.h"

#include "genicam/genapi/model/LoadLog.h"

#include <GenApi/IChunkPort.h>
#include <GenApi/INode.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IString.h>

#include <Base/GCException.h>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace GenApi {

namespace {

int Counted(std::int64_t number) noexcept {
    return static_cast<int>(std::min<std::int64_t>(number, std::numeric_limits<int>::max()));
}

/// The string node that says a port's id; null if the id stands in the description.
IValue* FindIdNode(INodeMap& map, INode& node) {
    gcstring name, attributes;
    INode* const found = node.GetProperty("pChunkID", name, attributes) ? map.GetNode(name) : nullptr;
    return dynamic_cast<IValue*>(found);
}

std::optional<HexId> IdOf(IValue& idNode) noexcept {
    try {
        return IsReadable(idNode.GetAccessMode()) ? ParseHexId(idNode.ToString().view()) : std::nullopt;
    } catch (...) {
        return std::nullopt; // as if it were not readable
    }
}

} // namespace

ChunkPorts::~ChunkPorts() {
    try {
        Disconnect();
    } catch (...) {
        LogLateFailure("A chunk adapter ends while a callback fails");
    }
}

ChunkPorts::Slots ChunkPorts::FindPorts(INodeMap& map) {
    NodeList_t nodes;
    map.GetNodes(nodes);
    Slots slots;
    for (INode* node : nodes) {
        if (node->GetPrincipalInterfaceType() != intfIPort) {
            continue;
        }
        if (std::unique_ptr<Slot> slot = MakeSlot(map, *node)) {
            slots.push_back(std::move(slot));
        }
    }
    return slots;
}

std::unique_ptr<ChunkPorts::Slot> ChunkPorts::MakeSlot(INodeMap& map, INode& node) {
    const auto* const port = dynamic_cast<const IChunkPort*>(&node);
    if (port == nullptr) {
        return nullptr;
    }
    IValue* const idNode = FindIdNode(map, node);
    const gcstring text = idNode == nullptr ? port->GetChunkID() : gcstring();
    if (idNode == nullptr && text.empty()) {
        return nullptr;
    }
    auto slot = std::make_unique<Slot>(node, idNode, port->CacheChunkData() == Yes);
    slot->id = ParseHexId(text.view());
    if (idNode == nullptr && !slot->id) {
        LogLoadWarning("Port '" + std::string(node.GetName().view()) + "' gets no chunk: its ChunkID '" +
                       std::string(text.view()) + "' is no hexadecimal number of at most 16 bytes.");
    }
    return slot;
}

void ChunkPorts::Connect(INodeMap& map) {
    Slots slots = FindPorts(map);
    HexIndex index;
    index.Reserve(slots.size());
    MapLink link(map);
    ForgetDeadMap();
    m_hasBuffer = false;
    m_slots.swap(slots);
    m_index = std::move(index);
    std::swap(m_link, link);
    m_hasIdNodes =
        std::any_of(m_slots.begin(), m_slots.end(), [](const auto& slot) { return slot->idNode != nullptr; });
    BuildIndex();
    CallbackBatch batch; // of failures alone: callbacks of the map before keep nobody from the new one
    batch.Run([&] { link.Disconnect(); });
    batch.Run([this] { m_link.Connect(LinksOf(m_slots)); });
    batch.Rethrow();
}

void ChunkPorts::Disconnect() {
    ForgetDeadMap();
    m_hasBuffer = false;
    // callbacks find nothing attached any more; the ports live until they are done
    const Slots slots = std::exchange(m_slots, {});
    MapLink link = std::exchange(m_link, {});
    m_index.Clear();
    link.Disconnect();
}

PortLinks ChunkPorts::LinksOf(const Slots& slots) {
    PortLinks links;
    links.reserve(slots.size());
    for (const auto& slot : slots) {
        links.push_back({&slot->node, &slot->port});
    }
    return links;
}

void ChunkPorts::ForgetDeadMap() noexcept {
    if (!m_link.IsAlive()) {
        m_slots.clear();
        m_index.Clear();
        m_hasIdNodes = false;
    }
}

void ChunkPorts::BuildIndex() noexcept {
    m_index.Clear();
    for (std::size_t place = 0; place < m_slots.size(); ++place) {
        if (m_slots[place]->id) {
            m_index.Add(*m_slots[place]->id, static_cast<std::uint32_t>(place));
        }
    }
    m_index.Sort();
}

void ChunkPorts::RefreshIds() noexcept {
    bool hasChanged = false;
    for (const auto& slot : m_slots) {
        if (slot->idNode != nullptr) {
            const std::optional<HexId> id = IdOf(*slot->idNode);
            hasChanged = hasChanged || id != slot->id;
            slot->id = id;
        }
    }
    if (hasChanged) {
        BuildIndex();
    }
}

void ChunkPorts::Begin() {
    ForgetDeadMap();
    if (m_hasIdNodes) {
        RefreshIds();
    }
    ++m_round;
    m_offered = 0;
    m_taken = 0;
}

void ChunkPorts::Offer(HexId id, std::int64_t offset, std::int64_t length) noexcept {
    ++m_offered;
    const auto entries = m_index.Find(id);
    if (entries.empty() || m_slots[entries.front().place]->round == m_round) {
        return; // nobody wants it, or the id was there before
    }
    ++m_taken;
    for (const HexIndex::Entry& entry : entries) {
        Slot& slot = *m_slots[entry.place];
        slot.round = m_round;
        slot.offset = offset;
        slot.length = length;
    }
}

bool ChunkPorts::MustCopy(const Slot& slot) const noexcept {
    return slot.isCopied && (m_maxCopyBytes < 0 || slot.length <= m_maxCopyBytes) && m_maxCopyBytes != 0;
}

void ChunkPorts::Show(Slot& slot, std::uint8_t* buffer) noexcept {
    if (slot.round != m_round) {
        slot.port.DetachChunk();
    } else if (MustCopy(slot)) {
        slot.port.AttachCopy(buffer, slot.offset, slot.length);
    } else {
        slot.port.AttachChunk(buffer, slot.offset, slot.length);
    }
}

template <class Condition, class Select>
void ChunkPorts::SelectWhere(Condition condition, const Select& select) {
    for (const auto& slot : m_slots) {
        if (condition(*slot)) {
            select(slot->node);
        }
    }
}

template <class Condition, class Step>
void ChunkPorts::ChangeEach(Condition differs, Step step) {
    if (m_link.IsAlive()) {
        m_link.Change([&](const auto& select) { SelectWhere(differs, select); },
                      [&] {
                          for (const auto& slot : m_slots) {
                              step(slot->port);
                          }
                      });
    }
}

void ChunkPorts::ReserveCopies() {
    for (const auto& slot : m_slots) {
        if (slot->round == m_round && MustCopy(*slot)) {
            slot->port.ReserveCopy(slot->length);
        }
    }
}

void ChunkPorts::Attach(std::uint8_t* buffer, AttachStatistics_t* statistics) {
    const auto accept = [&] {
        m_hasBuffer = true;
        if (statistics != nullptr) {
            *statistics = {Counted(static_cast<std::int64_t>(m_slots.size())), Counted(m_offered), Counted(m_taken)};
        }
    };
    if (!m_link.IsAlive()) {
        accept(); // without a map there are no ports
        return;
    }
    m_link.Change(
        [&](const auto& select) {
            ReserveCopies();
            SelectWhere([this](const Slot& slot) { return slot.round == m_round || slot.port.IsAttached(); }, select);
        },
        [&] {
            accept();
            for (const auto& slot : m_slots) {
                Show(*slot, buffer);
            }
        });
}

void ChunkPorts::Detach() {
    ForgetDeadMap();
    m_hasBuffer = false;
    ChangeEach([](const Slot& slot) { return slot.port.IsAttached(); }, [](CChunkPort& port) { port.DetachChunk(); });
}

void ChunkPorts::MoveTo(std::uint8_t* buffer) {
    ForgetDeadMap();
    if (!m_hasBuffer) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot update the buffer of a chunk adapter: none is attached");
    }
    ChangeEach([](const Slot& slot) { return slot.port.IsAttached(); },
               [buffer](CChunkPort& port) { port.UpdateBuffer(buffer); });
}

void ChunkPorts::ClearCopies() {
    ForgetDeadMap();
    ChangeEach([](const Slot& slot) { return slot.port.IsCopied(); }, [](CChunkPort& port) { port.ClearCache(); });
}

} // namespace GenApi
