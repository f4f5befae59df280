// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace GenICam::LogContext {

/// The context texts of the calling thread. A thread that is ending, past its thread-local objects, has none, and what
/// it pushes is dropped: static objects may still log then.
std::string_view Joined() noexcept; ///< Valid until the next Push or Pop of this thread.
void Push(std::string_view text);   ///< @throws std::bad_alloc; nothing is pushed then.
void Pop() noexcept;

} // namespace GenICam::LogContext
