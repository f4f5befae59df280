#include "FrameWriter.h"

#include "PartialFiles.h"

#include <zelmo/StreamGrabber.h>

#include <algorithm>

namespace tool {
namespace {

std::size_t GetFilledBytes(const Zelmo::GrabResult& result) {
    return result.payloadSize < 0
               ? result.bufferSize
               : std::min<std::uint64_t>(static_cast<std::uint64_t>(result.payloadSize), result.bufferSize);
}

} // namespace

FrameWriter::FrameWriter(FilePattern pattern, std::string camera, bool raw)
    : m_pattern(std::move(pattern)), m_camera(std::move(camera)), m_raw(raw) {}

std::string FrameWriter::Write(const Zelmo::GrabResult& result, std::uint64_t number) {
    const std::string name = GetName(number);
    Frame frame;
    frame.data = static_cast<const std::uint8_t*>(result.buffer);
    frame.sizeBytes = GetFilledBytes(result);
    if (m_raw) {
        WriteFileWhole(name, frame.data, frame.sizeBytes);
        return name;
    }
    frame.pixelType = result.pixelType;
    frame.width = static_cast<unsigned>(std::max(result.sizeX, 0));
    frame.height = static_cast<unsigned>(std::max(result.sizeY, 0));
    frame.paddingX = static_cast<std::size_t>(std::max(result.paddingX, 0));
    m_converter.Convert(frame, m_image);
    m_writer.WritePng(name, m_image);
    return name;
}

} // namespace tool
