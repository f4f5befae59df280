// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace Fakes {

/// The place of a virtual operation in its class's table. The Itanium C++ ABI stores the offset in bytes in a pointer
/// to member; what marks it as one of a virtual function is 1 in the offset, on ARM in the word behind it.
template <class Function, class Class>
std::size_t Slot(Function Class::*operation) {
    std::uintptr_t words[2];
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
    return words[0] / sizeof(void*);
#else
    return (words[0] - 1) / sizeof(void*);
#endif
}

template <class... Operation>
std::vector<std::size_t> Slots(Operation... operations) {
    return {Slot(operations)...};
}

} // namespace Fakes
