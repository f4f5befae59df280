// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace CamEmu {

/// Events that are still to be counted. Costs one look while there are none.
/// Threads: any.
class CCountdown {
public:
    void Set(std::uint32_t events) { m_left = events; }

    /// An event happens. @return how many were left with this one; 0 when none was to be counted.
    std::uint32_t Take() {
        std::uint32_t left = m_left.load(std::memory_order_relaxed);
        while (left != 0 && !m_left.compare_exchange_weak(left, left - 1)) {
        }
        return left;
    }

private:
    std::atomic<std::uint32_t> m_left = 0;
};

/// What a camera was told to do wrong and its front end carries out.
/// Threads: any.
class CFaults {
public:
    void FailStarts(std::uint32_t starts) { m_starts.Set(starts); }
    bool FailsStart() { return m_starts.Take() != 0; } ///< Asked once for each start of streaming.

    void FailRetrievalAfter(std::uint32_t images) { m_retrieval.Set(images + 1); }
    bool FailsRetrieval() { return m_retrieval.Take() == 1; } ///< Asked once for each image that is retrieved.

    void RemoveAfter(std::uint32_t images) { m_removal.Set(images); } ///< 0: not any more
    bool RemovesNow() { return m_removal.Take() == 1; } ///< Asked once for each image that was handed over.

    void Clear() {
        FailStarts(0);
        m_retrieval.Set(0);
        RemoveAfter(0);
    }

private:
    CCountdown m_starts, m_retrieval, m_removal;
};

/// How a removal goes on.
struct CRemovalSettings {
    static constexpr std::int32_t kForGood = -1;

    std::uint32_t delayImages = 0; ///< that the stream still brings before
    std::int32_t durationMs = 0;   ///< for which the camera is away at least; kForGood: it does not come back
    bool resets = false;           ///< whether it comes back with its defaults
};

} // namespace CamEmu
