// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/CategoryNode.h"

#include "genicam/genapi/nodes/NodeError.h"

namespace GenApi {

void CategoryNode::GetFeatures(FeatureList_t& Features) const {
    Features.clear();
    Description().ForEachProperty(Index(), [&](const Property& property) {
        NodeBase* const target = property.kind == PropertyKind::pFeature ? Target(property) : nullptr;
        if (target != nullptr && target->AsValue() != nullptr) {
            Features.push_back(target->AsValue());
        }
    });
}

std::string CategoryNode::FormatValue(ReadMode) {
    RequireReadable();
    return std::string(Description().TextOr(Index(), PropertyKind::DisplayName, Name()));
}

void CategoryNode::WriteFormatted(std::string_view, bool) {
    throw NODE_EXCEPTION(AccessException, *this)("Node is not writable.");
}

} // namespace GenApi
