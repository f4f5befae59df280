// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/ConverterNode.h"

#include "genicam/genapi/nodes/NodeError.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace GenApi {

namespace {

/// Whether a limit says no more than the type does: the type itself, or 64-bit integers seen as floats.
bool IsOfType(std::int64_t limit) noexcept {
    return limit == std::numeric_limits<std::int64_t>::min() || limit == std::numeric_limits<std::int64_t>::max();
}
bool IsOfType(double limit) noexcept {
    return std::fabs(limit) == std::numeric_limits<double>::max() || std::fabs(limit) == 0x1p63;
}

} // namespace

template <typename Base, typename T>
void ConverterOf<Base, T>::BindProperty(const Property& property) {
    switch (property.kind) {
    case PropertyKind::FormulaTo:
        m_to.text = this->Description().TextOf(property.payload);
        break;
    case PropertyKind::FormulaFrom:
        m_from.text = this->Description().TextOf(property.payload);
        break;
    case PropertyKind::pValue:
        m_target = this->Target(property);
        break;
    case PropertyKind::Slope:
        m_slope = static_cast<ESlope>(property.payload);
        break;
    case PropertyKind::IsLinear:
        m_isLinear = property.payload == Yes;
        break;
    default:
        Base::BindProperty(property);
        break;
    }
}

template <typename Base, typename T>
void ConverterOf<Base, T>::CompileFormulas() {
    m_formula.Compile(m_to);
    m_formula.Compile(m_from);
}

template <typename Base, typename T>
EAccessMode ConverterOf<Base, T>::OwnMode() {
    EAccessMode mode = m_target->Mode();
    for (auto* program : {&m_from, &m_to}) {
        mode = IsReadable(m_formula.Mode(*program)) ? mode : Combine(mode, NA);
    }
    return mode;
}

template <typename Base, typename T>
T ConverterOf<Base, T>::Evaluate(ReadMode mode) {
    return m_formula.Evaluate(m_from, NumberOf<T>::Read(*m_target, mode), mode);
}

template <typename Base, typename T>
void ConverterOf<Base, T>::Store(T value, bool verify) {
    NumberOf<T>::Write(*m_target, m_formula.Evaluate(m_to, value, ReadMode()), verify);
}

/// A limit that the target does not have, the converter has not either; then a point some way off tells whether the
/// formula falls. Where it has no result, such as 1/TO at 0, there is no limit.
template <typename Base, typename T>
T ConverterOf<Base, T>::Limit(bool wantsMin) {
    constexpr T lowest = std::numeric_limits<T>::lowest();
    constexpr T highest = std::numeric_limits<T>::max();
    constexpr T wayOff = 65536;
    const T none = wantsMin ? lowest : highest;
    const T low = NumberOf<T>::Min(*m_target);
    const T high = NumberOf<T>::Max(*m_target);
    const bool hasLow = !IsOfType(low);
    const bool hasHigh = !IsOfType(high);
    if (m_slope == Varying || (!hasLow && !hasHigh)) {
        return none;
    }
    bool falls = m_slope == Decreasing;
    if (m_slope == Automatic) {
        const T first = hasLow ? low : std::max(lowest + wayOff, high) - wayOff;
        const T last = hasHigh ? high : std::min(highest - wayOff, low) + wayOff;
        const auto one = m_formula.TryEvaluate(m_from, first, ReadMode());
        const auto other = m_formula.TryEvaluate(m_from, last, ReadMode());
        if (!one || !other) {
            return none;
        }
        falls = *other < *one;
    }
    const bool takesLow = wantsMin != falls;
    if (takesLow ? !hasLow : !hasHigh) {
        return none;
    }
    return m_formula.TryEvaluate(m_from, takesLow ? low : high, ReadMode()).value_or(none);
}

template <typename Base, typename T>
bool ConverterOf<Base, T>::NaturalInc(T& inc) {
    if constexpr (NumberOf<T>::kType == ValueType::Integer) {
        inc = 1;
        return true;
    } else {
        double step = 0;
        if (!m_isLinear || !m_target->IncFloat(step)) {
            return false;
        }
        const double low = m_target->MinFloat();
        const double base = IsOfType(low) ? 0 : low;
        const auto one = m_formula.TryEvaluate(m_from, base, ReadMode());
        const auto other = m_formula.TryEvaluate(m_from, base + step, ReadMode());
        if (!one || !other) {
            return false;
        }
        inc = std::fabs(*other - *one);
        return true;
    }
}

template class ConverterOf<FloatBase, double>;
template class ConverterOf<IntegerBase, std::int64_t>;

} // namespace GenApi
