// SPDX-License-Identifier: Apache-2.0
#include "GrabReport.h"

#include "Output.h"

#include <algorithm>

namespace tool {
namespace {

std::string Bar(double share) {
    constexpr std::size_t width = 24;
    const auto full = static_cast<std::size_t>(std::clamp(share, 0.0, 1.0) * width);
    return "[" + std::string(full, '#') + std::string(width - full, '.') + "] ";
}

Json MakeCountsJson(const GrabCounts& counts) {
    return {{"frames", JsonInteger(counts.frames)},
            {"failed", JsonInteger(counts.failed)},
            {"lost", JsonInteger(counts.lost)},
            {"skipped", JsonInteger(counts.skipped)},
            {"bytes", JsonInteger(counts.bytes)},
            {"duration_s", JsonNumber(counts.seconds)},
            {"frames_per_s", JsonNumber(counts.GetFramesPerSecond())},
            {"mb_per_s", JsonNumber(counts.GetMegabytesPerSecond())}};
}

Json MakeCamerasJson(const CameraGrabs& grabs) {
    Json cameras = Json::array();
    for (const auto& grab : grabs) {
        Json camera = {{"device", grab->GetName()}};
        camera.update(MakeCountsJson(grab->GetCounts()));
        cameras.push_back(camera);
    }
    return cameras;
}

/// A column of the progress line: the rate, and how many images are missing if any are.
std::string MakeColumn(const CameraGrab& grab) {
    const GrabCounts counts = grab.GetCounts();
    const std::uint64_t missing = counts.failed + counts.lost + counts.skipped;
    return "  | " + grab.GetName() + " " + Fixed(counts.GetFramesPerSecond(), 1) + " fps" +
           (missing > 0 ? ", " + std::to_string(missing) + " missing" : "");
}

std::uint64_t CountWanted(const CameraGrabs& grabs, unsigned ofEach) {
    return std::uint64_t{ofEach} * grabs.size();
}

std::vector<std::string> MakeRow(const std::string& name, const GrabCounts& counts) {
    return {name,
            std::to_string(counts.frames),
            std::to_string(counts.failed),
            std::to_string(counts.lost),
            std::to_string(counts.skipped),
            Fixed(counts.seconds, 2),
            Fixed(counts.GetFramesPerSecond(), 1),
            Fixed(counts.GetMegabytesPerSecond(), 1)};
}

} // namespace

GrabCounts Sum(const CameraGrabs& grabs) {
    GrabCounts sum;
    for (const auto& grab : grabs) {
        const GrabCounts counts = grab->GetCounts();
        sum.frames += counts.frames;
        sum.failed += counts.failed;
        sum.lost += counts.lost;
        sum.skipped += counts.skipped;
        sum.bytes += counts.bytes;
        sum.seconds = std::max(sum.seconds, counts.seconds);
    }
    return sum;
}

std::string MakeProgressLine(const CameraGrabs& grabs, const GrabOptions& options) {
    const GrabCounts sum = Sum(grabs);
    const std::uint64_t delivered = sum.frames + sum.failed;
    std::string text;
    if (options.count) {
        const std::uint64_t wanted = CountWanted(grabs, *options.count);
        text = Bar(static_cast<double>(delivered) / static_cast<double>(wanted)) + std::to_string(delivered) + "/" +
               std::to_string(wanted) + " images";
    } else {
        text = options.durationSeconds ? Bar(sum.seconds / *options.durationSeconds) : "";
        text += std::to_string(delivered) + " images";
    }
    text += "  " + Fixed(sum.GetFramesPerSecond(), 1) + " fps  " + Fixed(sum.GetMegabytesPerSecond(), 1) +
            " MB/s  failed " + std::to_string(sum.failed) + "  lost " + std::to_string(sum.lost) + "  skipped " +
            std::to_string(sum.skipped);
    for (const auto& grab : grabs) {
        text += grabs.size() > 1 ? MakeColumn(*grab) : "";
    }
    return text;
}

Json MakeProgressJson(const CameraGrabs& grabs, const GrabOptions& options) {
    Json json = MakeCountsJson(Sum(grabs));
    json["cameras"] = MakeCamerasJson(grabs);
    if (options.count) {
        json["wanted"] = CountWanted(grabs, *options.count);
    }
    return json;
}

GrabReport MakeReport(const CameraGrabs& grabs) {
    const GrabCounts sum = Sum(grabs);
    GrabReport report{MakeCountsJson(sum),
                      {{"CAMERA", "FRAMES", "FAILED", "LOST", "SKIPPED", "SECONDS", "FPS", "MB/S"}}};
    report.json["cameras"] = MakeCamerasJson(grabs);
    for (const auto& grab : grabs) {
        report.rows.push_back(MakeRow(grab->GetName(), grab->GetCounts()));
    }
    if (grabs.size() > 1) {
        report.rows.push_back(MakeRow("all", sum));
    }
    return report;
}

} // namespace tool
