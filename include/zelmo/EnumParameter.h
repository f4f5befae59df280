// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IEnumeration.h>
#include <zelmo/Export.h>
#include <zelmo/TypedParameter.h>

#include <cstddef>
#include <cstdint>

namespace Zelmo {

/// What enumeration parameters offer beside the interface of an enumeration node. An entry is available when its access
/// mode is neither NI nor NA, and implemented when it is not NI.
struct ZELMO_API IEnumerationEx : virtual public GenApi::IEnumeration, virtual public IValueEx {
    using GenApi::IEnumeration::operator=;
    IEnumerationEx() = default;
    IEnumerationEx(const IEnumerationEx&) = default;
    IEnumerationEx& operator=(const IEnumerationEx&) = delete; // it would set nothing

    /// The name of the current entry; @p defaultValue without a node, and when it cannot be read now.
    virtual String_t GetValueOrDefault(const String_t& defaultValue) = 0;
    /// @return false, with nothing written, without a node, when it cannot be written now, and for an entry that does
    /// not exist or is not available.
    virtual bool TrySetValue(const String_t& value) = 0;

    /// Sets the first of several names whose entry is available, for features whose entries differ between cameras.
    /// @param values texts; null ends the list
    /// @throws GenICam::InvalidArgumentException for a null list; GenICam::AccessException without a node, and when no
    ///         name of the list can be set.
    virtual void SetValue(const char** values) = 0;
    /// The same, but false without a node and when it cannot be written now. "Try" says no more than that: it throws
    /// as SetValue does for a list of which no name can be set, and for a null list.
    virtual bool TrySetValue(const char** values) = 0;

    /// Whether it can be written now and the entry is available; false also when the node fails to tell.
    virtual bool CanSetValue(const String_t& value) = 0;
    virtual void SetValue(const String_t& value) = 0; ///< As FromString().
    virtual String_t GetValue() = 0;                  ///< The name of the current entry.

    virtual void GetSettableValues(StringList_t& values) = 0; ///< Replaces the list by the names of available entries.
    virtual void GetAllValues(StringList_t& values) = 0;      ///< The same with all that are implemented.

    /// A view of an entry, its texts for instance; invalid when there is no such entry.
    virtual CParameter GetEntryByNameAsParameter(const String_t& value) = 0;
    virtual CParameter GetCurrentEntryAsParameter() = 0;
};

/// Typed enumerations derive from the interface as well, so it is shared.
template <>
class ParameterBases<IEnumerationEx> : public virtual IEnumerationEx, public CParameter {};

class ZELMO_API CEnumParameter;
extern template class CTypedParameter<CEnumParameter, IEnumerationEx, GenApi::IEnumeration>;

/// A choice between named values: a view of one enumeration node. See CParameter.
class ZELMO_API CEnumParameter : public CTypedParameter<CEnumParameter, IEnumerationEx, GenApi::IEnumeration> {
public:
    /// The names of a typed enumeration, in the order of its enumerators: the first belongs to 0. What number the
    /// camera gives an entry is of no matter.
    struct Table_t {
        struct Entry {
            const char* name;
            std::size_t sizeBytes; ///< With the terminating zero.
        };
        const Entry* entries;
        std::size_t count;
    };

    using CTypedParameter::CTypedParameter;

    void GetSymbolics(StringList_t& symbolics) override;
    void GetEntries(GenApi::NodeList_t& entries) override;
    GenApi::IEnumeration& operator=(const String_t& value) override;
    void SetIntValue(int64_t value, bool verify = true) override;
    String_t operator*() override;
    int64_t GetIntValue(bool verify = false, bool ignoreCache = false) override;
    GenApi::IEnumEntry* GetEntryByName(const String_t& symbolic) override;
    GenApi::IEnumEntry* GetEntry(int64_t value) override;
    GenApi::IEnumEntry* GetCurrentEntry(bool verify = false, bool ignoreCache = false) override;

    String_t GetValueOrDefault(const String_t& defaultValue) override;
    bool TrySetValue(const String_t& value) override;
    void SetValue(const char** values) override;
    bool TrySetValue(const char** values) override;
    bool CanSetValue(const String_t& value) override;
    void SetValue(const String_t& value) override;
    String_t GetValue() override;
    void GetSettableValues(StringList_t& values) override;
    void GetAllValues(StringList_t& values) override;
    CParameter GetEntryByNameAsParameter(const String_t& value) override;
    CParameter GetCurrentEntryAsParameter() override;

protected:
    // For CEnumParameterT: an enumerator is given as its place in the table.
    void SetValue(const Table_t& table, unsigned long index, bool verify);
    unsigned long GetValue(const Table_t& table, bool verify, bool ignoreCache);
    GenApi::IEnumEntry* GetEntry(const Table_t& table, unsigned long index);
    bool CanSetValue(const Table_t& table, unsigned long index);

private:
    friend CTypedParameter;
    static constexpr char ClassName[] = "CEnumParameter";
};

} // namespace Zelmo
