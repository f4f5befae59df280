// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <set>
#include <string>

namespace Fakes {

/// The names of the plug-in files of which something is mapped into this process.
inline std::set<std::string> MappedPlugins() {
    std::set<std::string> names;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t name = line.rfind('/') + 1;
        if (name != 0 && line.compare(name, 12, "libzelmo_TL_") == 0) {
            names.insert(line.substr(name));
        }
    }
    return names;
}

} // namespace Fakes
