// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraGrab.h"
#include "Json.h"

#include <string>
#include <vector>

namespace tool {

class Output;

/// Of all cameras; the time of the one that took longest, as they run at the same time.
GrabCounts Sum(const CameraGrabs& grabs);

/// One line about all cameras: a bar when the end is known, else the count; rate and losses, and ahead of these the
/// rate of each where there are several. A terminal cuts it at its edge.
std::string MakeProgressLine(const CameraGrabs& grabs, const GrabOptions& options);

/// The same for programs: the counts, those of each camera under "cameras", and how many images are "wanted" where that
/// is known.
Json MakeProgressJson(const CameraGrabs& grabs, const GrabOptions& options);

/// What came of all cameras: the sum, each camera under "cameras"; and a table with a header and, where there are
/// several, the sum as its last row. Where cameras send packets, a second table says what became of these.
struct GrabReport {
    Json json;
    std::vector<std::vector<std::string>> rows;
    std::vector<std::vector<std::string>> packetRows;
};
GrabReport MakeReport(const CameraGrabs& grabs); ///< After the grab.
void Print(const GrabReport& report, Output& output);

} // namespace tool
