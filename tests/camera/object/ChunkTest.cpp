// SPDX-License-Identifier: Apache-2.0

// Chunk data as applications see them: parsers of each result, pools of them, and one for all.

#include "CameraTest.h"
#include "ScriptedChunks.h"

#include <GenApi/ChunkAdapterGEV.h>

#include <array>
#include <memory>
#include <vector>

using namespace Zelmo;
using GenICam::LogPriority_Error;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr const char* kNoMoreParsers =
    "Cannot retrieve grab result. The maximum number of available grab results has been reached. Check the "
    "MaxNumGrabResults and the StaticChunkNodeMapPoolSize setting of the camera object.";

std::array<std::uint32_t, 5> GeometryOf(const CGrabResultPtr& result) {
    return {result->GetOffsetX(), result->GetOffsetY(), result->GetWidth(), result->GetHeight(), result->GetPaddingX()};
}

class ChunkTest : public testing::Test {
protected:
    ChunkTest() {
        hxlog::LogEnable(true);
        m_device->makeParser = [this] { return new ScriptedChunks(m_script); };
        m_device->SetValue(8, 1);
        m_camera->RegisterConfiguration(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
        m_camera->Attach(m_device.get(), Cleanup_None);
    }
    ~ChunkTest() override {
        m_result.Release();
        if (m_camera != nullptr) {
            m_camera->DetachDevice();
        }
        m_camera.reset();
        EXPECT_EQ(m_script.alive, 0);
    }
    bool Retrieve() { return m_camera->RetrieveResult(kPatience, m_result, kRaises); }
    std::string Failure(const std::function<void()>& step) { return Fakes::FailureOf<GenICam::GenericException>(step); }
    static std::int64_t ReadTimestamp(const CGrabResultPtr& result) {
        return GenApi::CIntegerPtr(result->GetChunkDataNodeMap(), "ChunkTimestamp")->GetValue();
    }

    Fakes::LogRecorder m_log{"zelmo.base.InstantCamera"};
    ChunkScript m_script;
    std::unique_ptr<LifeDevice> m_device = std::make_unique<LifeDevice>(
        "source=free;chunks=1", "Life", std::vector<Fakes::CFeature>{{"Boolean", "ChunkModeActive", 8, ""}});
    std::unique_ptr<CInstantCamera> m_camera = std::make_unique<CInstantCamera>();
    CGrabResultPtr m_result;
};

TEST_F(ChunkTest, EachResultHasItsOwnAndItsGeometryComesFromThem) {
    m_camera->MaxNumBuffer.SetValue(3);
    m_camera->StartGrabbing();
    EXPECT_EQ(m_script.made, 3); // of each record, before the first image
    ASSERT_TRUE(Retrieve());
    EXPECT_THAT(GeometryOf(m_result), ElementsAre(3, 4, 10, 5, 2));
    EXPECT_EQ(m_result->GetPixelType(), PixelType_Mono8);
    EXPECT_TRUE(m_result->IsChunkDataAvailable() && m_result->HasCRC() && m_result->CheckCRC());
    EXPECT_EQ(ReadTimestamp(m_result), 99);
    const CGrabResultPtr held = m_result;
    ASSERT_TRUE(Retrieve());
    EXPECT_NE(&held->GetChunkDataNodeMap(), &m_result->GetChunkDataNodeMap());
    EXPECT_EQ(m_script.attached, 2);
    m_result.Release();
    EXPECT_EQ(m_script.attached, 1);
    m_camera->StopGrabbing();
    EXPECT_EQ(m_script.alive, 1);
    m_camera->DetachDevice();
    m_device.reset();
    m_camera.reset();
    EXPECT_EQ(ReadTimestamp(held), 99); // whatever is gone
}

TEST_F(ChunkTest, WithoutChunkModeThereIsNoParserAndAnEmptyMap) {
    m_device->SetValue(8, 0);
    m_camera->StartGrabbing();
    ASSERT_TRUE(Retrieve());
    EXPECT_FALSE(m_result->IsChunkDataAvailable() || m_result->HasCRC() || m_result->CheckCRC());
    EXPECT_EQ(m_result->GetChunkDataNodeMap().GetNumNodes(), 0U);
    EXPECT_THAT(GeometryOf(m_result), ElementsAre(0, 0, 64, 16, 0));
    EXPECT_EQ(m_script.made, 0);
}

TEST_F(ChunkTest, FailedImagesAndImagesWithoutChunksAreNotParsed) {
    m_device->Grabber().SetScript("source=free;chunks=1;Frame:1:fail");
    m_camera->StartGrabbing();
    ASSERT_TRUE(Retrieve());
    EXPECT_FALSE(m_result->GrabSucceeded());
    EXPECT_TRUE(m_result->IsChunkDataAvailable());
    EXPECT_EQ(m_script.attached, 0);
    m_camera->StopGrabbing();
    m_device->Grabber().SetScript("source=free");
    m_camera->StartGrabbing();
    ASSERT_TRUE(Retrieve());
    EXPECT_TRUE(m_result->IsChunkDataAvailable());
    EXPECT_THAT(GeometryOf(m_result), ElementsAre(0, 0, 64, 16, 0));
    EXPECT_EQ(m_script.attached, 0);
}

struct GeometryCase {
    const char* what;
    std::map<std::string, std::string> nodes;
    const char* format;
    std::array<std::uint32_t, 5> geometry;
    EPixelType pixelType;
};

class ChunkGeometryTest : public ChunkTest, public testing::WithParamInterface<GeometryCase> {};

TEST_P(ChunkGeometryTest, IsCorrectedByWhatCanBeRead) {
    m_script.nodes = GetParam().nodes;
    m_script.formats = GetParam().format;
    for (const bool hasOwnParsers : {true, false}) {
        m_camera->ChunkNodeMapsEnable.SetValue(hasOwnParsers);
        m_camera->StartGrabbing();
        ASSERT_TRUE(Retrieve());
        EXPECT_EQ(GeometryOf(m_result), GetParam().geometry) << GetParam().what;
        EXPECT_EQ(m_result->GetPixelType(), GetParam().pixelType);
        EXPECT_EQ(m_result->IsChunkDataAvailable(), hasOwnParsers);
        EXPECT_EQ(m_script.attached, hasOwnParsers ? 1 : 0);
        m_result.Release();
        m_camera->Close();
        EXPECT_EQ(m_script.alive, 0);
    }
}

// Images have 64 x 16 pixels, Mono8, for the transport layer.
INSTANTIATE_TEST_SUITE_P(
    All, ChunkGeometryTest,
    testing::Values(
        GeometryCase{"nothing of the geometry", {}, "", {0, 0, 64, 16, 0}, PixelType_Mono8},
        GeometryCase{"one datum", {{"ChunkHeight", "<Value>7</Value>"}}, "Mono8", {0, 0, 64, 7, 0}, PixelType_Mono8},
        GeometryCase{"not readable",
                     {{"ChunkHeight", "<ImposedAccessMode>WO</ImposedAccessMode><Value>7</Value>"}},
                     "Mono8",
                     {0, 0, 64, 16, 0},
                     PixelType_Mono8},
        GeometryCase{"an unknown format", {}, "Strange", {0, 0, 64, 16, 0}, PixelType_Undefined},
        GeometryCase{
            "a short one", {{"ChunkStride", "<Value>63</Value>"}}, "Mono8", {0, 0, 64, 16, 0}, PixelType_Mono8},
        GeometryCase{"just full", {{"ChunkStride", "<Value>64</Value>"}}, "Mono8", {0, 0, 64, 16, 0}, PixelType_Mono8},
        GeometryCase{
            "a long one", {{"ChunkStride", "<Value>80</Value>"}}, "Mono8", {0, 0, 64, 16, 16}, PixelType_Mono8},
        GeometryCase{"lines that end inside of a byte",
                     {{"ChunkWidth", "<Value>63</Value>"}, {"ChunkStride", "<Value>96</Value>"}},
                     "Mono12p",
                     {0, 0, 63, 16, 1},
                     PixelType_Mono12p},
        GeometryCase{"a line that is too long for a stride",
                     {{"ChunkWidth", "<Value>4294967295</Value>"}, {"ChunkStride", "<Value>80</Value>"}},
                     "Mono8",
                     {0, 0, 4294967295, 16, 0},
                     PixelType_Mono8},
        GeometryCase{"cut to 32 bits",
                     {{"ChunkWidth", "<Value>4294967301</Value>"}},
                     "Mono8",
                     {0, 0, 5, 16, 0},
                     PixelType_Mono8}));

TEST_F(ChunkTest, PoolIsFilledAheadAndLimitsTheResults) {
    m_camera->StaticChunkNodeMapPoolSize.SetValue(2);
    EXPECT_EQ(m_script.made, 2); // also while the device is closed
    m_camera->Open();
    m_camera->StaticChunkNodeMapPoolSize.SetValue(3);
    EXPECT_EQ(m_script.made, 3);
    for (int session = 0; session < 2; ++session) {
        m_camera->StartGrabbing();
        std::vector<CGrabResultPtr> held(3);
        for (CGrabResultPtr& one : held) {
            ASSERT_TRUE(m_camera->RetrieveResult(kPatience, one, kRaises));
        }
        EXPECT_EQ(Failure([this] { Retrieve(); }), kNoMoreParsers);
        EXPECT_TRUE(m_camera->IsGrabbing());
        held.pop_back();
        EXPECT_TRUE(Retrieve());
        m_result.Release();
        m_camera->StopGrabbing();
    }
    EXPECT_EQ(m_script.made, 3);
    EXPECT_EQ(m_script.alive, 3);
    m_camera->StartGrabbing();
    ASSERT_TRUE(Retrieve());
    m_camera->StopGrabbing();
    m_camera->StaticChunkNodeMapPoolSize.SetValue(1);
    EXPECT_EQ(m_script.alive, 1); // that which is out
    EXPECT_EQ(ReadTimestamp(m_result), 99);
    m_camera->StaticChunkNodeMapPoolSize.SetValue(0);
    EXPECT_EQ(m_script.alive, 1);
    m_result.Release();
    EXPECT_EQ(m_script.alive, 0);
}

TEST_F(ChunkTest, PoolGoesWithItsDeviceAndIsMadeAnewForTheNext) {
    m_camera->StaticChunkNodeMapPoolSize.SetValue(4);
    m_camera->StartGrabbing();
    ASSERT_TRUE(Retrieve());
    m_camera->DetachDevice();
    EXPECT_EQ(m_script.alive, 1);
    LifeDevice other("source=free;chunks=1");
    other.makeParser = [this, left = 2]() mutable -> IChunkParser* {
        return left-- > 0 ? new ScriptedChunks(m_script) : nullptr; // it has no more
    };
    m_camera->Attach(&other, Cleanup_None);
    EXPECT_EQ(m_script.alive, 1);
    m_camera->Open();
    EXPECT_EQ(m_script.alive, 3);
    m_camera->DetachDevice();
    EXPECT_EQ(m_script.alive, 1);
}

TEST_F(ChunkTest, PoolIsLeftAloneBySessions) {
    m_camera->StaticChunkNodeMapPoolSize.SetValue(2);
    m_device->SetValue(8, 0); // chunks are off
    m_camera->Open();
    m_device->makeParser = []() -> IChunkParser* { throw RUNTIME_EXCEPTION("not now"); };
    m_camera->StartGrabbing();
    EXPECT_TRUE(Retrieve());
    m_camera->StopGrabbing();
    EXPECT_EQ(m_script.made, 2);
    EXPECT_EQ(Failure([this] { m_camera->StaticChunkNodeMapPoolSize.SetValue(3); }), "not now");
    m_device->makeParser = [] { return nullptr; };
    m_camera->Close();
}

TEST_F(ChunkTest, SessionThatEndsInsideItsStartLeavesNoParser) {
    m_camera->ChunkNodeMapsEnable.SetValue(false);
    m_device->makeParser = [this] {
        m_camera->StopGrabbing();
        return new ScriptedChunks(m_script);
    };
    EXPECT_THAT(Failure([this] { m_camera->StartGrabbing(); }), HasSubstr("Grabbing was stopped"));
    EXPECT_EQ(m_script.made, 1);
    EXPECT_EQ(m_script.alive, 0);
}

TEST_F(ChunkTest, DeviceComesAndGoesWhileThePoolIsResizedUnderALockOfTheApplications) {
    struct Override final : ILockOverride {
        void Lock() override { lock.lock(); }
        void Unlock() override { lock.unlock(); }
        std::recursive_mutex lock;
    } own;
    m_camera->GetExtensionInterface().SetLockOverride(&own);
    std::jthread resizing([this](const std::stop_token& stop) {
        for (int size = 0; !stop.stop_requested(); size = (size + 1) % 4) {
            m_camera->StaticChunkNodeMapPoolSize.SetValue(size);
        }
    });
    for (int i = 0; i < 200; ++i) {
        m_camera->DetachDevice();
        m_camera->Attach(m_device.get(), Cleanup_None);
        m_camera->CreateGrabResultData()->Destroy();
    }
    resizing = {};
    m_camera->DetachDevice();
    m_camera->GetExtensionInterface().SetLockOverride(nullptr);
}

/// As that of an application runs, at a node that the parser changes.
TEST_F(ChunkTest, CallbackWhileTheyAreParsedIsNoEventAndMayEndAll) {
    int told = 0;
    const auto handler = OnEvent(*m_camera, "Height", [&told] { ++told; });
    for (const bool hasOwnParsers : {true, false}) {
        for (const auto deed : {&CInstantCamera::StopGrabbing, &CInstantCamera::Close, &CInstantCamera::DetachDevice}) {
            m_camera->Attach(m_device.get(), Cleanup_None);
            m_camera->ChunkNodeMapsEnable.SetValue(hasOwnParsers);
            m_script.onAttach = [&] {
                GenApi::CIntegerPtr(*m_device->GetNodeMap(), "Height")->SetValue(16);
                (m_camera.get()->*deed)();
            };
            m_camera->StartGrabbing();
            EXPECT_TRUE(Retrieve());
            EXPECT_FALSE(m_camera->IsGrabbing());
            EXPECT_EQ(m_result->GetWidth(), hasOwnParsers ? 10U : 64U); // the one for all has gone
            EXPECT_TRUE(m_result->GrabSucceeded());
            m_result.Release();
            EXPECT_EQ(m_script.alive, 0);
        }
    }
    EXPECT_EQ(told, 0);
}

TEST_F(ChunkTest, StartWithoutDescriptionOrParserSaysSoAndLeavesNothing) {
    const auto make = std::exchange(m_device->makeParser, nullptr);
    EXPECT_EQ(Failure([this] { m_camera->StartGrabbing(); }),
              "Unexpected error! Cannot create chunk parser. No chunk node map description available. Check the "
              "Transport Layer settings.");
    m_device->makeParser = [] { return nullptr; };
    EXPECT_EQ(Failure([this] { m_camera->StartGrabbing(); }),
              "Unexpected error! Unexpected internal error. Cannot create grab result chunk parser.");
    m_camera->ChunkNodeMapsEnable.SetValue(false);
    EXPECT_EQ(
        Failure([this] { m_camera->StartGrabbing(); }),
        "Unexpected error! Unexpected internal error. Cannot create internal chunk parser for result completion.");
    EXPECT_FALSE(m_camera->IsGrabbing());
    m_device->makeParser = make;
    m_camera->StartGrabbing();
    EXPECT_TRUE(Retrieve());
}

TEST_F(ChunkTest, CallbacksOfChunkNodesMayEndTheCamerasLifeWhileChunksAreMapped) {
    m_camera->MaxNumBuffer.SetValue(1);
    m_camera->StartGrabbing();
    ASSERT_TRUE(Retrieve());
    GenApi::INode* const node = m_result->GetChunkDataNodeMap().GetNode("ChunkHeight");
    m_result.Release();
    const auto ends = [this](GenApi::INode*) { m_camera->DetachDevice(); };
    const auto callback = GenApi::Register(node, ends, GenApi::cbPostOutsideLock);
    ASSERT_TRUE(Retrieve()) << "by the same parser, as there is one record";
    GenApi::Deregister(callback);
    EXPECT_FALSE(m_camera->IsGrabbing() || m_camera->IsZelmoDeviceAttached());
    EXPECT_THAT(GeometryOf(m_result), ElementsAre(3, 4, 10, 5, 2));
    EXPECT_EQ(ReadTimestamp(m_result), 99);
}

TEST_F(ChunkTest, ParserThatDoesNotEndWellIsOnlyLogged) {
    m_script.failsToEnd = true;
    m_camera->ChunkNodeMapsEnable.SetValue(false);
    m_camera->StartGrabbing();
    m_camera->StopGrabbing();
    const char* const line = "Exception caught while destroying chunk parser, msg='it sticks'";
    EXPECT_TRUE(m_log.Contains("zelmo.base.InstantCamera", LogPriority_Error, line));
    m_log.Clear();
    m_camera->ChunkNodeMapsEnable.SetValue(true);
    m_camera->StaticChunkNodeMapPoolSize.SetValue(1);
    m_camera->StaticChunkNodeMapPoolSize.SetValue(0);
    EXPECT_TRUE(m_log.Contains("zelmo.base.InstantCamera", LogPriority_Error, line));
}

TEST_F(ChunkTest, ResultsAreDroppedByManyThreadsWhileTheCameraGrabsAndItsPoolChanges) {
    m_camera->MaxNumBuffer.SetValue(8);
    m_camera->StaticChunkNodeMapPoolSize.SetValue(8);
    for (int session = 0; session < 20; ++session) {
        m_camera->StartGrabbing();
        std::vector<std::jthread> users;
        for (int image = 0; image < 8; ++image) {
            CGrabResultPtr result;
            ASSERT_TRUE(m_camera->RetrieveResult(kPatience, result, kRaises));
            users.emplace_back([result = std::move(result)]() mutable {
                EXPECT_EQ(ReadTimestamp(result), 99);
                result.Release();
            });
        }
        m_camera->StopGrabbing();
        m_camera->StaticChunkNodeMapPoolSize.SetValue(session % 2 == 0 ? 12 : 8);
    }
}

class GenericParser : public CChunkParser {
public:
    explicit GenericParser(GenApi::CChunkAdapter* adapter) : CChunkParser(adapter) {}
    using CChunkParser::GetBuffer;
    bool HasCRC() const override { return false; }
    bool CheckCRC() const override { return false; }
};

tests::MapPtr MakeMapOfOneChunk() {
    return tests::MakeMap(
        "<Port Name='Chunk'><ChunkID>1234</ChunkID></Port><IntReg Name='Value'><Address>0</Address><Length>4</Length>"
        "<AccessMode>RO</AccessMode><pPort>Chunk</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>"
        "</IntReg>");
}

// the chunk, its id and its length
constexpr std::array<std::uint8_t, 12> kOneChunk{7, 0, 0, 0, 0, 0, 0x12, 0x34, 0, 0, 0, 4};

TEST(ChunkParserTest, EndsWhateverACallbackThrows) {
    const tests::MapPtr map = MakeMapOfOneChunk();
    auto parser = std::make_unique<GenericParser>(new GenApi::CChunkAdapterGEV(map.get()));
    parser->AttachBuffer(kOneChunk.data(), kOneChunk.size());
    const auto fails = [](GenApi::INode*) { throw 7; };
    GenApi::Register(map->GetNode("Value"), fails, GenApi::cbPostInsideLock);
    parser.reset();
    EXPECT_FALSE(GenApi::IsReadable(map->GetNode("Value")));
}

TEST(ChunkParserTest, HandsBuffersToItsAdapterAndRemembersThem) {
    const tests::MapPtr map = MakeMapOfOneChunk();
    GenericParser parser(new GenApi::CChunkAdapterGEV(map.get()));
    const auto value = [&map] { return GenApi::CIntegerPtr(*map, "Value")->GetValue(); };
    EXPECT_THROW(parser.UpdateBuffer(&parser), GenICam::LogicalErrorException);
    parser.DetachBuffer();
    const std::array<std::uint8_t, 12>& first = kOneChunk;
    std::array<std::uint8_t, 12> second = first;
    second[0] = 8;
    GenApi::AttachStatistics_t statistics{};
    parser.AttachBuffer(first.data(), first.size(), &statistics);
    EXPECT_EQ(statistics.NumAttachedChunks, 1);
    EXPECT_EQ(value(), 7);
    parser.UpdateBuffer(second.data());
    EXPECT_EQ(value(), 8);
    EXPECT_THROW(parser.UpdateBuffer(nullptr), GenICam::RuntimeException);
    EXPECT_TRUE(parser.GetBuffer());
    EXPECT_EQ(&parser.GetBuffer(), second.data());
    EXPECT_EQ(parser.GetBuffer().GetSize(), 12);
    EXPECT_THROW(parser.AttachBuffer(first.data(), 7), GenICam::RuntimeException); // cut
    EXPECT_EQ(&parser.GetBuffer(), second.data());
    EXPECT_EQ(value(), 8);
    parser.DetachBuffer();
    EXPECT_FALSE(parser.GetBuffer());
    EXPECT_THROW(parser.UpdateBuffer(first.data()), GenICam::LogicalErrorException);
    EXPECT_FALSE(GenApi::IsReadable(map->GetNode("Value")));
    const auto fails = [](GenApi::INode*) { throw RUNTIME_EXCEPTION("a callback"); };
    const auto callback = GenApi::Register(map->GetNode("Value"), fails, GenApi::cbPostInsideLock);
    EXPECT_THROW(parser.AttachBuffer(first.data(), first.size()), GenICam::RuntimeException);
    GenApi::Deregister(callback);
    parser.DetachBuffer();
    EXPECT_FALSE(GenApi::IsReadable(map->GetNode("Value"))) << "the buffer is out, whatever was thrown";
    EXPECT_EQ(Fakes::FailureOf<GenICam::RuntimeException>([&] { parser.Destroy(); }),
              "This is object is not a self-reliant chunk parser.");
    EXPECT_EQ(Fakes::FailureOf<GenICam::RuntimeException>([&] { parser.GetChunkDataNodeMap(); }),
              "This is object is not a self-reliant chunk parser.");
}

} // namespace
