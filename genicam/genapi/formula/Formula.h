// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace GenApi {

/// What a name in a formula stands for.
enum class EFormulaName {
    Unknown,
    Variable,  ///< a value that is given at each evaluation
    Constant,  ///< a number, given as text
    Expression ///< a formula of its own over variables and constants, compiled in place as if in parentheses
};

struct CFormulaName {
    EFormulaName Kind = EFormulaName::Unknown;
    std::uint32_t Slot = 0; ///< of a variable: its index in the values given at evaluation
    std::string_view Text;  ///< of a constant or expression; needed only while the formula is compiled
};

/// The names that a formula may use; implemented by whoever owns the formula and asked only while it is compiled.
/// The built-in functions and constants are no business of it: a name found here hides a built-in constant.
class IFormulaScope {
public:
    /// @param name as it stands in the formula, with its suffix if it has one: "X", "X.Max", "X.Entry.On"
    virtual CFormulaName FindName(std::string_view name) = 0;

protected:
    ~IFormulaScope() = default;
};

/// The part of a variable's node that a suffix asks for.
enum class EVariablePart { Value, Min, Max, Inc, AccessMode, Visibility, CachingMode, Entry, Unknown };

struct CVariableName {
    std::string_view Base; ///< the name before the suffix
    EVariablePart Part = EVariablePart::Value;
    std::string_view Entry; ///< the symbolic of "X.Entry.<symbolic>" and "X.Enum.<symbolic>"
};

/// Splits a variable's name into the name proper and what its suffix asks for; suffixes are case-sensitive.
CVariableName SplitVariableName(std::string_view name);

enum class EFormulaOp : std::uint8_t;

struct CFormulaInstruction {
    EFormulaOp Op;
    std::uint32_t Operand; // a slot, an index into the constants, or the target of a jump
};

constexpr std::size_t kFormulaMaxLength = 64 * 1024; ///< of one text, in bytes
constexpr unsigned kFormulaMaxNesting = 256;         ///< of parentheses, function calls and middle operands of "?:"

/// A formula of the description language, compiled once into a flat postfix program and evaluated without allocation.
/// @p T is the machine: int64_t wraps around in two's complement, double follows IEEE 754. The operands never decide.
/// Immutable: any thread may evaluate it at any time.
template <typename T>
class CFormula {
public:
    CFormula() = default; ///< Has no program; evaluating it raises GenICam::LogicalErrorException.

    /// Compiles @p text, which is not needed afterwards.
    /// @throws GenICam::PropertyException when it is no formula; names the position (from 1) and the token.
    CFormula(std::string_view text, IFormulaScope& scope);

    /// @param variables by slot; only the used slots are looked at
    /// @throws GenICam::RuntimeException on a division by zero, a result that is infinite or no number, and where a
    ///         floating-point operand of an integer operator does not fit into 64 bits.
    T Evaluate(std::span<const T> variables) const;

    /// The slots whose variables occur in the formula, ascending. They must all be read before an evaluation, although
    /// it may turn out not to need some of them.
    const std::vector<std::uint32_t>& GetUsedSlots() const { return m_slots; }

    std::size_t GetLength() const { return m_code.size(); } ///< in instructions

private:
    template <std::size_t StackSize>
    T Run(const T* variables) const;

    std::vector<CFormulaInstruction> m_code;
    std::vector<T> m_constants;
    std::vector<std::uint32_t> m_slots;
    std::uint32_t m_depth = 0; // of the stack, in values
};

typedef CFormula<std::int64_t> CIntFormula;
typedef CFormula<double> CFloatFormula;

extern template class CFormula<std::int64_t>;
extern template class CFormula<double>;

} // namespace GenApi
