// SPDX-License-Identifier: Apache-2.0
#include "control/ConnectionState.h"

#include <Base/GCException.h>
#include <gigevision/Registers.h>

#include <algorithm>
#include <cstring>

namespace Gige {

namespace {

using GigEVision::Bytes;
using GigEVision::MutableBytes;
using GigEVision::Status;

constexpr std::size_t kBlockBytes = 512; // what all hosts use; a single command may hold a little more

constexpr bool IsAligned(std::uint64_t address, std::size_t bytes) {
    return address % 4 == 0 && bytes % 4 == 0;
}

/// Numbers of the protocol itself go by register commands, its texts and tables as memory.
bool IsBootstrapNumber(std::uint32_t address, std::size_t bytes) {
    if (address >= GigEVision::Register::kEnd || !IsAligned(address, bytes) || bytes > 8) {
        return false;
    }
    const GigEVision::BootstrapRegister* const found = GigEVision::FindBootstrapRegister(address);
    return found == nullptr || found->bytes <= 8;
}

std::size_t BlockOf(std::size_t bytes) {
    return bytes <= GigEVision::kMaxMemoryBytes ? bytes : kBlockBytes;
}

void RequireAddresses(const char* verb, std::uint32_t address, std::size_t bytes) {
    if (bytes > (std::uint64_t{1} << 32) - address) {
        throw OUT_OF_RANGE_EXCEPTION("Cannot %s %zu bytes at 0x%08X: addresses of cameras end with 0xFFFFFFFF.", verb,
                                     bytes, address);
    }
}

} // namespace

void CConnection::CState::ReadMemory(std::uint32_t address, MutableBytes bytes, std::int64_t untilNs) {
    RequireAddresses("read", address, bytes.size());
    if (bytes.empty()) {
        return;
    }
    if (!IsBootstrapNumber(address, bytes.size())) {
        ReadBlocks(address, bytes, untilNs);
        return;
    }
    for (std::size_t at = 0; at < bytes.size(); at += 4) {
        const CTurnGuard guard(turn);
        GigEVision::PutBigEndian(&bytes[at], ReadRegister(address + static_cast<std::uint32_t>(at), untilNs));
    }
}

// From the word with the first byte to that with the last one; what was not wanted is cut off.
void CConnection::CState::ReadBlocks(std::uint32_t address, MutableBytes bytes, std::int64_t untilNs) {
    std::uint64_t at = address & ~3u;
    const std::uint64_t end = (std::uint64_t{address} + bytes.size() + 3) & ~std::uint64_t{3};
    const std::size_t block = BlockOf(end - at);
    while (at < end) {
        const auto count = static_cast<std::uint16_t>(std::min<std::uint64_t>(block, end - at));
        const CAttempt attempt{"read", static_cast<std::uint32_t>(at), count};
        const CTurnGuard guard(turn);
        RequireUsable(attempt);
        CTries tries = ReadTries();
        tries.untilNs = std::min(tries.untilNs, untilNs);
        const CAnswer answer = channel->ReadMemory(attempt.address, count, tries);
        if (!answer.IsDone()) {
            Fail(attempt, answer);
        }
        const std::size_t skipped = at < address ? address - at : 0;
        const std::size_t offset = at + skipped - address;
        const std::size_t wanted = std::min(count - skipped, bytes.size() - offset);
        std::memcpy(&bytes[offset], &answer.data[skipped], wanted);
        at += count;
    }
}

void CConnection::CState::WriteMemory(std::uint32_t address, Bytes bytes) {
    RequireAddresses("write", address, bytes.size());
    if (bytes.empty()) {
        return;
    }
    const bool usesRegisters =
        IsBootstrapNumber(address, bytes.size()) || !capabilities.Has(GigEVision::GvcpCapability::kWriteMem);
    if (!IsAligned(address, bytes.size())) {
        if (usesRegisters || !TryWriteUnaligned(address, bytes)) {
            WriteMerged(address, bytes);
        }
    } else if (usesRegisters) {
        WriteWords(address, bytes);
    } else {
        WriteBlocks(address, bytes);
    }
}

/// Most devices take it as it is. @return false for those that do not.
bool CConnection::CState::TryWriteUnaligned(std::uint32_t address, Bytes bytes) {
    if (bytes.size() > GigEVision::kMaxMemoryBytes) {
        return false;
    }
    const CAttempt attempt{"write", address, bytes.size()};
    const CTurnGuard guard(turn);
    RequireUsable(attempt);
    const CAnswer answer = channel->WriteMemory(address, bytes, WriteTries());
    if (answer.Is(Status::BadAlignment)) {
        return false;
    }
    if (!answer.IsDone()) {
        FailWrite(attempt, answer);
    }
    return true;
}

void CConnection::CState::WriteWords(std::uint32_t address, Bytes bytes) {
    for (std::size_t at = 0; at < bytes.size(); at += 4) {
        const CTurnGuard guard(turn);
        WriteRegister(address + static_cast<std::uint32_t>(at), GigEVision::GetBigEndian<std::uint32_t>(&bytes[at]));
    }
}

void CConnection::CState::WriteBlocks(std::uint32_t address, Bytes bytes) {
    const std::size_t block = BlockOf(bytes.size());
    for (std::size_t at = 0; at < bytes.size(); at += block) {
        const Bytes part = bytes.subspan(at, std::min(block, bytes.size() - at));
        const CAttempt attempt{"write", address + static_cast<std::uint32_t>(at), part.size()};
        const CTurnGuard guard(turn);
        RequireUsable(attempt);
        const CAnswer answer = channel->WriteMemory(attempt.address, part, WriteTries());
        if (!answer.IsDone()) {
            FailWrite(attempt, answer);
        }
    }
}

void CConnection::CState::WriteMerged(std::uint32_t address, Bytes bytes) {
    while (!bytes.empty()) {
        const std::uint32_t offset = address % 4;
        if (offset == 0 && bytes.size() >= 4) {
            const std::size_t whole = bytes.size() & ~std::size_t{3};
            WriteMemory(address, bytes.first(whole));
            address += static_cast<std::uint32_t>(whole);
            bytes = bytes.subspan(whole);
            continue;
        }
        const std::size_t count = std::min<std::size_t>(4 - offset, bytes.size());
        WritePartOfWord(address - offset, offset, bytes.first(count));
        address += static_cast<std::uint32_t>(count);
        bytes = bytes.subspan(count);
    }
}

// In one turn, so that nobody writes between the reading and the writing.
void CConnection::CState::WritePartOfWord(std::uint32_t address, std::size_t offset, Bytes bytes) {
    const CAttempt attempt{"write", address + static_cast<std::uint32_t>(offset), bytes.size()};
    std::array<std::uint8_t, 4> word{};
    const CTurnGuard guard(turn);
    RequireUsable(attempt);
    const CAnswer before = channel->ReadMemory(address, word.size(), ReadTries());
    if (!before.IsDone()) {
        Fail(attempt, before);
    }
    std::copy(before.data.begin(), before.data.end(), word.begin());
    std::copy(bytes.begin(), bytes.end(), word.begin() + static_cast<std::ptrdiff_t>(offset));
    const bool isMemory = capabilities.Has(GigEVision::GvcpCapability::kWriteMem);
    const CAnswer after =
        isMemory ? channel->WriteMemory(address, word, WriteTries())
                 : channel->WriteRegister(address, GigEVision::GetBigEndian<std::uint32_t>(word.data()), WriteTries());
    if (!after.IsDone()) {
        FailWrite(attempt, after);
    }
}

} // namespace Gige
