// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/persistence/BagText.h"
#include "genicam/genapi/persistence/DeviceWatch.h"

#include <GenApi/Container.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace GenApi {

class CSelectorSet;

/// Collects the settings of a node map, which it borrows. Takes the lock of the node map, but not over its commands.
class BagStore {
public:
    explicit BagStore(INodeMap& nodeMap) : m_nodeMap(nodeMap) {}

    std::chrono::milliseconds commandTimeout{0};
    std::int64_t maxEntries = -1;
    const gcstring_vector* filter = nullptr; ///< Names of the only features to store; null: all.

    void Run(); ///< Collects failures.
    BagEntries TakeEntries() noexcept { return std::move(m_entries); }
    const std::vector<std::string>& GetErrors() const noexcept { return m_errors; } ///< "<name>: <reason>".

private:
    template <class Action>
    void Try(IValue& feature, Action action);
    void StoreFeatures();
    void StoreSelectors();
    FeatureList_t CollectStreamable() const;
    void AddWithSelectors(IValue& selector);
    void Store(IValue& feature, bool walksSelectors);
    bool Walk(IValue& feature, CSelectorSet& selectors);
    void AddMoved(CSelectorSet& selectors);
    bool AddIfAccessible(IValue& feature);
    void Add(IValue& feature);
    bool IsFull() const;

    INodeMap& m_nodeMap;
    BagEntries m_entries;
    std::vector<std::string> m_errors;
    DeviceWatch m_watch;
    std::vector<IValue*> m_selectors; // whose own values come last
    std::unordered_set<const IValue*> m_known;
};

} // namespace GenApi
