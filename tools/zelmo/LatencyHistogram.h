// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace tool {

/// Counts times in buckets that are at most 1/64 of the time wide, so that any number of them takes the same memory.
class LatencyHistogram {
public:
    void Add(std::int64_t ns) noexcept {
        const auto value = static_cast<std::uint64_t>(std::max<std::int64_t>(ns, 0));
        ++m_buckets[BucketOf(value)];
        ++m_count;
        m_max = std::max(m_max, value);
    }

    void Add(const LatencyHistogram& other) noexcept {
        for (std::size_t i = 0; i < m_buckets.size(); ++i) {
            m_buckets[i] += other.m_buckets[i];
        }
        m_count += other.m_count;
        m_max = std::max(m_max, other.m_max);
    }

    std::uint64_t GetCount() const noexcept { return m_count; }
    std::uint64_t GetMaxNs() const noexcept { return m_max; }

    /// The time that @p share of all times do not exceed, to the width of a bucket; 0 without any.
    std::uint64_t GetPercentileNs(double share) const noexcept {
        const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(m_count)));
        std::uint64_t passed = 0;
        for (std::size_t i = 0; i < m_buckets.size(); ++i) {
            passed += m_buckets[i];
            if (passed >= wanted && passed > 0) {
                return std::min(LastOf(i), m_max);
            }
        }
        return m_max;
    }

private:
    static constexpr unsigned kFine = 64; // buckets for each doubling

    static std::size_t BucketOf(std::uint64_t value) noexcept {
        if (value < kFine) {
            return value;
        }
        const unsigned shift = static_cast<unsigned>(std::bit_width(value)) - 7;
        return (shift + 1) * kFine + (value >> shift) - kFine;
    }

    static std::uint64_t LastOf(std::size_t bucket) noexcept {
        if (bucket < kFine) {
            return bucket;
        }
        const std::size_t shift = bucket / kFine - 1;
        return ((bucket % kFine + kFine + 1) << shift) - 1;
    }

    std::array<std::uint64_t, std::size_t{kFine} * 58> m_buckets{};
    std::uint64_t m_count = 0;
    std::uint64_t m_max = 0;
};

} // namespace tool
