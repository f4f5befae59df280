// SPDX-License-Identifier: Apache-2.0
#include "NodeValues.h"

#include "Escape.h"
#include "Feature.h"

#include <GenApi/GenApi.h>

#include <set>

namespace tool {
namespace {

using namespace GenApi;

void Collect(const ICategory& category, std::set<const INode*>& path, std::vector<INode*>& found) {
    FeatureList_t features;
    category.GetFeatures(features);
    for (IValue* feature : features) {
        INode* const node = feature->GetNode();
        const auto* const inner = dynamic_cast<const ICategory*>(node);
        if (inner == nullptr) {
            if (node->GetPrincipalInterfaceType() != intfICommand) {
                found.push_back(node);
            }
        } else if (path.insert(node).second) { // else a category that holds itself
            Collect(*inner, path, found);
        }
    }
}

} // namespace

bool NodeValues::AddIfReadable(INode& node) {
    const Feature feature(node, {});
    try {
        if (!feature.IsReadable()) {
            return false;
        }
        Json value = feature.GetValue();
        m_cells.push_back(feature.GetName() + "=" + Escape(feature.GetText()));
        m_json[feature.GetName()] = std::move(value);
        return true;
    } catch (const ToolError&) {
        return false;
    }
}

void NodeValues::AddMissing(const std::string& name) {
    m_cells.push_back(name + " missing");
    m_json[name] = nullptr;
}

std::vector<std::string> NodeValues::MakeRow(std::vector<std::string> begin) const {
    begin.insert(begin.end(), m_cells.begin(), m_cells.end());
    return begin;
}

std::vector<INode*> FindValuesOf(INodeMap& nodeMap, const std::string& category) {
    std::vector<INode*> found;
    INode* const node = nodeMap.GetNode(category.c_str());
    if (const auto* const root = dynamic_cast<const ICategory*>(node)) {
        std::set<const INode*> path{node};
        Collect(*root, path, found);
    }
    return found;
}

} // namespace tool
