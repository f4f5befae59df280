// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/Kinds.h"

#include "genicam/genapi/model/NameHash.h"

#include <GenApi/Types.h>

#include <array>
#include <span>

namespace GenApi {

namespace {

constexpr std::array<std::string_view, static_cast<std::size_t>(NodeKind::Unknown)> kNodeNames = {
    "Node",     "Category",   "Integer",        "IntReg",       "MaskedIntReg", "StructEntry", "Boolean",
    "Command",  "Float",      "FloatReg",       "Enumeration",  "EnumEntry",    "String",      "StringReg",
    "Register", "SwissKnife", "IntSwissKnife",  "Converter",    "IntConverter", "Port",        "ConfRom",
    "TextDesc", "IntKey",     "AdvFeatureLock", "SmartFeature", "StructReg",    "Group"};

constexpr std::array<PropertyTraits, static_cast<std::size_t>(PropertyKind::Unknown)> kProperties = {{
#define GENAPI_PROPERTY_ROW(name, syntax, target, edges) {#name, Syntax::syntax, Target::target, edges},
    GENAPI_PROPERTIES(GENAPI_PROPERTY_ROW)
#undef GENAPI_PROPERTY_ROW
}};

/// A fixed open-addressing table from names to small numbers; made once, read by all loaders.
class WordTable {
public:
    void Add(std::string_view word, std::uint8_t number) noexcept {
        std::size_t slot = HashName(word, {}) % m_slots.size();
        while (!m_slots[slot].word.empty()) {
            slot = (slot + 1) % m_slots.size();
        }
        m_slots[slot] = {word, number};
    }

    std::uint8_t Find(std::string_view word, std::uint8_t missing) const noexcept {
        std::size_t slot = HashName(word, {}) % m_slots.size();
        while (!m_slots[slot].word.empty()) {
            if (m_slots[slot].word == word) {
                return m_slots[slot].number;
            }
            slot = (slot + 1) % m_slots.size();
        }
        return missing;
    }

private:
    struct Slot {
        std::string_view word;
        std::uint8_t number = 0;
    };
    std::array<Slot, 512> m_slots{};
};

WordTable MakeNodeWords() {
    WordTable words;
    for (std::size_t i = 0; i < kNodeNames.size(); ++i) {
        words.Add(kNodeNames[i], static_cast<std::uint8_t>(i));
    }
    return words;
}

WordTable MakePropertyWords() {
    WordTable words;
    for (std::size_t i = 0; i < kProperties.size(); ++i) {
        words.Add(kProperties[i].name, static_cast<std::uint8_t>(i));
    }
    return words;
}

struct Enumerator {
    std::string_view name;
    std::uint32_t value;
};

constexpr Enumerator kYesNo[] = {{"Yes", Yes}, {"No", No}, {"true", Yes}, {"false", No}, {"1", Yes}, {"0", No}};
constexpr Enumerator kAccessModes[] = {{"RO", RO}, {"RW", RW}, {"WO", WO}, {"NA", NA}, {"NI", NI}};
constexpr Enumerator kVisibilities[] = {
    {"Beginner", Beginner}, {"Expert", Expert}, {"Guru", Guru}, {"Invisible", Invisible}};
constexpr Enumerator kCachingModes[] = {
    {"NoCache", NoCache}, {"WriteThrough", WriteThrough}, {"WriteAround", WriteAround}};
constexpr Enumerator kSigns[] = {{"Signed", Signed}, {"Unsigned", Unsigned}};
constexpr Enumerator kEndianesses[] = {{"LittleEndian", LittleEndian}, {"BigEndian", BigEndian}};
constexpr Enumerator kRepresentations[] = {
    {"Linear", Linear},       {"Logarithmic", Logarithmic}, {"Boolean", Boolean},      {"PureNumber", PureNumber},
    {"HexNumber", HexNumber}, {"IPV4Address", IPV4Address}, {"MACAddress", MACAddress}};
constexpr Enumerator kSlopes[] = {
    {"Increasing", Increasing}, {"Decreasing", Decreasing}, {"Varying", Varying}, {"Automatic", Automatic}};
constexpr Enumerator kNotations[] = {{"Automatic", fnAutomatic}, {"Fixed", fnFixed}, {"Scientific", fnScientific}};
constexpr Enumerator kNameSpaces[] = {{"Custom", Custom}, {"Standard", Standard}};

std::span<const Enumerator> EnumeratorsOf(Syntax syntax) noexcept {
    switch (syntax) {
    case Syntax::YesNo:
        return kYesNo;
    case Syntax::AccessMode:
        return kAccessModes;
    case Syntax::Visibility:
        return kVisibilities;
    case Syntax::CachingMode:
        return kCachingModes;
    case Syntax::Sign:
        return kSigns;
    case Syntax::Endianess:
        return kEndianesses;
    case Syntax::Representation:
        return kRepresentations;
    case Syntax::Slope:
        return kSlopes;
    case Syntax::DisplayNotation:
        return kNotations;
    case Syntax::NameSpace:
        return kNameSpaces;
    default:
        return {};
    }
}

} // namespace

std::string_view NodeKindName(NodeKind kind) noexcept {
    return kind < NodeKind::Unknown ? kNodeNames[static_cast<std::size_t>(kind)] : std::string_view("Unknown");
}

NodeKind FindNodeKind(std::string_view element) noexcept {
    static const WordTable kWords = MakeNodeWords();
    return static_cast<NodeKind>(kWords.Find(element, static_cast<std::uint8_t>(NodeKind::Unknown)));
}

const PropertyTraits& TraitsOf(PropertyKind kind) noexcept {
    return kProperties[static_cast<std::size_t>(kind)];
}

PropertyKind FindPropertyKind(std::string_view element) noexcept {
    static const WordTable kWords = MakePropertyWords();
    return static_cast<PropertyKind>(kWords.Find(element, static_cast<std::uint8_t>(PropertyKind::Unknown)));
}

bool IsAttribute(PropertyKind kind) noexcept {
    return kind == PropertyKind::NameSpace || kind == PropertyKind::MergePriority || kind == PropertyKind::ExposeStatic;
}

bool IsItemAttribute(PropertyKind kind) noexcept {
    return kind == PropertyKind::Index || kind == PropertyKind::Name || kind == PropertyKind::Offset ||
           kind == PropertyKind::pOffset;
}

bool IsFloatSyntax(NodeKind kind) noexcept {
    return kind == NodeKind::Float || kind == NodeKind::SwissKnife || kind == NodeKind::Converter;
}

bool Accepts(Target target, NodeKind kind) noexcept {
    switch (target) {
    case Target::None:
        return false;
    case Target::Any:
        return true;
    case Target::Port:
        return kind == NodeKind::Port;
    case Target::Enumeration:
        return kind == NodeKind::Enumeration;
    case Target::Entry:
        return kind == NodeKind::EnumEntry;
    case Target::Text:
        return kind == NodeKind::String || kind == NodeKind::StringReg || kind == NodeKind::TextDesc;
    case Target::Number:
        break;
    }
    switch (kind) {
    case NodeKind::Node:
    case NodeKind::Category:
    case NodeKind::Command:
    case NodeKind::String:
    case NodeKind::StringReg:
    case NodeKind::Register:
    case NodeKind::Port:
    case NodeKind::ConfRom:
    case NodeKind::TextDesc:
        return false;
    default:
        return true;
    }
}

bool ParseEnumerator(Syntax syntax, std::string_view text, std::uint32_t& value) noexcept {
    for (const Enumerator& enumerator : EnumeratorsOf(syntax)) {
        if (enumerator.name == text) {
            value = enumerator.value;
            return true;
        }
    }
    return false;
}

std::string_view EnumeratorName(Syntax syntax, std::uint32_t value) noexcept {
    for (const Enumerator& enumerator : EnumeratorsOf(syntax)) {
        if (enumerator.value == value) {
            return enumerator.name;
        }
    }
    return {};
}

} // namespace GenApi
