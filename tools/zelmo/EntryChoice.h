// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tool {

class Camera;

/// What a list of names is to choose from: the entries of a selector.
struct EntrySource {
    const char* option;   ///< That takes the list, such as "--chunks".
    const char* kind;     ///< Of what is chosen: "chunk".
    const char* selector; ///< Of the camera.
    /// Whether somebody may mean @p entry by @p name; its own name is known to be meant.
    std::function<bool(const std::string& entry, const std::string& name)> isMeant;
};

/// One entry that was chosen.
struct ChosenEntry {
    std::string name;
    bool isNamed = false; ///< Else it is one of "all", and may refuse to be switched on.
};

/// The entries that the names stand for, each once; "all" stands for all that are available.
/// @throws ToolError for a name that stands for none, with what there is.
std::vector<ChosenEntry> ChooseEntries(Camera& camera, const EntrySource& source,
                                       const std::vector<std::string>& names);

} // namespace tool
