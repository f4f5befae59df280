// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/NumericBase.h"

#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/nodes/DeviceLog.h"
#include "genicam/genapi/nodes/NodeError.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>

namespace GenApi {

namespace {

template <typename T>
bool ParseListed(std::string_view text, T& value);

template <>
bool ParseListed(std::string_view text, std::int64_t& value) {
    const auto parsed = ParseInteger(text);
    value = parsed.value_or(0);
    return parsed.has_value();
}

template <>
bool ParseListed(std::string_view text, double& value) {
    const auto parsed = ParseFloat(text);
    value = parsed.value_or(0);
    return parsed.has_value() && !std::isnan(value); // no order would hold
}

/// Sorted.
template <typename T>
std::vector<T> ParseValidValues(std::string_view text) {
    std::vector<T> values;
    for (const std::string_view item : SplitList(text)) {
        T value;
        if (ParseListed(item, value)) {
            values.push_back(value);
        }
    }
    std::sort(values.begin(), values.end());
    return values;
}

/// Below, above or off the grid; int64_t differences may need all 64 bits, so they are taken unsigned.
void CheckRange(NodeBase& node, std::int64_t value, std::int64_t min, std::int64_t max) {
    if (value < min) {
        throw NODE_EXCEPTION(OutOfRangeException,
                             node)("Value = %" PRId64 " must be equal or greater than Min = %" PRId64 ".", value, min);
    }
    if (value > max) {
        throw NODE_EXCEPTION(OutOfRangeException,
                             node)("Value = %" PRId64 " must be equal or smaller than Max = %" PRId64 ".", value, max);
    }
}

/// As printf's %f, but in any locale, and whole.
std::string Fixed(double value) {
    constexpr double any = std::numeric_limits<double>::infinity();
    return FormatFloat(value, fnFixed, -1, -any, any);
}

void CheckRange(NodeBase& node, double value, double min, double max) {
    if (std::isnan(value)) {
        throw NODE_EXCEPTION(OutOfRangeException, node)("Value is not a number.");
    }
    if (value < min) {
        throw NODE_EXCEPTION(OutOfRangeException,
                             node)("Value " + Fixed(value) + " must be greater than or equal " + Fixed(min) + ".");
    }
    if (value > max) {
        throw NODE_EXCEPTION(OutOfRangeException,
                             node)("Value " + Fixed(value) + " must be smaller than or equal " + Fixed(max) + ".");
    }
}

void CheckGrid(NodeBase& node, std::int64_t value, std::int64_t min, std::int64_t inc) {
    if (inc <= 0) {
        throw NODE_EXCEPTION(LogicalErrorException, node)("Inc = %" PRId64 " must be greater than 0.", inc);
    }
    const std::uint64_t distance = static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(min);
    if (distance % static_cast<std::uint64_t>(inc) != 0) {
        throw NODE_EXCEPTION(OutOfRangeException, node)("The difference between Value = %" PRId64 " and Min = %" PRId64
                                                        " must be dividable without rest by Inc = %" PRId64 ".",
                                                        value, min, inc);
    }
}

// the increment of a float is for user interfaces; values between its steps are valid
void CheckGrid(NodeBase&, double, double, double) {}

} // namespace

template <typename T>
void NumericBase<T>::BindProperty(const Property& property) {
    switch (property.kind) {
    case PropertyKind::Unit:
        m_unit = &property;
        break;
    case PropertyKind::Representation:
        m_representation = static_cast<std::uint8_t>(property.payload);
        break;
    case PropertyKind::ValidValueSet:
        m_validValues = ParseValidValues<T>(Description().TextOf(property.payload));
        break;
    default:
        break;
    }
}

template <typename T>
template <typename Value, typename Ask>
Value NumericBase<T>::FromOrigin(Value missing, Ask&& ask) {
    NodeBase* const origin = Origin();
    if (origin == nullptr) {
        return missing;
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Asking); // values may lead back to this node
    return ask(*origin);
}

template <typename T>
ERepresentation NumericBase<T>::Representation() {
    auto representation = static_cast<ERepresentation>(m_representation);
    if (representation == _UndefinedRepresentation) {
        representation = FromOrigin(representation, [](NodeBase& origin) { return origin.Representation(); });
    }
    // the others are for whole numbers
    const bool isForFloats = representation == Linear || representation == Logarithmic;
    const bool isKnown = NumberOf<T>::kType == ValueType::Integer && representation != _UndefinedRepresentation;
    return isForFloats || isKnown ? representation : PureNumber;
}

template <typename T>
std::string NumericBase<T>::Unit() {
    if (m_unit != nullptr) {
        return std::string(Description().TextOf(m_unit->payload));
    }
    return FromOrigin(std::string(), [](NodeBase& origin) { return origin.Unit(); });
}

template <typename T>
EDisplayNotation NumericBase<T>::DisplayNotation() {
    return FromOrigin(fnAutomatic, [](NodeBase& origin) { return origin.DisplayNotation(); });
}

template <typename T>
std::int64_t NumericBase<T>::DisplayPrecision() {
    return FromOrigin(std::int64_t(-1), [](NodeBase& origin) { return origin.DisplayPrecision(); });
}

template <typename T>
T NumericBase<T>::ReadNumber(ReadMode mode) {
    RequireReadable();
    if (mode.MayUseCache()) {
        T kept{};
        if (HasCached(Cached_Value)) {
            return m_value;
        }
        if (ReadKept(kept)) {
            return kept;
        }
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Reading);
    const Find find(*this);
    const T value = Evaluate(mode);
    if (mode.verify) {
        CheckLimits(value);
        CheckErrorNodes();
    }
    if (KeepsOwnValue() && KeepsValue() && find.IsUndisturbed()) {
        m_value = value;
        MarkCached(Cached_Value);
    }
    DeviceLog::TellRead(*this, value);
    return value;
}

template <typename T>
void NumericBase<T>::WriteNumber(T value, bool verify) {
    DropCached(Cached_Value);
    if (verify) {
        RequireWritable();
        CheckLimits(value);
        CheckListed(value);
    }
    WriteScope scope(*this);
    const Find find(*this);
    Store(value, verify);
    if (verify) {
        CheckErrorNodes();
    }
    if (KeepsOwnValue() && Caching() == WriteThrough && find.IsUndisturbed()) {
        m_value = value;
        MarkCached(Cached_Value);
        MarkCached(Cached_Protected);
    }
    DeviceLog::TellWritten(*this, value);
    scope.Succeed();
}

template <typename T>
void NumericBase<T>::CheckLimits(T value) {
    const T min = CheckedMin();
    CheckRange(*this, value, min, CheckedMax());
    T inc{};
    if (m_validValues.empty() && CheckedInc(inc)) {
        CheckGrid(*this, value, min, inc);
    }
}

template <typename T>
void NumericBase<T>::CheckListed(T value) {
    if (!m_validValues.empty() && !std::binary_search(m_validValues.begin(), m_validValues.end(), value)) {
        std::string text;
        if constexpr (NumberOf<T>::kType == ValueType::Float) {
            text = Fixed(value);
        } else {
            text = std::to_string(value);
        }
        throw NODE_EXCEPTION(OutOfRangeException, *this)("Value = " + text + " is not in the list of valid values.");
    }
}

template <typename T>
bool NumericBase<T>::AreLimitsCacheable() {
    if (m_limitsCacheable == _UndefinedYesNo) {
        const EvaluationGuard guard(*this, EvaluationGuard::Asking);
        m_limitsCacheable = No; // for those who ask in a circle
        m_limitsCacheable = static_cast<std::uint8_t>(ComputeLimitsCacheable() ? Yes : No);
    }
    return m_limitsCacheable == Yes;
}

/// A limit from the cache, or found anew and then kept if it may be.
template <typename T>
T NumericBase<T>::Limit(CacheBit bit, T& kept, T (NumericBase::*natural)()) {
    if (HasCached(bit)) {
        return kept;
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Asking);
    const Find find(*this);
    const T limit = (this->*natural)();
    if (AreLimitsCacheable() && find.IsUndisturbed()) {
        kept = limit;
        MarkCached(bit);
    }
    return limit;
}

template <typename T>
T NumericBase<T>::CheckedMin() {
    return Limit(Cached_Min, m_min, &NumericBase::NaturalMin);
}

template <typename T>
T NumericBase<T>::CheckedMax() {
    return Limit(Cached_Max, m_max, &NumericBase::NaturalMax);
}

template <typename T>
bool NumericBase<T>::NaturalInc(T& inc) {
    inc = 1;
    return NumberOf<T>::kType == ValueType::Integer;
}

template <typename T>
bool NumericBase<T>::CheckedInc(T& inc) {
    if (HasCached(Cached_Inc)) {
        inc = m_inc;
        return m_hasInc;
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Asking);
    const Find find(*this);
    T found{};
    const bool hasInc = NaturalInc(found);
    inc = found;
    if (AreLimitsCacheable() && find.IsUndisturbed()) {
        m_inc = found;
        m_hasInc = hasInc;
        MarkCached(Cached_Inc);
    }
    return hasInc;
}

template <typename T>
EIncMode NumericBase<T>::IncMode() {
    T inc{};
    return !m_validValues.empty() ? listIncrement : CheckedInc(inc) ? fixedIncrement : noIncrement;
}

template <typename T>
autovector<T> NumericBase<T>::ListValidValues(bool bounded) {
    auto begin = m_validValues.begin();
    auto end = m_validValues.end();
    if (bounded && begin != end) {
        begin = std::lower_bound(begin, end, CheckedMin());
        end = std::upper_bound(begin, end, CheckedMax());
    }
    autovector<T> list(static_cast<std::size_t>(end - begin));
    for (std::size_t i = 0; i < list.size(); ++i) {
        list[i] = begin[static_cast<std::ptrdiff_t>(i)];
    }
    return list;
}

template <typename T>
void NumericBase<T>::ImposeLimit(const char* method, T& limit, T value) {
    Core().Change(*this, method, [&] {
        limit = value;
        Core().Invalidate(*this);
    });
}

template class NumericBase<std::int64_t>;
template class NumericBase<double>;

} // namespace GenApi
