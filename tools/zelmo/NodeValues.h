// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Json.h"

#include <string>
#include <vector>

namespace GenApi {
struct INode;
struct INodeMap;
} // namespace GenApi

namespace tool {

/// What features hold at one moment: cells "NAME=VALUE", with values as `get` prints them, and an object of JSON.
class NodeValues {
public:
    /// @return false for a value that is not there now, or cannot be read.
    bool AddIfReadable(GenApi::INode& node);
    void AddMissing(const std::string& name); ///< A cell "NAME missing", and null.

    std::vector<std::string> MakeRow(std::vector<std::string> begin) const; ///< All cells behind those of @p begin.
    const Json& GetJson() const noexcept { return m_json; }

private:
    std::vector<std::string> m_cells;
    Json m_json = Json::object();
};

/// The features with a value of the category @p category and those below it, in their order; empty without it.
std::vector<GenApi::INode*> FindValuesOf(GenApi::INodeMap& nodeMap, const std::string& category);

} // namespace tool
