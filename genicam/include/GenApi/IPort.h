// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IBase.h>

namespace GenApi {

/// The address of a chunk port at which the memory address of the chunk's data can be read, as 8 bytes in host order.
constexpr int64_t CHUNK_BASE_ADDRESS_REGISTER = INT64_MAX;
constexpr int64_t CHUNK_BASE_ADDRESS_REGISTER_LEN = 8;

/// The address of a chunk port at which the length of the chunk's data can be read, as 8 bytes in host order.
constexpr int64_t CHUNK_LENGTH_REGISTER = INT64_MAX - 15;
constexpr int64_t CHUNK_LENGTH_REGISTER_LEN = 8;

/// Access to the memory of a device; addresses and lengths are in bytes.
/// Called under the lock of the node map. A failure is reported by an exception, which reaches the caller unchanged.
struct GENICAM_API IPort : virtual public IBase {
    virtual void Read(void* pBuffer, int64_t Address, int64_t Length) = 0;
    virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0;
};

} // namespace GenApi
