// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/BagStore.h"

#include "genicam/genapi/model/LoadLog.h"
#include "genicam/genapi/persistence/Failure.h"
#include "genicam/genapi/persistence/Selectors.h"
#include "genicam/genapi/persistence/StreamingPhase.h"

#include <GenApi/SelectorSet.h>

#include <algorithm>
#include <unordered_map>

namespace GenApi {

namespace {

/// Puts the selectors back when the walk ends, however it ends.
class SelectorGuard {
public:
    explicit SelectorGuard(CSelectorSet& selectors) : m_selectors(selectors) {}
    ~SelectorGuard() {
        if (m_isDue) {
            try {
                m_selectors.Restore();
            } catch (const std::exception& failure) {
                LogLoadWarning(std::string("Selectors could not be put back: ") + failure.what());
            }
        }
    }
    SelectorGuard(const SelectorGuard&) = delete;
    SelectorGuard& operator=(const SelectorGuard&) = delete;

    void Restore() {
        m_isDue = false;
        m_selectors.Restore();
    }

private:
    CSelectorSet& m_selectors;
    bool m_isDue = true;
};

bool HasState(const INode& node) {
    const EInterfaceType type = node.GetPrincipalInterfaceType();
    return type != intfICommand && type != intfICategory;
}

} // namespace

void BagStore::Run() {
    StreamingPhase phase(m_nodeMap, "DeviceFeaturePersistence", commandTimeout);
    phase.Start(m_errors);
    {
        const AutoLock lock(m_nodeMap.GetLock()); // nobody else moves the selectors
        StoreFeatures();
        StoreSelectors();
    }
    phase.End(m_errors);
}

void BagStore::StoreFeatures() {
    for (IValue* const feature : CollectStreamable()) {
        if (m_watch.IsLost()) {
            return;
        }
        if (IsSelector(*feature)) {
            Try(*feature, [&] { AddWithSelectors(*feature); });
        } else {
            Store(*feature, true);
        }
    }
}

/// Of a feature that fails no line stays.
template <class Action>
void BagStore::Try(IValue& feature, Action action) {
    const std::size_t before = m_entries.size();
    if (const auto failure = m_watch.Try(feature, action)) {
        m_entries.resize(before);
        m_errors.push_back(NameOf(feature) + ": " + *failure);
    }
}

// A selector that others select is itself kept for each position of those: it is stored like any selected feature, and
// before those, as their walk moves them.
void BagStore::StoreSelectors() {
    std::unordered_map<const IValue*, SelectorOrder> orders;
    for (IValue* const selector : m_selectors) {
        orders.emplace(selector, CollectSelectors(*selector));
    }
    std::stable_sort(m_selectors.begin(), m_selectors.end(), [&](const IValue* left, const IValue* right) {
        return orders[left].selectors.size() > orders[right].selectors.size();
    });
    for (IValue* const selector : m_selectors) {
        if (m_watch.IsLost()) {
            return;
        }
        Store(*selector, !orders[selector].isCyclic);
    }
}

FeatureList_t BagStore::CollectStreamable() const {
    std::unordered_set<std::string_view> wanted;
    for (std::size_t i = 0; filter != nullptr && i < filter->size(); ++i) {
        wanted.insert((*filter)[i].view());
    }
    NodeList_t nodes;
    m_nodeMap.GetNodes(nodes);
    FeatureList_t features;
    for (INode* const node : nodes) {
        auto* const feature = dynamic_cast<IValue*>(node);
        const bool isStored = feature != nullptr && node->IsStreamable() && node->IsFeature() && HasState(*node);
        if (isStored && (filter == nullptr || wanted.count(node->GetName().view()) != 0)) {
            features.push_back(feature);
        }
    }
    return features;
}

void BagStore::AddWithSelectors(IValue& selector) {
    if (m_known.count(&selector) != 0) {
        return;
    }
    std::vector<IValue*> all = CollectSelectors(selector).selectors;
    all.insert(all.begin(), &selector);
    for (IValue* const one : all) {
        if (m_known.insert(one).second) {
            m_selectors.push_back(one);
        }
    }
}

void BagStore::Store(IValue& feature, bool walksSelectors) {
    Try(feature, [&] {
        const std::size_t before = m_entries.size();
        CSelectorSet selectors(&feature);
        const bool walks = walksSelectors && !selectors.IsEmpty();
        if (!(walks ? Walk(feature, selectors) : AddIfAccessible(feature))) {
            m_entries.resize(before); // nothing but selectors
        }
    });
}

// Values may be accessible at some positions only.
bool BagStore::Walk(IValue& feature, CSelectorSet& selectors) {
    SelectorGuard guard(selectors);
    bool isStored = false;
    for (bool on = selectors.SetFirst(); on && !IsFull(); on = selectors.SetNext()) {
        AddMoved(selectors);
        isStored = AddIfAccessible(feature) || isStored;
    }
    guard.Restore();
    return isStored;
}

void BagStore::AddMoved(CSelectorSet& selectors) {
    FeatureList_t moved;
    selectors.GetSelectorList(moved, true);
    for (std::size_t i = moved.size(); i-- > 0;) { // the lower ones depend on those above
        AddWithSelectors(*moved[i]);
        Add(*moved[i]);
    }
}

bool BagStore::AddIfAccessible(IValue& feature) {
    const bool isAccessible = feature.GetAccessMode() == RW;
    if (isAccessible) {
        Add(feature);
    }
    return isAccessible;
}

void BagStore::Add(IValue& feature) {
    if (!IsFull()) {
        m_entries.push_back(MakeEntry(feature));
    }
}

bool BagStore::IsFull() const {
    return maxEntries >= 0 && static_cast<std::int64_t>(m_entries.size()) >= maxEntries;
}

} // namespace GenApi
