// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "GrabOptions.h"
#include "GrabReport.h"
#include "GrabRun.h"
#include "LatencyHistogram.h"
#include "Output.h"
#include "Verb.h"

#include <chrono>
#include <sys/resource.h>

namespace tool {
namespace {

/// Whether the time stamps of images are nanoseconds of this host's monotonic clock. Others' clocks begin anywhere.
bool StampsHostTime(const Zelmo::CDeviceInfo& info) {
    return info.GetDeviceClass() == "HarlixCamEmu";
}

/// Takes the time of each image. Threads: that of the grab; to be read behind it.
class LatencySink : public FrameSink {
public:
    explicit LatencySink(bool stampsHostTime) : m_stampsHostTime(stampsHostTime) {}

    std::unique_ptr<FrameTask> Take(const Zelmo::CGrabResultData& result, std::uint64_t) override {
        if (m_stampsHostTime && result.GrabSucceeded()) {
            const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
            m_latencies.Add(now.count() - static_cast<std::int64_t>(result.GetTimeStamp()));
        }
        return nullptr;
    }

    const LatencyHistogram& GetLatencies() const noexcept { return m_latencies; }

private:
    const bool m_stampsHostTime;
    LatencyHistogram m_latencies;
};

/// User and system time of all threads of this process.
double GetCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

constexpr const char* kLatencyKeys[] = {"latency_p50_us", "latency_p99_us", "latency_max_us"};
constexpr const char* kLatencyColumns[] = {"P50 US", "P99 US", "MAX US"};

std::vector<double> MakeLatenciesUs(const LatencyHistogram& latencies) {
    return {static_cast<double>(latencies.GetPercentileNs(0.5)) * 1e-3,
            static_cast<double>(latencies.GetPercentileNs(0.99)) * 1e-3,
            static_cast<double>(latencies.GetMaxNs()) * 1e-3};
}

void AddLatencies(const LatencyHistogram& latencies, Json& json, std::vector<std::string>& row) {
    const std::vector<double> valuesUs = MakeLatenciesUs(latencies);
    for (std::size_t i = 0; i < valuesUs.size(); ++i) {
        const bool known = latencies.GetCount() > 0;
        json[kLatencyKeys[i]] = known ? JsonNumber(valuesUs[i]) : Json();
        row.push_back(known ? Fixed(valuesUs[i], 0) : "-");
    }
}

class BenchVerb : public Verb {
public:
    std::string GetName() const override { return "bench"; }
    std::string GetSummary() const override { return "Measure rate, losses, latency and CPU time of grabbing"; }
    std::string GetDetails() const override {
        return "Grabs from the cameras at the same time, by one thread as 'zelmo grab' does, and writes nothing. Rates "
               "count whole images, from the start "
               "of the camera on. Latency is the time from the time stamp of an image to the moment when this program "
               "holds it, as median, 99th percentile (both to 1.6 %) and maximum; it is told of cameras that stamp by "
               "the monotonic clock of this host, as emulated ones do at the begin of the exposure, and is - (null) "
               "for all others. CPU is the time of all threads of this process, start and stop included, for each "
               "image that was taken; an emulated camera draws all its images, skipped ones too, in this process. Of "
               "cameras on Ethernet a second table tells what became of "
               "the packets: those taken, requests for lost ones and how many these asked for, those that came then, "
               "those "
               "missing in the end, and those that this host dropped.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo bench", "Five seconds with the only camera"},
            {"zelmo bench --all --duration 60 --max-lost 0 --json", "All cameras; exit code 6 when one image is lost"},
            {"zelmo bench 0815-0000 0815-0001 --strategy latest-image-only", "Two cameras, the latest image of each"},
            {"zelmo bench 0 --set AcquisitionFrameRateEnable=0", "As fast as it goes"},
        };
    }

    void Define(CLI::App& command) override {
        m_options.durationSeconds = 5;
        auto* device =
            command
                .add_option("DEVICE", m_options.devices,
                            "Serial number, user-defined name, full name, KEY=VALUE[,KEY=VALUE...] or index of "
                            "'list'; may be given several times; the only camera when left out")
                ->type_name("")
                ->check(NotEmpty());
        auto* more = command.add_option("-d,--device", m_named, "The same as an option")
                         ->type_name("DEVICE")
                         ->allow_extra_args(false)
                         ->check(NotEmpty());
        command.add_flag("--all", m_options.all, "All cameras")->excludes(device)->excludes(more);
        DefineChoice(command, "--cameras", m_cameras, {"all"}, "The same")->excludes(device)->excludes(more);
        DefineGrabOptions(command, m_options);
    }

    ExitCode Run(Library& library, Output& output) override {
        CheckGrabOptions(m_options);
        m_options.devices.insert(m_options.devices.end(), m_named.begin(), m_named.end());
        const auto infos = SelectDevices(library, m_options.devices, m_options.all || !m_cameras.empty());
        GrabRun run(infos, m_options, output);
        std::vector<const LatencySink*> sinks; // owned by the cameras
        for (std::size_t i = 0; i < infos.size(); ++i) {
            auto sink = std::make_unique<LatencySink>(StampsHostTime(infos[i]));
            sinks.push_back(sink.get());
            run.GetCameras()[i]->SendTo(std::move(sink));
        }
        const double cpuBefore = GetCpuSeconds();
        run.Run();
        const double cpuSeconds = GetCpuSeconds() - cpuBefore;
        const ExitCode code = run.Conclude();
        Report(run, sinks, cpuSeconds, output);
        return code;
    }

private:
    void Report(const GrabRun& run, const std::vector<const LatencySink*>& sinks, double cpuSeconds,
                Output& output) const {
        GrabReport report = MakeReport(run.GetCameras());
        report.rows[0].insert(report.rows[0].end(), std::begin(kLatencyColumns), std::end(kLatencyColumns));
        LatencyHistogram all;
        for (std::size_t i = 0; i < sinks.size(); ++i) {
            AddLatencies(sinks[i]->GetLatencies(), report.json["cameras"][i], report.rows[i + 1]);
            all.Add(sinks[i]->GetLatencies());
        }
        std::vector<std::string> unused;
        AddLatencies(all, report.json, sinks.size() > 1 ? report.rows.back() : unused);
        Print(report, output);
        ReportCpu(Sum(run.GetCameras()), cpuSeconds, report.json, output);
        output.Document(report.json);
    }

    void ReportCpu(const GrabCounts& sum, double cpuSeconds, Json& json, Output& output) const {
        const std::uint64_t images = sum.frames + sum.failed;
        const double perImageUs = images > 0 ? cpuSeconds * 1e6 / static_cast<double>(images) : 0;
        json["cpu_s"] = JsonNumber(cpuSeconds);
        json["cpu_per_image_us"] = images > 0 ? JsonNumber(perImageUs) : Json();
        json["strategy"] = GetStrategyName(m_options.strategy);
        json["buffers"] = m_options.buffers;
        output.Line("CPU: " + (images > 0 ? Fixed(perImageUs, 1) + " us for each image, " : "") + Fixed(cpuSeconds, 2) +
                    " s in all");
    }

    GrabOptions m_options;
    std::vector<std::string> m_named; // by -d
    std::string m_cameras;            // empty or "all"
};

} // namespace

std::unique_ptr<Verb> MakeBenchVerb() {
    return std::make_unique<BenchVerb>();
}

} // namespace tool
