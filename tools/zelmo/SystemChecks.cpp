// SPDX-License-Identifier: Apache-2.0
#include "SystemChecks.h"

#include "DescriptorUse.h"
#include "Library.h"
#include "Output.h"

#include <zelmo/ThreadPriority.h>

#include <algorithm>
#include <sys/resource.h>
#include <unistd.h>

namespace tool {
namespace {

/// What the grab threads ask for unless told otherwise.
constexpr int kWantedPriority = 25;

Check CheckRealTime() {
    int lowest = 0;
    int highest = 0;
    Zelmo::GetRTThreadPriorityCapabilities(lowest, highest);
    Check check{"real-time priority", Verdict::Ok, "threads may have priorities up to " + std::to_string(highest), ""};
    if (highest < kWantedPriority) {
        check.verdict = Verdict::Warning;
        check.detail +=
            "; grab threads want " + std::to_string(kWantedPriority) + ", without it a busy host loses images";
        check.remedy = "Add the line '<user> - rtprio 99' to /etc/security/limits.conf and log in anew";
    }
    return check;
}

Check CheckFilter() {
    const std::string fault = FindEnvironmentFilterFault();
    return fault.empty()
               ? Check{"device filter", Verdict::Ok, "ZELMO_DEVICE_FILTER keeps to its grammar, or is not set", ""}
               : Check{"device filter", Verdict::Warning, fault,
                       "Write conditions KEY=VALUE, joined by && and ||, or unset ZELMO_DEVICE_FILTER"};
}

/// @p use says what one camera takes; the limit is that of this process.
Check CheckOpenFiles(const DescriptorUse& use) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    Check check{"open files", Verdict::Ok, "", ""};
    const bool unlimited = limit.rlim_cur == RLIM_INFINITY;
    check.detail = unlimited ? "no limit" : "the limit is " + std::to_string(limit.rlim_cur);
    constexpr rlim_t kFewCameras = 8;
    constexpr rlim_t kUsualLimit = 1024;
    bool isEnough = unlimited || limit.rlim_cur >= kUsualLimit;
    if (use.ofCamera == 0) {
        check.detail += "; what a camera takes was not measured: " + use.failure;
    } else {
        const rlim_t usable = limit.rlim_cur > use.ofProcess ? limit.rlim_cur - use.ofProcess : 0;
        const rlim_t cameras = usable / use.ofCamera;
        isEnough = unlimited || cameras >= kFewCameras;
        check.detail += (unlimited ? "" : ", enough for " + std::to_string(cameras) + " grabbing cameras") +
                        std::string(": each takes ") + std::to_string(use.ofCamera) +
                        ", as measured with an emulated one, and the process " + std::to_string(use.ofProcess);
    }
    if (!isEnough) {
        check.verdict = Verdict::Warning;
        check.remedy = "Raise it with 'ulimit -n 4096', for good in /etc/security/limits.conf";
    }
    return check;
}

Check DescribeLayer(Library& library, const Zelmo::CTlInfo& info) {
    const std::string name = Printable(info.GetDeviceClass().c_str());
    const std::string version = info.IsVersionAvailable() ? " version " + Printable(info.GetVersion().c_str()) : "";
    const std::string file = info.IsFileNameAvailable() ? " from " + Printable(info.GetFileName().c_str()) : "";
    if (library.CanCreate(info)) {
        return {"transport layer " + name, Verdict::Ok, "loaded" + version + file, ""};
    }
    return {"transport layer " + name, Verdict::Problem, "loaded" + file + ", but it could not be started",
            "See the library's log: zelmo doctor -v"};
}

} // namespace

std::vector<Check> CheckPlugins(Library& library, Zelmo::DeviceInfoList& devices) {
    std::vector<Check> checks;
    const Zelmo::TlInfoList layers = library.FindTransportLayers();
    Check path{"plug-in path", Verdict::Ok, GetPluginPath(), ""};
    for (const Zelmo::CTlInfo& info : layers) {
        checks.push_back(DescribeLayer(library, info));
    }
    devices = library.FindDevices(); // some fail only when they are asked for cameras
    const auto failures = library.GetPluginFailures();
    for (const PluginFailure& failure : failures) {
        checks.push_back({"plug-in " + Printable(failure.plugin), Verdict::Problem, Printable(failure.reason),
                          "Reinstall or remove it; ZELMO_TL_PATH tells where plug-ins are looked for"});
    }
    if (layers.empty() && failures.empty()) {
        path.verdict = Verdict::Problem;
        path.detail += ": no plug-in there";
        path.remedy = "Set ZELMO_TL_PATH to the folder that holds the files libzelmo_TL_*.so";
    }
    checks.insert(checks.begin(), path);
    return checks;
}

std::vector<Check> CheckSystem() {
    return {CheckFilter(), CheckRealTime(), CheckOpenFiles(MeasureDescriptorUse())};
}

} // namespace tool
