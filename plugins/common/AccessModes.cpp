// SPDX-License-Identifier: Apache-2.0
#include "common/AccessModes.h"

#include <utility>

namespace PluginKit {

bool Exclude(Zelmo::AccessModeSet a, Zelmo::AccessModeSet b) {
    return a.test(Zelmo::Exclusive) || b.test(Zelmo::Exclusive) || (a.test(Zelmo::Control) && b.test(Zelmo::Control));
}

std::string NamesOf(Zelmo::AccessModeSet modes) {
    std::string names;
    for (const auto& [mode, name] : {std::pair{Zelmo::Exclusive, "Exclusive"}, std::pair{Zelmo::Control, "Control"},
                                     std::pair{Zelmo::Stream, "Stream"}, std::pair{Zelmo::Event, "Event"}}) {
        if (modes.test(mode)) {
            names += (names.empty() ? "" : "|") + std::string(name);
        }
    }
    return names.empty() ? "nothing but reading" : names;
}

} // namespace PluginKit
