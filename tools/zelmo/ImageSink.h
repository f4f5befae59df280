// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FrameSink.h"
#include "FrameWriter.h"
#include "Json.h"

#include <optional>

namespace tool {

class Camera;
class Output;

/// What 'grab' does with the images of one camera: writes them where that was asked for, and tells of each as an event.
/// Borrows the output. Threads: that of the grab.
class ImageSink : public FrameSink {
public:
    ImageSink(std::string camera, std::optional<FrameWriter> writer, Output& output);

    void OnImage(const Zelmo::CGrabResultData& result, std::uint64_t number) override;
    void OnFailed(const Zelmo::CGrabResultData& result, std::uint64_t number, const std::string& why) override;

    /// Tells where @p count images are, when they were written.
    void NoteFiles(std::uint64_t count) const;

private:
    Json MakeEvent(const Zelmo::CGrabResultData& result, std::uint64_t number) const;

    std::string m_camera;
    std::optional<FrameWriter> m_writer;
    Output& m_output;
};

/// @throws ToolError when @p camera is set to a pixel format that cannot be written as PNG.
void CheckFormat(Camera& camera);

} // namespace tool
