// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Zelmo {

/// What a wait object is: a pipe with at most one byte in it, readable while signaled. From malloc, freed by free.
struct _WaitObjectPosix_t {
    std::int32_t readEnd;  ///< Polled and read; -1 when absent.
    std::int32_t writeEnd; ///< Written by Signal; -1 when absent, as for a foreign descriptor.
};

} // namespace Zelmo
