// SPDX-License-Identifier: Apache-2.0
#include "NodeFields.h"

#include <GenApi/EnumClasses.h>
#include <GenApi/GenApi.h>

#include <string_view>

namespace tool {
namespace {

using namespace GenApi;
using GenICam::GenericException;

template <class Values, class Convert>
Json ToArray(const Values& values, Convert convert) {
    Json array = Json::array();
    for (std::size_t i = 0; i < values.size(); ++i) {
        array.push_back(convert(values[i]));
    }
    return array.empty() ? Json() : array;
}

Json FromInteger(std::int64_t value) {
    return JsonInteger(value);
}

/// The node that raised @p error, which its description does not tell; empty for errors of other origin.
std::string_view FindOrigin(const GenericException& error) {
    constexpr std::string_view before = "thrown in node '";
    const std::string_view text = error.what();
    const std::size_t begin = text.rfind(before);
    if (begin == std::string_view::npos) {
        return {};
    }
    const std::string_view rest = text.substr(begin + before.size());
    return rest.substr(0, rest.find('\''));
}

/// The value as a number, of what has one.
Json ReadNumber(INode& node) {
    if (auto* integer = dynamic_cast<IInteger*>(&node)) {
        return FromInteger(integer->GetValue());
    }
    if (auto* number = dynamic_cast<IFloat*>(&node)) {
        return JsonNumber(number->GetValue());
    }
    if (auto* enumeration = dynamic_cast<IEnumeration*>(&node)) {
        return FromInteger(enumeration->GetIntValue());
    }
    if (auto* entry = dynamic_cast<IEnumEntry*>(&node)) {
        return FromInteger(entry->GetValue());
    }
    return {};
}

std::string ReadText(IValue& value) {
    constexpr std::size_t mostShown = 4096; // registers may have many megabytes
    std::string text = value.ToString().c_str();
    if (text.size() > mostShown) {
        text.resize(mostShown);
        text += "...";
    }
    return text;
}

/// Whether numbers are told as such: the other ones are told by a name or by an address.
bool ShowsNumber(INode& node) {
    auto* integer = dynamic_cast<IInteger*>(&node);
    return integer != nullptr ? IsPlainNumber(*integer) : dynamic_cast<IFloat*>(&node) != nullptr;
}

/// A number that cannot be read stands as the error of the value: the text would fail for the same cause.
void TakeValue(INode& node, FieldCollector& fields) {
    auto* value = dynamic_cast<IValue*>(&node);
    if (value == nullptr) {
        return;
    }
    if (auto* boolean = dynamic_cast<IBoolean*>(&node)) {
        fields.Take("value", [&] { return Json(boolean->GetValue()); });
        return;
    }
    Json number;
    if (!fields.Take("value", [&] { return number = ReadNumber(node), ShowsNumber(node) ? number : Json(); })) {
        return;
    }
    if (!ShowsNumber(node)) {
        fields.Take("value", [&] { return Json(ReadText(*value)); });
        fields.Take("number", [&] { return number; });
    } else if (number.is_number_integer()) {
        fields.Take("text", [&] {
            const std::string text = ReadText(*value);
            return text == number.dump() ? Json() : Json(text);
        });
    }
}

Json ReadUnit(INode& node) {
    auto* integer = dynamic_cast<IInteger*>(&node);
    auto* number = dynamic_cast<IFloat*>(&node);
    const gcstring unit = integer != nullptr ? integer->GetUnit() : number != nullptr ? number->GetUnit() : gcstring();
    return unit.empty() ? Json() : Json(unit.c_str());
}

} // namespace

void ForEachLimit(INode& node, const FieldTaker& take) {
    if (auto* integer = dynamic_cast<IInteger*>(&node)) {
        take("min", [&] { return FromInteger(integer->GetMin()); });
        take("max", [&] { return FromInteger(integer->GetMax()); });
        take("step", [&] { return FromInteger(integer->GetInc()); });
        take("valid_values", [&] { return ToArray(integer->GetListOfValidValues(), FromInteger); });
    } else if (auto* number = dynamic_cast<IFloat*>(&node)) {
        take("min", [&] { return JsonNumber(number->GetMin()); });
        take("max", [&] { return JsonNumber(number->GetMax()); });
        take("step", [&] { return number->HasInc() ? JsonNumber(number->GetInc()) : Json(); });
        take("valid_values", [&] { return ToArray(number->GetListOfValidValues(), JsonNumber); });
    } else if (auto* text = dynamic_cast<IString*>(&node)) {
        take("max_length", [&] { return FromInteger(text->GetMaxLength()); });
    } else if (auto* bytes = dynamic_cast<IRegister*>(&node)) {
        take("length_bytes", [&] { return FromInteger(bytes->GetLength()); });
    }
}

bool IsPlainNumber(IInteger& integer) {
    const ERepresentation representation = integer.GetRepresentation();
    return representation != IPV4Address && representation != MACAddress;
}

std::string GetKind(INode& node) {
    gcstring kind;
    gcstring attribute;
    node.GetProperty("Element", kind, attribute);
    return kind.c_str();
}

std::string GetVisibilityName(const INode& node) {
    return EVisibilityClass::ToString(node.GetVisibility()).c_str();
}

std::vector<std::string> AllEntries(IEnumeration& enumeration) {
    GenICam::gcstring_vector symbolics;
    enumeration.GetSymbolics(symbolics);
    std::vector<std::string> names;
    for (const gcstring& symbolic : symbolics) {
        names.emplace_back(symbolic.c_str());
    }
    return names;
}

std::vector<std::string> AvailableEntries(IEnumeration& enumeration) {
    NodeList_t nodes;
    enumeration.GetEntries(nodes);
    std::vector<std::string> names;
    for (INode* node : nodes) {
        auto* entry = dynamic_cast<IEnumEntry*>(node);
        if (entry != nullptr && IsAvailable(entry->GetAccessMode())) {
            names.emplace_back(entry->GetSymbolic().c_str());
        }
    }
    return names;
}

FieldCollector::FieldCollector(INode& node)
    : m_node(node), m_fields({{"name", node.GetName().c_str()}, {"kind", GetKind(node)}}) {}

bool FieldCollector::Take(const char* name, const std::function<Json()>& read) {
    try {
        if (Json value = read(); !value.is_null()) {
            m_fields[name] = std::move(value);
        }
        return true;
    } catch (const GenericException& error) {
        const std::string_view origin = FindOrigin(error);
        const bool isElsewhere = !origin.empty() && origin != m_node.GetName().c_str();
        m_errors[name] = std::string(error.GetDescription()) +
                         (isElsewhere ? " (in node '" + std::string(origin) + "')" : std::string());
    } catch (const std::exception& error) {
        m_errors[name] = error.what();
    }
    return false;
}

Json FieldCollector::Finish() {
    if (!m_errors.empty()) {
        m_fields["errors"] = std::move(m_errors);
    }
    return std::move(m_fields);
}

Json ReadNode(INode& node) {
    FieldCollector fields(node);
    EAccessMode mode = NI;
    fields.Take("access", [&] {
        mode = node.GetAccessMode();
        return Json(EAccessModeClass::ToString(mode).c_str());
    });
    fields.Take("visibility", [&] { return Json(GetVisibilityName(node)); });
    fields.Take("unit", [&] { return ReadUnit(node); });
    if (IsReadable(mode)) {
        TakeValue(node, fields);
    }
    if (IsAvailable(mode)) {
        ForEachLimit(node, [&](const char* name, const auto& read) { fields.Take(name, read); });
    }
    if (auto* enumeration = dynamic_cast<IEnumeration*>(&node)) {
        fields.Take("entries", [&] { return Json(AllEntries(*enumeration)); });
    }
    return fields.Finish();
}

} // namespace tool
