// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/sync/Deadline.h"
#include "ZelmoBase/sync/TimerRecords.h"

#include <optional>
#include <poll.h>
#include <span>

namespace Zelmo {

/// poll() for a wait until @p deadline, none for one without limit. Timers among what is waited for end it by their
/// deadlines, too, and are then signaled as their signal would have done it: the application may block that signal or
/// have taken it over.
/// @return as poll(), 0 when @p deadline has passed and no timer was due.
int PollUntil(std::span<pollfd> entries, const std::optional<CDeadline>& deadline,
              std::span<TimerRecord* const> timers) noexcept;

} // namespace Zelmo
