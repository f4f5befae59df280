// SPDX-License-Identifier: Apache-2.0
#include "AcquisitionClock.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace CamEmu {

void CAcquisitionClock::Start(std::int64_t nowNs, double rateHz) {
    m_baseNs = nowNs;
    m_frames = 0;
    m_rateHz = rateHz;
}

void CAcquisitionClock::SetRate(double rateHz) {
    if (rateHz == m_rateHz) {
        return;
    }
    if (m_frames > 0) {
        m_baseNs = DueNs(m_frames - 1);
        m_frames = 1;
    }
    m_rateHz = rateHz;
}

void CAcquisitionClock::Resume(std::int64_t nowNs) {
    if (IsRunning()) {
        Start(std::max(nowNs, DueNs()), m_rateHz);
    }
}

std::uint64_t CAcquisitionClock::SkipBehind(std::int64_t nowNs, std::int64_t maxLagNs) {
    const std::int64_t lagNs = nowNs - DueNs();
    if (lagNs <= maxLagNs) {
        return 0;
    }
    const auto skipped = static_cast<std::uint64_t>(static_cast<double>(lagNs) * m_rateHz / 1e9);
    m_frames += skipped;
    return skipped;
}

std::int64_t CAcquisitionClock::DueNs(std::uint64_t frame) const {
    return m_baseNs + std::llround(static_cast<double>(frame) * 1e9 / m_rateHz);
}

std::int64_t MonotonicNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace CamEmu
