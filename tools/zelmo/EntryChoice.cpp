// SPDX-License-Identifier: Apache-2.0
#include "EntryChoice.h"

#include "Camera.h"
#include "Errors.h"
#include "NodeFields.h"
#include "Output.h"
#include "Suggestions.h"

#include <GenApi/GenApi.h>

#include <algorithm>

namespace tool {
namespace {

std::vector<std::string> GetEntries(Camera& camera, const EntrySource& source) {
    auto* selector = dynamic_cast<GenApi::IEnumeration*>(camera.GetNodeMap("device").GetNode(source.selector));
    return selector != nullptr && GenApi::IsAvailable(selector->GetAccessMode()) ? AvailableEntries(*selector)
                                                                                 : std::vector<std::string>();
}

ToolError Unknown(const Camera& camera, const EntrySource& source, const std::string& name,
                  const std::vector<std::string>& entries) {
    const std::string kind = source.kind;
    return FeatureError(source.selector, "unknown_" + kind,
                        std::string(source.option) + ": camera " + camera.GetName() + " has no " + kind + " '" + name +
                            "'" + DidYouMean(name, entries) + "; " +
                            (entries.empty() ? "it has none to choose from"
                                             : "there are " + QuotedList(entries) + ", and 'all' for each of them"));
}

void Add(const ChosenEntry& one, std::vector<ChosenEntry>& chosen) {
    const auto same = std::find_if(chosen.begin(), chosen.end(), [&](const auto& had) { return had.name == one.name; });
    if (same == chosen.end()) {
        chosen.push_back(one);
    } else {
        same->isNamed = same->isNamed || one.isNamed;
    }
}

} // namespace

std::vector<ChosenEntry> ChooseEntries(Camera& camera, const EntrySource& source,
                                       const std::vector<std::string>& names) {
    const std::vector<std::string> entries = GetEntries(camera, source);
    std::vector<ChosenEntry> chosen;
    for (const std::string& name : names) {
        if (name == "all") {
            for (const std::string& entry : entries) {
                Add({entry, false}, chosen);
            }
            continue;
        }
        auto entry = std::find(entries.begin(), entries.end(), name);
        if (entry == entries.end()) {
            entry = std::find_if(entries.begin(), entries.end(),
                                 [&](const std::string& one) { return source.isMeant(one, name); });
        }
        if (entry == entries.end()) {
            throw Unknown(camera, source, name, entries);
        }
        Add({*entry, true}, chosen);
    }
    return chosen;
}

} // namespace tool
