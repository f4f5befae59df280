// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ByteStream.h"
#include "FilePattern.h"
#include "PixelConversion.h"

#include <memory>
#include <optional>
#include <string>

namespace tool {

/// Writes the frames of one camera, each to a file or all of them to a stream.
/// Threads: any, at the same time; with a stream one.
class FrameWriter {
public:
    FrameWriter(FilePattern pattern, std::string camera, bool raw);
    FrameWriter(std::shared_ptr<ByteStream> stream, bool raw);

    /// @throws ToolError: "incomplete" for a frame that holds less than it tells, "format_refused", or that the file
    /// cannot be written.
    void Write(const Frame& frame, const std::string& name) const;

    bool IsRaw() const noexcept { return m_raw; }
    bool IsStream() const noexcept { return m_stream != nullptr; }

    /// Of the file, or of the stream.
    std::string GetName(std::uint64_t number) const {
        return m_stream ? m_stream->GetName() : m_pattern->GetName(m_camera, number);
    }

private:
    std::optional<FilePattern> m_pattern; // none with a stream
    std::string m_camera;
    bool m_raw;
    std::shared_ptr<ByteStream> m_stream;
};

} // namespace tool
