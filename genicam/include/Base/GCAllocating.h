// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCString.h>

#include <new>
#include <stdexcept>

namespace GenICam {

/// Runs a step that allocates, and turns the standard library's ways to say "no memory" into the BadAllocException of
/// the caller's place. Not inlined: the handlers are not worth their code at every place that allocates.
template <class Step>
[[gnu::noinline]] decltype(auto) Allocating(Step step, const char* sourceFileName = __builtin_FILE(),
                                            int sourceLine = __builtin_LINE()) {
    try {
        return step();
    } catch (const std::bad_alloc&) {
        ThrowBadAlloc(sourceFileName, sourceLine);
    } catch (const std::length_error&) {
        ThrowBadAlloc(sourceFileName, sourceLine);
    }
}

} // namespace GenICam
