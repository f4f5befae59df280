// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/ModelBuilder.h"
#include "genicam/genapi/xml/Loader.h"
#include "genicam/genapi/xml/Schema.h"
#include "genicam/genapi/xml/SourceText.h"

#include <pugixml.hpp>

#include <optional>
#include <set>
#include <string>

namespace GenApi {

std::string_view LocalName(std::string_view name) noexcept; ///< without a namespace prefix

/// Turns node elements into records and properties of the builder. What is written inside another node (entries,
/// structure entries, formulas of addresses) becomes a node of its own; nothing nests deeper than that.
/// Borrows: builder and source, which outlive it.
class NodeReader {
public:
    NodeReader(ModelBuilder& builder, const SourceText& source, const LoadOptions& options);

    void Read(const pugi::xml_node& element, NodeKind kind);
    void TellRest() const; ///< how many ignored texts were not told one by one; called once all is read

private:
    /// A node while its element is read.
    struct Node {
        NodeKind kind = NodeKind::Unknown;
        std::string_view name;      ///< of the parsed text, or of m_composedName
        std::string_view entryName; ///< of an entry inside its enumeration: what the file calls it
        ModelBuilder::Draft draft;
        PropertySet seen;
        std::uint32_t position = 0;
        std::vector<NodeIndex> entries; ///< of a structure
    };

    void ReadNode(const pugi::xml_node& element, Node& node);
    void ReadChildren(const pugi::xml_node& element, Node& node);
    void ReadStructure(const pugi::xml_node& element);
    void ReadElement(const pugi::xml_node& element, Node& node);
    void ReadProperty(const pugi::xml_node& element, Node& node, PropertyKind property, std::uint32_t position);
    void ReadEntry(const pugi::xml_node& element, Node& node, std::uint32_t position);
    void ReadFormula(const pugi::xml_node& element, Node& node, std::uint32_t position);
    void ReadKey(const pugi::xml_node& element, NodeKind kind, const Node& rom);
    void ReadOther(const pugi::xml_node& element, Node& node, PropertyKind property, std::uint32_t position);
    NodeIndex ReadInner(const pugi::xml_node& element, NodeKind kind, std::string_view name, const PropertySet& shared);
    void ReadAttributes(const pugi::xml_node& element, Node& node);
    void ReadPropertyAttributes(const pugi::xml_node& element, Node& node, PropertyKind owner, std::uint32_t position);
    std::string_view TextOf(const pugi::xml_node& element);

    /// @return false if the property is ignored, as its text is no value of it and the node can do without
    bool AddProperty(Node& node, PropertyKind kind, std::string_view text, std::uint32_t position);
    std::optional<Property> ParseProperty(const Node& node, PropertyKind kind, std::string_view text);
    void Append(Node& node, const Property& property, std::uint32_t position);
    void CheckRequired(const Node& node, const PropertySet& shared) const;

    void Ignore(const char* what, std::string_view name, const std::string& where, const char* why,
                std::uint32_t position);
    void IgnoreText(const Node& node, PropertyKind kind, std::uint32_t position, const std::string& what);
    void IgnoreAttribute(std::string_view name, const Node& node, std::uint32_t position);

    std::string_view NameAttribute(const pugi::xml_node& element, NodeKind kind) const;
    [[noreturn]] void FailProperty(const Node& node, PropertyKind kind, std::uint32_t position,
                                   const std::string& what) const;
    [[noreturn]] void FailNode(std::string_view name, std::uint32_t position, const std::string& what) const;
    [[noreturn]] void Fail(std::uint32_t position, const std::string& what) const;

    ModelBuilder& m_builder;
    const SourceText& m_source;
    const LoadOptions m_options;
    Node m_outer; // reused, so that reading a node allocates little
    Node m_inner;
    std::string m_composedName;
    std::string m_joinedText;
    std::set<std::string> m_told;   // elements and attributes that are ignored are told once each
    std::size_t m_ignoredTexts = 0; // of properties
    std::uint32_t m_anonymous = 0;
};

} // namespace GenApi
