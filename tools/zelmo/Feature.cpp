// SPDX-License-Identifier: Apache-2.0
#include "Feature.h"

#include "Errors.h"
#include "NodeFields.h"
#include "Output.h"
#include "Suggestions.h"

#include <GenApi/EnumClasses.h>
#include <GenApi/GenApi.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <thread>

namespace tool {
namespace {

using namespace GenApi;
using GenICam::GenericException;

/// As many digits as it takes to read the same value back.
std::string Shortest(double value) {
    char text[64];
    const double size = std::abs(value);
    const bool plain = value == 0 || (size >= 1e-4 && size < 1e15); // else the digits would be mostly zeros
    const auto format = plain ? std::chars_format::fixed : std::chars_format::scientific;
    return {text, std::to_chars(text, text + sizeof(text), value, format).ptr};
}

/// Decimal with sign or 0x..., the whole text; nothing for other texts and for what 64 bits cannot hold.
std::optional<std::int64_t> ParseInteger(const std::string& text) {
    const char* end = text.data() + text.size();
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        std::uint64_t bits = 0;
        const auto hex = std::from_chars(text.data() + 2, end, bits, 16);
        return hex.ec == std::errc() && hex.ptr == end ? std::optional(static_cast<std::int64_t>(bits)) : std::nullopt;
    }
    std::int64_t value = 0;
    const bool plus = !text.empty() && text[0] == '+';
    const auto decimal = std::from_chars(text.data() + (plus ? 1 : 0), end, value);
    return decimal.ec == std::errc() && decimal.ptr == end ? std::optional(value) : std::nullopt;
}

std::optional<double> ParseFloat(const std::string& text) {
    const char* end = text.data() + text.size();
    double value = 0;
    const bool plus = !text.empty() && text[0] == '+';
    const auto result = std::from_chars(text.data() + (plus ? 1 : 0), end, value);
    return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

std::optional<bool> ParseBoolean(const std::string& text) {
    static const std::pair<const char*, bool> kWords[] = {
        {"1", true},      {"0", false},  {"true", true}, {"false", false}, {"True", true},
        {"False", false}, {"Yes", true}, {"No", false},  {"On", true},     {"Off", false},
    };
    for (const auto& [word, value] : kWords) {
        if (text == word) {
            return value;
        }
    }
    return std::nullopt;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

std::string StepText(std::int64_t step) {
    return step == 1 ? "" : " (step " + std::to_string(step) + ")";
}

const char* ExplainAccessMode(EAccessMode mode) {
    switch (mode) {
    case NI:
        return "it is not implemented";
    case NA:
        return "it is not available now; another feature switches it on";
    case RO:
        return "it is read-only, or locked by another setting or while images are grabbed";
    case WO:
        return "it is write-only";
    default:
        return "its access mode is not known";
    }
}

/// Runs @p action and turns what the library raises into an error on feature @p name.
template <class Action>
auto OnFeature(const std::string& name, const std::string& attempted, const std::string& camera, Action action) {
    try {
        return action();
    } catch (const GenericException& error) {
        const ToolError failure = FromLibrary(error, name + ": " + attempted + " on camera " + camera);
        const bool refused = dynamic_cast<const GenICam::OutOfRangeException*>(&error) != nullptr ||
                             dynamic_cast<const GenICam::InvalidArgumentException*>(&error) != nullptr;
        if (refused) {
            throw FeatureError(name, "value_refused", failure.what());
        }
        if (failure.GetExitCode() == ExitCode::Access) {
            throw FeatureError(name, "not_available", failure.what());
        }
        throw ToolError(failure.GetExitCode(), failure.GetCode(), failure.what(), name);
    }
}

void CollectNames(INodeMap& nodeMap, std::vector<std::string>& names) {
    NodeList_t nodes;
    nodeMap.GetNodes(nodes);
    for (INode* node : nodes) {
        if (node->IsFeature() && node->GetPrincipalInterfaceType() != intfICategory) {
            names.emplace_back(node->GetName().c_str());
        }
    }
}

} // namespace

Feature::Feature(INode& node, std::string camera) : m_node(&node), m_camera(std::move(camera)) {}

Feature Feature::FindAny(INodeMap& nodeMap, const std::string& name, const std::string& camera) {
    INode* node = nodeMap.GetNode(name.c_str());
    if (node == nullptr) {
        std::vector<std::string> names;
        CollectNames(nodeMap, names);
        throw FeatureError(name, "unknown_feature",
                           name + ": camera " + camera + " has no such feature" + DidYouMean(name, names) +
                               "; 'zelmo features' lists all");
    }
    return {*node, camera};
}

Feature Feature::Find(INodeMap& nodeMap, const std::string& name, const std::string& camera) {
    const Feature feature = FindAny(nodeMap, name, camera);
    INode& node = feature.GetNode();
    if (dynamic_cast<IValue*>(&node) == nullptr || node.GetPrincipalInterfaceType() == intfICategory) {
        throw FeatureError(name, "no_value",
                           name + " on camera " + camera + " has no value of its own; it is a " + feature.GetType());
    }
    return feature;
}

std::string Feature::GetName() const {
    return m_node->GetName().c_str();
}

std::string Feature::GetType() const {
    switch (m_node->GetPrincipalInterfaceType()) {
    case intfIInteger:
        return "integer";
    case intfIBoolean:
        return "boolean";
    case intfICommand:
        return "command";
    case intfIFloat:
        return "float";
    case intfIString:
        return "string";
    case intfIRegister:
        return "register";
    case intfICategory:
        return "category";
    case intfIEnumeration:
        return "enumeration";
    case intfIEnumEntry:
        return "entry of an enumeration";
    case intfIPort:
        return "port";
    default:
        return "node";
    }
}

EAccessMode Feature::GetMode() const {
    return OnFeature(GetName(), "reading the access", m_camera, [this] { return m_node->GetAccessMode(); });
}

std::string Feature::GetAccess() const {
    return EAccessModeClass::ToString(GetMode()).c_str();
}

std::string Feature::GetUnit() const {
    if (auto* integer = dynamic_cast<IInteger*>(m_node)) {
        return integer->GetUnit().c_str();
    }
    if (auto* number = dynamic_cast<IFloat*>(m_node)) {
        return number->GetUnit().c_str();
    }
    return {};
}

std::string Feature::GetLimits() const {
    return OnFeature(GetName(), "reading the limits", m_camera, [this]() -> std::string {
        if (auto* integer = dynamic_cast<IInteger*>(m_node)) {
            const std::int64_t step = integer->GetInc();
            return std::to_string(integer->GetMin()) + " to " + std::to_string(integer->GetMax()) +
                   (step == 1 ? "" : " in steps of " + std::to_string(step));
        }
        if (auto* number = dynamic_cast<IFloat*>(m_node)) {
            return Shortest(number->GetMin()) + " to " + Shortest(number->GetMax()) +
                   (number->HasInc() ? " in steps of " + Shortest(number->GetInc()) : "");
        }
        if (auto* enumeration = dynamic_cast<IEnumeration*>(m_node)) {
            return Joined(AvailableEntries(*enumeration));
        }
        if (auto* text = dynamic_cast<IString*>(m_node)) {
            return "at most " + std::to_string(text->GetMaxLength()) + " characters";
        }
        return {};
    });
}

bool Feature::IsReadable() const {
    return GenApi::IsReadable(GetMode());
}

IValue& Feature::Value() const {
    return dynamic_cast<IValue&>(*m_node);
}

std::string Feature::GetText() const {
    if (m_node->GetPrincipalInterfaceType() == intfICommand) {
        throw FeatureError(GetName(), "no_value", GetName() + " is a command: it has no value, 'zelmo exec' runs it");
    }
    if (!IsReadable()) {
        throw NotAccessible("read");
    }
    return OnFeature(GetName(), "reading", m_camera, [this]() -> std::string {
        if (auto* number = dynamic_cast<IFloat*>(m_node)) {
            return Shortest(number->GetValue()); // to the last digit: what is read can be written back unchanged
        }
        return Value().ToString().c_str();
    });
}

Json Feature::GetValue() const {
    const std::string text = GetText();
    return OnFeature(GetName(), "reading", m_camera, [&]() -> Json {
        auto* integer = dynamic_cast<IInteger*>(m_node);
        if (integer != nullptr && IsPlainNumber(*integer)) {
            return JsonInteger(std::int64_t{integer->GetValue()});
        }
        if (auto* number = dynamic_cast<IFloat*>(m_node)) {
            return JsonNumber(number->GetValue());
        }
        if (auto* boolean = dynamic_cast<IBoolean*>(m_node)) {
            return boolean->GetValue();
        }
        return text;
    });
}

Json Feature::ToJson(const std::string& text) const {
    if (auto* integer = dynamic_cast<IInteger*>(m_node); integer != nullptr && IsPlainNumber(*integer)) {
        const auto value = ParseInteger(text);
        return value ? JsonInteger(*value) : Json(text);
    }
    if (dynamic_cast<IFloat*>(m_node) != nullptr) {
        const auto value = ParseFloat(text);
        return value ? JsonNumber(*value) : Json(text);
    }
    if (dynamic_cast<IBoolean*>(m_node) != nullptr) {
        const auto value = ParseBoolean(text);
        return value ? Json(*value) : Json(text);
    }
    return text;
}

void Feature::AddLimits(Json& json) const {
    ForEachLimit(*m_node, [&](const char* name, const auto& read) {
        if (Json value = read(); !value.is_null()) {
            json[name] = std::move(value);
        }
    });
    if (auto* enumeration = dynamic_cast<IEnumeration*>(m_node)) {
        json["entries"] = AvailableEntries(*enumeration);
    }
}

Json Feature::GetDescription(bool withValues) const {
    Json json = {{"name", GetName()}, {"type", GetType()}, {"access", GetAccess()}};
    if (!withValues) {
        return json;
    }
    if (const std::string unit = GetUnit(); !unit.empty()) {
        json["unit"] = unit;
    }
    if (GenApi::IsAvailable(GetMode())) {
        OnFeature(GetName(), "reading the limits", m_camera, [&] { AddLimits(json); });
    }
    if (IsReadable() && m_node->GetPrincipalInterfaceType() != intfICommand) {
        json["value"] = GetValue();
    }
    return json;
}

ToolError Feature::NotAccessible(const std::string& how) const {
    return FeatureError(GetName(), "not_available",
                        GetName() + ": it cannot be " + how + " on camera " + m_camera + ": " +
                            ExplainAccessMode(GetMode()));
}

ToolError Feature::Refuse(const std::string& why, const std::string& permitted) const {
    return FeatureError(GetName(), "value_refused",
                        GetName() + ": " + why + " on camera " + m_camera + (permitted.empty() ? "" : "; permitted: ") +
                            permitted);
}

void Feature::RequireWritable() const {
    if (!IsWritable(GetMode())) {
        throw NotAccessible("written");
    }
}

void Feature::CheckInteger(const std::string& text) const {
    auto& integer = dynamic_cast<IInteger&>(*m_node);
    if (!IsPlainNumber(integer)) {
        return;
    }
    const auto value = ParseInteger(text);
    if (!value) {
        throw Refuse("'" + text + "' is no integer", GetLimits());
    }
    const std::int64_t min = integer.GetMin();
    const std::int64_t max = integer.GetMax();
    const std::int64_t step = integer.GetInc();
    if (*value > max) {
        throw Refuse(text + " is above the maximum of " + std::to_string(max) + StepText(step));
    }
    if (*value < min) {
        throw Refuse(text + " is below the minimum of " + std::to_string(min) + StepText(step));
    }
    // In unsigned arithmetic, where the distance of any two limits fits.
    const std::uint64_t over =
        step > 1 ? (static_cast<std::uint64_t>(*value) - static_cast<std::uint64_t>(min)) % step : 0;
    if (over != 0) {
        const std::int64_t lower = *value - static_cast<std::int64_t>(over);
        const std::string upper = lower <= max - step ? " and " + std::to_string(lower + step) : "";
        throw Refuse(text + " is off the step of " + std::to_string(step),
                     "multiples of it above " + std::to_string(min) + ", such as " + std::to_string(lower) + upper);
    }
}

void Feature::CheckFloat(const std::string& text) const {
    auto& number = dynamic_cast<IFloat&>(*m_node);
    const auto value = ParseFloat(text);
    const std::string unit = GetUnit().empty() ? "" : " " + GetUnit();
    if (!value || std::isnan(*value)) {
        throw Refuse("'" + text + "' is no number", GetLimits() + unit);
    }
    if (*value > number.GetMax()) {
        throw Refuse(text + " is above the maximum of " + Shortest(number.GetMax()) + unit);
    }
    if (*value < number.GetMin()) {
        throw Refuse(text + " is below the minimum of " + Shortest(number.GetMin()) + unit);
    }
}

void Feature::CheckEntry(const std::string& text) const {
    auto& enumeration = dynamic_cast<IEnumeration&>(*m_node);
    const auto entries = AvailableEntries(enumeration);
    IEnumEntry* entry = enumeration.GetEntryByName(text.c_str());
    if (entry != nullptr && IsAvailable(entry->GetAccessMode())) {
        return;
    }
    throw Refuse("'" + text + "' " + (entry == nullptr ? "is no entry" : "is not available now"), Joined(entries));
}

void Feature::CheckBoolean(const std::string& text) const {
    if (!ParseBoolean(text)) {
        throw Refuse("'" + text + "' is no truth value", "true and false, or 1 and 0");
    }
}

void Feature::CheckText(const std::string& text) const {
    const std::int64_t longest = dynamic_cast<IString&>(*m_node).GetMaxLength();
    if (static_cast<std::int64_t>(text.size()) > longest) {
        throw Refuse("the text of " + std::to_string(text.size()) + " characters is too long",
                     "up to " + std::to_string(longest));
    }
}

void Feature::SetText(const std::string& text) {
    const EInterfaceType type = m_node->GetPrincipalInterfaceType();
    if (type == intfICommand) {
        throw FeatureError(GetName(), "no_value", GetName() + " is a command: it takes no value, 'zelmo exec' runs it");
    }
    OnFeature(GetName(), "setting it to '" + text + "'", m_camera, [&] {
        RequireWritable();
        if (type == intfIInteger) {
            CheckInteger(text);
        } else if (type == intfIFloat) {
            CheckFloat(text);
        } else if (type == intfIEnumeration) {
            CheckEntry(text);
        } else if (type == intfIBoolean) {
            CheckBoolean(text);
        } else if (type == intfIString) {
            CheckText(text);
        }
        Value().FromString(text.c_str());
    });
}

void Feature::Execute(std::chrono::milliseconds timeout) {
    if (m_node->GetPrincipalInterfaceType() != intfICommand) {
        throw FeatureError(GetName(), "no_command",
                           GetName() + " on camera " + m_camera + " is no command but of type " + GetType());
    }
    OnFeature(GetName(), "executing", m_camera, [&] {
        RequireWritable();
        auto& command = dynamic_cast<ICommand&>(*m_node);
        command.Execute();
        const auto end = std::chrono::steady_clock::now() + timeout;
        while (!command.IsDone()) {
            if (std::chrono::steady_clock::now() >= end) {
                throw ToolError(ExitCode::Timeout, "timeout",
                                GetName() + ": camera " + m_camera + " was not done within " +
                                    std::to_string(timeout.count()) + " ms; --timeout sets the limit",
                                GetName());
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
}

} // namespace tool
