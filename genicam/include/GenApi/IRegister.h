// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IValue.h>

namespace GenApi {

/// A range of bytes of the device. Flags and exceptions as in IValue; lengths and addresses are in bytes.
struct GENICAM_API IRegister : virtual public IValue {
    /// Writes @p Length bytes; what is missing to the register's length is written as zeros.
    virtual void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) = 0;
    /// Reads the first @p Length bytes.
    virtual void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false, bool IgnoreCache = false) = 0;
    virtual int64_t GetLength() = 0;
    virtual int64_t GetAddress() = 0;
};

} // namespace GenApi
