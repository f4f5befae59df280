// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCString.h>

#include <string_view>

namespace GenICam {

class CLogHierarchy;

/// Configuration by properties, as CLog::ConfigureFromFile tells it. To be run within CLogHierarchy::Configure or
/// Start.
/// @p origin names the text in what is told about its lines.
bool ConfigureLogFromProperties(CLogHierarchy& hierarchy, std::string_view text, std::string_view origin);
bool ConfigureLogFromFile(CLogHierarchy& hierarchy, const gcstring& path);

} // namespace GenICam
