// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Log.h>

#include <Base/GCException.h>

#include <exception>
#include <utility>

namespace Zelmo {

/// Runs @p step and keeps every exception in: the ladder of all downward paths (close, stop, destroy).
/// @p report gets the text of what was caught: the description of a GenICam exception, what() of a standard one, null
/// for anything else. What it throws ends the process.
/// @return whether the step came to its end.
template <typename Step, typename Report>
bool RunGuarded(Step&& step, Report&& report) noexcept {
    try {
        std::forward<Step>(step)();
        return true;
    } catch (const GenICam::GenericException& e) {
        report(e.GetDescription());
    } catch (const std::exception& e) {
        report(e.what());
    } catch (...) {
        report(static_cast<const char*>(nullptr));
    }
    return false;
}

/// The same, with one log line at the error level: @p known, whose last conversion takes the caught text, or @p unknown
/// where there is no text. @p args go to both formats, before that text:
/// `RunLogged(catId(), "Camera %p: Cannot close, msg='%s'", "Camera %p: Unknown failure in close.", step, camera);`
template <typename Step, typename... Args>
bool RunLogged(unsigned long category, const char* known, const char* unknown, Step&& step,
               const Args&... args) noexcept {
    return RunGuarded(std::forward<Step>(step), [&](const char* text) {
        if (text != nullptr) {
            hxlog::LogTrace(category, hxlog::LogLevel_Error, known, args..., text);
        } else if constexpr (sizeof...(args) == 0) {
            hxlog::LogTrace(category, hxlog::LogLevel_Error, "%s", unknown);
        } else {
            hxlog::LogTrace(category, hxlog::LogLevel_Error, unknown, args...);
        }
    });
}

} // namespace Zelmo
