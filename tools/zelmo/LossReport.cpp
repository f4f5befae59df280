// SPDX-License-Identifier: Apache-2.0
#include "LossReport.h"

#include "GrabOptions.h"
#include "Output.h"

#include <algorithm>

namespace tool {
namespace {

std::string Images(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " image was " : " images were ");
}

/// Empty unless the camera had to wait for what is done with the images.
std::string WriterText(const GrabCounts& counts, const LossClues& clues) {
    constexpr double kMuch = 0.5;
    const double share = counts.seconds > 0 ? std::min(clues.busySeconds / counts.seconds, 1.0) : 0;
    return share < kMuch ? ""
                         : "writing held the grab up for " + Fixed(100 * share, 0) +
                               " % of the time. A lower frame rate, smaller images, a faster disk or --raw may help";
}

std::string LossCause(const GrabCounts& counts, const LossClues& clues, const GrabOptions& options) {
    const std::string writer = WriterText(counts, clues);
    const std::string buffers =
        "More --buffers (now " + std::to_string(options.buffers) + ") or a lower frame rate may help";
    if (!clues.underruns) {
        return writer.empty() ? "the transport layer does not tell why. " + buffers : "probably because " + writer;
    }
    if (*clues.underruns == 0) {
        return "not for want of a buffer, but on the way from the camera or because this host was too slow. A lower "
               "frame rate may help; 'zelmo doctor' tells of the host";
    }
    return "no buffer was free when they came" + (writer.empty() ? ". " + buffers : ", as " + writer);
}

std::string SkipCause(const GrabCounts& counts, const LossClues& clues, const GrabOptions& options) {
    const std::string writer = WriterText(counts, clues);
    return std::string("--strategy ") + GetStrategyName(options.strategy) + " passes over what comes too fast" +
           (writer.empty() ? "" : ", and " + writer);
}

} // namespace

std::vector<std::string> ExplainLosses(const std::string& camera, const GrabCounts& counts, const LossClues& clues,
                                       const GrabOptions& options) {
    const std::string of = "Camera " + camera + ": ";
    std::vector<std::string> lines;
    if (counts.lost > 0) {
        lines.push_back(of + Images(counts.lost) + "lost: " + LossCause(counts, clues, options));
    }
    if (counts.skipped > 0) {
        lines.push_back(of + Images(counts.skipped) + "skipped: " + SkipCause(counts, clues, options));
    }
    if (counts.failed > 0) {
        lines.push_back(of + Images(counts.failed) + "damaged or incomplete; of the first one: " + clues.firstFailure);
    }
    return lines;
}

} // namespace tool
