// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/ChronoWaits.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/GrabStrategy.h>
#include <zelmo/InstantCamera.h>

#include <chrono>
#include <cstddef>
#include <iterator>

namespace Zelmo {

/// The results of one session, for a range-based loop; see GrabResults. For one thread and one loop.
class CGrabResultRange {
public:
    struct Sentinel {};

    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = CGrabResultPtr;
        using difference_type = std::ptrdiff_t;
        using pointer = const CGrabResultPtr*;
        using reference = const CGrabResultPtr&;

        explicit Iterator(CGrabResultRange& range) noexcept : m_range(&range) {}
        reference operator*() const noexcept { return m_range->m_result; }
        pointer operator->() const noexcept { return &m_range->m_result; }
        Iterator& operator++() {
            m_range->Retrieve();
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(Sentinel /*end*/) const noexcept { return !m_range->m_result.IsValid(); }
        bool operator!=(Sentinel /*end*/) const noexcept { return m_range->m_result.IsValid(); }

    private:
        CGrabResultRange* m_range;
    };

    CGrabResultRange(CInstantCamera& camera, unsigned long maxImages, unsigned int timeoutMs) noexcept
        : m_camera(camera), m_maxImages(maxImages), m_timeoutMs(timeoutMs) {}
    CGrabResultRange(const CGrabResultRange&) = delete;
    CGrabResultRange& operator=(const CGrabResultRange&) = delete;
    ~CGrabResultRange() { Stop(); }

    Iterator begin() { ///< Starts the session and waits for its first result.
        m_camera.StartGrabbing(m_maxImages, GrabStrategy_OneByOne, GrabLoop_ProvidedByUser);
        m_left = m_maxImages;
        Retrieve();
        return Iterator(*this);
    }
    Sentinel end() const noexcept { return {}; }

private:
    void Retrieve() {
        m_result.Release(); // also at the end: the buffer is the camera's again
        if (m_left != 0 && !m_camera.RetrieveResult(m_timeoutMs, m_result, TimeoutHandling_ThrowException)) {
            m_left = 0; // stopped from elsewhere
        } else if (m_left != 0) {
            --m_left;
        }
    }

    /// With the last result the session has ended by itself: one that runs now is another's.
    void Stop() {
        if (m_left != 0) {
            m_camera.StopGrabbing();
        }
    }

    CInstantCamera& m_camera;
    const unsigned long m_maxImages;
    const unsigned int m_timeoutMs;
    unsigned long m_left = 0; // results to come; 0 too when no session of this range runs
    CGrabResultPtr m_result;
};

/// Grabs @p maxImages results one by one, in a loop of the application's:
///
///     for (const CGrabResultPtr& image : GrabResults(camera, 100, 5s)) { … }
///
/// The loop starts the session, waits at most @p limit for each result, and stops the session however it is left. What
/// comes may also be a result that says why there is no image: see CGrabResultData::GrabSucceeded. A session that is
/// stopped from elsewhere ends the loop. The camera must outlive it.
/// @throws from the loop: as StartGrabbing and RetrieveResult; GenICam::TimeoutException when the limit is over.
template <class Rep, class Period>
[[nodiscard]] CGrabResultRange GrabResults(CInstantCamera& camera, unsigned long maxImages,
                                           std::chrono::duration<Rep, Period> limit) {
    return CGrabResultRange(camera, maxImages, ToTimeoutMs(limit));
}

} // namespace Zelmo
