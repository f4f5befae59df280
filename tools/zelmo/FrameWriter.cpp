// SPDX-License-Identifier: Apache-2.0
#include "FrameWriter.h"

#include "ImageWriter.h"
#include "PartialFiles.h"

namespace tool {

FrameWriter::FrameWriter(FilePattern pattern, std::string camera, bool raw)
    : m_pattern(std::move(pattern)), m_camera(std::move(camera)), m_raw(raw) {}

void FrameWriter::Write(const Frame& frame, const std::string& name) const {
    if (m_raw) {
        return WriteFileWhole(name, frame.data, frame.sizeBytes);
    }
    // Each thread keeps its memory from image to image.
    thread_local PixelConverter converter;
    thread_local Image image;
    thread_local ImageWriter writer;
    converter.Convert(frame, image);
    writer.WritePng(name, image);
}

} // namespace tool
