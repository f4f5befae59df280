// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace GigEVision {

using Bytes = std::span<const std::uint8_t>;
using MutableBytes = std::span<std::uint8_t>;

/// Unsigned numbers as they stand on the wire: the highest byte first.
template <std::unsigned_integral T>
constexpr T GetBigEndian(const std::uint8_t* bytes) {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        value = static_cast<T>(std::uint64_t{value} << 8 | bytes[i]);
    }
    return value;
}

template <std::unsigned_integral T>
constexpr void PutBigEndian(std::uint8_t* bytes, T value) {
    for (std::size_t i = sizeof(T); i-- > 0; value = static_cast<T>(std::uint64_t{value} >> 8)) {
        bytes[i] = static_cast<std::uint8_t>(value);
    }
}

/// Reads fields at offsets of a message. What lies behind its end reads as 0 and is remembered.
class Reader {
public:
    explicit Reader(Bytes bytes) : m_bytes(bytes) {}

    template <std::unsigned_integral T>
    T Get(std::size_t offset) {
        return Holds(offset, sizeof(T)) ? GetBigEndian<T>(m_bytes.data() + offset) : T{0};
    }
    Bytes Get(std::size_t offset, std::size_t length) {
        return Holds(offset, length) ? m_bytes.subspan(offset, length) : Bytes{};
    }
    std::uint64_t Get48(std::size_t offset) { // both halves are looked at, so the end counts
        return std::uint64_t{Get<std::uint16_t>(offset)} << 32 | Get<std::uint32_t>(offset + 2);
    }
    bool IsWhole() const { return m_isWhole; } ///< Whether all that was read was there.

private:
    bool Holds(std::size_t offset, std::size_t length) {
        const bool holds = offset <= m_bytes.size() && length <= m_bytes.size() - offset;
        m_isWhole = m_isWhole && holds;
        return holds;
    }

    Bytes m_bytes;
    bool m_isWhole = true;
};

/// Writes fields at offsets into a message that is as long as its layout wants; gaps are zero.
class Writer {
public:
    explicit Writer(MutableBytes bytes) : m_bytes(bytes) {
        if (!bytes.empty()) {
            std::memset(bytes.data(), 0, bytes.size());
        }
    }

    template <std::unsigned_integral T>
    void Put(std::size_t offset, T value) {
        assert(offset + sizeof(T) <= m_bytes.size());
        PutBigEndian(m_bytes.data() + offset, value);
    }
    void Put48(std::size_t offset, std::uint64_t value) {
        Put(offset, static_cast<std::uint16_t>(value >> 32));
        Put(offset + 2, static_cast<std::uint32_t>(value));
    }
    void Put(std::size_t offset, Bytes value) {
        assert(offset + value.size() <= m_bytes.size());
        if (!value.empty()) {
            std::memcpy(m_bytes.data() + offset, value.data(), value.size());
        }
    }

private:
    MutableBytes m_bytes;
};

} // namespace GigEVision
