// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/FloatBase.h"
#include "genicam/genapi/nodes/FormulaPart.h"
#include "genicam/genapi/nodes/IntegerBase.h"

namespace GenApi {

/// Converter and IntConverter: another node's number in other units. FormulaFrom makes the shown value of the other
/// node's, called TO there; FormulaTo makes the other node's of the written one, called FROM there.
template <typename Base, typename T>
class ConverterOf final : public Base {
public:
    ConverterOf(MapCore& core, NodeIndex index) : Base(core, index), m_formula(*this) {}

    void CompileFormulas() override;

protected:
    void BindProperty(const Property& property) override;
    EAccessMode OwnMode() override;
    bool IsOwnModeCacheable() override { return m_target->IsModeCacheable() && m_formula.IsModeCacheable(); }
    /// The written value may read back a little different, so it is not kept.
    ECachingMode ComputeCaching() override {
        return Combine(WriteAround, Combine(m_target->Caching(), m_formula.Caching(m_from)));
    }
    T Evaluate(ReadMode mode) override;
    void Store(T value, bool verify) override;
    T NaturalMin() override { return Limit(true); }
    T NaturalMax() override { return Limit(false); }
    bool NaturalInc(T& inc) override;
    bool ComputeLimitsCacheable() override { return m_target->AreLimitsKept() && m_formula.Caching(m_from) != NoCache; }
    NodeBase* Origin() override { return m_target; }

private:
    T Limit(bool wantsMin);

    FormulaPart<T> m_formula;
    typename FormulaPart<T>::Program m_to{"FormulaTo", {}, "FROM", {}};
    typename FormulaPart<T>::Program m_from{"FormulaFrom", {}, "TO", {}};
    NodeBase* m_target = nullptr;
    ESlope m_slope = Automatic;
    bool m_isLinear = false;
};

using ConverterNode = ConverterOf<FloatBase, double>;
using IntConverterNode = ConverterOf<IntegerBase, std::int64_t>;
extern template class ConverterOf<FloatBase, double>;
extern template class ConverterOf<IntegerBase, std::int64_t>;

} // namespace GenApi
