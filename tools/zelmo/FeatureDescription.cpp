// SPDX-License-Identifier: Apache-2.0
#include "FeatureDescription.h"

#include "Feature.h"
#include "NodeFields.h"

#include <GenApi/EnumClasses.h>
#include <GenApi/GenApi.h>

#include <set>

namespace tool {
namespace {

using namespace GenApi;

/// Without texts and lists that are empty.
Json UnlessEmpty(Json value) {
    const bool isEmptyText = value.is_string() && value.get_ref<const std::string&>().empty();
    return value.empty() || isEmptyText ? Json() : value;
}

Json Text(const gcstring& text) {
    return text.empty() ? Json() : Json(text.c_str());
}

Json NameOf(INode* node) {
    return node != nullptr ? Json(node->GetName().c_str()) : Json();
}

template <class List>
Json NamesOf(const List& values) {
    Json names = Json::array();
    for (IBase* each : values) {
        names.push_back(NameOf(dynamic_cast<INode*>(each)));
    }
    return names.empty() ? Json() : names;
}

/// The node, and those that it writes to, directly or through others.
std::vector<INode*> ChainOf(INode& feature) {
    std::vector<INode*> chain{&feature};
    std::set<INode*> met{&feature};
    for (std::size_t i = 0; i < chain.size(); ++i) {
        NodeList_t targets;
        chain[i]->GetChildren(targets, ctWritingChildren);
        for (INode* target : targets) {
            if (met.insert(target).second) {
                chain.push_back(target);
            }
        }
    }
    return chain;
}

/// What a condition says now; null when it cannot be read.
Json ReadCondition(INode* condition) {
    try {
        if (auto* boolean = dynamic_cast<IBoolean*>(condition)) {
            return boolean->GetValue();
        }
        if (auto* integer = dynamic_cast<IInteger*>(condition)) {
            return integer->GetValue() != 0;
        }
        if (auto* number = dynamic_cast<IFloat*>(condition)) {
            return number->GetValue() != 0;
        }
        if (auto* enumeration = dynamic_cast<IEnumeration*>(condition)) {
            return enumeration->GetIntValue() != 0;
        }
    } catch (const GenICam::GenericException&) { // shown as unknown
    }
    return {};
}

/// The nodes that decide about the feature under the property, with what they say now; @p chain is the feature and what
/// stands behind it.
Json ConditionsOf(const std::vector<INode*>& chain, const char* property) {
    Json list = Json::array();
    for (INode* node : chain) {
        gcstring name;
        gcstring attribute;
        if (node->GetProperty(property, name, attribute)) {
            INode* condition = node->GetNodeMap()->GetNode(name);
            list.push_back({{"name", name.c_str()}, {"of", NameOf(node)}, {"holds", ReadCondition(condition)}});
        }
    }
    return UnlessEmpty(list);
}

Json RegistersOf(const std::vector<INode*>& chain) {
    Json list = Json::array();
    for (INode* node : chain) {
        auto* bytes = dynamic_cast<IRegister*>(node);
        if (bytes != nullptr && IsAvailable(node->GetAccessMode())) {
            list.push_back({{"name", NameOf(node)},
                            {"address", JsonInteger(static_cast<std::uint64_t>(bytes->GetAddress()))},
                            {"length_bytes", JsonInteger(std::int64_t{bytes->GetLength()})}});
        }
    }
    return UnlessEmpty(list);
}

Json EntriesOf(INode& node) {
    auto* enumeration = dynamic_cast<IEnumeration*>(&node);
    if (enumeration == nullptr) {
        return {};
    }
    NodeList_t nodes;
    enumeration->GetEntries(nodes);
    Json list = Json::array();
    for (INode* each : nodes) {
        auto& entry = dynamic_cast<IEnumEntry&>(*each);
        Json json = {{"name", entry.GetSymbolic().c_str()},
                     {"number", JsonInteger(std::int64_t{entry.GetValue()})},
                     {"available", IsAvailable(each->GetAccessMode())}};
        if (const gcstring toolTip = each->GetToolTip(); !toolTip.empty()) {
            json["tooltip"] = toolTip.c_str();
        }
        list.push_back(json);
    }
    return list;
}

/// The categories that list the node.
Json CategoriesOf(INode& node) {
    NodeList_t nodes;
    node.GetNodeMap()->GetNodes(nodes);
    Json names = Json::array();
    for (INode* each : nodes) {
        const auto* category = dynamic_cast<ICategory*>(each);
        if (category == nullptr) {
            continue;
        }
        FeatureList_t features;
        category->GetFeatures(features);
        for (IValue* feature : features) {
            if (feature->GetNode() == &node) {
                names.push_back(NameOf(each));
            }
        }
    }
    return UnlessEmpty(names);
}

Json RepresentationOf(INode& node) {
    if (auto* integer = dynamic_cast<IInteger*>(&node)) {
        return ERepresentationClass::ToString(integer->GetRepresentation()).c_str();
    }
    if (auto* number = dynamic_cast<IFloat*>(&node)) {
        return ERepresentationClass::ToString(number->GetRepresentation()).c_str();
    }
    return {};
}

void TakeTexts(INode& node, FieldCollector& fields) {
    fields.Take("visibility", [&] { return Json(GetVisibilityName(node)); });
    fields.Take("display_name", [&] { return Text(node.GetDisplayName()); });
    fields.Take("tooltip", [&] { return Text(node.GetToolTip()); });
    fields.Take("description", [&] { return Text(node.GetDescription()); });
    fields.Take("documentation_url", [&] { return Text(node.GetDocuURL()); });
    fields.Take("deprecated", [&] { return node.IsDeprecated() ? Json(true) : Json(); });
    fields.Take("streamable", [&] { return Json(node.IsStreamable()); });
}

void TakeValue(const Feature& feature, EAccessMode mode, FieldCollector& fields) {
    INode& node = feature.GetNode();
    const bool hasValue = dynamic_cast<IValue*>(&node) != nullptr && node.GetPrincipalInterfaceType() != intfICommand &&
                          node.GetPrincipalInterfaceType() != intfICategory;
    fields.Take("value", [&] { return hasValue && IsReadable(mode) ? feature.GetValue() : Json(); });
    fields.Take("unit", [&] { return UnlessEmpty(feature.GetUnit()); });
    fields.Take("representation", [&] { return RepresentationOf(node); });
    if (IsAvailable(mode)) {
        ForEachLimit(node, [&](const char* name, const auto& read) { fields.Take(name, read); });
    }
    fields.Take("enum_entries", [&] { return EntriesOf(node); });
}

void TakeRelations(INode& node, FieldCollector& fields) {
    const std::vector<INode*> chain = ChainOf(node);
    fields.Take("categories", [&] { return CategoriesOf(node); });
    if (auto* category = dynamic_cast<ICategory*>(&node)) {
        FeatureList_t features;
        category->GetFeatures(features);
        fields.Take("members", [&] { return NamesOf(features); });
    }
    if (auto* selector = dynamic_cast<ISelector*>(&node)) {
        FeatureList_t selecting;
        FeatureList_t selected;
        selector->GetSelectingFeatures(selecting);
        selector->GetSelectedFeatures(selected);
        fields.Take("selected_by", [&] { return NamesOf(selecting); });
        fields.Take("selects", [&] { return NamesOf(selected); });
    }
    fields.Take("implemented_if", [&] { return ConditionsOf(chain, "pIsImplemented"); });
    fields.Take("available_if", [&] { return ConditionsOf(chain, "pIsAvailable"); });
    fields.Take("locked_by", [&] { return ConditionsOf(chain, "pIsLocked"); });
    fields.Take("alias", [&] { return NameOf(node.GetAlias()); });
    fields.Take("cast_alias", [&] { return NameOf(node.GetCastAlias()); });
    fields.Take("registers", [&] { return RegistersOf(chain); });
}

} // namespace

Json DescribeFeature(const Feature& feature) {
    INode& node = feature.GetNode();
    FieldCollector fields(node);
    fields.Take("type", [&] { return Json(feature.GetType()); });
    EAccessMode mode = NI;
    fields.Take("access", [&] {
        mode = node.GetAccessMode();
        return Json(EAccessModeClass::ToString(mode).c_str());
    });
    TakeTexts(node, fields);
    TakeValue(feature, mode, fields);
    TakeRelations(node, fields);
    return fields.Finish();
}

} // namespace tool
