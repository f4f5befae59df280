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

std::string Packets(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " packet" : " packets");
}

/// Empty unless this host has dropped packets.
std::string HostCause(const StreamCounts& stream) {
    return stream.droppedByHost.value_or(0) == 0
               ? ""
               : "this host dropped " + Packets(*stream.droppedByHost) +
                     ", as the receive buffer of its kernel was full; 'zelmo doctor' tells how to raise it";
}

std::string Besides(const std::string& cause) {
    return cause.empty() ? "" : "; besides, " + cause;
}

/// Of so many packets that did not reach this host.
std::string NetworkCause(const StreamCounts& stream, std::uint64_t count) {
    const std::string lost = Packets(count) + " got lost on the network";
    if (stream.requests.value_or(0) == 0) {
        return lost + " and were not asked for again: EnableResend is off, or the camera cannot repeat them";
    }
    if (stream.refused.value_or(0) > 0) {
        return lost + ", and the camera answered with " + std::to_string(*stream.refused) +
               " errors, as it does when it has not kept them; a lower rate or larger packets may help";
    }
    return lost + ", and " + std::to_string(*stream.requests) +
           " requests did not bring them back: look at cables, ports and the switch, and give the camera a lower rate "
           "or GevSCPD";
}

/// Where packets of incomplete images were lost; empty when none were, or nobody tells. What this host dropped may have
/// come again, so it explains no more than so many.
std::string PacketCause(const StreamCounts& stream) {
    if (stream.missing == std::uint64_t{0}) {
        return "";
    }
    const std::string host = HostCause(stream);
    const std::uint64_t missing = stream.missing.value_or(0);
    const std::uint64_t dropped = stream.droppedByHost.value_or(0);
    return missing <= dropped
               ? host
               : (dropped > 0 ? "at least " : "") + NetworkCause(stream, missing - dropped) + Besides(host);
}

std::string LossCause(const GrabCounts& counts, const LossClues& clues, const GrabOptions& options) {
    const std::string writer = WriterText(counts, clues);
    const std::string buffers =
        "More --buffers (now " + std::to_string(options.buffers) + ") or a lower frame rate may help";
    if (!clues.stream.underruns) {
        return writer.empty() ? "the transport layer does not tell why. " + buffers : "probably because " + writer;
    }
    if (*clues.stream.underruns == 0) {
        if (clues.stream.HavePackets()) {
            const std::string host = HostCause(clues.stream);
            return std::string("not one packet of them came") + (host.empty() ? ", and this host dropped none" : "") +
                   ". The camera left them out, as it does at a rate above what its link or GevSCPD carries, or the "
                   "link was cut" +
                   Besides(host);
        }
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
        const std::string cause = PacketCause(clues.stream);
        lines.push_back(of + Images(counts.failed) + "damaged or incomplete" + (cause.empty() ? "" : ": " + cause) +
                        "; of the first one: " + clues.firstFailure);
    }
    return lines;
}

} // namespace tool
