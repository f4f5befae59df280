// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/formula/Formula.h"
#include "genicam/genapi/formula/FormulaLexer.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace GenApi {

constexpr std::uint32_t kFormulaMaxDepth = 4096; ///< of the stack, in values

/// A compiled formula: jumps only lead forward, so every evaluation ends.
template <typename T>
struct CFormulaProgram {
    std::vector<CFormulaInstruction> Code;
    std::vector<T> Constants;
    std::uint32_t Depth = 0; ///< the most values that the stack holds at a time
};

/// Translates one formula by recursive descent. Levels of precedence, from low to high:
/// ?: (right) | || | && | bitwise or | ^ | & | = <> | < > <= >= | << >> | + - | * / % | ** (right) | prefixes.
/// Only nesting costs the compiler's own stack, and FormulaMaxNesting limits it; chains of any operator do not.
template <typename T>
class CFormulaCompiler {
public:
    explicit CFormulaCompiler(IFormulaScope& scope) : m_scope(scope) {}

    /// @throws GenICam::PropertyException as the constructor of CFormula.
    CFormulaProgram<T> Compile(std::string_view text);

private:
    struct COperator;
    struct CFunction;
    class CNesting;

    void Whole(std::string_view text);
    void Conditional();
    void Binary(unsigned minLevel);
    void Lazy(const COperator& op);
    void PowerChain();
    void Unary();
    void Primary();
    void Parentheses();
    void Number();
    void Name();
    void Call(const CFunction& function);
    void BuiltInConstant();
    void NamedConstant(std::string_view text);
    void Expression(std::string_view text);

    void Expect(std::string_view symbol);
    [[noreturn]] void Fail(std::string_view reason) const;

    void Emit(EFormulaOp op, std::uint32_t operand, int depthChange);
    void EmitConstant(T value);
    void EmitUnary(EFormulaOp op);
    void EmitBinary(EFormulaOp op);
    std::size_t EmitJump(EFormulaOp op, int depthChange);
    void LandJump(std::size_t jump);
    bool EndsWithConstants(std::size_t count) const;

    IFormulaScope& m_scope;
    CFormulaLexer m_lexer{""};
    std::string m_expression; // the name of the expression being compiled in place; empty in the formula itself
    CFormulaProgram<T> m_program;
    std::size_t m_textLength = 0; // of all that was compiled, expressions as often as they are used
    std::size_t m_foldFrom = 0;   // instructions before this one can be reached by more than one way
    std::uint32_t m_depth = 0;
    unsigned m_nesting = 0;
};

extern template class CFormulaCompiler<std::int64_t>;
extern template class CFormulaCompiler<double>;

} // namespace GenApi
