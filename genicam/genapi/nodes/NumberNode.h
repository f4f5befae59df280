// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/FloatBase.h"
#include "genicam/genapi/nodes/IntegerBase.h"

namespace GenApi {

/// Integer and Float: a value of its own, that of another node, or one chosen by an index.
template <typename Base, typename T>
class NumberNode final : public Base {
public:
    using Base::Base;

protected:
    using Base::Description;
    using Base::Target;

    /// A number given as constant or by a node; or neither.
    struct Slot {
        NodeBase* node = nullptr;
        T constant{};
        bool isGiven = false;
    };
    struct Indexed {
        std::int64_t index = 0;
        Slot slot;
    };

    void BindProperty(const Property& property) override;
    EAccessMode OwnMode() override;
    bool IsOwnModeCacheable() override;
    ECachingMode ComputeCaching() override;
    T Evaluate(ReadMode mode) override { return Get(Selected(mode), mode); }
    void Store(T value, bool verify) override;
    T NaturalMin() override;
    T NaturalMax() override;
    bool NaturalInc(T& inc) override;
    bool ComputeLimitsCacheable() override;
    NodeBase* Origin() override { return m_value.node; }

private:
    void Give(Slot& slot, const Property& property);
    Slot* FindSelected(ReadMode mode); ///< by the index, or the only one; null if none is given for the index
    Slot& Selected(ReadMode mode);     ///< @throws GenICam::OutOfRangeException if there is none
    T Get(const Slot& slot, ReadMode mode);
    NodeBase* LimitOrigin(); ///< whose limits hold where no own ones are given; or null
    template <typename Visitor>
    void ForEachTarget(Visitor&& visit);

    Slot m_value; // with an index: the default
    Slot m_min, m_max, m_inc;
    NodeBase* m_index = nullptr;
    std::vector<Indexed> m_indexed;
    std::vector<NodeBase*> m_copiesBefore, m_copiesAfter; // written before and after the value, as in the file
};

using IntegerNode = NumberNode<IntegerBase, std::int64_t>;
using FloatNode = NumberNode<FloatBase, double>;
extern template class NumberNode<IntegerBase, std::int64_t>;
extern template class NumberNode<FloatBase, double>;

} // namespace GenApi
