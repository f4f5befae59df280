// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace tool {

/// The whole content of a file, a pipe or a device file.
/// @throws ToolError that names the file and the cause, also when it holds more than @p mostBytes.
std::string ReadInputFile(const std::string& path, std::size_t mostBytes);

} // namespace tool
