// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PixelConversion.h"

#include <string>

namespace tool {

/// Writes images as PNG files; whole files or none. Favours speed over size: a camera does not wait.
/// Keeps its memory from image to image. Threads: one.
class ImageWriter {
public:
    /// @throws ToolError that names the file and the cause.
    void WritePng(const std::string& path, const Image& image);

private:
    std::vector<std::uint8_t> m_encoded;
};

} // namespace tool
