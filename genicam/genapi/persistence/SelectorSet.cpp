// SPDX-License-Identifier: Apache-2.0
#include <GenApi/SelectorSet.h>

#include "genicam/genapi/persistence/Selectors.h"

#include <Base/GCException.h>

#include <exception>
#include <optional>

namespace GenApi {

namespace {

constexpr std::uint64_t kMaxCombinations = 1048576;

/// One selector on its way through its values.
class SelectorDigit final : public ISelectorDigit {
public:
    explicit SelectorDigit(IValue& selector) : m_value(selector) {
        if (m_value.IsMovable()) {
            m_found = m_value.Get();
        }
    }

    bool SetFirst() override {
        m_values.clear();
        m_position = 0;
        m_isMoved = m_value.IsMovable();
        if (m_isMoved) {
            m_entered = m_value.Get();
            m_values = m_value.ListValues();
            if (m_values.size() > 1) {
                m_value.Set(m_values.front(), true);
            }
        }
        return true;
    }

    bool SetNext(bool Tick) override {
        m_isMoved = Tick && m_position + 1 < m_values.size();
        if (m_isMoved) {
            m_value.Set(m_values[++m_position], true);
        }
        return m_isMoved || !Tick;
    }

    /// Puts back the value found by SetFirst(), before a digit above moves.
    void Leave() {
        if (m_entered) {
            PutBack(*m_entered);
            m_entered.reset();
        }
    }

    void Restore() override {
        if (m_found) {
            PutBack(*m_found);
        }
    }

    gcstring ToString() override { return gcstring(NameOf(m_value.Feature()) + "=") + m_value.Feature().ToString(); }

    void GetSelectorList(FeatureList_t& SelectorList, bool Incremental) override {
        if (m_isMoved || !Incremental) {
            SelectorList.push_back(&m_value.Feature());
        }
    }

private:
    void PutBack(std::int64_t value) const {
        if (m_value.Get() != value) {
            m_value.Set(value, false);
        }
    }

    SelectorValue m_value;
    std::optional<std::int64_t> m_found;   // at construction; empty for one that cannot be moved
    std::optional<std::int64_t> m_entered; // where the digits above stand now
    std::vector<std::int64_t> m_values;    // empty where it counts as one position
    std::size_t m_position = 0;
    bool m_isMoved = false;
};

} // namespace

class CSelectorSet::CBody {
public:
    explicit CBody(IBase& feature) {
        for (IValue* const selector : CollectSelectors(feature).selectors) {
            m_digits.emplace_back(*selector);
        }
    }

    bool IsEmpty() const { return m_digits.empty(); }

    bool SetFirst() {
        Restore();
        m_combinations = 1;
        SetFirstBelow(m_digits.size());
        return true;
    }

    bool SetNext(bool tick) {
        std::size_t carried = 0;
        while (carried < m_digits.size() && !m_digits[carried].SetNext(tick)) {
            m_digits[carried++].Leave();
        }
        if (carried == m_digits.size()) {
            return !tick;
        }
        if (tick && ++m_combinations > kMaxCombinations) {
            throw OUT_OF_RANGE_EXCEPTION("The selectors have more than %llu combinations to walk.",
                                         static_cast<unsigned long long>(kMaxCombinations));
        }
        for (std::size_t i = carried + 1; i < m_digits.size(); ++i) {
            m_digits[i].SetNext(false);
        }
        SetFirstBelow(carried);
        return true;
    }

    // lower digits leave their place before the digits above go home; at home these decide what the lower ones may be
    void Restore() {
        std::exception_ptr failure;
        for (auto digit = m_digits.begin(); digit != m_digits.end(); ++digit) {
            KeepFirst(failure, [&] { digit->Leave(); });
        }
        for (auto digit = m_digits.rbegin(); digit != m_digits.rend(); ++digit) {
            KeepFirst(failure, [&] { digit->Restore(); });
        }
        if (failure) {
            std::rethrow_exception(failure);
        }
    }

    gcstring ToString() {
        gcstring text;
        for (auto digit = m_digits.rbegin(); digit != m_digits.rend(); ++digit) {
            text += (text.empty() ? "" : ",") + digit->ToString();
        }
        return text;
    }

    void List(FeatureList_t& list, bool incremental) {
        for (SelectorDigit& digit : m_digits) {
            digit.GetSelectorList(list, incremental);
        }
    }

private:
    void SetFirstBelow(std::size_t end) {
        while (end > 0) {
            m_digits[--end].SetFirst();
        }
    }

    template <class Action>
    static void KeepFirst(std::exception_ptr& failure, Action action) {
        try {
            action();
        } catch (...) {
            failure = failure ? failure : std::current_exception();
        }
    }

    std::vector<SelectorDigit> m_digits; // the least significant first
    std::uint64_t m_combinations = 0;
};

CSelectorSet::CSelectorSet(IBase* pFeature) {
    if (pFeature == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("A selector set needs a feature, not null");
    }
    m_body = std::make_unique<CBody>(*pFeature);
}

CSelectorSet::~CSelectorSet() = default;

bool CSelectorSet::IsEmpty() const {
    return m_body->IsEmpty();
}

bool CSelectorSet::SetFirst() {
    return m_body->SetFirst();
}

bool CSelectorSet::SetNext(bool Tick) {
    return m_body->SetNext(Tick);
}

void CSelectorSet::Restore() {
    m_body->Restore();
}

gcstring CSelectorSet::ToString() {
    return m_body->ToString();
}

void CSelectorSet::GetSelectorList(FeatureList_t& SelectorList, bool Incremental) {
    SelectorList.clear();
    m_body->List(SelectorList, Incremental);
}

} // namespace GenApi
