// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/ModelCopy.h"

#include <Base/GCException.h>

namespace GenApi {

std::vector<NodeIndex> OwnersOf(const Model& model) {
    std::vector<NodeIndex> owners(model.NodeCount(), kNoNode);
    for (NodeIndex node = 0; node < model.NodeCount(); ++node) {
        model.ForEachProperty(node, [&](const Property& property) {
            if (IsOwnedBy(property) && owners[property.payload] == kNoNode) {
                owners[property.payload] = node;
            }
        });
    }
    return owners;
}

bool IsOwnedBy(const Property& property) noexcept {
    return property.form == Form::Node &&
           (property.kind == PropertyKind::EnumEntry || property.kind == PropertyKind::IntSwissKnife);
}

ModelCopier::ModelCopier(ModelBuilder& builder, const Model& model)
    : m_builder(builder), m_model(model), m_owners(OwnersOf(model)), m_isLeft(model.NodeCount()) {}

void ModelCopier::Rename(NodeIndex node, std::string_view name) {
    m_renamed = node;
    m_newName = name;
}

std::string ModelCopier::NameFor(NodeIndex node) const {
    if (node == m_renamed) {
        return m_newName;
    }
    const NodeIndex owner = m_owners[node];
    if (owner != kNoNode && owner == m_renamed && m_model.Record(node).kind == NodeKind::EnumEntry) {
        return "EnumEntry_" + m_newName + "_" + std::string(m_model.TextOr(node, PropertyKind::Name, {}));
    }
    return std::string(m_model.NameOf(node));
}

void ModelCopier::Copy(NodeIndex node, const std::vector<std::string>* features) {
    if (m_isLeft[node]) {
        return;
    }
    if (m_model.Record(node).sharedCount != 0) {
        CopyStructure(node);
    } else {
        CopyNode(node, features);
    }
}

NodeIndex ModelCopier::Add(NodeIndex node) {
    m_isLeft[node] = true;
    const NodeKind kind = m_model.Record(node).kind;
    std::string name = NameFor(node);
    NodeIndex copy = m_builder.AddNode(kind, name);
    // a formula without a name of its own is called as it comes
    for (std::size_t number = m_builder.NodeCount(); copy == kNoNode && name.front() == '_'; ++number) {
        copy = m_builder.AddNode(kind, "_IntSwissKnife_" + std::to_string(number));
    }
    if (copy == kNoNode) {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: node '" + name +
                                "' stands in it more than once after merging or renaming.");
    }
    return copy;
}

NodeIndex ModelCopier::CopyNode(NodeIndex node, const std::vector<std::string>* features) {
    ModelBuilder::Draft draft;
    draft.node = Add(node);
    const NodeRecord& record = m_model.Record(node);
    if (features == nullptr) {
        CopyProperties(record.first, record.count, draft);
    } else {
        m_model.ForEachProperty(node, [&](const Property& property) {
            if (property.kind != PropertyKind::pFeature) {
                draft.properties.push_back(CopyProperty(property));
            }
        });
        for (const std::string& feature : *features) {
            draft.properties.push_back({PropertyKind::pFeature, Form::Name, m_builder.Symbolize(feature)});
        }
    }
    draft.positions.resize(draft.properties.size());
    m_builder.Finish(draft);
    return draft.node;
}

void ModelCopier::CopyStructure(NodeIndex first) {
    const NodeRecord shared = m_model.Record(first);
    ModelBuilder::Draft structure;
    CopyProperties(shared.sharedFirst, shared.sharedCount, structure);
    structure.positions.resize(structure.properties.size());
    std::vector<NodeIndex> entries;
    for (NodeIndex node = FirstOfStructure(first); IsInStructure(node, shared.sharedFirst); ++node) {
        if (!m_isLeft[node]) {
            entries.push_back(CopyNode(node, nullptr));
        }
    }
    m_builder.ShareProperties(structure, entries);
}

/// The entries of a structure stand one after the other.
bool ModelCopier::IsInStructure(NodeIndex node, std::uint32_t sharedFirst) const noexcept {
    return node < m_model.NodeCount() && m_model.Record(node).sharedCount != 0 &&
           m_model.Record(node).sharedFirst == sharedFirst;
}

NodeIndex ModelCopier::FirstOfStructure(NodeIndex entry) const noexcept {
    while (entry > 0 && IsInStructure(entry - 1, m_model.Record(entry).sharedFirst)) {
        --entry;
    }
    return entry;
}

void ModelCopier::CopyProperties(std::uint32_t first, std::uint32_t count, ModelBuilder::Draft& draft) {
    for (std::uint32_t i = first; i < first + count; ++i) {
        draft.properties.push_back(CopyProperty(m_model.PropertyAt(i)));
    }
}

Property ModelCopier::CopyProperty(const Property& property) {
    switch (property.form) {
    case Form::Text:
        return {property.kind, property.form, m_builder.KeepText(m_model.TextOf(property.payload))};
    case Form::Integer:
        return {property.kind, property.form, m_builder.KeepInteger(m_model.IntegerOf(property))};
    case Form::Float:
        return {property.kind, property.form, m_builder.KeepFloat(m_model.FloatOf(property))};
    case Form::Node:
        if (IsOwnedBy(property)) {
            return {property.kind, property.form, CopyNode(property.payload, nullptr)};
        }
        return {property.kind, Form::Name, m_builder.Symbolize(NameFor(property.payload))};
    case Form::Name:
    case Form::Dropped: // it may lead somewhere in another model
        return {property.kind, Form::Name, m_builder.Symbolize(m_model.TargetName(property))};
    case Form::Enumerator:
        break;
    }
    return property;
}

} // namespace GenApi
