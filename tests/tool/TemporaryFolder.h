// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fakes/TempFolder.h"

#include <algorithm>
#include <vector>

/// A folder of the test's own, with what these tests ask of it.
class TemporaryFolder : public Fakes::TempFolder {
public:
    std::string operator/(const std::string& name) const { return (Path() / name).string(); }

    /// Names of what is in it, hidden ones included, sorted.
    std::vector<std::string> List() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(Path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};
