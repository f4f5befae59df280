// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IValue.h>

namespace GenApi {

/// One value of an enumeration; its access mode tells whether it can be chosen now.
struct GENICAM_API IEnumEntry : virtual public IValue {
    virtual int64_t GetValue() = 0;
    virtual gcstring GetSymbolic() const = 0;
    virtual double GetNumericValue() = 0; ///< The number the entry stands for, by default its value.
    virtual bool IsSelfClearing() = 0;    ///< Whether the device leaves this value by itself once it is done.
};

} // namespace GenApi
