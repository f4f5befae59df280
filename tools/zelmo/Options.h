// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Assignments.h"

#include <zelmo/GrabStrategy.h>

#include <optional>
#include <string>
#include <vector>

namespace tool {

/// What every verb understands; they may stand before or behind the verb.
struct GlobalOptions {
    bool json = false;
    bool quiet = false;                 ///< No notes and no progress; errors stay.
    int verbosity = 0;                  ///< 1: the library's notices and infos, 2: debug too.
    std::string progress = "auto";      ///< auto, always or never.
    std::vector<std::string> logLevels; ///< CATEGORY=LEVEL each.
    std::string logFile;
    std::string filter; ///< Grammar of ZELMO_DEVICE_FILTER.
};

/// Which camera, and which of its node maps, a feature verb works on.
struct DeviceOptions {
    std::string device; ///< Empty: the only camera there is.
    std::string nodeMap = "device";
    unsigned imageTimeoutMs = 5000; ///< For the node map "chunk".
};

struct ListOptions {
    bool transportLayers = false;
    bool watch = false;
    unsigned intervalMs = 1000;
    std::optional<unsigned> count; ///< End after so many arrivals and departures.
    std::optional<double> durationSeconds;
};

struct ExecOptions {
    std::string command;
    unsigned timeoutMs = 5000;
};

struct FeaturesOptions {
    std::string glob;
    bool values = false;
    std::string visibility = "guru";
};

/// How images are triggered by the tool.
struct TriggerOptions {
    bool isSoftware = false;
    std::optional<double> hertz; ///< Without: whenever the camera is ready.
};

/// Whether a grab outlives its camera.
struct ReconnectOptions {
    bool isWanted = false;
    std::optional<double> limitSeconds; ///< Longest time to wait for it.
};

/// What a camera tells beside its images: names, or "all".
struct MetadataOptions {
    std::vector<std::string> chunks;
    std::vector<std::string> events;
};

/// What grab and bench have in common.
struct GrabOptions {
    std::vector<std::string> devices;
    bool all = false;
    std::vector<SetupStep> setup;  ///< Before the camera starts, in this order.
    std::optional<unsigned> count; ///< Images of each camera.
    std::optional<double> durationSeconds;
    Zelmo::EGrabStrategy strategy = Zelmo::GrabStrategy_OneByOne;
    unsigned buffers = 10;
    std::optional<unsigned> queueSize; ///< Of GrabStrategy_LatestImages.
    unsigned timeoutMs = 5000;
    std::optional<unsigned> maxLost;
    TriggerOptions trigger;
    ReconnectOptions reconnect;
    MetadataOptions metadata; ///< grab only.
};

struct FileOptions {
    std::string output; ///< Pattern of file names; empty: nothing is written.
    bool raw = false;
};

} // namespace tool
