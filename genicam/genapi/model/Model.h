// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/Kinds.h"
#include "genicam/genapi/model/NameHash.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace GenApi {

using NodeIndex = std::uint32_t;
constexpr NodeIndex kNoNode = 0xFFFFFFFFu;

/// How the 32 bits of a property are to be read.
enum class Form : std::uint8_t {
    Text,       ///< offset in the arena
    Integer,    ///< index in the pool of integers
    Float,      ///< index in the pool of floats
    Enumerator, ///< the enumerator's number
    Node,       ///< a node's index
    Name,       ///< a symbol; only until references are resolved
    Dropped     ///< a reference to nothing that could be left out
};

/// One element or attribute of a node. An attribute of an element follows it directly.
struct Property {
    PropertyKind kind;
    Form form;
    std::uint32_t payload;
};

/// One node of the file. The properties of a structure's entries are two ranges: the structure's and the entry's own.
struct NodeRecord {
    std::uint32_t name; ///< symbol
    std::uint32_t first, count;
    std::uint32_t sharedFirst, sharedCount;
    NodeKind kind;
};

/// Texts one after the other, each with its length in front and a NUL behind; offsets stay valid while it grows.
class StringArena {
public:
    std::uint32_t Add(std::string_view text); ///< @throws GenICam::RuntimeException beyond 512 MiB.
    std::string_view At(std::uint32_t offset) const noexcept;
    void Reserve(std::size_t bytes) { m_bytes.reserve(bytes); }

private:
    std::vector<char> m_bytes;
};

/// A name that occurs in the file, as a node's own or in a reference.
struct Symbol {
    std::uint32_t text;
    NodeIndex node;
};

/// All names of a file, each kept once; finds a name's symbol with one hash and no allocation.
class SymbolTable {
public:
    static constexpr std::uint32_t kMissing = 0xFFFFFFFFu;

    std::uint32_t Intern(StringArena& texts, std::string_view name);
    std::uint32_t Find(const StringArena& texts, std::string_view name) const noexcept; ///< Missing if there is none.
    Symbol& At(std::uint32_t symbol) noexcept { return m_symbols[symbol]; }
    const Symbol& At(std::uint32_t symbol) const noexcept { return m_symbols[symbol]; }
    std::size_t Size() const noexcept { return m_symbols.size(); }
    void Close(); ///< Gives back what only Intern needs, which must not be called any more.

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t symbol = kMissing;
    };
    void Grow();
    std::size_t SlotOf(const StringArena& texts, std::string_view name, std::uint64_t hash) const noexcept;

    const HashKey m_key = SecretHashKey(); // no file is made of names that collide
    std::vector<Symbol> m_symbols;
    std::vector<std::uint64_t> m_hashes; // of the symbols
    std::vector<Slot> m_slots;           // a power of two, at most half full
};

/// What the attributes of the root element say about the device and the file.
struct DeviceInformation {
    std::string modelName, vendorName, toolTip, standardNameSpace, productGuid, versionGuid;
    std::uint16_t schemaMajor = 1, schemaMinor = 0, schemaSubMinor = 0;
    std::uint16_t major = 0, minor = 0, subMinor = 0;
};

/// Lists of nodes, one for each node, in two flat arrays.
class EdgeLists {
public:
    // made in this order: all edges are expected before the first is added
    void Open(std::size_t nodes) { m_begin.assign(nodes + 1, 0); }
    void Expect(NodeIndex from) noexcept { ++m_begin[from + 1]; }
    void Allocate();
    void Add(NodeIndex from, NodeIndex to) noexcept { m_targets[m_begin[from]++] = to; }
    void Close();

    std::span<const NodeIndex> Of(NodeIndex node) const noexcept {
        return {m_targets.data() + m_begin[node], m_begin[node + 1] - m_begin[node]};
    }

private:
    std::vector<std::uint32_t> m_begin;
    std::vector<NodeIndex> m_targets;
};

/// Who reads, writes and invalidates whom; see the README of this folder's parent.
struct Graph {
    EdgeLists reading;      ///< node → what it reads
    EdgeLists writing;      ///< node → what it writes
    EdgeLists invalidating; ///< node → whose change makes it void
    EdgeLists valueParents; ///< the inverse of invalidating: nodes that take no more than their value from the node
    EdgeLists otherParents; ///< and all others
    EdgeLists selecting;    ///< node → its selectors
    std::vector<bool> isFeature;
};

/// A description file in compact form: immutable once built, shared by all node maps of a factory.
/// Threads: any, at the same time.
class Model {
public:
    std::size_t NodeCount() const noexcept { return m_nodes.size(); }
    const NodeRecord& Record(NodeIndex node) const noexcept { return m_nodes[node]; }
    std::string_view NameOf(NodeIndex node) const noexcept { return TextOf(m_symbols.At(m_nodes[node].name).text); }
    /// Finds a node by its name; an entry also as <Enumeration>_<Entry>. @return NoNode if there is none.
    NodeIndex Find(std::string_view name) const noexcept;

    /// A structure's properties first, so that what an entry says itself comes last and counts.
    template <typename Visitor>
    void ForEachProperty(NodeIndex node, Visitor&& visit) const {
        const NodeRecord& record = m_nodes[node];
        for (std::uint32_t i = 0; i < record.sharedCount; ++i) {
            visit(m_properties[record.sharedFirst + i]);
        }
        for (std::uint32_t i = 0; i < record.count; ++i) {
            visit(m_properties[record.first + i]);
        }
    }
    const Property* FindProperty(NodeIndex node, PropertyKind kind) const noexcept; ///< the node's own first; or null
    std::size_t CountProperties(NodeIndex node, PropertyKind kind) const noexcept;

    /// Whether a property of the node is its own and not that of its structure.
    bool IsOwn(NodeIndex node, const Property& property) const noexcept {
        const auto place = static_cast<std::size_t>(&property - m_properties.data());
        return place - m_nodes[node].first < m_nodes[node].count;
    }

    const Property& PropertyAt(std::uint32_t place) const noexcept { return m_properties[place]; }
    std::string_view SymbolName(std::uint32_t symbol) const noexcept { return TextOf(m_symbols.At(symbol).text); }
    std::string_view TargetName(const Property& reference) const noexcept; ///< resolved, dropped or still a name
    std::string_view TextOf(std::uint32_t offset) const noexcept { return m_texts.At(offset); }
    std::int64_t IntegerOf(const Property& property) const noexcept { return m_integers[property.payload]; }
    double FloatOf(const Property& property) const noexcept { return m_floats[property.payload]; }
    std::string_view TextOr(NodeIndex node, PropertyKind kind, std::string_view missing) const noexcept;

    const Graph& Edges() const noexcept { return m_graph; }
    const DeviceInformation& Device() const noexcept { return m_device; }
    std::size_t PropertyCount() const noexcept { return m_properties.size(); }
    std::size_t ReferenceCount() const noexcept;
    std::size_t TextCount() const noexcept { return m_symbols.Size() + m_textProperties; }

private:
    friend class ModelBuilder;
    void BuildGraph();
    NodeIndex FindEntry(std::string_view name) const noexcept;

    std::vector<NodeRecord> m_nodes;
    std::vector<Property> m_properties;
    std::vector<std::int64_t> m_integers;
    std::vector<double> m_floats;
    StringArena m_texts;
    SymbolTable m_symbols;
    DeviceInformation m_device;
    Graph m_graph;
    std::size_t m_textProperties = 0;
};

using ModelPtr = std::shared_ptr<const Model>;
ModelPtr EmptyModel(); ///< without any node

} // namespace GenApi
