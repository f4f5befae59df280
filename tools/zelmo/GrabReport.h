#pragma once

#include "CameraGrab.h"

#include <memory>
#include <string>
#include <vector>

namespace tool {

using CameraGrabs = std::vector<std::unique_ptr<CameraGrab>>;

/// One line about all cameras: a bar when the end is known, else the count; rate and losses.
std::string MakeProgressLine(const CameraGrabs& grabs, const GrabOptions& options);

/// The summary, as the last event of a JSON stream or as a table, and where the images are.
void PrintSummary(const CameraGrabs& grabs, Output& output);

} // namespace tool
