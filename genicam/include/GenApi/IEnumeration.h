// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IEnumEntry.h>
#include <GenApi/IValue.h>

namespace GenApi {

/// A choice between named values. Flags and exceptions as in IValue; as text the value is the entry's symbolic name.
struct GENICAM_API IEnumeration : virtual public IValue {
    virtual void GetSymbolics(StringList_t& Symbolics) = 0; ///< Of all entries, in order, available or not.
    virtual void GetEntries(NodeList_t& Entries) = 0;       ///< All entries, in order, available or not.
    virtual IEnumeration& operator=(const gcstring& ValueStr) = 0;
    virtual void SetIntValue(int64_t Value, bool Verify = true) = 0;
    virtual gcstring operator*() = 0;
    virtual int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual IEnumEntry* GetEntryByName(const gcstring& Symbolic) = 0; ///< Null when there is no such entry.
    virtual IEnumEntry* GetEntry(const int64_t IntValue) = 0;         ///< Null when there is no such entry.
    virtual IEnumEntry* GetCurrentEntry(bool Verify = false,
                                        bool IgnoreCache = false) = 0; ///< Null for a value without an entry.
};

} // namespace GenApi
