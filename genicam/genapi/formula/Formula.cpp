// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/formula/Formula.h"

#include "genicam/genapi/formula/FormulaCompiler.h"
#include "genicam/genapi/formula/FormulaOps.h"
#include <Base/GCException.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>
#include <utility>

namespace GenApi {

namespace {

constexpr std::uint32_t kUsualDepth = 32; // a larger stack is set up only for the rare formula that needs it

std::vector<std::uint32_t> CollectSlots(const std::vector<CFormulaInstruction>& code) {
    std::vector<std::uint32_t> slots;
    for (const CFormulaInstruction& step : code) {
        if (step.Op == EFormulaOp::Variable) {
            slots.push_back(step.Operand);
        }
    }
    std::sort(slots.begin(), slots.end());
    slots.erase(std::unique(slots.begin(), slots.end()), slots.end());
    return slots;
}

} // namespace

CVariableName SplitVariableName(std::string_view name) {
    using enum EVariablePart;
    constexpr std::array<std::pair<std::string_view, EVariablePart>, 7> suffixes = {{{"Value", Value},
                                                                                     {"Min", Min},
                                                                                     {"Max", Max},
                                                                                     {"Inc", Inc},
                                                                                     {"AccessMode", AccessMode},
                                                                                     {"Visibility", Visibility},
                                                                                     {"CachingMode", CachingMode}}};
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos) {
        return {name, Value, {}};
    }
    const std::string_view base = name.substr(0, dot);
    const std::string_view suffix = name.substr(dot + 1);
    for (const auto& [text, part] : suffixes) {
        if (suffix == text) {
            return {base, part, {}};
        }
    }
    for (const std::string_view prefix : {"Entry.", "Enum."}) {
        if (suffix.size() > prefix.size() && suffix.substr(0, prefix.size()) == prefix) {
            return {base, EVariablePart::Entry, suffix.substr(prefix.size())};
        }
    }
    return {base, Unknown, {}};
}

template <typename T>
CFormula<T>::CFormula(std::string_view text, IFormulaScope& scope) {
    CFormulaProgram<T> program = CFormulaCompiler<T>(scope).Compile(text);
    m_slots = CollectSlots(program.Code);
    m_code = std::move(program.Code);
    m_constants = std::move(program.Constants);
    m_depth = program.Depth;
    m_code.shrink_to_fit();
    m_constants.shrink_to_fit();
}

template <typename T>
T CFormula<T>::Evaluate(std::span<const T> variables) const {
    if (m_code.empty()) {
        throw LOGICAL_ERROR_EXCEPTION("There is no formula to evaluate");
    }
    if (!m_slots.empty() && m_slots.back() >= variables.size()) {
        throw LOGICAL_ERROR_EXCEPTION("The formula needs %u variables, not %zu", m_slots.back() + 1, variables.size());
    }
    const T result =
        m_depth <= kUsualDepth ? Run<kUsualDepth>(variables.data()) : Run<kFormulaMaxDepth>(variables.data());
    if constexpr (std::is_same_v<T, double>) {
        if (!std::isfinite(result)) {
            throw RUNTIME_EXCEPTION("The result %g of the formula is not a finite number", std::fabs(result));
        }
    }
    return result;
}

template <typename T>
template <std::size_t StackSize>
T CFormula<T>::Run(const T* variables) const {
    T stack[StackSize];
    T* top = stack; // one past the upper value
    const CFormulaInstruction* const code = m_code.data();
    const std::size_t size = m_code.size();
    for (std::size_t at = 0; at < size; ++at) {
        const CFormulaInstruction step = code[at];
        switch (step.Op) {
        case EFormulaOp::Constant:
            *top++ = m_constants[step.Operand];
            break;
        case EFormulaOp::Variable:
            *top++ = variables[step.Operand];
            break;
        case EFormulaOp::Jump:
            at = step.Operand - 1;
            break;
        case EFormulaOp::JumpIfZero:
            if (*--top == 0) {
                at = step.Operand - 1;
            }
            break;
        case EFormulaOp::AndJump:
        case EFormulaOp::OrJump:
            if ((top[-1] != 0) == (step.Op == EFormulaOp::OrJump)) {
                top[-1] = step.Op == EFormulaOp::OrJump;
                at = step.Operand - 1;
            } else {
                --top;
            }
            break;
        default:
            if (IsBinary(step.Op)) {
                --top;
                top[-1] = Apply(step.Op, top[-1], top[0]);
            } else {
                top[-1] = Apply(step.Op, top[-1]);
            }
        }
    }
    return top[-1];
}

template class CFormula<std::int64_t>;
template class CFormula<double>;

} // namespace GenApi
