// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChunkReport.h"
#include "EventReport.h"
#include "FrameSink.h"
#include "FrameWriter.h"
#include "Json.h"

#include <map>
#include <optional>
#include <string>

namespace tool {

class Camera;
class Output;

/// What 'grab' does with the images of one camera: writes them where that was asked for, and tells of each as an event.
/// Borrows camera and output.
class ImageSink : public FrameSink {
public:
    /// @param copies images are written when the camera has their buffers again.
    ImageSink(Camera& camera, std::optional<FrameWriter> writer, bool copies, Output& output);

    /// Each image with its chunks, events in between; before the first image. Null: they are not wanted.
    void Tell(std::unique_ptr<ChunkReport> chunks, std::unique_ptr<EventReport> events);

    std::unique_ptr<FrameTask> Take(const Zelmo::CGrabResultData& result, std::uint64_t number) override;

    /// After the grab: tells what is left of the events.
    void Finish();

    /// Tells where @p count images are, when they were written.
    void NoteFiles(std::uint64_t count) const;

private:
    class Task;

    Json MakeEvent(const Zelmo::CGrabResultData& result, std::uint64_t number) const;
    void AddLayout(const Zelmo::CGrabResultData& result, Json& event) const;
    void NoteLayout(const Json& event);

    Camera& m_source;
    const std::string m_camera; // its name
    std::unique_ptr<ChunkReport> m_chunks;
    std::unique_ptr<EventReport> m_events;
    const std::optional<FrameWriter> m_writer;
    const bool m_copies;
    std::map<std::int64_t, std::string> m_formats; // names of pixel formats
    std::string m_layout;                          // as it was noted last
    Output& m_output;
};

/// @throws ToolError when @p camera is set to a pixel format that cannot be written as PNG.
void CheckFormat(Camera& camera);

} // namespace tool
