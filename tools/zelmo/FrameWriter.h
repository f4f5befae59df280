// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FilePattern.h"
#include "PixelConversion.h"

#include <string>

namespace tool {

/// Writes the frames of one camera to files. Threads: any, at the same time.
class FrameWriter {
public:
    FrameWriter(FilePattern pattern, std::string camera, bool raw);

    /// @throws ToolError: "incomplete" for a frame that holds less than it tells, "format_refused", or that the file
    /// cannot be written.
    void Write(const Frame& frame, const std::string& name) const;

    std::string GetName(std::uint64_t number) const { return m_pattern.GetName(m_camera, number); }

private:
    FilePattern m_pattern;
    std::string m_camera;
    bool m_raw;
};

} // namespace tool
