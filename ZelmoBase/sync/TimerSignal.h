// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Zelmo {

/// The timers' signal. The process may have other uses for it: a signal that carries none of our timers goes to the
/// handler that was installed before ours, or is ignored where there was none.
inline constexpr int kTimerSignal = 14; // SIGALRM

/// Installs our handler, also over one that the application has installed since the last time.
/// @throws std::bad_alloc
void InstallTimerHandler();

/// Leaves the handler installed: signals may still be on their way, and the action before, the default mostly, would
/// end the process.
void KeepTimerHandler() noexcept;

} // namespace Zelmo
