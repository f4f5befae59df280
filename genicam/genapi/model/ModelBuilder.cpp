// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/ModelBuilder.h"

#include "genicam/genapi/model/LoadLog.h"

#include <Base/GCException.h>

namespace GenApi {

namespace {

constexpr std::size_t kMaxNodes = 1000000;
constexpr std::size_t kMaxProperties = std::size_t(32) << 20;
constexpr std::size_t kMaxToldReferences = 100;

} // namespace

ModelBuilder::ModelBuilder(std::size_t sourceBytes) : m_model(std::make_shared<Model>()) {
    m_model->m_texts.Reserve(sourceBytes / 2);
    m_model->m_properties.reserve(sourceBytes / 24);
    m_positions.reserve(sourceBytes / 24);
}

NodeIndex ModelBuilder::AddNode(NodeKind kind, std::string_view name) {
    if (m_model->m_nodes.size() >= kMaxNodes) {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: it holds more than %zu nodes.", kMaxNodes);
    }
    const std::uint32_t symbol = Symbolize(name);
    if (m_model->m_symbols.At(symbol).node != kNoNode) {
        return kNoNode;
    }
    const auto node = static_cast<NodeIndex>(m_model->m_nodes.size());
    m_model->m_symbols.At(symbol).node = node;
    m_model->m_nodes.push_back({symbol, 0, 0, 0, 0, kind});
    return node;
}

std::uint32_t ModelBuilder::KeepInteger(std::int64_t value) {
    m_model->m_integers.push_back(value);
    return static_cast<std::uint32_t>(m_model->m_integers.size() - 1);
}

std::uint32_t ModelBuilder::KeepFloat(double value) {
    m_model->m_floats.push_back(value);
    return static_cast<std::uint32_t>(m_model->m_floats.size() - 1);
}

void ModelBuilder::CheckProperties(std::size_t count) {
    if (count > kMaxProperties) {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: it holds more than %zu properties.",
                                kMaxProperties);
    }
}

std::uint32_t ModelBuilder::StoreProperties(const Draft& draft) {
    CheckProperties(m_model->m_properties.size() + draft.properties.size());
    const auto first = static_cast<std::uint32_t>(m_model->m_properties.size());
    m_model->m_properties.insert(m_model->m_properties.end(), draft.properties.begin(), draft.properties.end());
    m_positions.insert(m_positions.end(), draft.positions.begin(), draft.positions.end());
    return first;
}

void ModelBuilder::Finish(const Draft& draft) {
    NodeRecord& record = m_model->m_nodes[draft.node];
    record.first = StoreProperties(draft);
    record.count = static_cast<std::uint32_t>(draft.properties.size());
}

void ModelBuilder::ShareProperties(const Draft& structure, const std::vector<NodeIndex>& entries) {
    m_sharings += structure.properties.size() * entries.size();
    CheckProperties(m_sharings);
    const std::uint32_t first = StoreProperties(structure);
    for (const NodeIndex entry : entries) {
        m_model->m_nodes[entry].sharedFirst = first;
        m_model->m_nodes[entry].sharedCount = static_cast<std::uint32_t>(structure.properties.size());
    }
}

ModelPtr ModelBuilder::Build(const Describer& describe) {
    for (NodeIndex node = 0; node < m_model->m_nodes.size(); ++node) {
        const NodeRecord record = m_model->m_nodes[node];
        ResolveRange(node, record.sharedFirst, record.sharedCount, describe);
        ResolveRange(node, record.first, record.count, describe);
    }
    if (m_dropped > kMaxToldReferences) {
        LogLoadWarning(std::to_string(m_dropped - kMaxToldReferences) + " more references are dropped.");
    }
    m_model->BuildGraph();
    m_model->m_symbols.Close();
    return std::move(m_model);
}

ModelPtr ModelBuilder::BuildPart() {
    return std::move(m_model);
}

ModelPtr EmptyModel() {
    return ModelBuilder(0).Build([](std::uint32_t) { return std::string(); });
}

void ModelBuilder::ResolveRange(NodeIndex node, std::uint32_t first, std::uint32_t count, const Describer& describe) {
    for (std::uint32_t i = first; i < first + count; ++i) {
        if (m_model->m_properties[i].form == Form::Name) {
            ResolveReference(node, m_model->m_properties[i], m_positions[i], describe);
        }
    }
}

void ModelBuilder::ResolveReference(NodeIndex node, Property& property, std::uint32_t position,
                                    const Describer& describe) {
    const PropertyTraits& traits = TraitsOf(property.kind);
    const Symbol& symbol = m_model->m_symbols.At(property.payload);
    const std::string_view name = m_model->TextOf(symbol.text);
    const NodeIndex found = symbol.node != kNoNode ? symbol.node : m_model->Find(name);
    const NodeKind kind = m_model->m_nodes[node].kind;
    const Target target =
        property.kind == PropertyKind::pValue && kind == NodeKind::String ? Target::Text : traits.target;
    if (found != kNoNode && Accepts(target, m_model->m_nodes[found].kind)) {
        property.form = Form::Node;
        property.payload = found;
        return;
    }
    const bool mayBeDropped = found == kNoNode && (traits.edges & Edge_Optional);
    if (mayBeDropped && m_dropped >= kMaxToldReferences) {
        ++m_dropped;
        property.form = Form::Dropped;
        return;
    }
    std::string text = describe(position) + ", node '" + std::string(m_model->NameOf(node)) + "', property '" +
                       std::string(traits.name) + "': refers to node '" + std::string(name) + "'";
    if (found != kNoNode) {
        text += " of kind '" + std::string(NodeKindName(m_model->m_nodes[found].kind)) + "', which cannot stand here";
    } else {
        text += ", which does not exist";
    }
    if (!mayBeDropped) {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: " + text + ".");
    }
    LogLoadWarning(text + "; the reference is dropped.");
    ++m_dropped;
    property.form = Form::Dropped;
}

} // namespace GenApi
