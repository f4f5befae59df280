// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/PropertyBag.h"

#include <Base/GCAllocating.h>
#include <Base/GCException.h>
#include <Base/GCUtilities.h>

#include <algorithm>

namespace Zelmo {

int CPropertyBag::GetPropertyNames(StringList_t& names) const {
    for (const auto& [name, value] : m_properties) {
        if (!IsHiddenProperty(name.view())) {
            names.push_back(name);
        }
    }
    if (names.size() >= 0x80000000u) {
        throw OUT_OF_RANGE_EXCEPTION("Property Name list too long");
    }
    return static_cast<int>(names.size());
}

bool CPropertyBag::GetPropertyValue(const String_t& name, String_t& value) const {
    const String_t* const found = Find(name.view());
    if (found) {
        value = *found;
    }
    return found != nullptr;
}

CPropertyBag& CPropertyBag::SetPropertyValue(const String_t& name, const String_t& value) {
    const bool added = GenICam::Allocating([&] { return m_properties.insert_or_assign(name, value).second; });
    (added ? m_extended : m_modified) = true;
    return *this;
}

bool CPropertyBag::IsSubset(const IProperties& other, const IPropertyValueComparer* comparer) const {
    StringList_t names;
    other.GetPropertyNames(names);
    return std::all_of(names.begin(), names.end(), [&](const String_t& name) {
        const String_t* const value = Find(name.view());
        if (!value) {
            return false;
        }
        String_t otherValue;
        other.GetPropertyValue(name, otherValue);
        return comparer ? comparer->AreEqual(name, *value, otherValue) : *value == otherValue;
    });
}

const String_t* CPropertyBag::Find(std::string_view name) const {
    const auto it = m_properties.find(name);
    return it == m_properties.end() ? nullptr : &it->second;
}

int CPropertyBag::GetCount() const {
    const auto hidden = std::count_if(m_properties.begin(), m_properties.end(),
                                      [](const auto& property) { return IsHiddenProperty(property.first.view()); });
    return GenICam::INTEGRAL_CAST2<int>(m_properties.size()) - static_cast<int>(hidden);
}

} // namespace Zelmo
