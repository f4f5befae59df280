// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IValue.h>

namespace GenApi {

/// A text feature. Flags and exceptions as in IValue.
struct GENICAM_API IString : virtual public IValue {
    virtual void SetValue(const gcstring& Value, bool Verify = true) = 0;
    virtual IString& operator=(const gcstring& Value) = 0;
    virtual gcstring GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual gcstring operator()() = 0;
    virtual gcstring operator*() = 0;
    virtual int64_t GetMaxLength() = 0; ///< In bytes.
};

} // namespace GenApi
