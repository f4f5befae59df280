// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace GenApi {

/// One line at WARN in category GenApi: something of a description that is ignored, dropped or cannot be trusted.
void LogLoadWarning(const std::string& text);

/// The same at INFO: what is odd but common.
void LogLoadInfo(const std::string& text);

} // namespace GenApi
