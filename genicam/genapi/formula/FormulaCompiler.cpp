// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/formula/FormulaCompiler.h"

#include "genicam/genapi/formula/FormulaOps.h"
#include "genicam/genapi/model/TextForms.h"
#include <Base/GCException.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <type_traits>
#include <utility>

namespace GenApi {

namespace {

// An expression may be used thousands of times, and each use compiles its text again.
constexpr std::size_t kMaxTextLength = 1024 * 1024;

// Descriptions write "4.0" in integer formulas: a fraction of zero says the same as none.
std::optional<std::int64_t> IntegralValue(std::string_view text) {
    const std::optional<double> value = ParseFloat(text);
    if (!value || !(std::fabs(*value) < 0x1p63) || *value != std::trunc(*value)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(*value);
}

template <typename T>
std::optional<T> ParseNumber(std::string_view text) {
    if constexpr (std::is_same_v<T, double>) {
        return ParseFloat(text);
    } else {
        const std::optional<std::int64_t> value = ParseInteger(text);
        return value ? value : IntegralValue(text);
    }
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; };
        return upper(x) == upper(y);
    });
}

} // namespace

template <typename T>
struct CFormulaCompiler<T>::COperator {
    std::string_view Symbol;
    unsigned Level;
    EFormulaOp Op;

    static const COperator* Find(const CFormulaLexer& lexer) {
        static constexpr std::array<COperator, 21> kTable = {{
            {"||", 2, EFormulaOp::OrJump},       {"&&", 3, EFormulaOp::AndJump},   {"|", 4, EFormulaOp::BitOr},
            {"^", 5, EFormulaOp::BitXor},        {"&", 6, EFormulaOp::BitAnd},     {"=", 7, EFormulaOp::Equal},
            {"==", 7, EFormulaOp::Equal},        {"<>", 7, EFormulaOp::NotEqual},  {"!=", 7, EFormulaOp::NotEqual},
            {"<", 8, EFormulaOp::Less},          {">", 8, EFormulaOp::Greater},    {"<=", 8, EFormulaOp::LessEqual},
            {">=", 8, EFormulaOp::GreaterEqual}, {"<<", 9, EFormulaOp::ShiftLeft}, {">>", 9, EFormulaOp::ShiftRight},
            {"+", 10, EFormulaOp::Add},          {"-", 10, EFormulaOp::Sub},       {"*", 11, EFormulaOp::Mul},
            {"/", 11, EFormulaOp::Div},          {"%", 11, EFormulaOp::Mod},       {"**", 12, EFormulaOp::Pow},
        }};
        const auto found =
            std::find_if(kTable.begin(), kTable.end(), [&](const COperator& op) { return lexer.Is(op.Symbol); });
        return found == kTable.end() ? nullptr : &*found;
    }
};

template <typename T>
struct CFormulaCompiler<T>::CFunction {
    std::string_view Name;
    EFormulaOp Op;
    bool ForIntegers;

    static const CFunction* Find(std::string_view name) {
        static constexpr std::array<CFunction, 17> kTable = {{
            {"SGN", EFormulaOp::Sgn, true},
            {"NEG", EFormulaOp::Neg, true},
            {"ABS", EFormulaOp::Abs, true},
            {"TRUNC", EFormulaOp::Trunc, true},
            {"ROUND", EFormulaOp::Round, true},
            {"FLOOR", EFormulaOp::Floor, true},
            {"CEIL", EFormulaOp::Ceil, true},
            {"SIN", EFormulaOp::Sin, false},
            {"COS", EFormulaOp::Cos, false},
            {"TAN", EFormulaOp::Tan, false},
            {"ASIN", EFormulaOp::Asin, false},
            {"ACOS", EFormulaOp::Acos, false},
            {"ATAN", EFormulaOp::Atan, false},
            {"EXP", EFormulaOp::Exp, false},
            {"LN", EFormulaOp::Ln, false},
            {"LG", EFormulaOp::Lg, false},
            {"SQRT", EFormulaOp::Sqrt, false},
        }};
        const auto found = std::find_if(kTable.begin(), kTable.end(), [&](const CFunction& function) {
            return EqualsIgnoringCase(function.Name, name);
        });
        return found == kTable.end() ? nullptr : &*found;
    }
};

/// Counts how deep the descent is.
template <typename T>
class CFormulaCompiler<T>::CNesting {
public:
    explicit CNesting(CFormulaCompiler& compiler) : m_compiler(compiler) {
        if (m_compiler.m_nesting == kFormulaMaxNesting) {
            m_compiler.Fail("nested too deep");
        }
        ++m_compiler.m_nesting;
    }
    ~CNesting() { --m_compiler.m_nesting; }
    CNesting(const CNesting&) = delete;
    CNesting& operator=(const CNesting&) = delete;

private:
    CFormulaCompiler& m_compiler;
};

template <typename T>
CFormulaProgram<T> CFormulaCompiler<T>::Compile(std::string_view text) {
    if (text.size() > kFormulaMaxLength) {
        throw PROPERTY_EXCEPTION("The formula of %zu bytes is longer than %zu bytes", text.size(), kFormulaMaxLength);
    }
    Whole(text);
    return std::move(m_program);
}

template <typename T>
void CFormulaCompiler<T>::Whole(std::string_view text) {
    m_textLength += text.size();
    if (m_textLength > kMaxTextLength) {
        Fail("the expressions make the formula too long");
    }
    m_lexer = CFormulaLexer(text);
    Conditional();
    if (m_lexer.Kind() != CFormulaLexer::EToken::End) {
        Fail("operator expected");
    }
}

// The last operand is where long chains of conditions grow: it is taken by going round, not by descending.
template <typename T>
void CFormulaCompiler<T>::Conditional() {
    std::vector<std::size_t> ends;
    for (Binary(0); m_lexer.Is("?"); Binary(0)) {
        m_lexer.Next();
        const std::size_t otherwise = EmitJump(EFormulaOp::JumpIfZero, -1);
        {
            const CNesting nesting(*this);
            Conditional();
        }
        Expect(":");
        ends.push_back(EmitJump(EFormulaOp::Jump, -1)); // the other branch starts with the stack as it was
        LandJump(otherwise);
    }
    for (const std::size_t end : ends) {
        LandJump(end);
    }
}

template <typename T>
void CFormulaCompiler<T>::Binary(unsigned minLevel) {
    Unary();
    for (;;) {
        const COperator* const op = COperator::Find(m_lexer);
        if (!op || op->Level < minLevel) {
            return;
        }
        if (op->Op == EFormulaOp::Pow) {
            PowerChain();
            continue;
        }
        m_lexer.Next();
        if (op->Op == EFormulaOp::AndJump || op->Op == EFormulaOp::OrJump) {
            Lazy(*op);
        } else {
            Binary(op->Level + 1);
            EmitBinary(op->Op);
        }
    }
}

template <typename T>
void CFormulaCompiler<T>::Lazy(const COperator& op) {
    const std::size_t decided = EmitJump(op.Op, -1);
    Binary(op.Level + 1);
    EmitUnary(EFormulaOp::Truth);
    LandJump(decided);
}

// Right-associative: all operands first, then the operators from the right.
template <typename T>
void CFormulaCompiler<T>::PowerChain() {
    std::size_t operators = 0;
    for (; m_lexer.Is("**"); ++operators) {
        m_lexer.Next();
        Unary();
    }
    while (operators-- > 0) {
        EmitBinary(EFormulaOp::Pow);
    }
}

template <typename T>
void CFormulaCompiler<T>::Unary() {
    std::string prefixes;
    for (; m_lexer.Is("+") || m_lexer.Is("-") || m_lexer.Is("~") || m_lexer.Is("!"); m_lexer.Next()) {
        prefixes += m_lexer.Token();
    }
    Primary();
    std::for_each(prefixes.rbegin(), prefixes.rend(), [this](char prefix) {
        if (prefix != '+') {
            EmitUnary(prefix == '-' ? EFormulaOp::Neg : prefix == '~' ? EFormulaOp::BitNot : EFormulaOp::LogicalNot);
        }
    });
}

template <typename T>
void CFormulaCompiler<T>::Primary() {
    if (m_lexer.Is("(")) {
        return Parentheses();
    }
    switch (m_lexer.Kind()) {
    case CFormulaLexer::EToken::Number:
        return Number();
    case CFormulaLexer::EToken::Name:
        return Name();
    default:
        Fail("operand expected");
    }
}

template <typename T>
void CFormulaCompiler<T>::Parentheses() {
    const CNesting nesting(*this);
    Expect("(");
    Conditional();
    Expect(")");
}

template <typename T>
void CFormulaCompiler<T>::Number() {
    const std::optional<T> value = ParseNumber<T>(m_lexer.Token());
    if (!value) {
        Fail(std::is_same_v<T, double> ? "not a number" : "not a 64-bit integer");
    }
    EmitConstant(*value);
    m_lexer.Next();
}

template <typename T>
void CFormulaCompiler<T>::Name() {
    const std::string_view name = m_lexer.Token();
    const CFunction* const function = m_lexer.IsFollowedBy('(') ? CFunction::Find(name) : nullptr;
    if (function) {
        return Call(*function);
    }
    const CFormulaName found = m_scope.FindName(name);
    switch (found.Kind) {
    case EFormulaName::Variable:
        Emit(EFormulaOp::Variable, found.Slot, +1);
        break;
    case EFormulaName::Constant:
        NamedConstant(found.Text);
        break;
    case EFormulaName::Expression:
        Expression(found.Text);
        break;
    case EFormulaName::Unknown:
        return BuiltInConstant();
    }
    m_lexer.Next();
}

template <typename T>
void CFormulaCompiler<T>::Call(const CFunction& function) {
    if (!function.ForIntegers && !std::is_same_v<T, double>) {
        Fail("no function of integer formulas");
    }
    const CNesting nesting(*this);
    m_lexer.Next();
    Expect("(");
    Conditional();
    const bool hasDigits = function.Op == EFormulaOp::Round && m_lexer.Is(",");
    if (hasDigits) {
        m_lexer.Next();
        Conditional();
    }
    Expect(")");
    if (hasDigits) {
        EmitBinary(EFormulaOp::RoundTo);
    } else {
        EmitUnary(function.Op);
    }
}

template <typename T>
void CFormulaCompiler<T>::BuiltInConstant() {
    if constexpr (std::is_same_v<T, double>) {
        const bool pi = EqualsIgnoringCase(m_lexer.Token(), "PI");
        if (pi || EqualsIgnoringCase(m_lexer.Token(), "E")) {
            EmitConstant(pi ? std::numbers::pi : std::numbers::e);
            m_lexer.Next();
            if (m_lexer.Is("(")) {
                m_lexer.Next();
                Expect(")");
            }
            return;
        }
    }
    Fail("unknown name");
}

template <typename T>
void CFormulaCompiler<T>::NamedConstant(std::string_view text) {
    const std::optional<T> value = ParseNumber<T>(text);
    if (!value) {
        Fail("the constant '" + std::string(text.substr(0, 40)) + "' is not a number of this formula");
    }
    EmitConstant(*value);
}

template <typename T>
void CFormulaCompiler<T>::Expression(std::string_view text) {
    if (!m_expression.empty()) {
        Fail("an expression cannot use another one");
    }
    const CNesting nesting(*this);
    const CFormulaLexer outer = m_lexer;
    m_expression = outer.Token();
    Whole(text);
    m_expression.clear();
    m_lexer = outer;
}

template <typename T>
void CFormulaCompiler<T>::Expect(std::string_view symbol) {
    if (!m_lexer.Is(symbol)) {
        Fail("'" + std::string(symbol) + "' expected");
    }
    m_lexer.Next();
}

template <typename T>
void CFormulaCompiler<T>::Fail(std::string_view reason) const {
    const std::string where = m_expression.empty() ? "" : "In expression '" + m_expression + "': ";
    throw PROPERTY_EXCEPTION(where + m_lexer.Describe(reason));
}

template <typename T>
void CFormulaCompiler<T>::Emit(EFormulaOp op, std::uint32_t operand, int depthChange) {
    m_program.Code.push_back({op, operand});
    m_depth += static_cast<std::uint32_t>(depthChange);
    if (m_depth > kFormulaMaxDepth) {
        Fail("too many operands are pending");
    }
    m_program.Depth = std::max(m_program.Depth, m_depth);
}

template <typename T>
void CFormulaCompiler<T>::EmitConstant(T value) {
    m_program.Constants.push_back(value);
    Emit(EFormulaOp::Constant, static_cast<std::uint32_t>(m_program.Constants.size() - 1), +1);
}

template <typename T>
bool CFormulaCompiler<T>::EndsWithConstants(std::size_t count) const {
    const auto& code = m_program.Code;
    return code.size() >= m_foldFrom + count &&
           std::all_of(code.end() - static_cast<std::ptrdiff_t>(count), code.end(),
                       [](const CFormulaInstruction& step) { return step.Op == EFormulaOp::Constant; });
}

// What cannot be computed now fails when it is evaluated, if it ever is: it may stand in a branch never taken.
template <typename T>
void CFormulaCompiler<T>::EmitUnary(EFormulaOp op) {
    if (EndsWithConstants(1)) {
        try {
            m_program.Constants.back() = Apply(op, m_program.Constants.back());
            return;
        } catch (const GenICam::RuntimeException&) {
        }
    }
    Emit(op, 0, 0);
}

template <typename T>
void CFormulaCompiler<T>::EmitBinary(EFormulaOp op) {
    if (EndsWithConstants(2)) {
        auto& constants = m_program.Constants;
        try {
            constants[constants.size() - 2] = Apply(op, constants[constants.size() - 2], constants.back());
            constants.pop_back();
            m_program.Code.pop_back();
            --m_depth;
            return;
        } catch (const GenICam::RuntimeException&) {
        }
    }
    Emit(op, 0, -1);
}

template <typename T>
std::size_t CFormulaCompiler<T>::EmitJump(EFormulaOp op, int depthChange) {
    Emit(op, 0, depthChange);
    m_foldFrom = m_program.Code.size();
    return m_program.Code.size() - 1;
}

template <typename T>
void CFormulaCompiler<T>::LandJump(std::size_t jump) {
    m_program.Code[jump].Operand = static_cast<std::uint32_t>(m_program.Code.size());
    m_foldFrom = m_program.Code.size();
}

template class CFormulaCompiler<std::int64_t>;
template class CFormulaCompiler<double>;

} // namespace GenApi
