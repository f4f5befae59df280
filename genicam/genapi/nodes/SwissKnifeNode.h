// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/FloatBase.h"
#include "genicam/genapi/nodes/FormulaPart.h"
#include "genicam/genapi/nodes/IntegerBase.h"

namespace GenApi {

/// SwissKnife and IntSwissKnife: a number that a formula computes from other nodes; read only.
template <typename Base, typename T>
class SwissKnifeOf final : public Base {
public:
    SwissKnifeOf(MapCore& core, NodeIndex index) : Base(core, index), m_formula(*this) {}

    void CompileFormulas() override { m_formula.Compile(m_program); }

protected:
    void BindProperty(const Property& property) override;
    EAccessMode OwnMode() override { return m_formula.Mode(m_program); }
    bool IsOwnModeCacheable() override { return m_formula.IsModeCacheable(); }
    ECachingMode ComputeCaching() override { return m_formula.Caching(m_program); }
    T Evaluate(ReadMode mode) override { return m_formula.Evaluate(m_program, T(), mode); }
    void Store(T value, bool verify) override;

private:
    FormulaPart<T> m_formula;
    typename FormulaPart<T>::Program m_program{"Formula", {}, {}, {}};
};

using SwissKnifeNode = SwissKnifeOf<FloatBase, double>;
using IntSwissKnifeNode = SwissKnifeOf<IntegerBase, std::int64_t>;
extern template class SwissKnifeOf<FloatBase, double>;
extern template class SwissKnifeOf<IntegerBase, std::int64_t>;

} // namespace GenApi
