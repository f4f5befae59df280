// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Zelmo {

/// The version of the Standard Features Naming Convention (SFNC) that a camera's features follow; all zero where the
/// camera does not tell.
struct SfncVersion {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t subMinor = 0;
    std::uint32_t reserved[2] = {}; ///< Always 0.

    friend bool operator==(const SfncVersion& left, const SfncVersion& right) noexcept {
        return left.major == right.major && left.minor == right.minor && left.subMinor == right.subMinor;
    }
    friend bool operator!=(const SfncVersion& left, const SfncVersion& right) noexcept { return !(left == right); }
    friend bool operator<(const SfncVersion& left, const SfncVersion& right) noexcept {
        return left.major != right.major   ? left.major < right.major
               : left.minor != right.minor ? left.minor < right.minor
                                           : left.subMinor < right.subMinor;
    }
};

} // namespace Zelmo
