// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Info.h>

#include <functional>
#include <map>
#include <string_view>

namespace Zelmo {

/// Decides whether two values of one property count as equal.
class IPropertyValueComparer {
public:
    virtual bool AreEqual(const String_t& name, const String_t& value, const String_t& otherValue) const = 0;

protected:
    ~IPropertyValueComparer() = default;
};

/// An ordered map from property name to value that remembers whether it was changed.
class CPropertyBag : public IProperties {
public:
    static bool IsHiddenProperty(std::string_view name) { return !name.empty() && name.front() == '_'; }

    int GetPropertyNames(StringList_t& names) const override;
    bool GetPropertyAvailable(const String_t& name) const override { return Find(name.view()) != nullptr; }
    bool GetPropertyValue(const String_t& name, String_t& value) const override;
    CPropertyBag& SetPropertyValue(const String_t& name, const String_t& value) override;
    bool IsSubset(const IProperties& other) const override { return IsSubset(other, nullptr); }

    /// With a null comparer values must be equal texts.
    bool IsSubset(const IProperties& other, const IPropertyValueComparer* comparer) const;

    /// The value without a copy, null when there is no such property; valid until the property changes.
    const String_t* Find(std::string_view name) const;

    int GetCount() const; ///< Properties that are not hidden. @throws GenICam::RuntimeException beyond 31 bits.

    bool IsModified() const { return m_modified; } ///< A value was replaced.
    bool IsExtended() const { return m_extended; } ///< A property was added.
    void ClearAccessFlags() { m_modified = m_extended = false; }

    /// Same names and values, hidden ones included; the flags do not matter.
    bool HasSameContent(const CPropertyBag& other) const { return m_properties == other.m_properties; }

private:
    struct Less {
        using is_transparent = void;
        bool operator()(std::string_view a, std::string_view b) const { return a < b; }
        bool operator()(const String_t& a, const String_t& b) const { return a < b; }
        bool operator()(const String_t& a, std::string_view b) const { return a.view() < b; }
        bool operator()(std::string_view a, const String_t& b) const { return a < b.view(); }
    };

    std::map<String_t, String_t, Less> m_properties;
    bool m_modified = false;
    bool m_extended = false;
};

/// The inside of an info object.
class CInfoImpl final : public CPropertyBag {
public:
    bool IsUserProvided() const { return m_userProvided; }
    void ClearUserProvidedFlag() { m_userProvided = false; }

private:
    bool m_userProvided = true;
};

} // namespace Zelmo
