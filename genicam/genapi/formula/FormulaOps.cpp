// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/formula/FormulaOps.h"

#include <algorithm>

namespace GenApi {

namespace {

// Two's complement without overflow: the sums are made of unsigned numbers.
std::uint64_t Bits(std::int64_t value) {
    return static_cast<std::uint64_t>(value);
}

std::int64_t Signed64(std::uint64_t bits) {
    return static_cast<std::int64_t>(bits);
}

void RefuseZeroDivisor(bool zero) {
    if (zero) {
        throw RUNTIME_EXCEPTION("Division by zero");
    }
}

std::int64_t Divide(std::int64_t left, std::int64_t right) {
    RefuseZeroDivisor(right == 0);
    return right == -1 ? Signed64(0 - Bits(left)) : left / right; // INT64_MIN / -1 wraps
}

std::int64_t Remainder(std::int64_t left, std::int64_t right) {
    RefuseZeroDivisor(right == 0);
    return right == -1 ? 0 : left % right;
}

std::int64_t NegativePower(std::int64_t base, std::int64_t exponent) {
    RefuseZeroDivisor(base == 0);
    if (base == 1) {
        return 1;
    }
    if (base == -1) {
        return exponent % 2 == 0 ? 1 : -1;
    }
    return 0;
}

std::int64_t Power(std::int64_t base, std::int64_t exponent) {
    if (exponent < 0) {
        return NegativePower(base, exponent);
    }
    std::uint64_t result = 1;
    for (std::uint64_t square = Bits(base); exponent != 0; exponent >>= 1, square *= square) {
        if (exponent & 1) {
            result *= square;
        }
    }
    return Signed64(result);
}

std::int64_t Shift(EFormulaOp op, std::int64_t value, std::int64_t count) {
    const unsigned bits = static_cast<unsigned>(count & 63);
    return op == EFormulaOp::ShiftLeft ? Signed64(Bits(value) << bits) : value >> bits;
}

template <typename T>
bool Compare(EFormulaOp op, T left, T right) {
    switch (op) {
    case EFormulaOp::Equal:
        return left == right;
    case EFormulaOp::NotEqual:
        return left != right;
    case EFormulaOp::Less:
        return left < right;
    case EFormulaOp::Greater:
        return left > right;
    case EFormulaOp::LessEqual:
        return left <= right;
    default:
        return left >= right;
    }
}

// The integer operators of the floating-point machine work on 64-bit integers.
std::int64_t ToInteger(double value) {
    if (!(value >= -0x1p63 && value < 0x1p63)) {
        throw RUNTIME_EXCEPTION("The operand %g of an integer operator does not fit into 64 bits", value);
    }
    return static_cast<std::int64_t>(value);
}

// A result that no finite argument may have: the logarithm of a negative number, for example.
double Finite(double result, double argument) {
    if (!std::isfinite(result) && std::isfinite(argument)) {
        throw RUNTIME_EXCEPTION("The result of a function of %g is not a finite number", argument);
    }
    return result;
}

double RoundToDigits(double value, double digits) {
    constexpr double maxDigits = std::numeric_limits<double>::max_exponent10;
    const double factor = std::pow(10.0, std::trunc(std::clamp(digits, -maxDigits, maxDigits)));
    const double scaled = value * factor;
    return std::isfinite(scaled) ? std::round(scaled) / factor : value; // too large to have such digits
}

/// An overflow is infinite, as that of a product; a root of what has none is no number.
double Power(double base, double exponent) {
    RefuseZeroDivisor(base == 0 && exponent < 0);
    const double result = std::pow(base, exponent);
    if (std::isnan(result) && !std::isnan(base) && !std::isnan(exponent)) {
        throw RUNTIME_EXCEPTION("The result of %g ** %g is not a number", base, exponent);
    }
    return result;
}

double Quotient(double left, double right) {
    RefuseZeroDivisor(right == 0);
    return left / right;
}

} // namespace

std::int64_t Apply(EFormulaOp op, std::int64_t value) {
    switch (op) {
    case EFormulaOp::Neg:
        return Signed64(0 - Bits(value));
    case EFormulaOp::Truth:
        return value != 0;
    case EFormulaOp::LogicalNot:
        return value == 0;
    case EFormulaOp::BitNot:
        return ~value;
    case EFormulaOp::Sgn:
        return (value > 0) - (value < 0);
    case EFormulaOp::Abs:
        return value < 0 ? Signed64(0 - Bits(value)) : value;
    default: // the rounding functions leave an integer as it is; the compiler lets no other function in
        return value;
    }
}

double Apply(EFormulaOp op, double value) {
    switch (op) {
    case EFormulaOp::Neg:
        return -value;
    case EFormulaOp::Truth:
        return value != 0;
    case EFormulaOp::LogicalNot:
        return value == 0;
    case EFormulaOp::BitNot:
        return static_cast<double>(~ToInteger(value));
    case EFormulaOp::Sgn:
        return (value > 0) - (value < 0);
    case EFormulaOp::Abs:
        return std::fabs(value);
    case EFormulaOp::Sin:
        return Finite(std::sin(value), value);
    case EFormulaOp::Cos:
        return Finite(std::cos(value), value);
    case EFormulaOp::Tan:
        return Finite(std::tan(value), value);
    case EFormulaOp::Asin:
        return Finite(std::asin(value), value);
    case EFormulaOp::Acos:
        return Finite(std::acos(value), value);
    case EFormulaOp::Atan:
        return std::atan(value);
    case EFormulaOp::Exp:
        return std::exp(value);
    case EFormulaOp::Ln:
        return Finite(std::log(value), value);
    case EFormulaOp::Lg:
        return Finite(std::log10(value), value);
    case EFormulaOp::Sqrt:
        return Finite(std::sqrt(value), value);
    case EFormulaOp::Trunc:
        return std::trunc(value);
    case EFormulaOp::Round:
        return std::round(value);
    case EFormulaOp::Floor:
        return std::floor(value);
    default:
        return std::ceil(value);
    }
}

std::int64_t Apply(EFormulaOp op, std::int64_t left, std::int64_t right) {
    switch (op) {
    case EFormulaOp::BitOr:
        return left | right;
    case EFormulaOp::BitXor:
        return left ^ right;
    case EFormulaOp::BitAnd:
        return left & right;
    case EFormulaOp::ShiftLeft:
    case EFormulaOp::ShiftRight:
        return Shift(op, left, right);
    case EFormulaOp::Add:
        return Signed64(Bits(left) + Bits(right));
    case EFormulaOp::Sub:
        return Signed64(Bits(left) - Bits(right));
    case EFormulaOp::Mul:
        return Signed64(Bits(left) * Bits(right));
    case EFormulaOp::Div:
        return Divide(left, right);
    case EFormulaOp::Mod:
        return Remainder(left, right);
    case EFormulaOp::Pow:
        return Power(left, right);
    case EFormulaOp::RoundTo:
        return left;
    default:
        return Compare(op, left, right);
    }
}

double Apply(EFormulaOp op, double left, double right) {
    switch (op) {
    case EFormulaOp::BitOr:
    case EFormulaOp::BitXor:
    case EFormulaOp::BitAnd:
    case EFormulaOp::ShiftLeft:
    case EFormulaOp::ShiftRight:
    case EFormulaOp::Mod:
        return static_cast<double>(Apply(op, ToInteger(left), ToInteger(right)));
    case EFormulaOp::Add:
        return left + right;
    case EFormulaOp::Sub:
        return left - right;
    case EFormulaOp::Mul:
        return left * right;
    case EFormulaOp::Div:
        return Quotient(left, right);
    case EFormulaOp::Pow:
        return Power(left, right);
    case EFormulaOp::RoundTo:
        return RoundToDigits(left, right);
    default:
        return Compare(op, left, right);
    }
}

} // namespace GenApi
