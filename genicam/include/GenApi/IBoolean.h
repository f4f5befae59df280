// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IValue.h>

namespace GenApi {

/// A feature that is true or false. Flags and exceptions as in IValue.
struct GENICAM_API IBoolean : virtual public IValue {
    virtual void SetValue(bool Value, bool Verify = true) = 0;
    virtual void operator=(bool Value) { SetValue(Value); }
    virtual bool GetValue(bool Verify = false, bool IgnoreCache = false) const = 0;
    virtual bool operator()() const { return GetValue(); }
};

} // namespace GenApi
