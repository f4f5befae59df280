// SPDX-License-Identifier: Apache-2.0

// Formulas, compiled and evaluated by both machines.

#include "Fuzz.h"
#include "genicam/genapi/formula/Formula.h"

#include <algorithm>
#include <limits>

namespace {

using namespace GenApi;

/// "A" to "D" are variables, "K" is the second line as a constant, "E" the third as an expression.
class Scope final : public IFormulaScope {
public:
    explicit Scope(std::string_view text) {
        for (std::string_view& line : lines) {
            line = text.substr(0, text.find('\n'));
            text.remove_prefix(std::min(line.size() + 1, text.size()));
        }
    }
    CFormulaName FindName(std::string_view name) override {
        const char base = SplitVariableName(name).Base[0];
        if (base >= 'A' && base <= 'D')
            return {EFormulaName::Variable, static_cast<std::uint32_t>(base - 'A'), {}};
        return base == 'K'   ? CFormulaName{EFormulaName::Constant, 0, lines[1]}
               : base == 'E' ? CFormulaName{EFormulaName::Expression, 0, lines[2]}
                             : CFormulaName{};
    }
    std::string_view lines[3];
};

template <typename T>
void CompileAndEvaluate(std::string_view text) {
    Scope scope(text);
    const CFormula<T> formula(scope.lines[0], scope);
    const auto& slots = formula.GetUsedSlots();
    Fuzz::Require(std::is_sorted(slots.begin(), slots.end()), "the used slots ascend");
    constexpr T values[] = {0, 1, -7, std::numeric_limits<T>::max(), std::numeric_limits<T>::lowest(), 64};
    for (std::size_t i = 0; i + 4 <= std::size(values); ++i)
        Fuzz::Try([&] { formula.Evaluate(std::span<const T>(values + i, 4)); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Fuzz::Try([&] { CompileAndEvaluate<std::int64_t>(text); });
    Fuzz::Try([&] { CompileAndEvaluate<double>(text); });
    return 0;
}
