#pragma once

#include "genicam/genapi/map/ModelBuilder.h"
#include "genicam/genapi/xml/Loader.h"
#include "genicam/genapi/xml/SourceText.h"

#include <pugixml.hpp>

#include <bitset>
#include <set>
#include <string>

namespace GenApi {

std::string_view LocalName(const pugi::xml_node& element) noexcept; ///< without a namespace prefix
std::uint32_t PositionOf(const pugi::xml_node& element) noexcept;

/// Turns node elements into records and properties of the builder. What is written inside another node (entries,
/// structure entries, formulas of addresses) becomes a node of its own; nothing nests deeper than that.
/// Borrows: builder and source, which outlive it.
class NodeReader {
public:
    NodeReader(ModelBuilder& builder, const SourceText& source, const LoadOptions& options);

    void Read(const pugi::xml_node& element, NodeKind kind);

private:
    using Seen = std::bitset<static_cast<std::size_t>(PropertyKind::Unknown) + 1>;

    /// A node while its element is read.
    struct Node {
        NodeKind kind = NodeKind::Unknown;
        std::string name;
        std::string entryName; ///< of an entry inside its enumeration: what the file calls it
        ModelBuilder::Draft draft;
        Seen seen;
        std::uint32_t position = 0;
        std::vector<NodeIndex> entries; ///< of a structure
    };

    void ReadNode(const pugi::xml_node& element, Node& node);
    void ReadStructure(const pugi::xml_node& element);
    void ReadChild(const pugi::xml_node& child, Node& node);
    bool ReadNestedNode(const pugi::xml_node& child, Node& node, PropertyKind property);
    NodeIndex ReadInner(const pugi::xml_node& element, NodeKind kind, const std::string& name, const Seen& shared);
    void ReadIgnored(const pugi::xml_node& element, std::string_view where);

    void AddAttributes(const pugi::xml_node& element, Node& node);
    void AddProperty(Node& node, PropertyKind kind, std::string_view text, std::uint32_t position);
    void AddPropertyAttributes(const pugi::xml_node& element, Node& node, PropertyKind owner);
    Property ParseProperty(const Node& node, PropertyKind kind, std::string_view text, std::uint32_t position);
    void Append(Node& node, const Property& property, std::uint32_t position);
    void CheckRequired(const Node& node, const Seen& shared) const;

    std::string NameAttribute(const pugi::xml_node& element, NodeKind kind) const;
    [[noreturn]] void FailValue(const Node& node, PropertyKind kind, std::uint32_t position,
                                std::string_view text) const;
    [[noreturn]] void FailNode(const std::string& name, std::uint32_t position, const std::string& what) const;

    ModelBuilder& m_builder;
    const SourceText& m_source;
    const LoadOptions m_options;
    Node m_outer; // reused, so that reading a node allocates little
    Node m_inner;
    std::set<std::string> m_told; // unknown elements are told once each
    std::uint32_t m_anonymous = 0;
};

} // namespace GenApi
