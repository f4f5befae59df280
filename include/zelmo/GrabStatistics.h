// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IInteger.h>
#include <GenApi/INodeMap.h>
#include <GenApi/Pointer.h>
#include <zelmo/GrabResultData.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/HandlerRegistration.h>
#include <zelmo/InstantCamera.h>

#include <atomic>
#include <cstdint>
#include <optional>

namespace Zelmo {

/// What became of the images since the stream was last started. Nothing where nobody counts it: a nought is a count.
/// All but skipped are the stream grabber's own, by the names of the public standards or of the statistics that
/// plug-ins offer; of two names the first one counts that can be read.
struct CGrabStatistics {
    /// Images that came whole. "StreamDeliveredFrameCount"; else "Statistic_Total_Buffer_Count" less the failed ones.
    std::optional<std::uint64_t> delivered;
    /// Images that came back as failed. "Statistic_Failed_Buffer_Count" or "StreamIncompleteFrameCount".
    std::optional<std::uint64_t> failed;
    /// Results, whole or failed, that the strategy replaced by later ones before the application took them. By a
    /// CGrabCounter; what still waits when grabbing stops is in no count.
    std::optional<std::uint64_t> skipped;
    /// Images that the camera began and that came in no buffer. "StreamLostFrameCount".
    std::optional<std::uint64_t> lost;
    /// Of these, those for which no buffer was queued. "Statistic_Buffer_Underrun_Count".
    std::optional<std::uint64_t> underruns;
};

/// Counts what a camera's strategy skips: as an image handler, since the first result of the last session.
/// Threads: any. It stays until it goes; see CHandlerRegistration for its lifetime.
class CGrabCounter {
public:
    explicit CGrabCounter(CInstantCamera& camera)
        : m_registration(OnImage(camera, [this](const CGrabResultPtr& result) { Count(*result.GetPtr()); })) {}
    CGrabCounter(const CGrabCounter&) = delete;
    CGrabCounter& operator=(const CGrabCounter&) = delete;
    ~CGrabCounter() = default;

    std::uint64_t GetSkipped() const noexcept { return m_skipped; }

private:
    void Count(const CGrabResultData& result) {
        const auto skipped = static_cast<std::uint64_t>(result.GetNumberOfSkippedImages());
        m_skipped = result.GetImageNumber() == 1 ? skipped : m_skipped + skipped; // one result at a time
    }

    std::atomic<std::uint64_t> m_skipped{0};
    CHandlerRegistration m_registration; // last: it ends before what it counts in
};

/// Reads what the stream of an open camera tells. The figures are read one after the other, so those of a running
/// session may be an image apart.
/// @throws as CInstantCamera::GetStreamGrabberNodeMap, so also after a removal; what reading a counter throws.
inline CGrabStatistics ReadStatistics(CInstantCamera& camera) {
    GenApi::INodeMap& nodes = camera.GetStreamGrabberNodeMap();
    const auto read = [&nodes](const char* name) -> std::optional<std::uint64_t> {
        const GenApi::CIntegerPtr counter(nodes.GetNode(name));
        if (!GenApi::IsReadable(counter)) {
            return std::nullopt;
        }
        return static_cast<std::uint64_t>(counter->GetValue());
    };
    CGrabStatistics statistics;
    statistics.failed = read("Statistic_Failed_Buffer_Count");
    if (!statistics.failed) {
        statistics.failed = read("StreamIncompleteFrameCount");
    }
    statistics.delivered = read("StreamDeliveredFrameCount");
    const auto total = statistics.delivered ? std::nullopt : read("Statistic_Total_Buffer_Count");
    if (total && statistics.failed && *total >= *statistics.failed) {
        statistics.delivered = *total - *statistics.failed;
    }
    statistics.lost = read("StreamLostFrameCount");
    statistics.underruns = read("Statistic_Buffer_Underrun_Count");
    return statistics;
}

/// The same, with the skipped ones of a counter at this camera.
inline CGrabStatistics ReadStatistics(CInstantCamera& camera, const CGrabCounter& counter) {
    CGrabStatistics statistics = ReadStatistics(camera);
    statistics.skipped = counter.GetSkipped();
    return statistics;
}

} // namespace Zelmo
