// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace CamEmu {

/// Says when each frame of a paced acquisition is due. The n-th due time is computed from the first one, never from
/// the one before, so that neither rounding nor a late frame adds up. Times are nanoseconds of CLOCK_MONOTONIC.
/// Threads: one at a time.
class CAcquisitionClock {
public:
    /// The first frame is due at @p nowNs. @p rateHz must be above 0.
    void Start(std::int64_t nowNs, double rateHz);
    void Stop() { m_rateHz = 0; }
    bool IsRunning() const { return m_rateHz > 0; }

    /// The frames already taken keep their times; the next one is due one new period after the last.
    void SetRate(double rateHz);

    /// Ends a time in which no frame was due: the next one is, at @p nowNs, but no sooner than one period after the
    /// last. A stopped clock stays so.
    void Resume(std::int64_t nowNs);

    std::int64_t DueNs() const { return DueNs(m_frames); } ///< of the next frame
    void Advance() { ++m_frames; }                         ///< the next frame was taken

    /// Passes over the frames that nobody can catch up with any more: all but the last due one, once the clock lies
    /// more than @p maxLagNs behind. @return their number.
    std::uint64_t SkipBehind(std::int64_t nowNs, std::int64_t maxLagNs);

private:
    std::int64_t DueNs(std::uint64_t frame) const;

    double m_rateHz = 0; // 0: stopped
    std::int64_t m_baseNs = 0;
    std::uint64_t m_frames = 0; // taken since the base
};

/// Nanoseconds of CLOCK_MONOTONIC.
std::int64_t MonotonicNs();

} // namespace CamEmu
