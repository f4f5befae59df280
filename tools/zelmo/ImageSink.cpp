// SPDX-License-Identifier: Apache-2.0
#include "ImageSink.h"

#include "Camera.h"
#include "Output.h"

#include <GenApi/GenApi.h>

namespace tool {

namespace {

/// Borrows the buffer of @p result.
Frame MakeFrame(const Zelmo::CGrabResultData& result) {
    Frame frame;
    frame.data = static_cast<const std::uint8_t*>(result.GetBuffer());
    frame.sizeBytes = GetFilledBytes(result);
    frame.pixelType = result.GetPixelType();
    frame.width = result.GetWidth();
    frame.height = result.GetHeight();
    frame.paddingX = result.GetPaddingX();
    return frame;
}

} // namespace

class ImageSink::Task : public FrameTask {
public:
    Task(const ImageSink& sink, const Zelmo::CGrabResultData& result, std::uint64_t number)
        : m_sink(sink), m_number(number) {
        if (sink.m_output.IsJson()) {
            m_event = sink.MakeEvent(result, number);
        }
        if (sink.m_writer && result.GrabSucceeded()) {
            TakeFrame(result);
        }
    }

    void Work() override {
        if (m_sink.m_writer) {
            const std::vector<std::uint8_t> bytes = std::move(m_bytes); // they go before others have their turn
            m_sink.m_writer->Write(m_frame, m_sink.m_writer->GetName(m_number));
        }
    }

    void Tell(const std::string* failure) override {
        if (m_sink.m_writer && failure == nullptr) {
            m_event["file"] = m_sink.m_writer->GetName(m_number);
        }
        m_event["status"] = failure == nullptr ? "grabbed" : "failed";
        if (failure != nullptr) {
            m_event["error"] = *failure;
            m_sink.m_output.Note("Image " + std::to_string(m_number) + " of camera " + m_sink.m_camera +
                                 " failed: " + *failure);
        }
        m_sink.m_output.Event("frame", m_event);
    }

private:
    void TakeFrame(const Zelmo::CGrabResultData& result) {
        m_frame = MakeFrame(result);
        if (m_sink.m_copies) {
            m_bytes.assign(m_frame.data, m_frame.data + m_frame.sizeBytes);
            m_frame.data = m_bytes.data();
        }
    }

    const ImageSink& m_sink;
    const std::uint64_t m_number;
    Json m_event;
    Frame m_frame;
    std::vector<std::uint8_t> m_bytes; // a copy of the frame's, or empty
};

ImageSink::ImageSink(std::string camera, std::optional<FrameWriter> writer, bool copies, Output& output)
    : m_camera(std::move(camera)), m_writer(std::move(writer)), m_copies(copies), m_output(output) {}

std::unique_ptr<FrameTask> ImageSink::Take(const Zelmo::CGrabResultData& result, std::uint64_t number) {
    const bool isOfInterest = m_writer || m_output.IsJson() || !result.GrabSucceeded();
    return isOfInterest ? std::make_unique<Task>(*this, result, number) : nullptr;
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
