// SPDX-License-Identifier: Apache-2.0
#include "DescriptorUse.h"

#include "ArrayRetrieval.h"
#include "Isolated.h"
#include "Library.h"
#include "Output.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>
#include <sys/resource.h>
#include <thread>

namespace tool {
namespace {

constexpr std::chrono::seconds kLimit{20};

class NoSink : public FrameSink {
public:
    std::unique_ptr<FrameTask> Take(const Zelmo::CGrabResultData&, std::uint64_t) override { return nullptr; }
};

int CountDescriptors() {
    int count = -1; // the one that this look takes
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

/// With @p cameras that grab as an array and wait for images, which takes some descriptors too. Nothing when they end
/// before that.
std::optional<int> CountWhileGrabbing(const std::vector<Zelmo::CDeviceInfo>& cameras) {
    const GrabOptions options;
    StopSignals signals;
    CameraArray array(cameras.size());
    CameraGrabs grabs;
    for (const Zelmo::CDeviceInfo& info : cameras) {
        grabs.push_back(std::make_unique<CameraGrab>(info, options, signals, &array.GetCamera(grabs.size())));
        grabs.back()->SendTo(std::make_unique<NoSink>());
    }
    GrabThread thread(std::make_unique<ArrayRetrieval>(array, grabs, options, signals));
    thread.Start();
    constexpr int kLooks = 10; // in one of them it waits
    int most = 0;
    for (int looks = 0; looks < kLooks && thread.IsRunning(); looks += grabs.back()->GetCounts().frames > 0 ? 1 : 0) {
        most = std::max(most, CountDescriptors());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const bool isWhole = thread.IsRunning();
    signals.RequestStop();
    return isWhole ? std::optional(most) : std::nullopt;
}

/// The user's limit must not end the measurement.
void RaiseLimit() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

/// How many descriptors are open with none, one and two cameras that grab; fewer numbers when that fails before.
Json CountWithCameras() {
    constexpr std::size_t kCameras = 2;
    setenv("ZELMO_CAMEMU", std::to_string(kCameras).c_str(), 1);
    setenv("ZELMO_GIGE", "off", 1);
    unsetenv("ZELMO_DEVICE_FILTER"); // it may hide them
    RaiseLimit();
    GlobalOptions options;
    options.quiet = true;
    std::ostringstream unread;
    Output silent(options, unread, unread);
    Library library(options, silent);
    library.Start();
    std::vector<Zelmo::CDeviceInfo> cameras;
    Json counts{CountDescriptors()};
    try {
        for (const Zelmo::CDeviceInfo& info : library.FindDevices()) {
            if (info.GetDeviceClass() != "HarlixCamEmu" || cameras.size() == kCameras) {
                continue;
            }
            cameras.push_back(info);
            if (const auto count = CountWhileGrabbing(cameras)) {
                counts.push_back(*count);
            }
        }
    } catch (const std::exception&) { // no descriptors left, most likely: what was counted up to here counts
    }
    return counts;
}

} // namespace

DescriptorUse MeasureDescriptorUse() {
    // What plug-ins have to say was said when they were checked.
    const IsolatedResult result =
        RunIsolated([](const TellStep&) { return CountWithCameras(); }, kLimit, [](const std::string&) {});
    const std::vector<unsigned> counts =
        result.failure.empty() ? result.value.get<std::vector<unsigned>>() : std::vector<unsigned>();
    if (counts.size() < 2) {
        return {0, 0, result.failure.empty() ? "no emulated camera could be opened for it" : result.failure};
    }
    // The first camera brings what all share; a second one has nothing but its own.
    const unsigned ofCamera = counts.back() - counts[counts.size() - 2];
    return {ofCamera, counts[1] - ofCamera, ""};
}

} // namespace tool
