// SPDX-License-Identifier: Apache-2.0
#include "ImageSink.h"

#include "Camera.h"
#include "Output.h"

#include <GenApi/GenApi.h>

namespace tool {

ImageSink::ImageSink(std::string camera, std::optional<FrameWriter> writer, Output& output)
    : m_camera(std::move(camera)), m_writer(std::move(writer)), m_output(output) {}

void ImageSink::OnImage(const Zelmo::CGrabResultData& result, std::uint64_t number) {
    const std::string file = m_writer ? m_writer->Write(result, number) : "";
    if (!m_output.IsJson()) {
        return;
    }
    Json event = MakeEvent(result, number);
    if (m_writer) {
        event["file"] = file;
    }
    event["status"] = "grabbed";
    m_output.Event("frame", event);
}

void ImageSink::OnFailed(const Zelmo::CGrabResultData& result, std::uint64_t number, const std::string& why) {
    Json event = MakeEvent(result, number);
    event["status"] = "failed";
    event["error"] = why;
    m_output.Event("frame", event);
    m_output.Note("Image " + std::to_string(number) + " of camera " + m_camera + " failed: " + why);
}

Json ImageSink::MakeEvent(const Zelmo::CGrabResultData& result, std::uint64_t number) const {
    Json event = {{"device", m_camera}, {"number", number}};
    if (result.GetBlockID() != ~std::uint64_t{0}) {
        event["block_id"] = JsonInteger(result.GetBlockID());
    }
    event["timestamp_ticks"] = JsonInteger(result.GetTimeStamp());
    event["width"] = result.GetWidth();
    event["height"] = result.GetHeight();
    return event;
}

void ImageSink::NoteFiles(std::uint64_t count) const {
    if (!m_writer || count == 0) {
        return;
    }
    const std::string first = m_writer->GetName(1);
    const std::string last = m_writer->GetName(count);
    m_output.Note("Images of " + m_camera + ": " + Printable(first) + (first == last ? "" : " to " + Printable(last)));
}

void CheckFormat(Camera& camera) {
    GenApi::INodeMap& nodeMap = camera.GetNodeMap("device");
    auto* format = dynamic_cast<GenApi::IEnumeration*>(nodeMap.GetNode("PixelFormat"));
    if (format == nullptr || !GenApi::IsReadable(format->GetAccessMode())) {
        return; // the frames will tell
    }
    if (FindPixelLayout(static_cast<Zelmo::EPixelType>(format->GetIntValue())) == nullptr) {
        const std::string name = format->ToString().c_str();
        throw FeatureError(
            "PixelFormat", "format_refused",
            "PixelFormat: " + name + " of camera " + camera.GetName() +
                " cannot be written as PNG; --raw writes buffers as they are, and 'zelmo set PixelFormat=...' "
                "chooses another format");
    }
}

} // namespace tool
