// SPDX-License-Identifier: Apache-2.0
#include "SystemChecks.h"

#include "Library.h"
#include "Output.h"

#include <Base/GCUtilities.h>
#include <zelmo/ThreadPriority.h>

#include <algorithm>
#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

namespace tool {
namespace {

/// What the grab threads ask for unless told otherwise.
constexpr int kWantedPriority = 25;

/// A few frames of a fast camera on Ethernet have to wait in the kernel while the receiver is not scheduled: at 120
/// MB/s, 10 MB are some 80 ms.
constexpr long kWantedSocketBuffer = 10'000'000;

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

/// Per camera, with a wait object being a pipe of two descriptors: of the stream grabber 2, of the event grabber 2, of
/// the removal notice 2 with the forwarding thread's 2, of a grab session's stop, result and buffer-wanted objects and
/// their sets 8, of the connection itself up to 4 (sockets or a device file); that is 20, and 24 leave room for a
/// transport layer's own needs. The process has its three standard streams, the log file, the signal pipe and the
/// plug-ins' control sockets besides.
Check CheckOpenFiles() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const bool unlimited = limit.rlim_cur == RLIM_INFINITY;
    const rlim_t usable = limit.rlim_cur > kDescriptorsOfProcess ? limit.rlim_cur - kDescriptorsOfProcess : 0;
    Check check{"open files", Verdict::Ok, "", ""};
    check.detail = unlimited ? "no limit on open files"
                             : "the limit of " + std::to_string(limit.rlim_cur) + " open files is enough for " +
                                   std::to_string(usable / kDescriptorsOfCamera) + " cameras at " +
                                   std::to_string(kDescriptorsOfCamera) + " each";
    if (!unlimited && usable < 8 * kDescriptorsOfCamera) {
        check.verdict = Verdict::Warning;
        check.remedy = "Raise it with 'ulimit -n 4096', for good in /etc/security/limits.conf";
    }
    return check;
}

Check CheckSocketBuffers() {
    const std::string path = "/proc/sys/net/core/rmem_max";
    Check check{"socket buffers", Verdict::Ok, "", ""};
    std::ifstream file(path);
    long bytes = 0;
    if (!(file >> bytes)) {
        check.verdict = Verdict::Warning;
        check.detail = path + " cannot be read";
        check.remedy = "Only cameras on Ethernet need large socket buffers; check net.core.rmem_max on the host";
        return check;
    }
    check.detail = "net.core.rmem_max is " + std::to_string(bytes) + " bytes";
    if (bytes < kWantedSocketBuffer) {
        check.verdict = Verdict::Warning;
        check.detail += "; cameras on Ethernet want " + std::to_string(kWantedSocketBuffer);
        check.remedy = "As root: sysctl -w net.core.rmem_max=33554432, for good in /etc/sysctl.d/60-cameras.conf";
    }
    return check;
}

Check CheckCacheFolder() {
    Check check{"cache folder", Verdict::Ok, "", ""};
    GenICam::gcstring folder;
    if (!GenICam::GetValueOfEnvironmentVariable("GENICAM_CACHE_V3_1", folder) || folder.empty()) {
        check.verdict = Verdict::Warning;
        check.detail = "no folder for prepared camera descriptions is set";
        check.remedy = "Set HOME, or GENICAM_CACHE_V3_1 to a folder that can be written";
        return check;
    }
    check.detail = Printable(folder.c_str());
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        check.verdict = Verdict::Warning;
        check.detail += " cannot be written";
        check.remedy = "Make it with 'mkdir -p', give it to this user, or set GENICAM_CACHE_V3_1 to another folder";
    } else {
        check.detail += " can be written";
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

std::vector<Check> CheckPlugins(Library& library) {
    std::vector<Check> checks;
    const Zelmo::TlInfoList layers = library.FindTransportLayers();
    Check path{"plug-in path", Verdict::Ok, GetPluginPath(), ""};
    for (const Zelmo::CTlInfo& info : layers) {
        checks.push_back(DescribeLayer(library, info));
    }
    library.FindDevices(); // some fail only when they are asked for cameras
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
    return {CheckRealTime(), CheckOpenFiles(), CheckSocketBuffers(), CheckCacheFolder()};
}

} // namespace tool
