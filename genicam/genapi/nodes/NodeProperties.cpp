// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/nodes/NodeBase.h"

#include "genicam/genapi/model/PropertyText.h"
#include "genicam/genapi/nodes/MapCore.h"

#include <Base/GCException.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

// The public side of every node: names and texts, relations, properties, callbacks.
namespace GenApi {

namespace {

gcstring ToGcString(std::string_view text) {
    return gcstring(text.data(), text.size());
}

void AppendItem(std::string& list, const std::string& item, bool isFirst) {
    if (!isFirst) {
        list += '\t';
    }
    list += item;
}

/// Constants are kept as written, as the formula's machine decides what numbers they may be.
std::string DecimalConstant(PropertyKind kind, std::string text) {
    const auto number = kind == PropertyKind::Constant ? ParseInteger(text) : std::nullopt;
    return number ? std::to_string(*number) : text;
}

bool IsSet(const Model& model, NodeIndex node, PropertyKind kind) {
    const Property* property = model.FindProperty(node, kind);
    return property != nullptr && property->form == Form::Enumerator && property->payload == Yes;
}

} // namespace

EAccessMode NodeBase::GetAccessMode() const {
    const Call call(*this, "GetAccessMode");
    return const_cast<NodeBase*>(this)->Mode();
}

gcstring NodeBase::GetName(bool FullQualified) const {
    if (FullQualified) {
        return (GetNameSpace() == Standard ? "Std::" : "Cust::") + ToGcString(Name());
    }
    return ToGcString(Name());
}

ENameSpace NodeBase::GetNameSpace() const {
    const Property* property = Description().FindProperty(m_index, PropertyKind::NameSpace);
    return property != nullptr ? static_cast<ENameSpace>(property->payload) : Custom;
}

EVisibility NodeBase::GetVisibility() const {
    const Property* property = Description().FindProperty(m_index, PropertyKind::Visibility);
    const EVisibility given = property != nullptr ? static_cast<EVisibility>(property->payload) : Beginner;
    const GenICam::AutoLock lock(m_core.Lock());
    return Combine(given, static_cast<EVisibility>(m_imposedVisibility));
}

void NodeBase::InvalidateNode() {
    m_core.Change(*this, "InvalidateNode", [this] { m_core.Invalidate(*this); });
}

bool NodeBase::IsCachable() const {
    return GetCachingMode() != NoCache;
}

EYesNo NodeBase::IsAccessModeCacheable() const {
    const Call call(*this, "IsAccessModeCacheable");
    return const_cast<NodeBase*>(this)->IsModeCacheable() ? Yes : No;
}

ECachingMode NodeBase::GetCachingMode() const {
    const Call call(*this, "GetCachingMode");
    return const_cast<NodeBase*>(this)->Caching();
}

int64_t NodeBase::GetPollingTime() const {
    return m_pollingTimeMs;
}

gcstring NodeBase::GetToolTip() const {
    return ToGcString(Description().TextOr(m_index, PropertyKind::ToolTip, {}));
}

gcstring NodeBase::GetDescription() const {
    return ToGcString(Description().TextOr(m_index, PropertyKind::Description, {}));
}

gcstring NodeBase::GetDisplayName() const {
    return ToGcString(Description().TextOr(m_index, PropertyKind::DisplayName, Name()));
}

gcstring NodeBase::GetDeviceName() const {
    return m_core.DeviceName();
}

void NodeBase::GetChildren(NodeList_t& Children, ELinkType LinkType) const {
    const Call call(*this, "GetChildren");
    auto& self = const_cast<NodeBase&>(*this);
    const Graph& graph = Description().Edges();
    std::vector<NodeBase*> found;
    const auto take = [&](std::span<const NodeIndex> nodes) {
        for (const NodeIndex node : nodes) {
            found.push_back(&m_core.NodeAt(node));
        }
    };
    std::unique_ptr<Closure> spare;
    switch (LinkType) {
    case ctParentNodes:
        take(graph.valueParents.Of(m_index));
        take(graph.otherParents.Of(m_index));
        break;
    case ctReadingChildren:
        take(graph.reading.Of(m_index));
        break;
    case ctWritingChildren:
        take(graph.writing.Of(m_index));
        break;
    case ctInvalidatingChildren:
    case ctValueChangingChildren:
        take(graph.invalidating.Of(m_index));
        break;
    case ctDependingNodes: {
        const Closure& closure = m_core.DependentsOf(self, spare);
        found.assign(closure.nodes.begin() + 1, closure.nodes.end());
        break;
    }
    case ctTerminalNodes:
        found = m_core.TerminalsOf(self);
        break;
    }
    Children.clear();
    std::unordered_set<NodeBase*> listed;
    for (NodeBase* node : found) {
        if (listed.insert(node).second) {
            Children.push_back(node);
        }
    }
}

void NodeBase::GetParents(NodeList_t& Parents) const {
    GetChildren(Parents, ctParentNodes);
}

CallbackHandleType NodeBase::RegisterCallback(CNodeCallback* pCallback) {
    if (pCallback == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot register a null callback at node '%s'.", NameText().c_str());
    }
    const GenICam::AutoLock lock(m_core.Lock());
    m_registrations.push_back(std::make_shared<Registration>(pCallback));
    m_core.AddRegistrations(1);
    return reinterpret_cast<CallbackHandleType>(pCallback);
}

bool NodeBase::DeregisterCallback(CallbackHandleType hCallback) {
    RegistrationPtr registration;
    {
        const GenICam::AutoLock lock(m_core.Lock());
        const auto found = std::find_if(m_registrations.begin(), m_registrations.end(),
                                        [hCallback](const auto& each) { return each->Is(hCallback); });
        if (found == m_registrations.end()) {
            return false;
        }
        registration = std::move(*found);
        m_registrations.erase(found);
        m_core.AddRegistrations(-1);
        registration->End();
    }
    registration->Finish(); // without the lock: a call that runs may be waiting for it
    return true;
}

INodeMap* NodeBase::GetNodeMap() const {
    return &m_core.Map();
}

gcstring NodeBase::GetEventID() const {
    return ToGcString(Description().TextOr(m_index, PropertyKind::EventID, {}));
}

bool NodeBase::IsStreamable() const {
    return IsSet(Description(), m_index, PropertyKind::Streamable);
}

void NodeBase::GetPropertyNames(gcstring_vector& PropertyNames) const {
    PropertyNames.clear();
    PropertyNames.push_back("Name");
    Description().ForEachProperty(m_index, [&](const Property& property) {
        const gcstring name = ToGcString(TraitsOf(property.kind).name);
        if (property.form != Form::Dropped && !IsItemAttribute(property.kind) && !PropertyNames.contains(name)) {
            PropertyNames.push_back(name);
        }
    });
}

bool NodeBase::GetProperty(const gcstring& PropertyName, gcstring& ValueStr, gcstring& AttributeStr) {
    if (PropertyName == "Element") { // no property of the file's vocabulary has this name
        ValueStr = ToGcString(NodeKindName(Description().Record(m_index).kind));
        AttributeStr = "";
        return true;
    }
    const PropertyKind kind = FindPropertyKind(PropertyName.view());
    if (kind == PropertyKind::Name) {
        ValueStr = ToGcString(Name());
        AttributeStr = "";
        return true;
    }
    std::string values;
    std::string attributes;
    bool isFound = false;
    bool isOwner = false;
    bool hasAttribute = false;
    const Property* const last = Description().FindProperty(m_index, kind);
    // an entry's own word stands in place of its structure's, but for what adds up
    const bool isOverridden =
        last != nullptr && Description().IsOwn(m_index, *last) && kind != PropertyKind::pInvalidator;
    Description().ForEachProperty(m_index, [&](const Property& property) {
        if (IsItemAttribute(property.kind)) {
            if (isOwner) {
                attributes += PropertyText(Description(), property);
                hasAttribute = true;
            }
            isOwner = false; // one is enough
            return;
        }
        isOwner = property.kind == kind && property.form != Form::Dropped &&
                  (!isOverridden || Description().IsOwn(m_index, property));
        if (isOwner) {
            AppendItem(values, DecimalConstant(kind, PropertyText(Description(), property)), !isFound);
            AppendItem(attributes, {}, !isFound); // also where the item has none, so that both lists go together
            isFound = true;
        }
    });
    if (isFound) {
        ValueStr = gcstring(values);
        AttributeStr = gcstring(hasAttribute ? attributes : std::string());
    }
    return isFound;
}

void NodeBase::ImposeAccessMode(EAccessMode ImposedAccessMode) {
    m_core.Change(*this, "ImposeAccessMode", [&] {
        m_imposedMode = static_cast<std::uint8_t>(ImposedAccessMode);
        m_core.Invalidate(*this);
    });
}

void NodeBase::ImposeVisibility(EVisibility ImposedVisibility) {
    m_core.Change(*this, "ImposeVisibility", [&] {
        m_imposedVisibility = static_cast<std::uint8_t>(ImposedVisibility);
        m_core.Invalidate(*this); // formulas may ask for it
    });
}

INode* NodeBase::GetAlias() const {
    const Property* property = Description().FindProperty(m_index, PropertyKind::pAlias);
    return property != nullptr ? Target(*property) : nullptr;
}

INode* NodeBase::GetCastAlias() const {
    const Property* property = Description().FindProperty(m_index, PropertyKind::pCastAlias);
    return property != nullptr ? Target(*property) : nullptr;
}

gcstring NodeBase::GetDocuURL() const {
    return ToGcString(Description().TextOr(m_index, PropertyKind::DocuURL, {}));
}

bool NodeBase::IsDeprecated() const {
    return IsSet(Description(), m_index, PropertyKind::IsDeprecated);
}

bool NodeBase::IsFeature() const {
    return Description().Edges().isFeature[m_index];
}

bool NodeBase::IsSelector() const {
    return Description().FindProperty(m_index, PropertyKind::pSelected) != nullptr;
}

void NodeBase::GetSelectedFeatures(FeatureList_t& List) const {
    List.clear();
    Description().ForEachProperty(m_index, [&](const Property& property) {
        NodeBase* const target = property.kind == PropertyKind::pSelected ? Target(property) : nullptr;
        if (target != nullptr && target->AsValue() != nullptr) {
            List.push_back(target->AsValue());
        }
    });
}

void NodeBase::GetSelectingFeatures(FeatureList_t& List) const {
    List.clear();
    for (const NodeIndex selector : Description().Edges().selecting.Of(m_index)) {
        if (IValue* const value = m_core.NodeAt(selector).AsValue()) {
            List.push_back(value);
        }
    }
}

UserData_t NodeBase::GetUserData() const {
    const GenICam::AutoLock lock(m_core.Lock());
    return m_userData;
}

UserData_t NodeBase::SetUserData(UserData_t pUserData) {
    const GenICam::AutoLock lock(m_core.Lock());
    return std::exchange(m_userData, pUserData);
}

} // namespace GenApi
