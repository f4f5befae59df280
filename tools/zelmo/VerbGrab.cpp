#include "Assignments.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "GrabReport.h"
#include "Output.h"
#include "PartialFiles.h"
#include "Verb.h"

#include <algorithm>
#include <poll.h>

namespace tool {
namespace {

constexpr int progressIntervalMs = 100;

class GrabVerb : public Verb {
public:
    std::string GetName() const override { return "grab"; }
    std::string GetSummary() const override { return "Grab images from one camera or several"; }
    std::string GetDetails() const override {
        return "Without -n and --duration one image is grabbed. Files are PNG: grey of 8 bits as it is, of 10 and 12 "
               "bits scaled to "
               "16, Bayer, YCbCr 4:2:2 and BGR as RGB. The name given by -o takes the number of the image as %d or "
               "%06d and the "
               "serial number of the camera as %s; with several cameras or images, what is missing of these is "
               "inserted. Files of "
               "the same names are replaced.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo grab -n 10 -o 'img-%06d.png'", "Ten images of the only camera: img-000001.png and so on"},
            {"zelmo grab -n 5 --set PixelFormat=RGB8 --set Width=640 -o '%d.png'", "With settings of the camera"},
            {"zelmo grab --all --duration 5", "Five seconds from each camera without writing, to see rate and losses"},
            {"zelmo grab -d 0815-0000 -d left -n 3 -o '/data/%s/%d.png'", "A folder for each of two cameras"},
            {"zelmo grab -n 100 --raw -o '%06d.raw' --max-lost 0", "Buffers as they are; exit code 6 when one is lost"},
        };
    }

    void Define(CLI::App& command) override {
        auto* device =
            command
                .add_option("-d,--device", m_options.devices,
                            "Camera, as for the other verbs; may be given several times; the only one when left out")
                ->type_name("DEVICE")
                ->allow_extra_args(false);
        command.add_flag("--all", m_options.all, "All cameras")->excludes(device);
        command
            .add_option("--set", m_options.settings,
                        "Set a feature before the camera starts; may be given several times")
            ->type_name("NAME=VALUE")
            ->allow_extra_args(false);
        command.add_option("-n,--count", m_options.count, "End after N images of each camera")
            ->type_name("N")
            ->check(WholeNumber(1, 4'000'000'000));
        DefineSeconds(command, "--duration", m_options.durationSeconds, "End after that time");
        auto* output =
            command.add_option("-o,--output", m_options.output, "Name of the files; nothing is written without it")
                ->type_name("PATTERN");
        command.add_flag("--raw", m_options.raw, "Write buffers as they are, of any pixel format")->needs(output);
        DefineMilliseconds(command, "--timeout", m_options.timeoutMs, "Longest time to wait for an image");
        command.add_option("--buffers", m_options.buffers, "Buffers for each camera; default 10")
            ->type_name("N")
            ->check(WholeNumber(1, 10'000));
        command.add_option("--max-lost", m_options.maxLost, "Exit code 6 when more images are lost or failed")
            ->type_name("N")
            ->check(WholeNumber(0, 4'000'000'000));
    }

    ExitCode Run(Library& library, Output& output) override {
        if (!m_options.count && !m_options.durationSeconds) {
            m_options.count = 1;
        }
        std::optional<FilePattern> pattern = MakePattern();
        const auto settings = ParseAssignments(m_options.settings);
        const auto infos = SelectDevices(library, m_options.devices, m_options.all);
        if (pattern) {
            pattern->Complete(infos.size() > 1, m_options.count != 1u);
            for (const std::string& label : MakeLabels(infos)) {
                CheckFolderOf(pattern->GetName(label, 1));
            }
        }
        StopSignals signals;
        CameraGrabs grabs;
        for (const auto& info : infos) {
            grabs.push_back(std::make_unique<CameraGrab>(info, m_options, output, signals));
            grabs.back()->Configure(settings);
        }
        if (pattern) {
            PrepareWriting(*pattern, MakeLabels(infos), grabs);
        }
        GrabAll(grabs, signals, output);
        return Conclude(grabs, signals, output);
    }

private:
    std::optional<FilePattern> MakePattern() const {
        if (m_options.output.empty()) {
            return std::nullopt;
        }
        FilePattern pattern(m_options.output);
        const std::string extension = pattern.GetExtension();
        if (!m_options.raw && extension != ".png") {
            throw UsageError("-o '" + m_options.output +
                             "': images are written as PNG, so the name has to end in .png; --raw writes " +
                             "buffers as they are under any name");
        }
        return pattern;
    }

    /// What stands for the camera in file names: its name, with its place behind it where two cameras have the same.
    static std::vector<std::string> MakeLabels(const std::vector<Zelmo::CDeviceInfo>& infos) {
        std::vector<std::string> labels;
        for (const auto& info : infos) {
            const std::string name = GetCameraName(info);
            const bool taken = std::find(labels.begin(), labels.end(), name) != labels.end();
            labels.push_back(taken ? name + "-" + std::to_string(labels.size()) : name);
        }
        return labels;
    }

    void PrepareWriting(const FilePattern& pattern, const std::vector<std::string>& labels, CameraGrabs& grabs) const {
        for (std::size_t i = 0; i < grabs.size(); ++i) {
            if (!m_options.raw) {
                grabs[i]->CheckFormat();
            }
            grabs[i]->WriteTo(std::make_unique<FrameWriter>(pattern, labels[i], m_options.raw));
        }
    }

    void GrabAll(CameraGrabs& grabs, StopSignals& signals, Output& output) const {
        Json names = Json::array();
        for (const auto& grab : grabs) {
            names.push_back(grab->GetName());
        }
        output.Event("start", {{"devices", names}});
        for (const auto& grab : grabs) {
            grab->Start();
        }
        const auto running = [](const auto& grab) { return grab->IsRunning(); };
        while (std::any_of(grabs.begin(), grabs.end(), running)) {
            output.ShowProgress(MakeProgressLine(grabs, m_options));
            pollfd stop{signals.GetFd(), POLLIN, 0};
            // Once stopping, the signal stays readable: then only the pause is wanted.
            poll(&stop, signals.StopRequested() ? 0 : 1, progressIntervalMs);
        }
        for (const auto& grab : grabs) {
            grab->Join();
        }
        output.ShowProgress(MakeProgressLine(grabs, m_options));
        output.EndProgress();
    }

    ExitCode Conclude(const CameraGrabs& grabs, const StopSignals& signals, Output& output) const {
        std::optional<ExitCode> failure;
        std::uint64_t missing = 0;
        for (const auto& grab : grabs) {
            missing += grab->GetCounts().lost + grab->GetCounts().failed;
            if (grab->GetError()) {
                output.Error(*grab->GetError());
                failure = failure.value_or(grab->GetError()->GetExitCode());
            }
        }
        const bool tooMany = m_options.maxLost && missing > *m_options.maxLost;
        if (tooMany && !failure) {
            output.Error({ExitCode::Quality, "quality",
                          std::to_string(missing) + " images were lost or failed, but at most " +
                              std::to_string(*m_options.maxLost) +
                              " were permitted (--max-lost). More --buffers, a lower frame "
                              "rate or a faster disk may help"});
        }
        PrintSummary(grabs, output);
        return failure                                   ? *failure
               : signals.GetExitCode() != ExitCode::Done ? signals.GetExitCode()
               : tooMany                                 ? ExitCode::Quality
                                                         : ExitCode::Done;
    }

    GrabOptions m_options;
};

} // namespace

std::unique_ptr<Verb> MakeGrabVerb() {
    return std::make_unique<GrabVerb>();
}

} // namespace tool
