// SPDX-License-Identifier: Apache-2.0
//
// A client of another project's library, libaravis: opens a camera by its address, sets and reads features, and counts
// what becomes of its images. Prints one line of JSON.
//   stranger_client ADDRESS FRAMES [packet-size=N] [udp] [extended] [chunks]
#include "core/FrameRecord.h"

#include <arv.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr int kWidth = 320, kHeight = 240; // Mono8

struct Options {
    std::string address;
    int frames = 0;
    int packetSize = 0; ///< 0: as the camera has it
    bool isUdp = false; ///< not by a packet socket
    bool extendedIds = false;
    bool chunks = false;
};

/// Ends the program when a call of the library failed.
class Errors {
public:
    ~Errors() { g_clear_error(&m_error); }
    operator GError**() { return &m_error; } // NOLINT: as the library's calls take it
    void Check(const char* attempt) {
        if (m_error) {
            std::fprintf(stderr, "%s: %s\n", attempt, m_error->message);
            std::exit(1);
        }
    }

private:
    GError* m_error = nullptr;
};

template <class T>
using Object = std::unique_ptr<T, decltype(&g_object_unref)>;

Options Parse(int argc, char** argv) {
    Options options;
    if (argc < 3) {
        std::fprintf(stderr, "stranger_client ADDRESS FRAMES [packet-size=N] [udp] [extended] [chunks]\n");
        std::exit(2);
    }
    options.address = argv[1];
    options.frames = std::atoi(argv[2]);
    for (int i = 3; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.rfind("packet-size=", 0) == 0) {
            options.packetSize = std::atoi(argument.c_str() + std::strlen("packet-size="));
        } else if (argument == "udp") {
            options.isUdp = true;
        } else if (argument == "extended") {
            options.extendedIds = true;
        } else if (argument == "chunks") {
            options.chunks = true;
        } else {
            std::fprintf(stderr, "what is %s?\n", argument.c_str());
            std::exit(2);
        }
    }
    return options;
}

void Configure(ArvCamera* camera, const Options& options) {
    Errors error;
    arv_camera_set_region(camera, 0, 0, kWidth, kHeight, error);
    error.Check("set the region");
    arv_camera_set_string(camera, "TestImageSelector", "FrameCounter", error);
    error.Check("set TestImageSelector");
    arv_camera_set_frame_rate(camera, 200, error);
    error.Check("set the frame rate");
    if (options.packetSize != 0) {
        arv_camera_gv_set_packet_size(camera, options.packetSize, error);
        error.Check("set the packet size");
    }
    arv_camera_set_string(camera, "GevGVSPExtendedIDMode", options.extendedIds ? "On" : "Off", error);
    error.Check("set GevGVSPExtendedIDMode");
    arv_camera_set_boolean(camera, "ChunkModeActive", options.chunks, error);
    error.Check("set ChunkModeActive");
    if (options.chunks) {
        arv_camera_set_string(camera, "ChunkSelector", "Framecounter", error);
        arv_camera_set_boolean(camera, "ChunkEnable", TRUE, error);
        error.Check("enable a chunk");
    }
}

struct Counts {
    int complete = 0, failed = 0, torn = 0, gaps = 0;
    std::uint64_t lastId = 0;
};

void Count(ArvBuffer* buffer, const Options& options, Counts& counts) {
    if (arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS) {
        ++counts.failed;
        return;
    }
    ++counts.complete;
    const std::uint64_t id = arv_buffer_get_frame_id(buffer);
    counts.gaps += counts.lastId != 0 && id != counts.lastId + 1 ? 1 : 0;
    counts.lastId = id;
    std::size_t size = 0;
    const auto* const data = static_cast<const std::uint8_t*>(arv_buffer_get_data(buffer, &size));
    const std::size_t imageBytes = std::size_t{kWidth} * kHeight; // chunks stand behind it
    CamEmu::CFrameRecord record;
    const bool isIntact = size >= imageBytes && (options.chunks || size == imageBytes) &&
                          CamEmu::CheckFrame({data, imageBytes}, record) == CamEmu::EFrameCheck::Intact &&
                          record.blockId + 1 == id;
    counts.torn += isIntact ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const Options options = Parse(argc, argv);
    Errors error;
    const Object<ArvCamera> camera(arv_camera_new(options.address.c_str(), error), g_object_unref);
    error.Check("open the camera");
    const std::string name = arv_camera_get_device_serial_number(camera.get(), error);
    error.Check("read the serial number");
    Configure(camera.get(), options);
    if (options.isUdp) {
        arv_gv_device_set_stream_options(ARV_GV_DEVICE(arv_camera_get_device(camera.get())),
                                         ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
    }
    const Object<ArvStream> stream(arv_camera_create_stream(camera.get(), nullptr, nullptr, error), g_object_unref);
    error.Check("create the stream");
    // A busy host may take longer than the library allows by default, in microseconds, and lose more at a time.
    g_object_set(stream.get(), "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size", 8 << 20,
                 "packet-timeout", 100'000u, "initial-packet-timeout", 100'000u, "frame-retention", 5'000'000u,
                 "packet-request-ratio", 2.0, nullptr);
    const guint payload = arv_camera_get_payload(camera.get(), error);
    error.Check("read the payload size");
    for (int i = 0; i < 30; ++i) {
        arv_stream_push_buffer(stream.get(), arv_buffer_new(payload, nullptr));
    }
    arv_camera_start_acquisition(camera.get(), error);
    error.Check("start the acquisition");
    Counts counts;
    while (counts.complete + counts.failed < options.frames) {
        ArvBuffer* const buffer = arv_stream_timeout_pop_buffer(stream.get(), 20'000'000);
        if (!buffer) {
            std::fprintf(stderr, "no image within 20 s after %d\n", counts.complete + counts.failed);
            return 1;
        }
        Count(buffer, options, counts);
        arv_stream_push_buffer(stream.get(), buffer);
    }
    arv_camera_stop_acquisition(camera.get(), error);
    error.Check("stop the acquisition");
    guint64 resent = 0;
    guint64 missing = 0;
    arv_gv_stream_get_statistics(ARV_GV_STREAM(stream.get()), &resent, &missing);
    guint64 underruns = 0;
    arv_stream_get_statistics(stream.get(), nullptr, nullptr, &underruns);
    std::printf("{\"serial\": \"%s\", \"complete\": %d, \"failed\": %d, \"torn\": %d, \"gaps\": %d, \"resent\": %llu, "
                "\"missing\": %llu, \"underruns\": %llu}\n",
                name.c_str(), counts.complete, counts.failed, counts.torn, counts.gaps,
                static_cast<unsigned long long>(resent), static_cast<unsigned long long>(missing),
                static_cast<unsigned long long>(underruns));
    return 0;
}
