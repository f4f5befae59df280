// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Errors.h"
#include "Json.h"

#include <GenApi/INode.h>
#include <GenApi/IValue.h>

#include <chrono>
#include <string>
#include <vector>

namespace GenApi {
struct INodeMap;
}

namespace tool {

/// One feature of a node map, as verbs show and change it. A cheap view: owns nothing, valid as long as the node map.
/// @throws ToolError throughout, with texts of the form "Width: 99999 is above the maximum of 4096 (step 4) on camera
/// 0815".
class Feature {
public:
    Feature(GenApi::INode& node, std::string camera);

    /// Any node, also one without a value. @throws ToolError with near matches for a name that no node has.
    static Feature FindAny(GenApi::INodeMap& nodeMap, const std::string& name, const std::string& camera);

    /// One that has a value, or is a command. @throws ToolError for others too.
    static Feature Find(GenApi::INodeMap& nodeMap, const std::string& name, const std::string& camera);

    GenApi::INode& GetNode() const noexcept { return *m_node; }
    std::string GetName() const;
    std::string GetType() const;   ///< "integer", "enumeration", ...
    std::string GetAccess() const; ///< "NI", "NA", "WO", "RO" or "RW".
    std::string GetUnit() const;   ///< Empty without one.
    std::string GetLimits() const; ///< "16 to 4096 in steps of 4", the entries of an enumeration; empty without any.
    bool IsReadable() const;

    std::string GetText() const; ///< The value, as SetText takes it.
    Json GetValue() const;       ///< The same as JSON.

    /// A value as somebody wrote it: a number or a truth value where the feature has such and the text is one.
    Json ToJson(const std::string& text) const;
    Json GetDescription(bool withValues) const;

    void SetText(const std::string& text);

    /// Runs a command and waits until the camera is done.
    void Execute(std::chrono::milliseconds timeout);

private:
    GenApi::EAccessMode GetMode() const;
    GenApi::IValue& Value() const;
    void RequireWritable() const;
    void CheckInteger(const std::string& text) const;
    void CheckFloat(const std::string& text) const;
    void CheckEntry(const std::string& text) const;
    void CheckBoolean(const std::string& text) const;
    void CheckText(const std::string& text) const;
    void AddLimits(Json& json) const;
    ToolError NotAccessible(const std::string& how) const;
    ToolError Refuse(const std::string& why, const std::string& permitted = {}) const;

    GenApi::INode* m_node;
    std::string m_camera;
};

} // namespace tool
