// SPDX-License-Identifier: Apache-2.0

// The chunks behind images: their bytes, read here without the library, and what an application gets out of them.

#include "Emulator.h"

#include <zelmo/ChunkParser.h>
#include <zelmo/Device.h>

#include <gmock/gmock.h>

#include <cstring>
#include <map>

using namespace Emulator;
using namespace Zelmo;
using testing::HasSubstr;

namespace {

constexpr std::uint32_t kImageId = 1, kFirstId = 0x100, kCrcId = 0x10B;
const std::vector<std::string> kAll = {"Timestamp",   "Framecounter", "ExposureTime",  "Gain",
                                       "OffsetX",     "OffsetY",      "Width",         "Height",
                                       "PixelFormat", "Stride",       "LineStatusAll", "PayloadCRC16"};

using Bytes = std::vector<std::uint8_t>;

std::uint64_t Number(const std::uint8_t* bytes, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}
std::uint64_t Number(const Bytes& bytes) {
    return Number(bytes.data(), bytes.size());
}
double Real(const Bytes& bytes) {
    const std::uint64_t bits = Number(bytes);
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The chunks of a payload by id, walked from its end; nothing when it is no row of chunks.
std::map<std::uint32_t, Bytes> Walk(const std::uint8_t* payload, std::size_t size) {
    std::map<std::uint32_t, Bytes> chunks;
    while (size > 0) {
        if (size < 8) {
            return {};
        }
        const auto id = static_cast<std::uint32_t>(Number(payload + size - 8, 4));
        const auto length = static_cast<std::size_t>(Number(payload + size - 4, 4));
        if (length % 4 != 0 || length > size - 8 || chunks.count(id) != 0) {
            return {};
        }
        size -= 8 + length;
        chunks[id] = Bytes(payload + size, payload + size + length);
    }
    return chunks;
}

// Bit by bit: x^16 + x^12 + x^5 + 1 from 0xFFFF.
std::uint16_t SlowCrc(const std::uint8_t* bytes, std::size_t size) {
    unsigned crc = 0xFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        for (unsigned bit = 0x80; bit != 0; bit >>= 1) {
            const bool carry = ((crc & 0x8000u) != 0) != ((bytes[i] & bit) != 0);
            crc = (crc << 1 ^ (carry ? 0x1021u : 0u)) & 0xFFFFu;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

template <class Map>
void SetIn(Map& map, const char* name, const std::string& value) {
    GenApi::CValuePtr(map.GetNode(name))->FromString(value.c_str());
}

void EnableChunks(GenApi::INodeMap& map, const std::vector<std::string>& names) {
    SetIn(map, "ChunkModeActive", "1");
    for (const std::string& name : names) {
        SetIn(map, "ChunkSelector", name);
        SetIn(map, "ChunkEnable", "1");
    }
}

std::int64_t Int(GenApi::INodeMap& map, const char* name) {
    return GenApi::CIntegerPtr(map.GetNode(name))->GetValue();
}

struct ParserEnd {
    void operator()(ISelfReliantChunkParser* parser) const { parser->Destroy(); }
};
using ParserPtr = std::unique_ptr<ISelfReliantChunkParser, ParserEnd>;
ParserPtr MakeParser(IZelmoDevice& device) {
    return ParserPtr(dynamic_cast<ISelfReliantChunkParser*>(device.CreateChunkParser()));
}

class ChunkTest : public testing::Test {
protected:
    /// The first image of a streaming; its bytes are in the first buffer of the session.
    static GrabResult Grab(Camera& camera, Session& session) {
        session.QueueAll();
        session->StartStreaming();
        camera.Execute("AcquisitionStart");
        return session.Take();
    }
    static std::map<std::uint32_t, Bytes> Walk(const GrabResult& result) {
        return ::Walk(static_cast<const std::uint8_t*>(result.buffer), static_cast<std::size_t>(result.payloadSize));
    }

    const Library m_library{"1"};
};

} // namespace

TEST_F(ChunkTest, EachChunkTellsOfItsImageAndTheChecksumOfAllBytesBefore) {
    Camera camera;
    EnableChunks(*camera.Device().GetNodeMap(), kAll);
    camera.CountFrames(36, 5);
    for (const auto& [name, value] : std::map<const char*, const char*>{{"OffsetX", "10"},
                                                                        {"OffsetY", "6"},
                                                                        {"PixelFormat", "Mono10p"},
                                                                        {"ExposureTime", "1234.5"},
                                                                        {"Gain", "3.25"},
                                                                        {"LineSelector", "Line2"},
                                                                        {"SimulateLineLevel", "1"}}) {
        camera.Set(name, value);
    }
    Session session(camera, 2);
    const GrabResult first = Grab(camera, session), second = session.Take();
    EXPECT_EQ(second.payloadType, PayloadType_ChunkData);
    EXPECT_EQ(second.payloadSize, camera.Int("PayloadSize")->GetValue());
    auto chunks = Walk(second);
    ASSERT_EQ(chunks.size(), 13u);
    const auto of = [&](unsigned index) { return chunks.at(kFirstId + index); };
    EXPECT_EQ(Number(of(0)), second.timeStamp);
    EXPECT_EQ(Number(of(1)), 1u);
    EXPECT_EQ(second.blockId, first.blockId + 1);
    EXPECT_EQ(Real(of(2)), 1234.5);
    EXPECT_EQ(Real(of(3)), 3.25);
    const std::vector<std::uint64_t> rest{10, 6, 36, 5, 0x010A0046, 45, 2};
    for (unsigned i = 0; i < rest.size(); ++i) {
        EXPECT_EQ(Number(of(4 + i)), rest[i]) << kAll[4 + i];
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(second.buffer);
    EXPECT_EQ(Number(chunks.at(kCrcId)), SlowCrc(bytes, static_cast<std::size_t>(second.payloadSize) - 12));
    const Bytes& image = chunks.at(kImageId);
    ASSERT_EQ(image.size(), 228u); // 225 and padding
    EXPECT_EQ(Number(image.data() + 225, 3), 0u);
    EXPECT_EQ(image.data()[0], 'C'); // the frame record
    const ParserPtr parser = MakeParser(camera.Device());
    GenApi::INodeMap& map = *parser->GetChunkDataNodeMap();
    EXPECT_FALSE(parser->HasCRC() || parser->CheckCRC() || GenApi::IsReadable(map.GetNode("ChunkWidth")));
    GenApi::AttachStatistics_t found{};
    parser->AttachBuffer(second.buffer, second.payloadSize, &found);
    EXPECT_EQ(found.NumChunks, 13);
    EXPECT_EQ(found.NumAttachedChunks, 12);
    for (const std::string& name : kAll) {
        EXPECT_EQ(GenApi::CCategoryPtr(map.GetNode("Root"))->GetNode()->GetName(), "Root");
        EXPECT_TRUE(GenApi::IsReadable(map.GetNode(("Chunk" + name).c_str()))) << name;
    }
    EXPECT_EQ(Int(map, "ChunkTimestamp"), static_cast<std::int64_t>(second.timeStamp));
    EXPECT_EQ(GenApi::CFloatPtr(map.GetNode("ChunkExposureTime"))->GetValue(), 1234.5);
    EXPECT_EQ(GenApi::CFloatPtr(map.GetNode("ChunkGain"))->GetValue(), 3.25);
    EXPECT_EQ(GenApi::CEnumerationPtr(map.GetNode("ChunkPixelFormat"))->ToString(), "Mono10p");
    EXPECT_EQ(Int(map, "ChunkLineStatusAll"), 2);
    EXPECT_EQ(Int(map, "ChunkStride"), 45);
    EXPECT_TRUE(parser->HasCRC() && parser->CheckCRC());
    for (const std::size_t place :
         {std::size_t{0}, image.size() + 3, static_cast<std::size_t>(second.payloadSize) - 9}) {
        static_cast<std::uint8_t*>(second.buffer)[place] ^= 0x10;
        EXPECT_TRUE(parser->HasCRC() && !parser->CheckCRC()) << place;
        static_cast<std::uint8_t*>(second.buffer)[place] ^= 0x10;
    }
    parser->DetachBuffer();
    EXPECT_FALSE(parser->HasCRC() || parser->CheckCRC());
}

TEST_F(ChunkTest, PayloadSizesAreExactForAllPixelFormatsAndSelectionsOfChunks) {
    Camera camera;
    GenApi::INodeMap& map = *camera.Device().GetNodeMap();
    camera.CountFrames(36, 3);
    constexpr double kBytesPerSecond = 1e6;
    camera.Set("DeviceLinkThroughputLimitMode", "On");
    camera.Set("DeviceLinkThroughputLimit", "1000000");
    const auto rate = camera.Get<GenApi::CFloatPtr>("ResultingFrameRate");
    GenApi::NodeList_t formats;
    camera.Get<GenApi::CEnumerationPtr>("PixelFormat")->GetEntries(formats);
    ASSERT_EQ(formats.size(), 17u);
    std::size_t which = 0;
    for (GenApi::INode* const format : formats) {
        const std::string name = GenApi::CEnumEntryPtr(format)->GetSymbolic().c_str();
        camera.Set("PixelFormat", name);
        SetIn(map, "ChunkModeActive", "0");
        const std::int64_t plain = camera.Int("PayloadSize")->GetValue();
        EXPECT_DOUBLE_EQ(rate->GetValue(), kBytesPerSecond / static_cast<double>(plain));
        const std::string& chunk = kAll[which++ % kAll.size()];
        EnableChunks(map, {chunk, "PixelFormat"});
        const std::int64_t size = camera.Int("PayloadSize")->GetValue(); // out of the cache, were it not invalidated
        EXPECT_DOUBLE_EQ(rate->GetValue(), kBytesPerSecond / static_cast<double>(size));
        {
            Session session(camera, 1);
            const GrabResult result = Grab(camera, session);
            EXPECT_EQ(result.payloadSize, size) << name;
            auto chunks = Walk(result);
            EXPECT_EQ(chunks.size(), chunk == "PixelFormat" ? 2u : 3u) << name;
            EXPECT_EQ(chunks[kImageId].size(), static_cast<std::size_t>(plain + 3) / 4 * 4) << name;
            EXPECT_EQ(Number(chunks[kFirstId + 8]), static_cast<std::uint64_t>(result.pixelType)) << name;
        }
        SetIn(map, "ChunkSelector", chunk);
        SetIn(map, "ChunkEnable", "0");
    }
    SetIn(map, "ChunkSelector", "PixelFormat");
    SetIn(map, "ChunkEnable", "0");
    Session session(camera, 1);
    EXPECT_FALSE(camera.IsWritable("ChunkModeActive"));
    EXPECT_FALSE(camera.IsWritable("ChunkEnable"));
    EXPECT_EQ(Walk(Grab(camera, session)).size(), 1u); // the image alone
}

TEST_F(ChunkTest, TheRegionMovesDuringAGrabAndOnlyTheChunksTellIt) {
    Camera camera;
    EnableChunks(*camera.Device().GetNodeMap(), {"OffsetX", "OffsetY", "Width", "Height", "PayloadCRC16"});
    camera.CountFrames(64, 48);
    camera.Set("TestImageSelector", "FixedDiagonalGrayGradient_8Bit");
    camera.Set("OffsetX", "8");
    {
        Session session(camera, 1);
        const GrabResult before = Grab(camera, session);
        EXPECT_EQ(camera.Int("Width")->GetMax(), 64);
        EXPECT_EQ(camera.Int("Height")->GetMax(), 48);
        EXPECT_THROW(camera.Set("Width", "68"), GenICam::OutOfRangeException);
        EXPECT_FALSE(camera.IsWritable("PixelFormat"));
        for (const auto& [name, value] : std::vector<std::pair<const char*, const char*>>{
                 {"Width", "32"}, {"Height", "7"}, {"OffsetX", "100"}, {"OffsetY", "30"}}) {
            camera.Set(name, value);
        }
        session.Requeue(before);
        const GrabResult after = session.Take();
        EXPECT_EQ(after.sizeX, 64);
        EXPECT_EQ(after.sizeY, 48);
        EXPECT_EQ(after.offsetX, 8);
        EXPECT_LT(after.payloadSize, before.payloadSize);
        auto chunks = Walk(after);
        ASSERT_EQ(chunks.size(), 6u);
        const std::vector<std::uint64_t> told{100, 30, 32, 7};
        for (unsigned i = 0; i < told.size(); ++i) {
            EXPECT_EQ(Number(chunks[kFirstId + 4 + i]), told[i]) << i;
        }
        ASSERT_EQ(chunks[kImageId].size(), 32u * 7);
        const Bytes image = chunks[kImageId];
        EXPECT_EQ(image[1] - image[0], 1);  // drawn in its new width
        EXPECT_EQ(image[32] - image[0], 1); // a line further along the diagonal
        camera.Set("Width", "64");          // back to what the buffers hold
        session.Requeue(after);
        EXPECT_EQ(Number(Walk(session.Take())[kFirstId + 6]), 64u);
    }
    camera.Set("ChunkModeActive", "0");
    Session session(camera, 1);
    EXPECT_FALSE(camera.IsWritable("Width") || camera.IsWritable("OffsetX"));
}

TEST_F(ChunkTest, ParsersOutliveTheDeviceAndCanBeSwitchedOff) {
    Bytes payload;
    ParserPtr parser;
    {
        const DevicePtr device = Create();
        EXPECT_EQ(device->CreateChunkParser(), nullptr) << "closed";
    }
    {
        Camera camera;
        EnableChunks(*camera.Device().GetNodeMap(), {"Framecounter", "PayloadCRC16"});
        camera.CountFrames();
        Session session(camera, 1);
        const GrabResult result = Grab(camera, session);
        payload.assign(session.Memory(0).begin(), session.Memory(0).begin() + result.payloadSize);
        parser = MakeParser(camera.Device());
        auto& device = dynamic_cast<IZelmoDevicePrivate&>(camera.Device());
        EXPECT_TRUE(device.IsChunkNodeMapDescriptionAvailable());
        const String_t text = device.GetChunkNodeMapDescription();
        EXPECT_THAT(text.c_str(), HasSubstr("ChunkFramecounter"));
        EXPECT_THAT(text.c_str(), testing::Not(HasSubstr("ExposureTimeReg")));
        GenApi::CBooleanPtr(camera.Device().GetTLNodeMap()->GetNode("ChunkNodeMapSupportEnable"))->SetValue(false);
        EXPECT_FALSE(device.IsChunkNodeMapDescriptionAvailable());
        EXPECT_TRUE(device.GetChunkNodeMapDescription().empty());
        EXPECT_EQ(camera.Device().CreateChunkParser(), nullptr);
    }
    parser->AttachBuffer(payload.data(), static_cast<std::int64_t>(payload.size()));
    EXPECT_EQ(Int(*parser->GetChunkDataNodeMap(), "ChunkFramecounter"), 0);
    EXPECT_TRUE(parser->CheckCRC());
    Bytes moved = payload;
    parser->UpdateBuffer(moved.data());
    payload.at(100) ^= 1;
    EXPECT_TRUE(parser->CheckCRC());
    EXPECT_FALSE(GenApi::IsReadable(parser->GetChunkDataNodeMap()->GetNode("ChunkWidth"))) << "was not sent";
    parser->AttachBuffer(moved.data(), static_cast<std::int64_t>(moved.size()) - 12 - 16 - 0);
    EXPECT_FALSE(parser->HasCRC()) << "the image alone";
}
