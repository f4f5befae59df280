// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace Gige {

class CConnection;

/// The GenICam description as the device delivers it.
struct CDescription {
    std::string url;   ///< as the device tells it
    std::string bytes; ///< zipped or not
};

/// Reads it from the device's memory, or from the folder of descriptions where a File URL names one: its base name
/// alone, regular files only. URLs on the network are not followed. At most 64 MiB, 60 s in all, 5 s without progress;
/// and no longer than until @p untilNs of CLOCK_MONOTONIC.
/// Where the first URL fails, the second is tried, then the manifest.
/// @p use takes each that could be read, until one is good enough: it throws for the others.
/// @throws GenICam::RuntimeException that names each URL tried and why it failed
CDescription ReadDescription(CConnection& connection, const std::function<void(const CDescription&)>& use = {},
                             std::int64_t untilNs = INT64_MAX);

} // namespace Gige
