// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace CamEmu {

enum class ERegisterAccess : std::uint8_t { ReadOnly, WriteOnly, ReadWrite };

/// Whether a register can be written while images are being streamed. The region can where images are sent with chunks,
/// which tell it.
enum class ERegisterLock : std::uint8_t { Free, WhileStreaming, Region };

/// The values that a register of 4 bytes takes, as an unsigned number; what else it must keep is its owner's concern.
struct CRegisterRange {
    std::uint32_t min = 0;
    std::uint32_t max = ~std::uint32_t{0};
};

/// A run of bytes with one meaning; numbers are little endian.
struct CRegister {
    std::uint32_t address;
    std::uint32_t length;
    const char* name;
    ERegisterAccess access = ERegisterAccess::ReadOnly;
    CRegisterRange range = {};
    ERegisterLock lock = ERegisterLock::Free;
};

/// How an access ended.
enum class EAccessResult { Ok, NoSuchRegister, NotReadable, NotWritable, Locked, InvalidValue };

/// What is locked now.
struct CLocks {
    bool whileStreaming = false;
    bool region = false;

    bool Hold(ERegisterLock lock) const {
        return lock == ERegisterLock::WhileStreaming ? whileStreaming : lock == ERegisterLock::Region && region;
    }
};

/// The addressable memory of the camera: registers with their access rights. What a value means is its owner's concern.
/// Threads: one at a time.
class CRegisterBank {
public:
    /// @p registers in ascending order of address, without overlap; borrowed.
    explicit CRegisterBank(std::span<const CRegister> registers);

    /// Whether these bytes may be read: each of them belongs to a register that is readable.
    EAccessResult MayRead(std::uint64_t address, std::size_t length) const;

    /// Whether these bytes may be written: all of them belong to one register that is writable, and not locked.
    EAccessResult MayWrite(std::uint64_t address, std::size_t length, CLocks locks) const;

    /// The register that holds the byte at @p address; null for none.
    const CRegister* Find(std::uint64_t address) const;

    /// The bytes at an address that Find knows, up to the end of the bank. No rights are looked at.
    std::uint8_t* Bytes(std::uint64_t address) { return m_memory.data() + address; }
    const std::uint8_t* Bytes(std::uint64_t address) const { return m_memory.data() + address; }

private:
    std::span<const CRegister> m_registers;
    std::vector<std::uint8_t> m_memory;
};

} // namespace CamEmu
