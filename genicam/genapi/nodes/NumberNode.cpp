// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/NumberNode.h"

#include "genicam/genapi/nodes/NodeError.h"

#include <cinttypes>

namespace GenApi {

template <typename Base, typename T>
void NumberNode<Base, T>::Give(Slot& slot, const Property& property) {
    slot.isGiven = true;
    if (property.form == Form::Node) {
        slot.node = Target(property);
    } else {
        slot.node = nullptr;
        slot.constant = NumberOf<T>::Constant(Description(), property);
    }
}

template <typename Base, typename T>
void NumberNode<Base, T>::BindProperty(const Property& property) {
    switch (property.kind) {
    case PropertyKind::Value:
    case PropertyKind::pValue:
    case PropertyKind::ValueDefault:
    case PropertyKind::pValueDefault:
        Give(m_value, property);
        break;
    case PropertyKind::pValueCopy:
        (m_value.isGiven ? m_copiesAfter : m_copiesBefore).push_back(Target(property));
        break;
    case PropertyKind::pIndex:
        m_index = Target(property);
        break;
    case PropertyKind::ValueIndexed:
    case PropertyKind::pValueIndexed:
        m_indexed.emplace_back();
        Give(m_indexed.back().slot, property);
        break;
    case PropertyKind::Index:
        if (!m_indexed.empty()) {
            m_indexed.back().index = Description().IntegerOf(property);
        }
        break;
    case PropertyKind::Min:
    case PropertyKind::pMin:
        Give(m_min, property);
        break;
    case PropertyKind::Max:
    case PropertyKind::pMax:
        Give(m_max, property);
        break;
    case PropertyKind::Inc:
    case PropertyKind::pInc:
        Give(m_inc, property);
        break;
    default:
        Base::BindProperty(property);
        break;
    }
}

template <typename Base, typename T>
typename NumberNode<Base, T>::Slot* NumberNode<Base, T>::FindSelected(ReadMode mode) {
    if (m_index == nullptr) {
        return &m_value;
    }
    const std::int64_t index = m_index->ReadInteger({false, mode.ignoreCache});
    EvaluationGuard::Spend(*this, m_indexed.size() / 8);
    for (Indexed& indexed : m_indexed) {
        if (indexed.index == index) {
            return &indexed.slot;
        }
    }
    return m_value.isGiven ? &m_value : nullptr;
}

template <typename Base, typename T>
typename NumberNode<Base, T>::Slot& NumberNode<Base, T>::Selected(ReadMode mode) {
    Slot* const slot = FindSelected(mode);
    if (slot == nullptr) {
        throw NODE_EXCEPTION(OutOfRangeException, *this)("No value is given for index %" PRId64 ".",
                                                         m_index->ReadInteger(ReadMode()));
    }
    return *slot;
}

template <typename Base, typename T>
T NumberNode<Base, T>::Get(const Slot& slot, ReadMode mode) {
    return slot.node != nullptr ? NumberOf<T>::Read(*slot.node, mode) : slot.constant;
}

template <typename Base, typename T>
void NumberNode<Base, T>::Store(T value, bool verify) {
    for (NodeBase* copy : m_copiesBefore) {
        NumberOf<T>::Write(*copy, value, verify);
    }
    Slot& slot = Selected(ReadMode());
    if (slot.node != nullptr) {
        NumberOf<T>::Write(*slot.node, value, verify);
    } else {
        slot.constant = value;
    }
    for (NodeBase* copy : m_copiesAfter) {
        NumberOf<T>::Write(*copy, value, verify);
    }
}

template <typename Base, typename T>
EAccessMode NumberNode<Base, T>::OwnMode() {
    if (m_index != nullptr && !IsReadable(m_index->Mode())) {
        return NA;
    }
    const Slot* const slot = FindSelected(ReadMode());
    if (slot == nullptr) {
        return NA;
    }
    EAccessMode mode = slot->node != nullptr ? slot->node->Mode() : RW;
    EvaluationGuard::Spend(*this, (m_copiesBefore.size() + m_copiesAfter.size()) / 8);
    for (const auto* copies : {&m_copiesBefore, &m_copiesAfter}) {
        for (NodeBase* copy : *copies) {
            if (IsWritable(mode) && !IsWritable(copy->Mode())) {
                mode = Combine(mode, RO);
            }
        }
    }
    return mode;
}

template <typename Base, typename T>
template <typename Visitor>
void NumberNode<Base, T>::ForEachTarget(Visitor&& visit) {
    if (m_value.node != nullptr) {
        visit(*m_value.node);
    }
    for (const Indexed& indexed : m_indexed) {
        if (indexed.slot.node != nullptr) {
            visit(*indexed.slot.node);
        }
    }
    for (const auto* copies : {&m_copiesBefore, &m_copiesAfter}) {
        for (NodeBase* copy : *copies) {
            visit(*copy);
        }
    }
}

template <typename Base, typename T>
bool NumberNode<Base, T>::IsOwnModeCacheable() {
    // copies do not invalidate the node, so nothing tells when one of them can be written no more
    bool cacheable = m_copiesBefore.empty() && m_copiesAfter.empty() &&
                     (m_index == nullptr || (m_index->Caching() != NoCache && m_index->IsModeCacheable()));
    ForEachTarget([&cacheable](NodeBase& node) { cacheable = cacheable && node.IsModeCacheable(); });
    return cacheable;
}

/// What is written through a node of another type may be rounded there, so it is not kept as the value.
template <typename Base, typename T>
ECachingMode NumberNode<Base, T>::ComputeCaching() {
    ECachingMode caching = WriteThrough;
    ForEachTarget([&caching](NodeBase& node) {
        caching = Combine(caching, node.Caching());
        if (node.Type() != NumberOf<T>::kType) {
            caching = Combine(caching, WriteAround);
        }
    });
    return m_index != nullptr ? Combine(caching, m_index->Caching()) : caching;
}

template <typename Base, typename T>
NodeBase* NumberNode<Base, T>::LimitOrigin() {
    const Slot* const slot = FindSelected(ReadMode());
    return slot != nullptr ? slot->node : nullptr;
}

template <typename Base, typename T>
T NumberNode<Base, T>::NaturalMin() {
    if (m_min.isGiven) {
        return Get(m_min, ReadMode());
    }
    NodeBase* const origin = LimitOrigin();
    return origin != nullptr ? NumberOf<T>::Min(*origin) : Base::NaturalMin();
}

template <typename Base, typename T>
T NumberNode<Base, T>::NaturalMax() {
    if (m_max.isGiven) {
        return Get(m_max, ReadMode());
    }
    NodeBase* const origin = LimitOrigin();
    return origin != nullptr ? NumberOf<T>::Max(*origin) : Base::NaturalMax();
}

template <typename Base, typename T>
bool NumberNode<Base, T>::NaturalInc(T& inc) {
    if (m_inc.isGiven) {
        inc = Get(m_inc, ReadMode());
        return true;
    }
    NodeBase* const origin = LimitOrigin();
    if constexpr (NumberOf<T>::kType == ValueType::Integer) {
        inc = origin != nullptr && origin->Type() == ValueType::Integer ? origin->IncInteger() : 1;
        return true;
    } else {
        return origin != nullptr && origin->Type() == ValueType::Float && origin->IncFloat(inc);
    }
}

template <typename Base, typename T>
bool NumberNode<Base, T>::ComputeLimitsCacheable() {
    bool cacheable = m_index == nullptr || m_index->Caching() != NoCache;
    for (const Slot* slot : {&m_min, &m_max, &m_inc}) {
        cacheable = cacheable && (slot->node == nullptr || slot->node->Caching() != NoCache);
    }
    ForEachTarget([&cacheable](NodeBase& node) { cacheable = cacheable && node.AreLimitsKept(); });
    return cacheable;
}

template class NumberNode<IntegerBase, std::int64_t>;
template class NumberNode<FloatBase, double>;

} // namespace GenApi
