// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>
#include <GenApi/PortImpl.h>

#include <cstring>

namespace GenApi {

/// A block of memory as a port, for tests: the members of the plain struct @p CDataStruct are the registers.
/// The block begins at a base address, in bytes; all memory is zero at first.
template <class CDataStruct>
class CTestPortStruct : public CDataStruct, public CPortImpl {
public:
    explicit CTestPortStruct(int64_t BaseAddress = 0) : CDataStruct(), m_baseAddress(BaseAddress) {}

    EAccessMode GetAccessMode() const override { return RW; }

    void Read(void* pBuffer, int64_t Address, int64_t Length) override {
        std::memcpy(pBuffer, Locate(Address, Length), static_cast<size_t>(Length));
    }
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
        std::memcpy(Locate(Address, Length), pBuffer, static_cast<size_t>(Length));
    }

private:
    uint8_t* Locate(int64_t address, int64_t length) {
        const uint64_t offset = static_cast<uint64_t>(address) - static_cast<uint64_t>(m_baseAddress);
        if (offset > sizeof(CDataStruct) || length < 0 ||
            static_cast<uint64_t>(length) > sizeof(CDataStruct) - offset) {
            throw OUT_OF_RANGE_EXCEPTION("No memory of %lld bytes at address 0x%llx", static_cast<long long>(length),
                                         static_cast<unsigned long long>(address));
        }
        return reinterpret_cast<uint8_t*>(static_cast<CDataStruct*>(this)) + offset;
    }

    int64_t m_baseAddress;
};

} // namespace GenApi
