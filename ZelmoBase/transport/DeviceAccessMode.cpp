// SPDX-License-Identifier: Apache-2.0
#include <zelmo/AccessMode.h>

#include <Base/GCException.h>

namespace Zelmo {
namespace {

constexpr std::size_t kMaxPosition = 64;

/// 1 shifted left in a signed 32-bit integer, of whose count only five bits matter, and widened with its sign.
std::uint64_t MaskOf(std::size_t pos) {
    if (pos > kMaxPosition) {
        throw OUT_OF_RANGE_EXCEPTION("Parameter pos exceeds maximum size. Max size is %lu",
                                     static_cast<unsigned long>(kMaxPosition));
    }
    const auto mask = static_cast<std::int32_t>(std::uint32_t{1} << (pos & 31));
    return static_cast<std::uint64_t>(std::int64_t{mask});
}

} // namespace

AccessModeSet::AccessModeSet(unsigned long word) noexcept : m_word(word) {}

AccessModeSet::AccessModeSet(EDeviceAccessMode mode) {
    set(mode);
}

AccessModeSet& AccessModeSet::set(std::size_t pos) {
    m_word |= MaskOf(pos);
    return *this;
}

bool AccessModeSet::test(std::size_t pos) const {
    return (m_word & MaskOf(pos)) != 0;
}

void AccessModeSet::reset() noexcept {
    m_word = 0;
}

bool AccessModeSet::any() const noexcept {
    return m_word != 0;
}

bool AccessModeSet::none() const noexcept {
    return m_word == 0;
}

unsigned long AccessModeSet::to_ulong() const noexcept {
    return m_word;
}

AccessModeSet operator+(EDeviceAccessMode a, EDeviceAccessMode b) {
    return AccessModeSet(a).set(b);
}

AccessModeSet operator|(EDeviceAccessMode a, EDeviceAccessMode b) {
    return a + b;
}

AccessModeSet operator+(const AccessModeSet& set, EDeviceAccessMode mode) {
    return AccessModeSet(set).set(mode);
}

AccessModeSet operator|(const AccessModeSet& set, EDeviceAccessMode mode) {
    return set + mode;
}

} // namespace Zelmo
