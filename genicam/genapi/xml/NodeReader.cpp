#include "genicam/genapi/xml/NodeReader.h"

#include "genicam/genapi/map/LoadLog.h"
#include "genicam/genapi/nodes/TextForms.h"

#include <Base/GCException.h>

#include <cmath>
#include <initializer_list>

namespace GenApi {

namespace {

constexpr std::size_t maxNameBytes = 1024;
constexpr std::size_t maxToldElements = 100;

bool IsSuppressible(PropertyKind kind) noexcept {
    return kind == PropertyKind::ToolTip || kind == PropertyKind::Description || kind == PropertyKind::DisplayName;
}

/// The text inside an element: usually embedded in it by the parser; split by comments and CDATA it is joined.
std::string_view TextOf(const pugi::xml_node& element, std::string& joined) {
    const pugi::xml_node first = element.first_child();
    if (!first) {
        return element.value();
    }
    joined = element.value();
    for (const pugi::xml_node& part : element.children()) {
        if (part.type() == pugi::node_pcdata || part.type() == pugi::node_cdata) {
            joined += part.value();
        }
    }
    return joined;
}

/// Of buses of the past.
bool IsUnserved(NodeKind kind) noexcept {
    return kind == NodeKind::ConfRom || kind == NodeKind::TextDesc || kind == NodeKind::IntKey ||
           kind == NodeKind::AdvFeatureLock || kind == NodeKind::SmartFeature;
}

/// Of each group one property must be there.
struct Requirement {
    std::initializer_list<PropertyKind> anyOf;
};

std::initializer_list<Requirement> RequirementsOf(NodeKind kind) {
    using P = PropertyKind;
    static const std::initializer_list<P> value = {P::Value, P::pValue};
    static const std::initializer_list<P> number = {P::Value, P::pValue, P::pIndex};
    static const std::initializer_list<P> length = {P::Length, P::pLength};
    static const std::initializer_list<P> port = {P::pPort};
    static const std::initializer_list<Requirement> ofNumber = {{number}};
    static const std::initializer_list<Requirement> ofValue = {{value}};
    static const std::initializer_list<Requirement> ofCommand = {{value}, {{P::CommandValue, P::pCommandValue}}};
    static const std::initializer_list<Requirement> ofEntry = {{{P::Value}}};
    static const std::initializer_list<Requirement> ofRegister = {{length}, {port}};
    static const std::initializer_list<Requirement> ofBits = {{length}, {port}, {{P::Bit, P::LSB}}, {{P::Bit, P::MSB}}};
    static const std::initializer_list<Requirement> ofFormula = {{{P::Formula}}};
    static const std::initializer_list<Requirement> ofConverter = {{{P::FormulaTo}}, {{P::FormulaFrom}}, {{P::pValue}}};
    switch (kind) {
    case NodeKind::Integer:
    case NodeKind::Float:
        return ofNumber;
    case NodeKind::Boolean:
    case NodeKind::String:
    case NodeKind::Enumeration:
        return ofValue;
    case NodeKind::Command:
        return ofCommand;
    case NodeKind::EnumEntry:
        return ofEntry;
    case NodeKind::IntReg:
    case NodeKind::FloatReg:
    case NodeKind::StringReg:
    case NodeKind::Register:
        return ofRegister;
    case NodeKind::MaskedIntReg:
    case NodeKind::StructEntry:
        return ofBits;
    case NodeKind::SwissKnife:
    case NodeKind::IntSwissKnife:
        return ofFormula;
    case NodeKind::Converter:
    case NodeKind::IntConverter:
        return ofConverter;
    default:
        return {};
    }
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
    if (!number || !(std::fabs(*number) < 9.0e18) || *number != std::trunc(*number)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(*number);
}

} // namespace

std::string_view LocalName(const pugi::xml_node& element) noexcept {
    const std::string_view name = element.name();
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::uint32_t PositionOf(const pugi::xml_node& element) noexcept {
    // the parser's offset is that of the name, behind the bracket
    const std::ptrdiff_t offset = element.offset_debug();
    return offset > 0 ? static_cast<std::uint32_t>(offset - 1) : 0;
}

NodeReader::NodeReader(ModelBuilder& builder, const SourceText& source, const LoadOptions& options)
    : m_builder(builder), m_source(source), m_options(options) {}

void NodeReader::Read(const pugi::xml_node& element, NodeKind kind) {
    switch (kind) {
    case NodeKind::Unknown:
    case NodeKind::StructEntry:
        ReadIgnored(element, "the file");
        break;
    case NodeKind::Group:
        break;
    case NodeKind::StructReg:
        ReadStructure(element);
        break;
    default:
        if (IsUnserved(kind)) {
            LogLoadInfo(m_source.Describe(PositionOf(element)) + ": nodes of kind '" + std::string(NodeKindName(kind)) +
                        "' are not served and stay not implemented.");
        }
        m_outer.kind = kind;
        m_outer.name = NameAttribute(element, kind);
        ReadNode(element, m_outer);
        CheckRequired(m_outer, Seen());
        m_builder.Finish(m_outer.draft);
        break;
    }
}

void NodeReader::ReadNode(const pugi::xml_node& element, Node& node) {
    node.position = PositionOf(element);
    node.draft.node = m_builder.AddNode(node.kind, node.name);
    if (node.draft.node == NoNode) {
        FailNode(node.name, node.position, "a node of this name stands in the file already");
    }
    node.draft.properties.clear();
    node.draft.positions.clear();
    node.seen.reset();
    if (!node.entryName.empty()) {
        AddProperty(node, PropertyKind::Name, node.entryName, node.position);
    }
    AddAttributes(element, node);
    for (const pugi::xml_node& child : element.children()) {
        ReadChild(child, node);
    }
}

void NodeReader::ReadStructure(const pugi::xml_node& element) {
    Node& structure = m_outer;
    structure.kind = NodeKind::StructReg;
    structure.name = std::string("StructReg ") + element.attribute("Comment").value();
    structure.position = PositionOf(element);
    structure.draft = {};
    structure.seen.reset();
    structure.entries.clear();
    for (const pugi::xml_node& child : element.children()) {
        if (LocalName(child) != "StructEntry") {
            ReadChild(child, structure);
        }
    }
    for (const pugi::xml_node& child : element.children()) {
        if (LocalName(child) == "StructEntry") {
            const std::string name = NameAttribute(child, NodeKind::StructEntry);
            structure.entries.push_back(ReadInner(child, NodeKind::StructEntry, name, structure.seen));
        }
    }
    m_builder.ShareProperties(structure.draft, structure.entries);
}

NodeIndex NodeReader::ReadInner(const pugi::xml_node& element, NodeKind kind, const std::string& name,
                                const Seen& shared) {
    m_inner.kind = kind;
    m_inner.name = name;
    ReadNode(element, m_inner);
    CheckRequired(m_inner, shared);
    m_builder.Finish(m_inner.draft);
    m_inner.entryName.clear();
    return m_inner.draft.node;
}

void NodeReader::ReadChild(const pugi::xml_node& child, Node& node) {
    if (child.type() != pugi::node_element) {
        return;
    }
    const PropertyKind property = FindPropertyKind(LocalName(child));
    if (property == PropertyKind::Extension || ReadNestedNode(child, node, property)) {
        return;
    }
    if (property == PropertyKind::Unknown || IsAttribute(property) || IsItemAttribute(property)) {
        ReadIgnored(child, std::string(NodeKindName(node.kind)) + " '" + node.name + "'");
        return;
    }
    if (m_options.suppressStrings && IsSuppressible(property)) {
        return;
    }
    std::string joined;
    AddProperty(node, property, TextOf(child, joined), PositionOf(child));
    AddPropertyAttributes(child, node, property);
}

bool NodeReader::ReadNestedNode(const pugi::xml_node& child, Node& node, PropertyKind property) {
    if (&node == &m_inner) {
        return false;
    }
    NodeKind kind = NodeKind::Unknown;
    std::string name;
    if (property == PropertyKind::EnumEntry && node.kind == NodeKind::Enumeration) {
        kind = NodeKind::EnumEntry;
        m_inner.entryName = NameAttribute(child, kind);
        name = "EnumEntry_" + node.name + "_" + m_inner.entryName;
    } else if (property == PropertyKind::IntSwissKnife &&
               (IsRegisterKind(node.kind) || node.kind == NodeKind::StructReg || node.kind == NodeKind::ConfRom)) {
        kind = NodeKind::IntSwissKnife;
        name = child.attribute("Name") ? NameAttribute(child, kind) : "_IntSwissKnife_" + std::to_string(++m_anonymous);
    } else if (node.kind == NodeKind::ConfRom && (LocalName(child) == "TextDesc" || LocalName(child) == "IntKey")) {
        kind = FindNodeKind(LocalName(child));
        ReadInner(child, kind, NameAttribute(child, kind), Seen());
        return true;
    } else {
        return false;
    }
    const NodeIndex inner = ReadInner(child, kind, name, Seen());
    Append(node, {property, Form::Node, inner}, PositionOf(child));
    return true;
}

void NodeReader::ReadIgnored(const pugi::xml_node& element, std::string_view where) {
    const std::string name(LocalName(element).substr(0, 64));
    if (m_told.size() < maxToldElements && m_told.insert(name).second) {
        LogLoadWarning(m_source.Describe(PositionOf(element)) + ": element '" + name + "' of " + std::string(where) +
                       " is not known and ignored, here and wherever else it stands.");
    }
}

void NodeReader::AddAttributes(const pugi::xml_node& element, Node& node) {
    for (const pugi::xml_attribute& attribute : element.attributes()) {
        const PropertyKind kind = FindPropertyKind(attribute.name());
        if (IsAttribute(kind)) {
            AddProperty(node, kind, attribute.value(), node.position);
        }
    }
}

void NodeReader::AddPropertyAttributes(const pugi::xml_node& element, Node& node, PropertyKind owner) {
    for (const pugi::xml_attribute& attribute : element.attributes()) {
        const PropertyKind kind = FindPropertyKind(attribute.name());
        const bool belongs = kind == PropertyKind::Name
                                 ? owner == PropertyKind::pVariable || owner == PropertyKind::Constant ||
                                       owner == PropertyKind::Expression
                             : kind == PropertyKind::Offset || kind == PropertyKind::pOffset
                                 ? owner == PropertyKind::pIndex
                                 : kind == PropertyKind::Index &&
                                       (owner == PropertyKind::ValueIndexed || owner == PropertyKind::pValueIndexed);
        if (belongs) {
            AddProperty(node, kind, attribute.value(), PositionOf(element));
        }
    }
}

void NodeReader::AddProperty(Node& node, PropertyKind kind, std::string_view text, std::uint32_t position) {
    Append(node, ParseProperty(node, kind, text, position), position);
}

void NodeReader::Append(Node& node, const Property& property, std::uint32_t position) {
    node.draft.properties.push_back(property);
    node.draft.positions.push_back(position);
    node.seen.set(static_cast<std::size_t>(property.kind));
}

Property NodeReader::ParseProperty(const Node& node, PropertyKind kind, std::string_view text, std::uint32_t position) {
    const Syntax syntax = SyntaxOf(kind, node.kind);
    const std::string_view trimmed = TrimSpace(text);
    switch (syntax) {
    case Syntax::Text:
        return {kind, Form::Text, m_builder.KeepText(kind == PropertyKind::Value ? text : trimmed)};
    case Syntax::Reference:
        if (!trimmed.empty() && trimmed.size() <= maxNameBytes) {
            return {kind, Form::Name, m_builder.Symbolize(trimmed)};
        }
        break;
    case Syntax::Integer:
        if (node.kind == NodeKind::Boolean && (trimmed == "true" || trimmed == "false")) {
            return {kind, Form::Integer, m_builder.KeepInteger(trimmed == "true" ? 1 : 0)};
        }
        if (const auto integer = ParseTolerantInteger(trimmed)) {
            return {kind, Form::Integer, m_builder.KeepInteger(*integer)};
        }
        break;
    case Syntax::Float:
        if (const auto number = ParseFloat(trimmed)) {
            return {kind, Form::Float, m_builder.KeepFloat(*number)};
        }
        break;
    default:
        if (std::uint32_t enumerator = 0; ParseEnumerator(syntax, trimmed, enumerator)) {
            return {kind, Form::Enumerator, enumerator};
        }
        break;
    }
    FailValue(node, kind, position, trimmed);
}

void NodeReader::CheckRequired(const Node& node, const Seen& shared) const {
    for (const Requirement& requirement : RequirementsOf(node.kind)) {
        bool found = false;
        std::string names;
        for (const PropertyKind kind : requirement.anyOf) {
            const auto bit = static_cast<std::size_t>(kind);
            found = found || node.seen.test(bit) || shared.test(bit);
            names += (names.empty() ? "'" : " or '") + std::string(TraitsOf(kind).name) + "'";
        }
        if (!found) {
            FailNode(node.name, node.position, "property " + names + " is missing");
        }
    }
}

std::string NodeReader::NameAttribute(const pugi::xml_node& element, NodeKind kind) const {
    const std::string_view name = TrimSpace(element.attribute("Name").value());
    if (name.empty()) {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: %s: a node of kind '%s' has no property 'Name'.",
                                m_source.Describe(PositionOf(element)).c_str(),
                                std::string(NodeKindName(kind)).c_str());
    }
    if (name.size() > maxNameBytes) {
        FailNode(std::string(name.substr(0, 32)) + "...", PositionOf(element),
                 "property 'Name' has " + std::to_string(name.size()) + " characters, " + std::to_string(maxNameBytes) +
                     " are allowed");
    }
    return std::string(name);
}

void NodeReader::FailValue(const Node& node, PropertyKind kind, std::uint32_t position, std::string_view text) const {
    throw RUNTIME_EXCEPTION("Cannot load the camera description: " + m_source.Describe(position) + ", node '" +
                            node.name + "', property '" + std::string(TraitsOf(kind).name) + "': '" +
                            std::string(text.substr(0, 64)) + "' is not a valid value.");
}

void NodeReader::FailNode(const std::string& name, std::uint32_t position, const std::string& what) const {
    throw RUNTIME_EXCEPTION("Cannot load the camera description: " + m_source.Describe(position) + ", node '" + name +
                            "': " + what + ".");
}

} // namespace GenApi
