// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NodeBase.h"

#include <GenApi/ICategory.h>

namespace GenApi {

/// Category: a list of features; as text its display name.
class CategoryNode final : public ValueNode, public ICategory {
public:
    using ValueNode::ValueNode;

    void GetFeatures(FeatureList_t& Features) const override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfICategory; }

protected:
    EAccessMode OwnMode() override { return RO; }
    std::string FormatValue(ReadMode mode) override;
    void WriteFormatted(std::string_view text, bool verify) override;
};

/// Node: known by name, with what every node has.
class PlainNode final : public NodeBase {
public:
    using NodeBase::NodeBase;

    EInterfaceType GetPrincipalInterfaceType() const override { return intfIBase; }

protected:
    EAccessMode OwnMode() override { return RO; }
};

} // namespace GenApi
