// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/Model.h"

#include "genicam/genapi/model/NameHash.h"

#include <Base/GCException.h>

#include <algorithm>
#include <cstring>
#include <numeric>

namespace GenApi {

namespace {

constexpr std::size_t kMaxTextBytes = std::size_t(512) << 20;
constexpr std::string_view kEntryPrefix = "EnumEntry_";
constexpr std::size_t kMaxEntryNameBytes = 3000; // its enumeration's and its own

} // namespace

std::uint32_t StringArena::Add(std::string_view text) {
    if (text.size() + sizeof(std::uint32_t) + 1 > kMaxTextBytes - m_bytes.size()) {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: it holds more than %zu bytes of text.",
                                kMaxTextBytes);
    }
    const auto length = static_cast<std::uint32_t>(text.size());
    const std::size_t begin = m_bytes.size();
    m_bytes.resize(begin + sizeof(length) + text.size() + 1); // a NUL stays behind the text
    std::memcpy(m_bytes.data() + begin, &length, sizeof(length));
    if (!text.empty()) {
        std::memcpy(m_bytes.data() + begin + sizeof(length), text.data(), text.size());
    }
    return static_cast<std::uint32_t>(begin + sizeof(length));
}

std::string_view StringArena::At(std::uint32_t offset) const noexcept {
    std::uint32_t length;
    std::memcpy(&length, m_bytes.data() + offset - sizeof(length), sizeof(length));
    return {m_bytes.data() + offset, length};
}

std::size_t SymbolTable::SlotOf(const StringArena& texts, std::string_view name, std::uint64_t hash) const noexcept {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = hash & mask;
    while (m_slots[slot].symbol != kMissing && (m_slots[slot].hash != static_cast<std::uint32_t>(hash >> 32) ||
                                                texts.At(m_symbols[m_slots[slot].symbol].text) != name)) {
        slot = (slot + 1) & mask;
    }
    return slot;
}

std::uint32_t SymbolTable::Find(const StringArena& texts, std::string_view name) const noexcept {
    if (m_slots.empty()) {
        return kMissing;
    }
    return m_slots[SlotOf(texts, name, HashName(name, m_key))].symbol;
}

std::uint32_t SymbolTable::Intern(StringArena& texts, std::string_view name) {
    if (m_symbols.size() * 2 >= m_slots.size()) {
        Grow();
    }
    const std::uint64_t hash = HashName(name, m_key);
    Slot& slot = m_slots[SlotOf(texts, name, hash)];
    if (slot.symbol == kMissing) {
        m_symbols.push_back({texts.Add(name), kNoNode});
        slot = {static_cast<std::uint32_t>(hash >> 32), static_cast<std::uint32_t>(m_symbols.size() - 1)};
        m_hashes.push_back(hash);
    }
    return slot.symbol;
}

void SymbolTable::Grow() {
    std::vector<Slot> slots(m_slots.empty() ? 1024 : m_slots.size() * 2);
    for (std::uint32_t symbol = 0; symbol < m_symbols.size(); ++symbol) {
        std::size_t slot = m_hashes[symbol] & (slots.size() - 1);
        while (slots[slot].symbol != kMissing) {
            slot = (slot + 1) & (slots.size() - 1);
        }
        slots[slot] = {static_cast<std::uint32_t>(m_hashes[symbol] >> 32), symbol};
    }
    m_slots.swap(slots);
}

void SymbolTable::Close() {
    m_hashes = {};
    m_symbols.shrink_to_fit();
}

void EdgeLists::Allocate() {
    std::partial_sum(m_begin.begin(), m_begin.end(), m_begin.begin());
    m_targets.resize(m_begin.back());
}

/// Adding has moved each beginning to the end of its list, where the next one begins.
void EdgeLists::Close() {
    std::copy_backward(m_begin.begin(), m_begin.end() - 1, m_begin.end());
    m_begin.front() = 0;
}

NodeIndex Model::Find(std::string_view name) const noexcept {
    const std::uint32_t symbol = m_symbols.Find(m_texts, name);
    if (symbol != SymbolTable::kMissing && m_symbols.At(symbol).node != kNoNode) {
        return m_symbols.At(symbol).node;
    }
    // a qualified name, as INode::GetName gives it
    for (const std::string_view prefix : {std::string_view("Std::"), std::string_view("Cust::")}) {
        if (name.substr(0, prefix.size()) == prefix) {
            const std::uint32_t plain = m_symbols.Find(m_texts, name.substr(prefix.size()));
            return plain == SymbolTable::kMissing ? kNoNode : m_symbols.At(plain).node;
        }
    }
    return FindEntry(name);
}

NodeIndex Model::FindEntry(std::string_view name) const noexcept {
    char whole[kEntryPrefix.size() + kMaxEntryNameBytes];
    if (name.size() > kMaxEntryNameBytes) {
        return kNoNode;
    }
    std::memcpy(whole, kEntryPrefix.data(), kEntryPrefix.size());
    std::memcpy(whole + kEntryPrefix.size(), name.data(), name.size());
    const std::uint32_t symbol = m_symbols.Find(m_texts, {whole, kEntryPrefix.size() + name.size()});
    const NodeIndex node = symbol == SymbolTable::kMissing ? kNoNode : m_symbols.At(symbol).node;
    return node != kNoNode && m_nodes[node].kind == NodeKind::EnumEntry ? node : kNoNode;
}

std::string_view Model::TargetName(const Property& reference) const noexcept {
    return reference.form == Form::Node ? NameOf(reference.payload) : SymbolName(reference.payload);
}

const Property* Model::FindProperty(NodeIndex node, PropertyKind kind) const noexcept {
    const NodeRecord& record = m_nodes[node];
    const Property* own = m_properties.data() + record.first;
    for (std::uint32_t i = 0; i < record.count; ++i) {
        if (own[i].kind == kind && own[i].form != Form::Dropped) {
            return own + i;
        }
    }
    const Property* shared = m_properties.data() + record.sharedFirst;
    for (std::uint32_t i = 0; i < record.sharedCount; ++i) {
        if (shared[i].kind == kind && shared[i].form != Form::Dropped) {
            return shared + i;
        }
    }
    return nullptr;
}

std::size_t Model::CountProperties(NodeIndex node, PropertyKind kind) const noexcept {
    std::size_t count = 0;
    ForEachProperty(node, [&](const Property& property) { count += property.kind == kind ? 1 : 0; });
    return count;
}

std::string_view Model::TextOr(NodeIndex node, PropertyKind kind, std::string_view missing) const noexcept {
    const Property* property = FindProperty(node, kind);
    return property != nullptr && property->form == Form::Text ? TextOf(property->payload) : missing;
}

std::size_t Model::ReferenceCount() const noexcept {
    return static_cast<std::size_t>(std::count_if(m_properties.begin(), m_properties.end(),
                                                  [](const Property& each) { return each.form == Form::Node; }));
}

} // namespace GenApi
