// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IBase.h>

#include <Base/GCException.h>

#include <cmath>
#include <utility>

namespace Zelmo {

// What integers and floats have in common. Number is the interface of the node: GenApi::IInteger or GenApi::IFloat.

/// Does what reads limits and then writes, if the node can be written and read now. @return whether it was done.
template <class Number, class Step>
bool TryWithLimits(Number* node, Step&& step) {
    if (!GenApi::IsWritable(node) || !GenApi::IsReadable(node)) {
        return false;
    }
    std::forward<Step>(step)(*node);
    return true;
}

template <class Number>
void SetMinimum(Number& node) {
    node.SetValue(node.GetMin(), true);
}

template <class Number>
void SetMaximum(Number& node) {
    node.SetValue(node.GetMax(), true);
}

/// Into the range; what is not a number becomes the maximum.
inline double Clip(double value, double min, double max) {
    const double raised = value < min ? min : value;
    return raised <= max ? raised : max;
}

/// Where a node's value stands in its range. @p share gives it from value, minimum and maximum, 1.0 for the maximum.
template <class Number, class Share>
double PercentOfRange(Number& node, Share&& share) {
    const auto min = node.GetMin();
    const auto max = node.GetMax();
    const auto value = node.GetValue(false, false);
    if (min == max || max == value) {
        return 100.0;
    }
    if (min == value) {
        return 0.0;
    }
    return Clip(share(value, min, max) * 100.0, 0.0, 100.0);
}

/// The number at a share of a range. Neither step can leave the range of double, nor is rounded twice.
inline double PointOfRange(double min, double max, double share) {
    return std::fma(max, share, std::fma(-min, share, min));
}

/// Sets a share of the range of a node: a limit, or with @p setShare what lies between them.
template <class Number, class SetShare>
void SetPercent(Number& node, double percent, SetShare&& setShare) {
    if (std::isnan(percent)) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot set a percentage that is not a number.");
    }
    if (percent <= 0.0) {
        SetMinimum(node);
    } else if (percent >= 100.0) {
        SetMaximum(node);
    } else {
        setShare(node, percent / 100.0);
    }
}

} // namespace Zelmo
