#include "GrabReport.h"

#include "Output.h"

#include <algorithm>

namespace tool {
namespace {

GrabCounts Sum(const CameraGrabs& grabs) {
    GrabCounts sum;
    for (const auto& grab : grabs) {
        const GrabCounts counts = grab->GetCounts();
        sum.frames += counts.frames;
        sum.failed += counts.failed;
        sum.lost += counts.lost;
        sum.bytes += counts.bytes;
        sum.seconds = std::max(sum.seconds, counts.seconds); // they run at the same time
    }
    return sum;
}

std::string Bar(double share) {
    constexpr std::size_t width = 24;
    const auto full = static_cast<std::size_t>(std::clamp(share, 0.0, 1.0) * width);
    return "[" + std::string(full, '#') + std::string(width - full, '.') + "] ";
}

Json MakeCountsJson(const GrabCounts& counts) {
    return {{"frames", JsonInteger(counts.frames)},
            {"failed", JsonInteger(counts.failed)},
            {"lost", JsonInteger(counts.lost)},
            {"bytes", JsonInteger(counts.bytes)},
            {"duration_s", JsonNumber(counts.seconds)},
            {"frames_per_s", JsonNumber(counts.GetFramesPerSecond())},
            {"mb_per_s", JsonNumber(counts.GetMegabytesPerSecond())}};
}

std::vector<std::string> MakeRow(const std::string& name, const GrabCounts& counts) {
    return {name,
            std::to_string(counts.frames),
            std::to_string(counts.failed),
            std::to_string(counts.lost),
            Fixed(counts.seconds, 2),
            Fixed(counts.GetFramesPerSecond(), 1),
            Fixed(counts.GetMegabytesPerSecond(), 1)};
}

void NoteFiles(const CameraGrab& grab, Output& output) {
    const FrameWriter* writer = grab.GetWriter();
    const GrabCounts counts = grab.GetCounts();
    if (writer == nullptr || counts.frames == 0) {
        return;
    }
    const std::string first = writer->GetName(1);
    const std::string last = writer->GetName(counts.frames + counts.failed);
    output.Note("Images of " + grab.GetName() + ": " + Printable(first) +
                (first == last ? "" : " to " + Printable(last)));
}

} // namespace

std::string MakeProgressLine(const CameraGrabs& grabs, const GrabOptions& options) {
    const GrabCounts sum = Sum(grabs);
    const std::uint64_t delivered = sum.frames + sum.failed;
    std::string text;
    if (options.count) {
        const std::uint64_t wanted = std::uint64_t{*options.count} * grabs.size();
        text = Bar(static_cast<double>(delivered) / static_cast<double>(wanted)) + std::to_string(delivered) + "/" +
               std::to_string(wanted) + " images";
    } else {
        text = options.durationSeconds ? Bar(sum.seconds / *options.durationSeconds) : "";
        text += std::to_string(delivered) + " images";
    }
    return text + "  " + Fixed(sum.GetFramesPerSecond(), 1) + " fps  " + Fixed(sum.GetMegabytesPerSecond(), 1) +
           " MB/s  failed " + std::to_string(sum.failed) + "  lost " + std::to_string(sum.lost);
}

void PrintSummary(const CameraGrabs& grabs, Output& output) {
    const GrabCounts sum = Sum(grabs);
    Json json = MakeCountsJson(sum);
    json["cameras"] = Json::array();
    std::vector<std::vector<std::string>> rows{{"CAMERA", "FRAMES", "FAILED", "LOST", "SECONDS", "FPS", "MB/S"}};
    for (const auto& grab : grabs) {
        Json camera = {{"device", grab->GetName()}};
        camera.update(MakeCountsJson(grab->GetCounts()));
        json["cameras"].push_back(camera);
        rows.push_back(MakeRow(grab->GetName(), grab->GetCounts()));
    }
    if (grabs.size() > 1) {
        rows.push_back(MakeRow("all", sum));
    }
    for (const std::string& line : FormatTable(rows)) {
        output.Line(line);
    }
    for (const auto& grab : grabs) {
        NoteFiles(*grab, output);
    }
    output.Event("summary", json);
}

} // namespace tool
