// SPDX-License-Identifier: Apache-2.0
#include <zelmo/IntegerParameter.h>

#include "ZelmoBase/parameter/NodeAccess.h"
#include "ZelmoBase/parameter/NumberAccess.h"
#include "ZelmoBase/parameter/TypedParameterBody.h"

#include <cmath>
#include <limits>

namespace Zelmo {

template class CTypedParameter<CIntegerParameter, IIntegerEx, GenApi::IInteger>;

namespace {

constexpr int64_t kMaxInteger = std::numeric_limits<int64_t>::max();

struct Range {
    int64_t min;
    int64_t max;
    int64_t inc;
};

Range RangeOf(GenApi::IInteger& node) {
    return {node.GetMin(), node.GetMax(), node.GetInc()}; // braces: in this order
}

// Above the largest integer there is none; that one is off the increments then, and the node refuses it.
int64_t NextAbove(int64_t onGrid, int64_t inc) {
    return onGrid > kMaxInteger - inc ? kMaxInteger : onGrid + inc;
}

int64_t Corrected(int64_t value, const Range& range, EIntegerValueCorrection correction) {
    if (value < range.min) {
        return range.min;
    }
    if (value > range.max) {
        return range.max;
    }
    if (range.inc <= 1) {
        return value;
    }
    // the distance may be beyond int64_t, not beyond uint64_t
    const auto distance = static_cast<uint64_t>(value) - static_cast<uint64_t>(range.min);
    const auto remainder = static_cast<int64_t>(distance % static_cast<uint64_t>(range.inc));
    if (remainder == 0) {
        return value;
    }
    const int64_t lower = value - remainder;
    const bool upward = correction == IntegerValueCorrection_Nearest ? remainder >= range.inc - remainder
                                                                     : correction == IntegerValueCorrection_Up;
    return upward ? NextAbove(lower, range.inc) : lower;
}

void SetCorrected(GenApi::IInteger& node, int64_t value, EIntegerValueCorrection correction) {
    const Range range = RangeOf(node);
    node.SetValue(Corrected(value, range, correction), true);
}

int64_t Rounded(double value) {
    const double whole = std::round(value);
    if (whole >= 0x1p63) {
        return kMaxInteger;
    }
    return whole < -0x1p63 ? std::numeric_limits<int64_t>::min() : static_cast<int64_t>(whole);
}

void SetShare(GenApi::IInteger& node, double share) {
    const Range range = RangeOf(node);
    const double raw = PointOfRange(static_cast<double>(range.min), static_cast<double>(range.max), share);
    node.SetValue(Corrected(Rounded(raw), range, IntegerValueCorrection_Nearest), true);
}

double ShareOf(int64_t value, int64_t min, int64_t max) {
    const auto start = static_cast<double>(min);
    return (static_cast<double>(value) - start) / (static_cast<double>(max) - start);
}

} // namespace

void CIntegerParameter::SetValue(int64_t value, bool verify) {
    NodeFor(__func__).SetValue(value, verify);
}

GenApi::IInteger& CIntegerParameter::operator=(int64_t value) {
    NodeFor(__func__) = value;
    return *this;
}

int64_t CIntegerParameter::GetValue(bool verify, bool ignoreCache) {
    return NodeFor(__func__).GetValue(verify, ignoreCache);
}

int64_t CIntegerParameter::operator()() {
    return NodeFor(__func__)();
}

int64_t CIntegerParameter::operator*() {
    return *NodeFor(__func__);
}

int64_t CIntegerParameter::GetMin() {
    return NodeFor(__func__).GetMin();
}

int64_t CIntegerParameter::GetMax() {
    return NodeFor(__func__).GetMax();
}

GenApi::EIncMode CIntegerParameter::GetIncMode() {
    return NodeFor(__func__).GetIncMode();
}

int64_t CIntegerParameter::GetInc() {
    return NodeFor(__func__).GetInc();
}

GenApi::int64_autovector_t CIntegerParameter::GetListOfValidValues(bool bounded) {
    return NodeFor(__func__).GetListOfValidValues(bounded);
}

GenApi::ERepresentation CIntegerParameter::GetRepresentation() {
    return NodeFor(__func__).GetRepresentation();
}

String_t CIntegerParameter::GetUnit() {
    return NodeFor(__func__).GetUnit();
}

void CIntegerParameter::ImposeMin(int64_t value) {
    NodeFor(__func__).ImposeMin(value);
}

void CIntegerParameter::ImposeMax(int64_t value) {
    NodeFor(__func__).ImposeMax(value);
}

bool CIntegerParameter::TrySetValue(int64_t value) {
    return TrySetValueOf(Node(), value);
}

int64_t CIntegerParameter::GetValueOrDefault(int64_t defaultValue) {
    return ValueOrDefault(Node(), defaultValue);
}

bool CIntegerParameter::TrySetValue(int64_t value, EIntegerValueCorrection correction) {
    if (correction == IntegerValueCorrection_None) {
        return TrySetValue(value);
    }
    return TryWithLimits(Node(), [&](auto& node) { SetCorrected(node, value, correction); });
}

void CIntegerParameter::SetValue(int64_t value, EIntegerValueCorrection correction) {
    GenApi::IInteger& node = NodeFor(__func__);
    if (correction == IntegerValueCorrection_None) {
        node.SetValue(value, true);
    } else {
        SetCorrected(node, value, correction);
    }
}

double CIntegerParameter::GetValuePercentOfRange() {
    return PercentOfRange(NodeFor(__func__), ShareOf);
}

void CIntegerParameter::SetValuePercentOfRange(double percent) {
    SetPercent(NodeFor(__func__), percent, SetShare);
}

bool CIntegerParameter::TrySetValuePercentOfRange(double percent) {
    return TryWithLimits(Node(), [&](auto& node) { SetPercent(node, percent, SetShare); });
}

void CIntegerParameter::SetToMaximum() {
    SetMaximum(NodeFor(__func__));
}

void CIntegerParameter::SetToMinimum() {
    SetMinimum(NodeFor(__func__));
}

bool CIntegerParameter::TrySetToMaximum() {
    return TryWithLimits(Node(), SetMaximum<GenApi::IInteger>);
}

bool CIntegerParameter::TrySetToMinimum() {
    return TryWithLimits(Node(), SetMinimum<GenApi::IInteger>);
}

} // namespace Zelmo
