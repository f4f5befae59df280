// SPDX-License-Identifier: Apache-2.0
#include "FrameWriter.h"

#include "ImageWriter.h"
#include "PartialFiles.h"

namespace tool {

FrameWriter::FrameWriter(FilePattern pattern, std::string camera, bool raw)
    : m_pattern(std::move(pattern)), m_camera(std::move(camera)), m_raw(raw) {}

FrameWriter::FrameWriter(std::shared_ptr<ByteStream> stream, bool raw) : m_raw(raw), m_stream(std::move(stream)) {}

void FrameWriter::Write(const Frame& frame, const std::string& name) const {
    if (m_raw) {
        return m_stream ? m_stream->Write(frame.data, frame.sizeBytes)
                        : WriteFileWhole(name, frame.data, frame.sizeBytes);
    }
    // Each thread keeps its memory from image to image.
    thread_local PixelConverter converter;
    thread_local Image image;
    thread_local ImageWriter writer;
    converter.Convert(frame, image);
    if (!m_stream) {
        return writer.WritePng(name, image);
    }
    const auto& encoded = writer.Encode(image, name);
    m_stream->Write(encoded.data(), encoded.size());
}

} // namespace tool
