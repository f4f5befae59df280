// SPDX-License-Identifier: Apache-2.0

// Documents of rules and settings, walked through by every road.

#include "Fuzz.h"
#include "XMLWrapperLib/WrapXml.h"

#include <map>
#include <string>
#include <vector>

namespace {

using Zelmo::CXmlNode;

std::map<std::string, std::size_t> counts; // of the nodes by their names

void UseAttributes(const CXmlNode& element) {
    std::size_t attributes = 0;
    CXmlNode attribute = element.GetFirstAttribute();
    for (; attribute.IsAttribute(); attribute = attribute.GetNextAttribute()) {
        const CXmlNode found = element.GetAttribute(attribute.GetName()); // the first one of several
        Fuzz::Require(found.IsAttribute() && found.GetName() == attribute.GetName(),
                      "an attribute is found by its name");
        Fuzz::Require(attribute.GetParent().IsNull(), "an attribute has no parent");
        attribute.GetValue();
        ++attributes;
    }
    Fuzz::Require(!attributes || attribute.IsElement(), "behind the last attribute comes the element");
}

/// The node, those behind it and all below. The parser limits the depth.
void UseNodes(CXmlNode node) {
    for (; node.IsValid(); node.MoveToNextSibling()) {
        Fuzz::Require(node.IsElement(), "a walk meets elements only");
        ++counts[node.GetName().c_str()];
        node.GetValue();
        UseAttributes(node);
        const CXmlNode child = node.GetFirstChild();
        Fuzz::Require(!child.IsValid() || child.GetParent().GetName() == node.GetName(), "a child leads to its parent");
        UseNodes(child);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CXmlNode root;
    try {
        root.LoadFromString(Zelmo::String_t(reinterpret_cast<const char*>(data), size));
    } catch (const GenICam::RuntimeException&) {
        return 0;
    }
    counts.clear();
    UseNodes(root);
    for (const auto& [name, count] : counts) {
        std::vector<CXmlNode> nodes;
        Fuzz::Require(root.GetNodesByName(name, nodes) == count, "all nodes of a name are found");
        Fuzz::Require(nodes.front().GetRoot().GetName() == root.GetName(), "each node leads to the root");
    }
    return 0;
}
