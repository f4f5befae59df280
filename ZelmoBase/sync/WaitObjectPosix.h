// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Zelmo {

class CWaitableTimer;
struct TimerRecord;

/// What a wait object is: a pipe with at most one byte in it, readable while signaled. From malloc, freed by free.
struct _WaitObjectPosix_t {
    std::int32_t readEnd;  ///< Polled and read; -1 when absent.
    std::int32_t writeEnd; ///< Written by Signal; -1 when absent, as for a foreign descriptor.
    TimerRecord* timer;    ///< Of the waitable timer that this is, or is a copy of; null for all others.
    CWaitableTimer* owner; ///< The timer whose own handle this is; null in copies.
};

} // namespace Zelmo
