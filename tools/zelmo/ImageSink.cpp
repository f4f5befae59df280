// SPDX-License-Identifier: Apache-2.0
#include "ImageSink.h"

#include "Camera.h"
#include "Output.h"
#include "PartialFiles.h"

#include <GenApi/GenApi.h>

#include <filesystem>
#include <unistd.h>

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

/// Names of pixel formats by their values, as the camera calls them.
std::map<std::int64_t, std::string> GetPixelFormats(GenApi::INodeMap& nodeMap) {
    std::map<std::int64_t, std::string> names;
    auto* format = dynamic_cast<GenApi::IEnumeration*>(nodeMap.GetNode("PixelFormat"));
    if (format == nullptr) {
        return names;
    }
    GenApi::NodeList_t entries;
    format->GetEntries(entries);
    for (GenApi::INode* node : entries) {
        if (auto* entry = dynamic_cast<GenApi::IEnumEntry*>(node)) {
            names.emplace(entry->GetValue(), entry->GetSymbolic().c_str());
        }
    }
    return names;
}

} // namespace

class ImageSink::Task : public FrameTask {
public:
    Task(ImageSink& sink, const Zelmo::CGrabResultData& result, std::uint64_t number) : m_sink(sink), m_number(number) {
        if (sink.m_output.IsJson() || (sink.m_writer && sink.m_writer->IsRaw())) {
            m_event = sink.MakeEvent(result, number);
        }
        if (sink.m_chunks) {
            m_chunks = sink.m_chunks->Read(result);
            m_event["chunks"] = m_chunks->GetJson();
        }
        if (sink.m_writer && result.GrabSucceeded()) {
            TakeFrame(result);
        }
    }

    void Work() override {
        if (m_sink.m_writer) {
            const std::vector<std::uint8_t> bytes = std::move(m_bytes); // they go before others have their turn
            const std::string name = m_sink.m_writer->GetName(m_number);
            m_sink.m_writer->Write(m_frame, name);
            if (m_sink.m_writer->IsRaw() && !m_sink.m_writer->IsStream()) {
                WriteSidecar(name);
            }
        }
    }

    void Tell(const std::string* failure) override {
        const auto& writer = m_sink.m_writer;
        if (writer && failure == nullptr && !writer->IsStream()) {
            m_event["file"] = writer->GetName(m_number);
        } else if (writer && failure == nullptr && writer->IsRaw()) {
            m_sink.NoteLayout(m_event);
        }
        m_event["status"] = failure == nullptr ? "grabbed" : "failed";
        if (failure != nullptr) {
            m_event["message"] = *failure;
            m_sink.m_output.Note("Image " + std::to_string(m_number) + " of camera " + m_sink.m_camera +
                                 " failed: " + *failure);
        }
        m_sink.m_output.Event("frame", m_event);
        if (m_chunks) {
            m_sink.m_output.StreamLine(m_chunks->MakeRow({"frame", m_sink.m_camera, std::to_string(m_number)}));
        }
    }

private:
    void TakeFrame(const Zelmo::CGrabResultData& result) {
        m_frame = MakeFrame(result);
        if (m_sink.m_copies) {
            m_bytes.assign(m_frame.data, m_frame.data + m_frame.sizeBytes);
            m_frame.data = m_bytes.data();
        }
    }

    /// What a raw file alone does not tell. Whoever finds this one finds the image whole.
    void WriteSidecar(const std::string& name) const {
        Json sidecar = {{"schema", kJsonSchema}, {"file", std::filesystem::path(name).filename().string()}};
        sidecar.update(m_event);
        const std::string text = sidecar.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
        try {
            WriteFileWhole(name + ".json", reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        } catch (...) {
            unlink(name.c_str()); // both or none
            throw;
        }
    }

    ImageSink& m_sink;
    const std::uint64_t m_number;
    Json m_event;
    std::optional<NodeValues> m_chunks;
    Frame m_frame;
    std::vector<std::uint8_t> m_bytes; // a copy of the frame's, or empty
};

ImageSink::ImageSink(Camera& camera, std::optional<FrameWriter> writer, bool copies, Output& output)
    : m_source(camera), m_camera(camera.GetName()), m_writer(std::move(writer)), m_copies(copies),
      m_formats(GetPixelFormats(camera.GetNodeMap("device"))), m_output(output) {}

void ImageSink::Tell(std::unique_ptr<ChunkReport> chunks, std::unique_ptr<EventReport> events) {
    m_chunks = std::move(chunks);
    m_events = std::move(events);
}

void ImageSink::Finish() {
    if (m_events) {
        m_events->Finish();
    }
}

std::unique_ptr<FrameTask> ImageSink::Take(const Zelmo::CGrabResultData& result, std::uint64_t number) {
    if (m_events) {
        m_events->OnImage(number);
    }
    if (const std::string& fault = m_source.GetChunkFault(); !fault.empty()) {
        m_output.Note("The chunk data of image " + std::to_string(number) + " of camera " + m_camera +
                      " cannot be read: " + fault);
    }
    const bool isOfInterest = m_writer || m_chunks || m_output.IsJson() || !result.GrabSucceeded();
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
    if (result.GrabSucceeded()) { // else it means nothing
        AddLayout(result, event);
    }
    return event;
}

void ImageSink::AddLayout(const Zelmo::CGrabResultData& result, Json& event) const {
    const std::int64_t type = result.GetPixelType();
    const auto format = m_formats.find(type);
    event["offset_x"] = result.GetOffsetX();
    event["offset_y"] = result.GetOffsetY();
    event["pixel_format"] = format != m_formats.end() ? Json(format->second) : Json();
    event["pixel_type"] = type;
    event["padding_x_bytes"] = result.GetPaddingX();
    event["padding_y_bytes"] = result.GetPaddingY();
    event["size_bytes"] = JsonInteger(std::uint64_t{GetFilledBytes(result)});
}

/// In a stream nothing else stands between the images.
void ImageSink::NoteLayout(const Json& event) {
    const std::string format =
        event["pixel_format"].is_string() ? event["pixel_format"].get<std::string>() : "an unknown format";
    const std::string layout = format + ", " + event["width"].dump() + " x " + event["height"].dump() + ", padding " +
                               event["padding_x_bytes"].dump() + " bytes a line, " + event["size_bytes"].dump() +
                               " bytes an image";
    if (layout != m_layout) {
        m_output.Note("From image " + event["number"].dump() + " on: " + layout);
        m_layout = layout;
    }
}

void ImageSink::NoteFiles(std::uint64_t count) const {
    if (!m_writer || m_writer->IsStream() || count == 0) {
        return;
    }
    const std::string first = m_writer->GetName(1);
    const std::string last = m_writer->GetName(count);
    m_output.Note("Images of " + m_camera + ": " + Printable(first) + (first == last ? "" : " to " + Printable(last)) +
                  (m_writer->IsRaw() ? "; beside each, in a file that ends in .json, what it holds" : ""));
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
