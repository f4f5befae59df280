// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// Makes `new` fail on request, on the calling thread.
namespace ScarceMemory {

std::size_t Allocations();         ///< Calls of new on this thread, ever.
std::size_t AllAllocations();      ///< The same on all threads.
void FailAfter(std::size_t count); ///< The call of new after @p count more throws std::bad_alloc, once.
void Relax();                      ///< Takes that back.

/// Runs @p operation with the allocation after @p count ones failing.
/// @return whether it ended with that exception; any other one passes.
template <class Exception, class Operation>
bool Fails(std::size_t count, Operation operation) {
    FailAfter(count);
    try {
        operation();
        Relax();
        return false;
    } catch (const Exception&) {
        Relax();
        return true;
    }
}

} // namespace ScarceMemory
