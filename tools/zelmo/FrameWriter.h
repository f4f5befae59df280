// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FilePattern.h"
#include "ImageWriter.h"

#include <string>

namespace Zelmo {
class CGrabResultData;
}

namespace tool {

/// Writes the frames of one camera to files. Threads: one.
class FrameWriter {
public:
    FrameWriter(FilePattern pattern, std::string camera, bool raw);

    /// @return the name of the file. @throws ToolError: "incomplete" for a frame that holds less than it tells,
    /// "format_refused", or that the file cannot be written.
    std::string Write(const Zelmo::CGrabResultData& result, std::uint64_t number);

    std::string GetName(std::uint64_t number) const { return m_pattern.GetName(m_camera, number); }

private:
    FilePattern m_pattern;
    std::string m_camera;
    bool m_raw;
    PixelConverter m_converter;
    Image m_image;
    ImageWriter m_writer;
};

} // namespace tool
