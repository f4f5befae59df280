// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <tuple>

#define GC_UINT8_MAX UINT8_MAX
#define GC_UINT16_MAX UINT16_MAX
#define GC_INT32_MAX INT32_MAX
#define GC_INT32_MIN INT32_MIN
#define GC_UINT32_MAX UINT32_MAX
#define GC_INT64_MAX INT64_MAX
#define GC_INT64_MIN INT64_MIN
#define GC_UINT64_MAX UINT64_MAX

/// Names that the standard's headers carry in their versioned form; here they are the plain namespaces.
#define GENICAM_NAMESPACE GenICam
#define GENAPI_NAMESPACE GenApi

namespace GenICam {

using float32_t = float;
using float64_t = double;

/// A version number as description files and modules carry it.
struct Version_t {
    std::uint16_t Major;
    std::uint16_t Minor;
    std::uint16_t SubMinor;
};

constexpr bool operator==(const Version_t& left, const Version_t& right) noexcept {
    return left.Major == right.Major && left.Minor == right.Minor && left.SubMinor == right.SubMinor;
}
constexpr bool operator!=(const Version_t& left, const Version_t& right) noexcept {
    return !(left == right);
}
constexpr bool operator<(const Version_t& left, const Version_t& right) noexcept {
    return std::tie(left.Major, left.Minor, left.SubMinor) < std::tie(right.Major, right.Minor, right.SubMinor);
}
constexpr bool operator>(const Version_t& left, const Version_t& right) noexcept {
    return right < left;
}
constexpr bool operator<=(const Version_t& left, const Version_t& right) noexcept {
    return !(right < left);
}
constexpr bool operator>=(const Version_t& left, const Version_t& right) noexcept {
    return !(left < right);
}

} // namespace GenICam

using GenICam::Version_t;
