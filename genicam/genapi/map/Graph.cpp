#include "genicam/genapi/map/Model.h"

#include <Base/GCException.h>

namespace GenApi {

namespace {

constexpr std::size_t maxEdges = std::size_t(32) << 20;

/// Gathers the references of all nodes by what they mean.
class EdgeCollector {
public:
    explicit EdgeCollector(const Model& model) : m_model(model) {}

    void Collect() {
        for (NodeIndex node = 0; node < m_model.NodeCount(); ++node) {
            m_model.ForEachProperty(node, [&](const Property& property) {
                if (property.form == Form::Node) {
                    AddReference(node, property);
                }
            });
            if (m_read.size() + m_write.size() + m_invalidate.size() > maxEdges) {
                throw RUNTIME_EXCEPTION("The camera description holds more than %zu references.", maxEdges);
            }
        }
    }

    void Store(Graph& graph) const {
        const std::size_t nodes = m_model.NodeCount();
        graph.reading.Build(nodes, m_read);
        graph.writing.Build(nodes, m_write);
        graph.invalidating.Build(nodes, m_invalidate);
        graph.selecting.Build(nodes, m_select);
        std::vector<EdgeLists::Pair> inverse;
        inverse.reserve(m_invalidate.size());
        for (const EdgeLists::Pair& pair : m_invalidate) {
            inverse.push_back({pair.to, pair.from});
        }
        graph.parents.Build(nodes, inverse);
    }

private:
    void AddReference(NodeIndex node, const Property& property) {
        const std::uint8_t edges = TraitsOf(property.kind).edges;
        const NodeIndex target = property.payload;
        if (edges & Edge_Read) {
            m_read.push_back({node, target});
        }
        if (edges & Edge_Write) {
            m_write.push_back({node, target});
        }
        if (edges & Edge_Invalidate) {
            m_invalidate.push_back({node, target});
        }
        if (property.kind == PropertyKind::pSelected) {
            // what is selected shows another value when its selector moves
            m_select.push_back({target, node});
            m_invalidate.push_back({target, node});
        }
    }

    const Model& m_model;
    std::vector<EdgeLists::Pair> m_read, m_write, m_invalidate, m_select;
};

void MarkFeatures(const Model& model, std::vector<bool>& isFeature) {
    isFeature.assign(model.NodeCount(), false);
    const NodeIndex root = model.Find("Root");
    if (root == NoNode || model.Record(root).kind != NodeKind::Category) {
        return;
    }
    std::vector<NodeIndex> open{root};
    isFeature[root] = true;
    while (!open.empty()) {
        const NodeIndex node = open.back();
        open.pop_back();
        model.ForEachProperty(node, [&](const Property& property) {
            if (property.kind == PropertyKind::pFeature && property.form == Form::Node &&
                !isFeature[property.payload]) {
                isFeature[property.payload] = true;
                open.push_back(property.payload);
            }
        });
    }
}

} // namespace

void Model::BuildGraph() {
    EdgeCollector edges(*this);
    edges.Collect();
    edges.Store(m_graph);
    MarkFeatures(*this, m_graph.isFeature);
}

} // namespace GenApi
