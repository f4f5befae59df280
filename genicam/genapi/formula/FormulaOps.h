// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/formula/Formula.h"
#include <Base/GCException.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace GenApi {

/// The instructions of the stack machine. Their order is relied on: what comes before Neg moves values and control,
/// from Neg on one value is replaced, from BitOr on the upper two values become one.
enum class EFormulaOp : std::uint8_t {
    Constant,
    Variable,
    Jump,       ///< always
    JumpIfZero, ///< takes the upper value
    AndJump,    ///< leaves 0 and jumps if the upper value is 0, else takes it
    OrJump,     ///< leaves 1 and jumps if the upper value is not 0, else takes it
    Neg,
    Truth, ///< 1 or 0
    LogicalNot,
    BitNot,
    Sgn,
    Abs,
    Sin,
    Cos,
    Tan,
    Asin,
    Acos,
    Atan,
    Exp,
    Ln,
    Lg,
    Sqrt,
    Trunc,
    Round,
    Floor,
    Ceil,
    BitOr,
    BitXor,
    BitAnd,
    Equal,
    NotEqual,
    Less,
    Greater,
    LessEqual,
    GreaterEqual,
    ShiftLeft,
    ShiftRight,
    Add,
    Sub,
    Mul,
    Div,
    Mod,
    Pow,
    RoundTo ///< the upper value is the number of decimal digits
};

constexpr bool IsBinary(EFormulaOp op) {
    return op >= EFormulaOp::BitOr;
}

/// The arithmetic of the two machines, used to fold constants and to evaluate.
/// @throws GenICam::RuntimeException as CFormula::Evaluate.
std::int64_t Apply(EFormulaOp op, std::int64_t value);
double Apply(EFormulaOp op, double value);
std::int64_t Apply(EFormulaOp op, std::int64_t left, std::int64_t right);
double Apply(EFormulaOp op, double left, double right);

} // namespace GenApi
