// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/Selectors.h"

#include <Base/GCException.h>

#include <GenApi/IBoolean.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IInteger.h>
#include <GenApi/ISelector.h>

#include <algorithm>
#include <unordered_set>

namespace GenApi {

namespace {

constexpr std::size_t kMaxSelectors = 64;
constexpr std::uint64_t kMaxPositions = 65536; // as many as a look-up table for 16 bits has

/// One feature on the way up from the feature that is asked for.
struct Visit {
    IBase* feature;
    FeatureList_t selecting;
    std::size_t next = 0;
};

Visit VisitOf(IBase& feature) {
    Visit visit{&feature, {}, 0};
    if (auto* const selector = dynamic_cast<ISelector*>(&feature)) {
        selector->GetSelectingFeatures(visit.selecting);
    }
    return visit;
}

void RequireFewSelectors(IBase& feature, std::size_t count) {
    if (count > kMaxSelectors) {
        throw OUT_OF_RANGE_EXCEPTION("Feature '%s' has more than %zu selectors.",
                                     NameOf(dynamic_cast<IValue&>(feature)).c_str(), kMaxSelectors);
    }
}

} // namespace

// Depth first without recursion: a feature is done once all that select it are, so the most significant comes first.
SelectorOrder CollectSelectors(IBase& feature) {
    SelectorOrder order;
    std::unordered_set<const IBase*> seen{&feature};
    std::vector<Visit> path{VisitOf(feature)};
    while (!path.empty()) {
        Visit& visit = path.back();
        if (visit.next < visit.selecting.size()) {
            IBase* const above = visit.selecting[visit.next++];
            if (seen.insert(above).second) {
                RequireFewSelectors(feature, seen.size() - 1);
                path.push_back(VisitOf(*above));
            } else {
                order.isCyclic = order.isCyclic || std::any_of(path.begin(), path.end(), [above](const Visit& one) {
                                     return one.feature == above;
                                 });
            }
            continue;
        }
        if (visit.feature != &feature) {
            order.selectors.push_back(&dynamic_cast<IValue&>(*visit.feature));
        }
        path.pop_back();
    }
    std::reverse(order.selectors.begin(), order.selectors.end());
    return order;
}

bool IsSelector(IBase& feature) {
    const auto* const selector = dynamic_cast<ISelector*>(&feature);
    return selector != nullptr && selector->IsSelector();
}

std::string NameOf(IValue& feature) {
    const INode* const node = feature.GetNode();
    return node != nullptr ? std::string(node->GetName().view()) : std::string();
}

SelectorValue::SelectorValue(IValue& selector)
    : m_selector(selector), m_enumeration(dynamic_cast<IEnumeration*>(&selector)),
      m_integer(dynamic_cast<IInteger*>(&selector)), m_boolean(dynamic_cast<IBoolean*>(&selector)) {}

bool SelectorValue::IsMovable() const {
    const bool hasValues = m_enumeration != nullptr || m_integer != nullptr || m_boolean != nullptr;
    return hasValues && m_selector.GetAccessMode() == RW;
}

std::int64_t SelectorValue::Get() const {
    if (m_enumeration != nullptr) {
        return m_enumeration->GetIntValue();
    }
    return m_integer != nullptr ? m_integer->GetValue() : m_boolean->GetValue();
}

void SelectorValue::Set(std::int64_t value, bool verify) const {
    if (m_enumeration != nullptr) {
        m_enumeration->SetIntValue(value, verify);
    } else if (m_integer != nullptr) {
        m_integer->SetValue(value, verify);
    } else {
        m_boolean->SetValue(value != 0, verify);
    }
}

std::vector<std::int64_t> SelectorValue::ListValues() const {
    if (m_enumeration != nullptr) {
        return ListEntries();
    }
    return m_integer != nullptr ? ListRange() : std::vector<std::int64_t>{0, 1};
}

std::vector<std::int64_t> SelectorValue::ListEntries() const {
    NodeList_t entries;
    m_enumeration->GetEntries(entries);
    RequireBounded(entries.size());
    std::vector<std::int64_t> values;
    std::unordered_set<std::int64_t> seen; // entries may share a value
    for (INode* const node : entries) {
        auto* const entry = dynamic_cast<IEnumEntry*>(node);
        if (IsAvailable(entry) && seen.insert(entry->GetValue()).second) {
            values.push_back(entry->GetValue());
        }
    }
    return values;
}

std::vector<std::int64_t> SelectorValue::ListRange() const {
    std::vector<std::int64_t> values;
    if (m_integer->GetIncMode() == listIncrement) {
        const int64_autovector_t list = m_integer->GetListOfValidValues();
        RequireBounded(list.size());
        for (std::size_t i = 0; i < list.size(); ++i) {
            values.push_back(list[i]);
        }
        return values;
    }
    const std::int64_t min = m_integer->GetMin();
    const std::int64_t max = m_integer->GetMax();
    const auto step = static_cast<std::uint64_t>(m_integer->GetInc());
    if (max < min || m_integer->GetInc() <= 0) {
        return values;
    }
    // in unsigned arithmetic, where the distance of any two limits fits
    const std::uint64_t last = (static_cast<std::uint64_t>(max) - static_cast<std::uint64_t>(min)) / step;
    RequireBounded(last < kMaxPositions ? last + 1 : kMaxPositions + 1);
    for (std::uint64_t i = 0; i <= last; ++i) {
        values.push_back(static_cast<std::int64_t>(static_cast<std::uint64_t>(min) + i * step));
    }
    return values;
}

void SelectorValue::RequireBounded(std::uint64_t count) const {
    if (count > kMaxPositions) {
        throw OUT_OF_RANGE_EXCEPTION("Selector '%s' has more than %llu positions to walk.", NameOf(m_selector).c_str(),
                                     static_cast<unsigned long long>(kMaxPositions));
    }
}

} // namespace GenApi
