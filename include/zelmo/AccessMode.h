// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

#include <cstddef>
#include <cstdint>

namespace Zelmo {

/// Ways in which a device can be opened. The values are positions in an AccessModeSet, not masks.
enum EDeviceAccessMode {
    Control = 1,   ///< Read and write the camera's registers. Taken by every open but a monitoring one.
    Exclusive = 2, ///< Control, and nobody else may have the device open meanwhile. Not used by this library.
    Stream = 3,    ///< Receive images.
    Event = 4      ///< Receive event messages besides the images.
};

/// A set of access modes: what a device is to be opened for, or is open for. One word, copied freely.
///
/// The mask of a position is 1 shifted left in 32 bits and then widened with its sign: position 31 fills all bits above
/// it as well, and positions from 32 to 64 fold onto those from 0 on. Plug-ins rely on these words as they stand.
class ZELMO_API AccessModeSet {
public:
    AccessModeSet() noexcept = default;         ///< The empty set.
    AccessModeSet(unsigned long word) noexcept; ///< A set from its raw word, as to_ulong() gives it.
    AccessModeSet(EDeviceAccessMode mode);      ///< The set of one mode.

    /// Adds, or looks for, the position @p pos, from 0 to 64.
    /// @throws GenICam::OutOfRangeException for a larger position.
    AccessModeSet& set(std::size_t pos);
    bool test(std::size_t pos) const;

    void reset() noexcept;
    bool any() const noexcept;
    bool none() const noexcept;
    unsigned long to_ulong() const noexcept;

    friend bool operator==(const AccessModeSet& a, const AccessModeSet& b) noexcept { return a.m_word == b.m_word; }
    friend bool operator!=(const AccessModeSet& a, const AccessModeSet& b) noexcept { return a.m_word != b.m_word; }

private:
    std::uint64_t m_word = 0;
};

/// A set of both; both spellings mean the same.
ZELMO_API AccessModeSet operator+(EDeviceAccessMode a, EDeviceAccessMode b);
ZELMO_API AccessModeSet operator|(EDeviceAccessMode a, EDeviceAccessMode b);
ZELMO_API AccessModeSet operator+(const AccessModeSet& set, EDeviceAccessMode mode);
ZELMO_API AccessModeSet operator|(const AccessModeSet& set, EDeviceAccessMode mode);

} // namespace Zelmo
