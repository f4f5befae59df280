// SPDX-License-Identifier: Apache-2.0
#include "GrabReport.h"

#include "Output.h"

#include <algorithm>

namespace tool {
namespace {

std::string Bar(double share, std::size_t width) {
    const auto full = static_cast<std::size_t>(std::clamp(share, 0.0, 1.0) * static_cast<double>(width));
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

/// With the packets of each camera. Clues are whole only when the thread of the camera has ended.
Json MakeEndedCamerasJson(const CameraGrabs& grabs) {
    Json cameras = MakeCamerasJson(grabs);
    for (std::size_t i = 0; i < grabs.size(); ++i) {
        if (const StreamCounts& stream = grabs[i]->GetLossClues().stream; stream.HavePackets()) {
            cameras[i]["stream"] = stream.ToJson();
        }
    }
    return cameras;
}

/// The rate of each camera, and how many of its images are missing if any are.
std::string MakeColumns(const CameraGrabs& grabs) {
    std::string text;
    for (const auto& grab : grabs) {
        const GrabCounts counts = grab->GetCounts();
        const std::uint64_t missing = counts.failed + counts.lost + counts.skipped;
        text += (text.empty() ? ": " : ", ") + grab->GetName() + " " + Fixed(counts.GetFramesPerSecond(), 1) +
                (missing > 0 ? " (" + std::to_string(missing) + " missing)" : "");
    }
    return text;
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

std::string Cell(const StreamCounts::Count& count) {
    return count ? std::to_string(*count) : "-";
}

/// Empty where no camera sends packets.
std::vector<std::vector<std::string>> MakePacketRows(const CameraGrabs& grabs) {
    std::vector<std::vector<std::string>> rows;
    for (const auto& grab : grabs) {
        const StreamCounts& stream = grab->GetLossClues().stream;
        if (stream.HavePackets()) {
            rows.push_back({grab->GetName(), Cell(stream.packets), Cell(stream.requests), Cell(stream.requested),
                            Cell(stream.resent), Cell(stream.missing), Cell(stream.droppedByHost)});
        }
    }
    if (!rows.empty()) {
        rows.insert(rows.begin(),
                    {"CAMERA", "PACKETS", "RESEND REQUESTS", "ASKED FOR", "RESENT", "MISSING", "DROPPED HERE"});
    }
    return rows;
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
    const std::size_t barWidth = grabs.size() > 1 ? 12 : 24; // several cameras need the room
    std::string text;
    if (options.count) {
        const std::uint64_t wanted = CountWanted(grabs, *options.count);
        text = Bar(static_cast<double>(delivered) / static_cast<double>(wanted), barWidth) + std::to_string(delivered) +
               "/" + std::to_string(wanted) + " images";
    } else {
        text = options.durationSeconds ? Bar(sum.seconds / *options.durationSeconds, barWidth) : "";
        text += std::to_string(delivered) + " images";
    }
    return text + "  " + Fixed(sum.GetFramesPerSecond(), 1) + " fps" + (grabs.size() > 1 ? MakeColumns(grabs) : "") +
           "  " + Fixed(sum.GetMegabytesPerSecond(), 1) + " MB/s  failed " + std::to_string(sum.failed) + "  lost " +
           std::to_string(sum.lost) + "  skipped " + std::to_string(sum.skipped);
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
                      {{"CAMERA", "FRAMES", "FAILED", "LOST", "SKIPPED", "SECONDS", "FPS", "MB/S"}},
                      MakePacketRows(grabs)};
    report.json["cameras"] = MakeEndedCamerasJson(grabs);
    for (const auto& grab : grabs) {
        report.rows.push_back(MakeRow(grab->GetName(), grab->GetCounts()));
    }
    if (grabs.size() > 1) {
        report.rows.push_back(MakeRow("all", sum));
    }
    return report;
}

void Print(const GrabReport& report, Output& output) {
    for (const auto* rows : {&report.rows, &report.packetRows}) {
        for (const std::string& line : FormatTable(*rows)) {
            output.Line(line);
        }
    }
}

} // namespace tool
