// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "GrabOptions.h"
#include "GrabReport.h"
#include "GrabRun.h"
#include "ImageSink.h"
#include "Output.h"
#include "PartialFiles.h"
#include "Verb.h"
#include "WorkerPool.h"

#include <algorithm>
#include <unistd.h>

namespace tool {
namespace {

class GrabVerb : public Verb {
public:
    std::string GetName() const override { return "grab"; }
    std::string GetSummary() const override { return "Grab images from one camera or several"; }
    std::string GetDetails() const override {
        return "Without -n and --duration one image is grabbed. Files are PNG: grey of 8 bits as it is, of 10 and 12 "
               "bits scaled to 16, Bayer, YCbCr 4:2:2 and BGR as RGB. The name given by -o takes the number of the "
               "image as %d or %06d and the serial number of the camera as %s; with several cameras or images, what is "
               "missing of these is inserted. Files of the same names are replaced. Several cameras grab together, by "
               "one thread: when one of them is removed, fails or falls silent, the grab ends for all with its message "
               "and exit code; -n counts the images of each, and a camera that has them waits for the others. With "
               "--reconnect each has a thread of its own, and goes on by itself. With --chunks there is a line for "
               "each image: frame, camera, number of the image, and NAME=VALUE for all that came along with it, or "
               "NAME missing. With --events there is one for each event: event, camera, number of the image that it "
               "came before, name of the event, and NAME=VALUE. Of cameras on Ethernet a second table at the end tells "
               "what "
               "became of the packets, as 'zelmo bench --help' says.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo grab -n 10 -o 'img-%06d.png'", "Ten images of the only camera: img-000001.png and so on"},
            {"zelmo grab -n 5 --set PixelFormat=RGB8 --set Width=640 -o '%d.png'", "With settings of the camera"},
            {"zelmo grab -n 5 --set ForceFailedBufferCount=2 --exec ForceFailedBuffer",
             "What an emulated camera does on command, such as two images that fail"},
            {"zelmo grab --all --duration 5", "Five seconds from each camera without writing, to see rate and losses"},
            {"zelmo grab -d 0815-0000 -d left -n 3 -o '/data/%s/%d.png'", "A folder for each of two cameras"},
            {"zelmo grab -n 100 --raw -o '%06d.raw' --max-lost 0", "Buffers as they are; exit code 6 when one is lost"},
            {"zelmo grab -n 100 -o -", "Raw bytes to standard output, for another program to read"},
            {"zelmo grab -n 10 --chunks Timestamp,Gain", "What the camera sends along with each image, a line each"},
            {"zelmo grab -n 10 --events ExposureEnd --json", "An object for each image and each event, for a program"},
            {"zelmo grab -n 50 -o '%d.png' --strategy latest-image-only",
             "The newest image each time the disk is ready for one; the others are skipped"},
        };
    }

    void Define(CLI::App& command) override {
        auto* device =
            command
                .add_option("-d,--device", m_options.devices,
                            "Camera, as for the other verbs; may be given several times; the only one when left out")
                ->type_name("DEVICE")
                ->allow_extra_args(false)
                ->check(NotEmpty());
        command.add_flag("--all", m_options.all, "All cameras")->excludes(device);
        command.add_option("-n,--count", m_options.count, "End after N images of each camera")
            ->type_name("N")
            ->check(WholeNumber(1, 4'000'000'000));
        auto* output = command
                           .add_option("-o,--output", m_files.output,
                                       "Name of the files; nothing is written without it. A device or a pipe takes all "
                                       "images one after the "
                                       "other; - is standard output, raw, and all else goes to standard error then")
                           ->type_name("PATTERN")
                           ->check(NotEmpty());
        command
            .add_flag("--raw", m_files.raw,
                      "Write buffers as they are, of any pixel format; NAME.json beside each file tells format, size, "
                      "padding and "
                      "time stamp")
            ->needs(output);
        DefineGrabOptions(command, m_options);
        DefineMetadata(command);
    }

    ExitCode Run(Library& library, Output& output) override {
        if (!m_options.count && !m_options.durationSeconds) {
            m_options.count = 1;
        }
        const bool isStream = !m_files.output.empty() && ByteStream::IsNamedBy(m_files.output);
        m_files.raw = m_files.raw || m_files.output == "-";
        std::optional<FilePattern> pattern = isStream ? std::nullopt : MakePattern();
        CheckGrabOptions(m_options);
        const auto infos = SelectDevices(library, m_options.devices, m_options.all);
        if (isStream && infos.size() > 1) {
            throw UsageError("-o '" + m_files.output +
                             "': there is room for the images of one camera only, as nothing "
                             "stands between them; -d chooses one");
        }
        const auto labels = MakeLabels(infos);
        if (pattern) {
            pattern->Complete(infos.size() > 1, m_options.count != 1u);
            for (const std::string& label : labels) {
                CheckFolderOf(pattern->GetName(label, 1));
            }
        }
        std::optional<WorkerPool> encoders; // outlives the cameras
        if (pattern && !m_files.raw) {
            encoders.emplace(GetUsefulWorkers());
        }
        GrabRun run(infos, m_options, output);
        Target target{pattern, isStream ? OpenStream(run, output) : nullptr};
        const auto sinks = MakeSinks(run, target, labels, encoders ? &*encoders : nullptr, output);
        TellStart(run, output);
        run.Run();
        for (ImageSink* sink : sinks) {
            sink->Finish();
        }
        const ExitCode code = run.Conclude();
        Report(run, sinks, output);
        return code;
    }

private:
    void DefineMetadata(CLI::App& command) {
        DefineList(command, "--chunks", m_options.metadata.chunks,
                   "Tell what the camera sends along with each image: these chunks, entries of ChunkSelector or the "
                   "features that they fill, such as Timestamp or ChunkTimestamp; all is each of them. Switched on "
                   "before the camera starts, and put back afterwards")
            ->type_name("CHUNK[,CHUNK...]");
        DefineList(command, "--events", m_options.metadata.events,
                   "Tell these events of the camera as they come, with the number of the image that they came before: "
                   "entries of EventSelector or the features that they fill, such as ExposureEnd or EventExposureEnd; "
                   "all is each of them. Switched on and put back likewise")
            ->type_name("EVENT[,EVENT...]");
    }

    /// Where images go: to files, to a stream, or nowhere.
    struct Target {
        std::optional<FilePattern> pattern;
        std::shared_ptr<ByteStream> stream;
    };

    std::shared_ptr<ByteStream> OpenStream(GrabRun& run, Output& output) const {
        auto stream = std::make_shared<ByteStream>(m_files.output, m_options.timeoutMs, run.GetSignals());
        if (isatty(stream->GetFd()) == 1) {
            throw UsageError("-o '" + m_files.output + "': a terminal cannot show images; send them on with | or >");
        }
        run.WatchReader(stream->GetFd(), stream->GetName());
        if (stream->IsStandardOutput()) {
            output.SendDataToMessages();
        }
        return stream;
    }

    std::optional<FrameWriter> MakeWriter(const Target& target, const std::string& label) const {
        if (target.stream) {
            return FrameWriter(target.stream, m_files.raw);
        }
        return target.pattern ? std::optional(FrameWriter(*target.pattern, label, m_files.raw)) : std::nullopt;
    }

    std::optional<FilePattern> MakePattern() const {
        if (m_files.output.empty()) {
            return std::nullopt;
        }
        FilePattern pattern(m_files.output);
        const std::string extension = pattern.GetExtension();
        if (!m_files.raw && extension != ".png") {
            throw UsageError("-o '" + m_files.output +
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

    /// Owned by the cameras of @p run.
    std::vector<ImageSink*> MakeSinks(GrabRun& run, const Target& target, const std::vector<std::string>& labels,
                                      WorkerPool* encoders, Output& output) const {
        std::vector<ImageSink*> sinks;
        for (std::size_t i = 0; i < labels.size(); ++i) {
            CameraGrab& camera = *run.GetCameras()[i];
            std::optional<FrameWriter> writer = MakeWriter(target, labels[i]);
            if (writer && !m_files.raw) {
                CheckFormat(camera.GetCamera());
            }
            auto sink = std::make_unique<ImageSink>(camera.GetCamera(), std::move(writer), encoders != nullptr, output);
            sink->Tell(MakeChunks(camera.GetCamera()), MakeEvents(camera.GetCamera(), output));
            sinks.push_back(sink.get());
            camera.SendTo(std::move(sink), encoders);
        }
        return sinks;
    }

    std::unique_ptr<ChunkReport> MakeChunks(Camera& camera) const {
        const auto& wanted = m_options.metadata.chunks;
        return wanted.empty() ? nullptr : std::make_unique<ChunkReport>(camera, wanted);
    }

    std::unique_ptr<EventReport> MakeEvents(Camera& camera, Output& output) const {
        const auto& wanted = m_options.metadata.events;
        return wanted.empty() ? nullptr : std::make_unique<EventReport>(camera, wanted, output);
    }

    void TellStart(const GrabRun& run, Output& output) const {
        Json cameras = Json::array();
        for (const auto& camera : run.GetCameras()) {
            cameras.push_back({{"device", camera->GetName()}});
        }
        output.Event("start", {{"cameras", cameras}, {"strategy", GetStrategyName(m_options.strategy)}});
    }

    static void Report(const GrabRun& run, const std::vector<ImageSink*>& sinks, Output& output) {
        const GrabReport report = MakeReport(run.GetCameras());
        Print(report, output);
        for (std::size_t i = 0; i < sinks.size(); ++i) {
            const GrabCounts counts = run.GetCameras()[i]->GetCounts();
            sinks[i]->NoteFiles(counts.frames == 0 ? 0 : counts.frames + counts.failed);
        }
        output.Event("summary", report.json);
    }

    GrabOptions m_options;
    FileOptions m_files;
};

} // namespace

std::unique_ptr<Verb> MakeGrabVerb() {
    return std::make_unique<GrabVerb>();
}

} // namespace tool
