// SPDX-License-Identifier: Apache-2.0
#include "FrameWriter.h"

#include "FrameSink.h"
#include "PartialFiles.h"

namespace tool {

FrameWriter::FrameWriter(FilePattern pattern, std::string camera, bool raw)
    : m_pattern(std::move(pattern)), m_camera(std::move(camera)), m_raw(raw) {}

std::string FrameWriter::Write(const Zelmo::CGrabResultData& result, std::uint64_t number) {
    const std::string name = GetName(number);
    Frame frame;
    frame.data = static_cast<const std::uint8_t*>(result.GetBuffer());
    frame.sizeBytes = GetFilledBytes(result);
    if (m_raw) {
        WriteFileWhole(name, frame.data, frame.sizeBytes);
        return name;
    }
    frame.pixelType = result.GetPixelType();
    frame.width = result.GetWidth();
    frame.height = result.GetHeight();
    frame.paddingX = result.GetPaddingX();
    m_converter.Convert(frame, m_image);
    m_writer.WritePng(name, m_image);
    return name;
}

} // namespace tool
