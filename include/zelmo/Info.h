// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/TList.h>
#include <zelmo/Types.h>
#include <zelmo/internal/InfoProperty.h>

namespace Zelmo {

class CInfoImpl;
class IPropertyValueComparer;

/// A bag of named texts. A property whose name begins with "_" is hidden: it is stored and read like any other, but
/// GetPropertyNames leaves it out, so that it takes no part in a subset test when it stands in the pattern.
class ZELMO_API IProperties {
public:
    /// Appends the names that are not hidden, in ascending order. @return the new size of @p names.
    /// @throws GenICam::OutOfRangeException when that does not fit the result.
    virtual int GetPropertyNames(StringList_t& names) const = 0;
    virtual bool GetPropertyAvailable(const String_t& name) const = 0;
    /// @return false, and leaves @p value alone, when there is no such property.
    virtual bool GetPropertyValue(const String_t& name, String_t& value) const = 0;
    virtual IProperties& SetPropertyValue(const String_t& name, const String_t& value) = 0;
    /// Whether this object satisfies the pattern @p other: it has each property that @p other lists, with an equal
    /// value. An empty pattern is satisfied by everything.
    virtual bool IsSubset(const IProperties& other) const = 0;
    virtual ~IProperties() = default;
};

/// What is known of a transport layer, an interface or a device without opening it: a bag of texts with typed
/// accessors. Serves as a result of enumerations, as a pattern to look for, and as a sort key.
///
/// Each property X has GetX(), which gives "N/A" when X is absent, SetX(value), which returns the object for chaining,
/// and IsXAvailable(). A copy shares nothing with its source. Threads: an object belongs to one thread at a time.
class ZELMO_API CInfoBase : public IProperties {
public:
    int GetPropertyNames(StringList_t& names) const override;
    bool GetPropertyAvailable(const String_t& name) const override;
    bool GetPropertyValue(const String_t& name, String_t& value) const override;
    CInfoBase& SetPropertyValue(const String_t& name, const String_t& value) override;
    bool IsSubset(const IProperties& other) const override;

    /// True for objects that an application made; transport layers clear it on those that they enumerate.
    virtual bool IsUserProvided() const;
    ~CInfoBase() override;

    CInfoBase();
    CInfoBase(const CInfoBase& other);
    CInfoBase(CInfoBase&& other) noexcept; ///< Leaves @p other without properties.
    CInfoBase& operator=(const CInfoBase& other);
    CInfoBase& operator=(CInfoBase&& other) noexcept;

    void ClearUserProvidedFlag();
    static String_t GetPropertyNotAvailable(); ///< "N/A"

    /// Same properties with same values, hidden ones included.
    bool operator==(const CInfoBase& other) const;
    bool operator!=(const CInfoBase& other) const { return !(*this == other); }

    /// The order of transport layers in lists: by device class, known kinds of transport first and in their rank, then
    /// unknown ones by name, emulated cameras last. Objects of one class are equivalent.
    bool operator<(const CInfoBase& other) const;

    ZELMO_INFO_PROPERTY(CInfoBase, FriendlyName, "FriendlyName") ///< Name for display.
    ZELMO_INFO_PROPERTY(CInfoBase, FullName, "FullName")         ///< Unique within the transport layer.
    ZELMO_INFO_PROPERTY(CInfoBase, VendorName, "VendorName")     ///< Maker.
    ZELMO_INFO_PROPERTY(CInfoBase, DeviceClass, "DeviceClass")   ///< Decides which transport layer serves a device.
    ZELMO_INFO_PROPERTY(CInfoBase, TLType, "TLType")             ///< Kind of transport.

protected:
    bool IsSubset(const IProperties& other, const IPropertyValueComparer* comparer) const;

    /// The text of a property without a copy, "N/A" when it is absent; valid until the property changes.
    const String_t& Property(const char* key) const;

private:
    CInfoImpl* m_impl; // null only in an object that was moved from, which reads as one without properties
    CInfoImpl& Impl();
    const CInfoImpl& Impl() const;
};

/// What is known of a transport layer: one entry of a plug-in.
class ZELMO_API CTlInfo : public CInfoBase {
public:
    /// The one operation with its code in the library: so its table stands there, and not in each plug-in that makes
    /// an info, which is gone before its infos are.
    bool IsSubset(const IProperties& other) const override;

    ZELMO_INFO_PROPERTY(CTlInfo, FileName, "FileName")   ///< File of the plug-in.
    ZELMO_INFO_PROPERTY(CTlInfo, InfoID, "InfoID")       ///< Identifier of the entry.
    ZELMO_INFO_PROPERTY(CTlInfo, ModelName, "ModelName") ///< Name of the transport layer.
    ZELMO_INFO_PROPERTY(CTlInfo, Version, "Version")     ///< Version of the transport layer.
};

/// What is known of an interface: a point in a transport layer to which devices attach.
class ZELMO_API CInterfaceInfo : public CInfoBase {
public:
    bool IsSubset(const IProperties& other) const override; ///< Here for the same reason as that of CTlInfo.

    /// By interface identifier within one device class.
    bool operator<(const CInterfaceInfo& other) const;

    ZELMO_INFO_PROPERTY(CInterfaceInfo, InterfaceID, "InterfaceID") ///< Identifier of the interface.
};

using TlInfoList = TList<CTlInfo>;
using InterfaceInfoList = TList<CInterfaceInfo>;

extern template class TList<CTlInfo>;
extern template class TList<CInterfaceInfo>;

} // namespace Zelmo
