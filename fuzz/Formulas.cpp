// Formulas: a line is the formula, each further one a constant or an expression that it may use; both machines.

#include "Fuzz.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "genicam/genapi/formula/Formula.h"

namespace {

using namespace GenApi;

/// "A" to "D" are variables, "K0", "K1"… the further lines as constants, "E0", "E1"… the same as expressions.
class Scope final : public IFormulaScope {
public:
    explicit Scope(std::string_view text) {
        for (std::size_t end = 0; end != std::string_view::npos; text.remove_prefix(end + 1)) {
            end = text.find('\n');
            lines.push_back(text.substr(0, end));
            if (end == std::string_view::npos)
                break;
        }
    }
    CFormulaName FindName(std::string_view name) override {
        const CVariableName variable = SplitVariableName(name);
        if (variable.Base.size() == 1 && variable.Base[0] >= 'A' && variable.Base[0] <= 'D')
            return {EFormulaName::Variable, static_cast<std::uint32_t>(variable.Base[0] - 'A'), {}};
        if (name.size() != 2 || name[1] < '0' || static_cast<std::size_t>(name[1] - '0') + 1 >= lines.size())
            return {};
        const std::string_view line = lines[static_cast<std::size_t>(name[1] - '0') + 1];
        return name[0] == 'K'   ? CFormulaName{EFormulaName::Constant, 0, line}
               : name[0] == 'E' ? CFormulaName{EFormulaName::Expression, 0, line}
                                : CFormulaName{};
    }
    std::vector<std::string_view> lines;
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
