// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/xml/NodeReader.h"

#include "genicam/genapi/model/LoadLog.h"
#include "genicam/genapi/model/TextForms.h"

#include <Base/GCException.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace GenApi {

namespace {

constexpr std::size_t kMaxNameBytes = 1024; // no real name is near; Model::FindEntry has room for two on its stack
constexpr std::size_t kMaxTold = 100;       // a broken file must not fill the log

bool IsSuppressible(PropertyKind kind) noexcept {
    return kind == PropertyKind::ToolTip || kind == PropertyKind::Description || kind == PropertyKind::DisplayName;
}

/// Of buses of the past.
bool IsUnserved(NodeKind kind) noexcept {
    return kind == NodeKind::ConfRom || kind == NodeKind::TextDesc || kind == NodeKind::IntKey ||
           kind == NodeKind::AdvFeatureLock || kind == NodeKind::SmartFeature;
}

Syntax SyntaxOf(PropertyKind kind, NodeKind node) noexcept {
    const Syntax syntax = TraitsOf(kind).syntax;
    if (syntax != Syntax::Value) {
        return syntax;
    }
    if (node == NodeKind::String) {
        return Syntax::Text;
    }
    return IsFloatSyntax(node) ? Syntax::Float : Syntax::Integer;
}

/// Some files write whole numbers as floats.
std::optional<std::int64_t> ParseTolerantInteger(std::string_view text) {
    if (const auto integer = ParseInteger(text)) {
        return integer;
    }
    const auto number = ParseFloat(text);
    // below 2^63, which is 9.22e18, so that the cast is defined; written so that NaN fails too
    if (!number || !(std::fabs(*number) < 9.0e18) || *number != std::trunc(*number)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(*number);
}

bool IsNumberList(std::string_view text, NodeKind node) {
    const std::vector<std::string_view> items = SplitList(text);
    return std::all_of(items.begin(), items.end(), [node](std::string_view item) {
        return IsFloatSyntax(node) ? ParseFloat(item).has_value() : ParseInteger(item).has_value();
    });
}

/// The properties that would do, for an error: "'Length' or 'pLength'".
std::string Alternatives(const PropertySet& properties) {
    std::string names;
    for (std::uint8_t i = 0; i < static_cast<std::uint8_t>(PropertyKind::Unknown); ++i) {
        const auto kind = static_cast<PropertyKind>(i);
        if (properties.Has(kind)) {
            names += (names.empty() ? "'" : " or '") + std::string(TraitsOf(kind).name) + "'";
        }
    }
    return names;
}

std::string Quoted(NodeKind kind, std::string_view name) {
    return std::string(NodeKindName(kind)) + " '" + std::string(name) + "'";
}

} // namespace

std::string_view LocalName(std::string_view name) noexcept {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

NodeReader::NodeReader(ModelBuilder& builder, const SourceText& source, const LoadOptions& options)
    : m_builder(builder), m_source(source), m_options(options) {}

void NodeReader::Read(const pugi::xml_node& element, NodeKind kind) {
    switch (kind) {
    case NodeKind::Unknown:
    case NodeKind::StructEntry: // has no register of its own outside of a structure
        Ignore("element", LocalName(element.name()), "the file", "is not known", m_source.TagPosition(element.name()));
        break;
    case NodeKind::Group: // the caller walks into those that hold something
        break;
    case NodeKind::StructReg:
        ReadStructure(element);
        break;
    default:
        m_outer.kind = kind;
        m_outer.name = NameAttribute(element, kind);
        ReadNode(element, m_outer);
        CheckRequired(m_outer, {});
        m_builder.Finish(m_outer.draft);
        break;
    }
}

void NodeReader::ReadNode(const pugi::xml_node& element, Node& node) {
    node.position = m_source.TagPosition(element.name());
    if (IsUnserved(node.kind) && m_told.emplace(NodeKindName(node.kind)).second) {
        LogLoadInfo(m_source.Describe(node.position) + ": nodes of kind '" + std::string(NodeKindName(node.kind)) +
                    "' are not served and stay not implemented.");
    }
    node.draft.node = m_builder.AddNode(node.kind, node.name);
    if (node.draft.node == kNoNode) {
        FailNode(node.name, node.position, "a node of this name stands in the file already");
    }
    // cleared, not made anew: their memory serves the next node
    node.draft.properties.clear();
    node.draft.positions.clear();
    node.seen = {};
    // what the file calls an entry, for its symbolic; the node has a longer name
    if (!node.entryName.empty()) {
        AddProperty(node, PropertyKind::Name, node.entryName, node.position);
    }
    ReadAttributes(element, node);
    ReadChildren(element, node);
}

void NodeReader::ReadChildren(const pugi::xml_node& element, Node& node) {
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element) {
            ReadElement(child, node);
        }
    }
}

void NodeReader::ReadStructure(const pugi::xml_node& element) {
    Node& structure = m_outer;
    structure.kind = NodeKind::StructReg;
    structure.name = element.attribute("Comment").value();
    structure.position = m_source.TagPosition(element.name());
    structure.draft = {};
    structure.seen = {};
    structure.entries.clear();
    // the structure first, then its entries: whether an entry lacks something is seen with what the structure gives it
    ReadChildren(element, structure);
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (LocalName(child.name()) == "StructEntry") {
            const std::string_view name = NameAttribute(child, NodeKind::StructEntry);
            structure.entries.push_back(ReadInner(child, NodeKind::StructEntry, name, structure.seen));
        }
    }
    m_builder.ShareProperties(structure.draft, structure.entries);
}

NodeIndex NodeReader::ReadInner(const pugi::xml_node& element, NodeKind kind, std::string_view name,
                                const PropertySet& shared) {
    m_inner.kind = kind;
    m_inner.name = name;
    ReadNode(element, m_inner);
    CheckRequired(m_inner, shared);
    m_builder.Finish(m_inner.draft);
    m_inner.entryName = {}; // the next inner node may be a formula
    return m_inner.draft.node;
}

void NodeReader::ReadElement(const pugi::xml_node& element, Node& node) {
    const std::string_view written = element.name();
    const std::uint32_t position = m_source.TagPosition(written.data());
    const PropertyKind property = FindPropertyKind(LocalName(written));
    // of two that may not repeat the first counts; Unknown is in no set, so all that is odd goes the same way
    if (!AllowedElements(node.kind).Has(property) || (node.seen.Has(property) && !MayRepeat(property))) {
        ReadOther(element, node, property, position);
    } else if (property == PropertyKind::EnumEntry) {
        ReadEntry(element, node, position);
    } else if (property == PropertyKind::IntSwissKnife) {
        ReadFormula(element, node, position);
    } else if (property != PropertyKind::Extension && !(m_options.suppressStrings && IsSuppressible(property))) {
        ReadProperty(element, node, property, position);
    }
}

void NodeReader::ReadProperty(const pugi::xml_node& element, Node& node, PropertyKind property,
                              std::uint32_t position) {
    // an attribute is kept behind its owner: without it, it would belong to the property before
    if (AddProperty(node, property, TextOf(element), position)) {
        ReadPropertyAttributes(element, node, property, position);
    }
}

void NodeReader::ReadEntry(const pugi::xml_node& element, Node& node, std::uint32_t position) {
    m_inner.entryName = NameAttribute(element, NodeKind::EnumEntry);
    m_composedName.assign("EnumEntry_").append(node.name).append("_").append(m_inner.entryName);
    const NodeIndex entry = ReadInner(element, NodeKind::EnumEntry, m_composedName, {});
    Append(node, {PropertyKind::EnumEntry, Form::Node, entry}, position);
}

void NodeReader::ReadFormula(const pugi::xml_node& element, Node& node, std::uint32_t position) {
    constexpr NodeKind kind = NodeKind::IntSwissKnife;
    // unique by its number, and none that the file gives another node: those begin with a letter
    m_composedName = element.attribute("Name") ? std::string(NameAttribute(element, kind))
                                               : "_IntSwissKnife_" + std::to_string(++m_anonymous);
    const NodeIndex formula = ReadInner(element, kind, m_composedName, {});
    Append(node, {PropertyKind::IntSwissKnife, Form::Node, formula}, position);
}

/// A key of a configuration ROM, written inside it: a node of its own.
void NodeReader::ReadKey(const pugi::xml_node& element, NodeKind kind, const Node& rom) {
    m_inner.kind = kind;
    m_inner.name = NameAttribute(element, kind);
    ReadNode(element, m_inner);
    // as if it stood by itself and referred to its ROM
    AddProperty(m_inner, PropertyKind::p1212Parser, rom.name, m_inner.position);
    AddProperty(m_inner, PropertyKind::Key, TextOf(element), m_inner.position);
    m_builder.Finish(m_inner.draft);
}

void NodeReader::ReadAttributes(const pugi::xml_node& element, Node& node) {
    for (pugi::xml_attribute attribute = element.first_attribute(); attribute; attribute = attribute.next_attribute()) {
        const PropertyKind kind = FindPropertyKind(attribute.name());
        if (IsAttribute(kind) && !node.seen.Has(kind)) {
            AddProperty(node, kind, attribute.value(), node.position);
        } else if (kind != PropertyKind::Name) { // which the caller has read
            IgnoreAttribute(attribute.name(), node, node.position);
        }
    }
}

void NodeReader::ReadPropertyAttributes(const pugi::xml_node& element, Node& node, PropertyKind owner,
                                        std::uint32_t position) {
    PropertySet seen;
    for (pugi::xml_attribute attribute = element.first_attribute(); attribute; attribute = attribute.next_attribute()) {
        const PropertyKind kind = FindPropertyKind(attribute.name());
        if (MayStandAt(kind, owner) && !seen.Has(kind)) {
            seen.Add(kind);
            AddProperty(node, kind, attribute.value(), position);
        } else {
            IgnoreAttribute(attribute.name(), node, position);
        }
    }
    // looked for at the end, as attributes come in any order
    const PropertyKind needed = NeededAttribute(owner);
    if (needed != PropertyKind::Unknown && !seen.Has(needed)) {
        FailProperty(node, owner, position, "attribute '" + std::string(TraitsOf(needed).name) + "' is missing");
    }
}

/// The text inside an element: usually embedded in it by the parser; split by comments and CDATA it is joined.
std::string_view NodeReader::TextOf(const pugi::xml_node& element) {
    pugi::xml_node part = element.first_child();
    if (!part) {
        return element.value(); // the usual case, without a copy
    }
    m_joinedText = element.value();
    for (; part; part = part.next_sibling()) {
        if (part.type() == pugi::node_pcdata || part.type() == pugi::node_cdata) {
            m_joinedText += part.value();
        }
    }
    return m_joinedText;
}

bool NodeReader::AddProperty(Node& node, PropertyKind kind, std::string_view text, std::uint32_t position) {
    if (const auto property = ParseProperty(node, kind, text)) {
        Append(node, *property, position);
        return true;
    }
    const std::string_view trimmed = TrimSpace(text);
    const std::string what = "'" + std::string(trimmed.substr(0, 64)) + "' is not a valid value";
    if (IsRequired(node.kind, kind)) {
        FailProperty(node, kind, position, what);
    }
    // cameras ship with such files, and one word that cannot be read must not keep them from being opened
    IgnoreText(node, kind, position, trimmed.empty() ? "it is empty" : what);
    return false;
}

void NodeReader::Append(Node& node, const Property& property, std::uint32_t position) {
    node.draft.properties.push_back(property);
    node.draft.positions.push_back(position);
    node.seen.Add(property.kind);
}

std::optional<Property> NodeReader::ParseProperty(const Node& node, PropertyKind kind, std::string_view text) {
    const Syntax syntax = SyntaxOf(kind, node.kind);
    const std::string_view trimmed = TrimSpace(text);
    switch (syntax) {
    case Syntax::Text:
        if ((trimmed.empty() && !IsRequired(node.kind, kind)) ||
            (kind == PropertyKind::ValidValueSet && !IsNumberList(trimmed, node.kind))) {
            break;
        }
        // spaces belong to the value of a String, to no other text
        return Property{kind, Form::Text, m_builder.KeepText(kind == PropertyKind::Value ? text : trimmed)};
    case Syntax::Reference:
        if (!trimmed.empty() && trimmed.size() <= kMaxNameBytes) {
            return Property{kind, Form::Name, m_builder.Symbolize(trimmed)}; // the node may stand further down
        }
        break;
    case Syntax::Integer:
        if (node.kind == NodeKind::Boolean && (trimmed == "true" || trimmed == "false")) {
            return Property{kind, Form::Integer, m_builder.KeepInteger(trimmed == "true" ? 1 : 0)};
        }
        if (const auto integer = ParseTolerantInteger(trimmed)) {
            return Property{kind, Form::Integer, m_builder.KeepInteger(*integer)};
        }
        break;
    case Syntax::Float:
        if (const auto number = ParseFloat(trimmed)) {
            return Property{kind, Form::Float, m_builder.KeepFloat(*number)};
        }
        break;
    default:
        if (std::uint32_t enumerator = 0; ParseEnumerator(syntax, trimmed, enumerator)) {
            return Property{kind, Form::Enumerator, enumerator};
        }
        break;
    }
    return std::nullopt;
}

void NodeReader::CheckRequired(const Node& node, const PropertySet& shared) const {
    const PropertySet found = node.seen | shared;
    for (const PropertySet& needed : Requirements(node.kind)) {
        if (!found.Meets(needed)) {
            FailNode(node.name, node.position, "property " + Alternatives(needed) + " is missing");
        }
    }
}

void NodeReader::Ignore(const char* what, std::string_view name, const std::string& where, const char* why,
                        std::uint32_t position) {
    const std::string shown(name.substr(0, 64));
    // by name alone: a vendor's own element stands in thousands of nodes
    if (m_told.size() < kMaxTold && m_told.insert(shown + why).second) {
        LogLoadWarning(m_source.Describe(position) + ": " + what + " '" + shown + "' of " + where + " " + why +
                       " and ignored, here and wherever else it stands.");
    }
}

void NodeReader::IgnoreText(const Node& node, PropertyKind kind, std::uint32_t position, const std::string& what) {
    if (++m_ignoredTexts <= kMaxTold) {
        LogLoadWarning(m_source.Describe(position) + ", node '" + std::string(node.name) + "', property '" +
                       std::string(TraitsOf(kind).name) + "': " + what + "; the property is ignored.");
    }
}

void NodeReader::TellRest() const {
    if (m_ignoredTexts > kMaxTold) {
        LogLoadWarning(std::to_string(m_ignoredTexts - kMaxTold) + " more properties are ignored.");
    }
}

/// What is no property of the node, or not once more.
void NodeReader::ReadOther(const pugi::xml_node& element, Node& node, PropertyKind property, std::uint32_t position) {
    const std::string_view name = LocalName(element.name());
    const NodeKind kind = FindNodeKind(name);
    if (node.kind == NodeKind::StructReg && kind == NodeKind::StructEntry) {
        return; // read once the structure's own properties are known
    }
    if (node.kind == NodeKind::ConfRom && (kind == NodeKind::TextDesc || kind == NodeKind::IntKey)) {
        ReadKey(element, kind, node);
        return;
    }
    const bool isKnown = property != PropertyKind::Unknown && !IsAttribute(property) && !IsItemAttribute(property);
    const char* const why = !isKnown                                   ? "is not known"
                            : AllowedElements(node.kind).Has(property) ? "stands there a second time"
                                                                       : "may not stand there";
    Ignore("element", name, Quoted(node.kind, node.name), why, position);
}

/// Attributes of other name spaces are none of ours.
void NodeReader::IgnoreAttribute(std::string_view name, const Node& node, std::uint32_t position) {
    if (name.find(':') == std::string_view::npos && name != "xmlns" && name != "Comment") {
        Ignore("attribute", name, Quoted(node.kind, node.name), "is not known", position);
    }
}

std::string_view NodeReader::NameAttribute(const pugi::xml_node& element, NodeKind kind) const {
    const std::string_view name = TrimSpace(element.attribute("Name").value());
    if (name.empty()) {
        Fail(m_source.TagPosition(element.name()),
             "a node of kind '" + std::string(NodeKindName(kind)) + "' has no property 'Name'");
    }
    if (name.size() > kMaxNameBytes) {
        FailNode(std::string(name.substr(0, 32)) + "...", m_source.TagPosition(element.name()),
                 "property 'Name' has " + std::to_string(name.size()) + " characters, " +
                     std::to_string(kMaxNameBytes) + " are allowed");
    }
    return name;
}

void NodeReader::FailProperty(const Node& node, PropertyKind kind, std::uint32_t position,
                              const std::string& what) const {
    Fail(position,
         "node '" + std::string(node.name) + "', property '" + std::string(TraitsOf(kind).name) + "': " + what);
}

void NodeReader::FailNode(std::string_view name, std::uint32_t position, const std::string& what) const {
    Fail(position, "node '" + std::string(name) + "': " + what);
}

void NodeReader::Fail(std::uint32_t position, const std::string& what) const {
    throw RUNTIME_EXCEPTION("Cannot load the camera description: " + m_source.Describe(position) + ", " + what + ".");
}

} // namespace GenApi
