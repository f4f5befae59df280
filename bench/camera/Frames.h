// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/GrabStrategy.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace camera_bench {

enum class EPace {
    Free,     ///< A thread of the transport completes a buffer as soon as there is one.
    Sleeping, ///< The same, but it waits on a condition variable for one, where Free spins for a while.
    Told      ///< Complete completes them, on its thread.
};

/// How frames travel, in ours and in the bare loop alike.
struct Flow {
    Zelmo::EGrabStrategy strategy = Zelmo::GrabStrategy_OneByOne;
    unsigned buffers = 10; // one: each hop waits for the one before
    EPace pace = EPace::Free;
    unsigned outputQueueSize = 10; // with GrabStrategy_LatestImages
    int width = 64;
    int height = 64;
    unsigned chunks = 0;         // behind each image
    bool hasParserOfEach = true; // of each result; else one for all
    bool areChunksRead = false;  // by the one that calls Take, all of them, by their names
};

constexpr int kEnginePriority = 25; // real-time, of the engine thread and its bare counterpart
constexpr unsigned kTimeoutMs = 60000;

/// Places for frames between engine and application.
inline unsigned GetQueueCapacity(const Flow& flow) {
    switch (flow.strategy) {
    case Zelmo::GrabStrategy_OneByOne:
        return flow.buffers;
    case Zelmo::GrabStrategy_LatestImages:
        return flow.outputQueueSize;
    default:
        return 1;
    }
}

/// A running stream of frames over three threads: transport, or who tells it; engine; and the one that calls Take.
class IFrames {
public:
    virtual ~IFrames() = default;

    /// Gives the frame before back, then waits for the next one. @return frames so far, taken and skipped.
    /// @throws std::runtime_error when none comes.
    virtual std::uint64_t Take() = 0;
    virtual void Complete(unsigned frames) = 0;     ///< With EPace::Told; there are as many free buffers.
    virtual std::uint64_t GetReady() const = 0;     ///< In the output queue. Any thread.
    virtual int GetBystanders() const { return 0; } ///< Threads that wait all the time, for other things.
};

/// Of so many frames, each completed a while after the one before was taken: from the transport's signal to Take's end.
std::vector<double> MeasureLatenciesUs(IFrames& frames, int count);

std::unique_ptr<IFrames> StartOurFrames(const Flow& flow);  ///< The session over the null transport.
std::unique_ptr<IFrames> StartBareFrames(const Flow& flow); ///< The same system calls without any of our code.

} // namespace camera_bench
