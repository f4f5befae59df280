// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/Failure.h"

#include <algorithm>
#include <string_view>

namespace GenApi {

INodeMap& RequireNodeMap(INodeMap* nodeMap) {
    if (nodeMap == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("A feature bag needs a node map, not null");
    }
    return *nodeMap;
}

bool ReportFailures(const std::vector<std::string>& failures, GenICam::gcstring_vector* list, const char* attempted) {
    if (list != nullptr) {
        for (const std::string& failure : failures) {
            list->push_back(GenICam::gcstring(std::string_view(failure)));
        }
    } else if (!failures.empty()) {
        constexpr std::size_t shown = 5;
        std::string text = "Not all features could be " + std::string(attempted) + ": ";
        for (std::size_t i = 0; i < std::min(failures.size(), shown); ++i) {
            text += (i == 0 ? "" : "; ") + failures[i];
        }
        throw RUNTIME_EXCEPTION(
            text + (failures.size() > shown ? "; and " + std::to_string(failures.size() - shown) + " more" : ""));
    }
    return failures.empty();
}

} // namespace GenApi
