// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/Model.h"

#include <Base/GCException.h>

namespace GenApi {

namespace {

constexpr std::size_t kMaxEdges = std::size_t(32) << 20;

/// Tells @p visit (list, from, to) of every edge of the graph, in the order of nodes and properties.
template <typename Visitor>
void ForEachEdge(const Model& model, Graph& graph, Visitor&& visit) {
    for (NodeIndex node = 0; node < model.NodeCount(); ++node) {
        model.ForEachProperty(node, [&](const Property& property) {
            if (property.form != Form::Node) {
                return;
            }
            const std::uint8_t edges = TraitsOf(property.kind).edges;
            const NodeIndex target = property.payload;
            if (edges & Edge_Read) {
                visit(graph.reading, node, target);
            }
            if (edges & Edge_Write) {
                visit(graph.writing, node, target);
            }
            if (edges & Edge_Invalidate) {
                visit(graph.invalidating, node, target);
                visit(edges & Edge_Write ? graph.valueParents : graph.otherParents, target, node);
            }
            if (property.kind == PropertyKind::pSelected) {
                // what is selected shows another value when its selector moves
                visit(graph.selecting, target, node);
                visit(graph.invalidating, target, node);
                visit(graph.otherParents, node, target);
            }
        });
    }
}

/// Counts first, so that each list is allocated once.
void CollectEdges(const Model& model, Graph& graph) {
    EdgeLists* const lists[] = {&graph.reading,      &graph.writing,      &graph.invalidating,
                                &graph.valueParents, &graph.otherParents, &graph.selecting};
    for (EdgeLists* list : lists) {
        list->Open(model.NodeCount());
    }
    std::size_t edges = 0;
    ForEachEdge(model, graph, [&edges](EdgeLists& list, NodeIndex from, NodeIndex) {
        list.Expect(from);
        if (++edges > kMaxEdges) {
            throw RUNTIME_EXCEPTION("Cannot load the camera description: it holds more than %zu references.",
                                    kMaxEdges);
        }
    });
    for (EdgeLists* list : lists) {
        list->Allocate();
    }
    ForEachEdge(model, graph, [](EdgeLists& list, NodeIndex from, NodeIndex to) { list.Add(from, to); });
    for (EdgeLists* list : lists) {
        list->Close();
    }
}

void MarkFeatures(const Model& model, std::vector<bool>& isFeature) {
    isFeature.assign(model.NodeCount(), false);
    const NodeIndex root = model.Find("Root");
    if (root == kNoNode || model.Record(root).kind != NodeKind::Category) {
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
    CollectEdges(*this, m_graph);
    MarkFeatures(*this, m_graph.isFeature);
}

} // namespace GenApi
