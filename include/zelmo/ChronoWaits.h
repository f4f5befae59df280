// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>
#include <zelmo/GrabStrategy.h>
#include <zelmo/InstantCamera.h>
#include <zelmo/WaitObject.h>

#include <chrono>
#include <cmath>
#include <ratio>
#include <type_traits>

/// @file
/// The waits with the standard's durations, found by their first argument: `RetrieveResult(camera, 500ms, result)`.
/// A limit is rounded up to whole milliseconds, so that none is shorter than asked for. Not above zero: only looks.
namespace Zelmo {

/// Waits without end: what an application that wants this has to say.
inline constexpr std::chrono::milliseconds kNoTimeLimit = std::chrono::milliseconds::max();

/// A limit as the waits in milliseconds take it. @throws GenICam::OutOfRangeException for what does not fit, which is
/// 49 days and more, and for what is no number.
template <class Rep, class Period>
unsigned int ToTimeoutMs(std::chrono::duration<Rep, Period> limit) {
    if constexpr (std::is_same_v<decltype(limit), std::chrono::milliseconds>) {
        if (limit == kNoTimeLimit) {
            return WaitTimeoutInfinite;
        }
    }
    if (limit <= limit.zero()) {
        return 0;
    }
    const long double limitMs = std::chrono::duration<long double, std::milli>(limit).count();
    constexpr unsigned int longestMs = WaitTimeoutInfinite - 1;
    if (!(limitMs <= longestMs)) {
        throw OUT_OF_RANGE_EXCEPTION("Cannot wait for %.0Lf milliseconds: the longest limit is %u; kNoTimeLimit waits "
                                     "without end.",
                                     limitMs, longestMs);
    }
    return static_cast<unsigned int>(std::ceil(limitMs));
}

/// See CInstantCamera::RetrieveResult.
template <class Rep, class Period>
bool RetrieveResult(CInstantCamera& camera, std::chrono::duration<Rep, Period> limit, CGrabResultPtr& result,
                    ETimeoutHandling handling = TimeoutHandling_ThrowException) {
    return camera.RetrieveResult(ToTimeoutMs(limit), result, handling);
}

/// See CInstantCamera::GrabOne.
template <class Rep, class Period>
bool GrabOne(CInstantCamera& camera, std::chrono::duration<Rep, Period> limit, CGrabResultPtr& result,
             ETimeoutHandling handling = TimeoutHandling_ThrowException) {
    return camera.GrabOne(ToTimeoutMs(limit), result, handling);
}

/// See CInstantCamera::WaitForFrameTriggerReady.
template <class Rep, class Period>
bool WaitForFrameTriggerReady(CInstantCamera& camera, std::chrono::duration<Rep, Period> limit,
                              ETimeoutHandling handling = TimeoutHandling_ThrowException) {
    return camera.WaitForFrameTriggerReady(ToTimeoutMs(limit), handling);
}

/// See WaitObject::Wait.
template <class Rep, class Period>
bool Wait(const WaitObject& object, std::chrono::duration<Rep, Period> limit) {
    return object.Wait(ToTimeoutMs(limit));
}

} // namespace Zelmo
