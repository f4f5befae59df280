// SPDX-License-Identifier: Apache-2.0
#include "Feature.h"
#include "FeatureDescription.h"
#include "FeatureListVerb.h"
#include "Output.h"

#include <sstream>

namespace tool {
namespace {

using Rows = std::vector<std::vector<std::string>>;

std::string TextOf(const Json& field) {
    return Printable(field.is_string() ? field.get<std::string>() : field.dump());
}

void AddTexts(const Json& json, Rows& rows) {
    static constexpr std::pair<const char*, const char*> kLabels[] = {
        {"display_name", "display name"},
        {"tooltip", "tool tip"},
        {"description", "description"},
        {"documentation_url", "documentation"},
        {"deprecated", "deprecated"},
        {"visibility", "visibility"},
        {"kind", "element"},
        {"streamable", "streamable"},
        {"value", "value"},
        {"unit", "unit"},
        {"representation", "representation"},
        {"min", "minimum"},
        {"max", "maximum"},
        {"step", "step"},
        {"max_length", "longest text"},
        {"length_bytes", "length in bytes"},
        {"alias", "alias"},
        {"cast_alias", "cast alias"},
    };
    for (const auto& [field, label] : kLabels) {
        if (json.contains(field)) {
            rows.push_back({"", label, TextOf(json[field])});
        }
    }
}

/// A row for each item; the label stands at the first one.
template <class ToText>
void AddList(const Json& json, const char* field, std::string label, Rows& rows, ToText toText) {
    if (!json.contains(field)) {
        return;
    }
    for (const Json& item : json[field]) {
        rows.push_back({"", label, toText(item)});
        label.clear();
    }
}

std::string EntryText(const Json& entry) {
    return TextOf(entry["name"]) + " (" + TextOf(entry["number"]) + ")" +
           (entry["available"] == true ? "" : ", not available now") +
           (entry.contains("tooltip") ? ": " + TextOf(entry["tooltip"]) : "");
}

std::string RegisterText(const Json& one) {
    const Json& address = one["address"];
    std::ostringstream hex;
    hex << "0x" << std::hex
        << (address.is_string() ? std::stoull(address.get<std::string>()) : address.get<std::uint64_t>());
    return TextOf(one["name"]) + " at " + hex.str() + ", " + TextOf(one["length_bytes"]) + " bytes";
}

/// "TLParamsLocked: holds now", and through which node where that is not the feature itself.
std::string ConditionText(const Json& condition, const Json& feature) {
    const Json& holds = condition["holds"];
    return TextOf(condition["name"]) +
           (holds.is_null() ? ": cannot be read now"
            : holds == true ? ": holds now"
                            : ": does not hold now") +
           (condition["of"] == feature ? "" : " (through " + TextOf(condition["of"]) + ")");
}

Rows MakeRows(const Json& json) {
    Rows rows;
    AddTexts(json, rows);
    const auto condition = [&](const Json& one) { return ConditionText(one, json["name"]); };
    AddList(json, "valid_values", "valid values", rows, TextOf);
    AddList(json, "enum_entries", "entries", rows, EntryText);
    AddList(json, "categories", "in category", rows, TextOf);
    AddList(json, "members", "features", rows, TextOf);
    AddList(json, "selected_by", "selected by", rows, TextOf);
    AddList(json, "selects", "selects", rows, TextOf);
    AddList(json, "implemented_if", "implemented if", rows, condition);
    AddList(json, "available_if", "available if", rows, condition);
    AddList(json, "locked_by", "locked if", rows, condition);
    AddList(json, "registers", "register", rows, RegisterText);
    if (json.contains("errors")) {
        for (const auto& [field, message] : json["errors"].items()) {
            rows.push_back({"", "error", field + ": " + TextOf(message)});
        }
    }
    return rows;
}

class DescribeVerb : public FeatureListVerb {
public:
    std::string GetName() const override { return "describe"; }
    std::string GetSummary() const override { return "Tell all that the description says of features"; }
    std::string GetDetails() const override {
        return "Texts, value, limits, entries and whether they are available now, selectors and what they select, what "
               "locks a feature, and the registers behind it. Any node can be asked for, also one that 'features' does "
               "not show.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo describe PixelFormat", "One feature of the only camera"},
            {"zelmo describe Width Height -d 0815-0000 --json", "Two features, for a program"},
        };
    }

protected:
    Json Tell(GenApi::INodeMap& nodeMap, const std::string& name, const std::string& camera, Output& output) override {
        Json json = DescribeFeature(Feature::FindAny(nodeMap, name, camera));
        Print(json, output);
        return json;
    }

private:
    static void Print(const Json& json, Output& output) {
        output.Line(TextOf(json["name"]) + ", " + TextOf(json["type"]) + ", " + json.value("access", "?"));
        for (const std::string& line : FormatTable(MakeRows(json))) {
            output.Line(line);
        }
    }
};

} // namespace

std::unique_ptr<Verb> MakeDescribeVerb() {
    return std::make_unique<DescribeVerb>();
}

} // namespace tool
