// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PixelConversion.h"

#include <string>

namespace tool {

/// Makes PNG files of images. Favours speed over size: a camera does not wait.
/// Keeps its memory from image to image. Threads: one.
class ImageWriter {
public:
    /// @return the content of the file, valid until the next call. @throws ToolError that names @p path.
    const std::vector<std::uint8_t>& Encode(const Image& image, const std::string& path);

    /// The file is there whole or not at all. @throws ToolError that names the file and the cause.
    void WritePng(const std::string& path, const Image& image);

private:
    std::vector<std::uint8_t> m_encoded;
};

} // namespace tool
