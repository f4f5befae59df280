// SPDX-License-Identifier: Apache-2.0

// Chunks that lie, by each kind of parser: what the caller gets to know, and how the session goes on.

#include "CameraTest.h"
#include "genicam/genapi/MapFixture.h"

#include <GenApi/ChunkAdapterGEV.h>

#include <array>
#include <atomic>
#include <cstring>
#include <limits>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <tuple>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Zelmo;
using testing::HasSubstr;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Geometry = std::array<std::uint32_t, 5>;

/// The chunks behind the image, numbers of 32 bits; their ids are these numbers.
enum EChunk : std::uint32_t { Image, OffsetX, OffsetY, Width, Height, Stride, Timestamp, Format };
constexpr const char* kNames[] = {nullptr,       "ChunkOffsetX", "ChunkOffsetY",   "ChunkWidth",
                                  "ChunkHeight", "ChunkStride",  "ChunkTimestamp", "FormatCode"};
constexpr std::uint32_t kValues[] = {0, 3, 4, 10, 5, 12, 99, PixelType_Mono8};
constexpr Geometry kOfTransport{0, 0, 64, 16, 0}, kOfChunks{3, 4, 10, 5, 2};

Geometry GeometryOf(const CGrabResultPtr& result) {
    return {result->GetOffsetX(), result->GetOffsetY(), result->GetWidth(), result->GetHeight(), result->GetPaddingX()};
}

Bytes BigEndian(std::uint32_t value) {
    return {std::uint8_t(value >> 24), std::uint8_t(value >> 16), std::uint8_t(value >> 8), std::uint8_t(value)};
}

/// A parser of chunks as cameras of GigE Vision send them. Counts how many there are.
class GevChunks final : public CChunkParser {
public:
    explicit GevChunks(std::atomic<int>& alive) : GevChunks(alive, MakeMap()) {}

    bool HasCRC() const override { return false; }
    bool CheckCRC() const override { return false; }
    GenApi::INodeMap* GetChunkDataNodeMap() override { return m_map.get(); }
    void Destroy() override { delete this; }

private:
    GevChunks(std::atomic<int>& alive, tests::MapPtr map)
        : CChunkParser(new GenApi::CChunkAdapterGEV(map.get())), m_alive(alive), m_map(std::move(map)) {
        ++m_alive;
    }
    ~GevChunks() override {
        --m_alive;
        EXPECT_FALSE(GetBuffer()) << "the buffer goes first";
    }
    static tests::MapPtr MakeMap() {
        std::string nodes = tests::Above("Enumeration", "ChunkPixelFormat", kNames[Format],
                                         tests::Node("EnumEntry", "Mono8", "<Value>17301505</Value>"));
        for (unsigned id = OffsetX; id <= Format; ++id) {
            const std::string port = "Port" + std::to_string(id);
            nodes += tests::Node("Port", port, "<ChunkID>" + std::to_string(id) + "</ChunkID>") +
                     tests::Node("IntReg", kNames[id],
                                 "<Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>" + port +
                                     "</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>");
        }
        return tests::MakeMap(nodes);
    }

    std::atomic<int>& m_alive;
    const tests::MapPtr m_map;
};

/// An image with its chunks before it is written: what may be wrong is changed here.
struct Frame {
    std::vector<Bytes> chunks{Bytes(256, 0x55)};
    std::optional<std::uint32_t> lastLength; ///< What the last trailer tells.
    std::optional<std::int64_t> payloadSize; ///< What is told in place of the truth.
    std::int64_t cut = 0;                    ///< Bytes that are missing at the end.

    Frame() {
        for (unsigned id = OffsetX; id <= Format; ++id) {
            chunks.push_back(BigEndian(kValues[id]));
        }
    }
    void WriteTo(GrabResult& result) const {
        Bytes all;
        for (std::uint32_t id = 0; id < chunks.size(); ++id) {
            const auto size = static_cast<std::uint32_t>(chunks[id].size());
            const Bytes length = BigEndian(id == Format ? lastLength.value_or(size) : size);
            for (const Bytes& bytes : {chunks[id], BigEndian(id), length}) {
                all.insert(all.end(), bytes.begin(), bytes.end());
            }
        }
        std::memcpy(result.buffer, all.data(), all.size());
        result.payloadType = PayloadType_ChunkData;
        result.payloadSize = payloadSize.value_or(static_cast<std::int64_t>(all.size()) - cut);
    }
};

struct Lie {
    const char* what;
    void (*tell)(Frame& frame);
    const char* message;     ///< Part of the exception; null where nobody can know that it is one.
    bool isAttached = false; ///< The layout is sound: other chunks can be read all the same.
    friend std::ostream& operator<<(std::ostream& stream, const Lie& lie) { return stream << lie.what; }
};

const std::string kNothing = "nothing raised"; // says Fakes::FailureOf
constexpr const char* kBroken = "do not end with a chunk";

const Lie kLies[] = {
    {"a byte above the buffer", [](Frame& f) { f.payloadSize = 1025; },
     "the payload of 1025 bytes is larger than the buffer of 1024."},
    {"a payload without end", [](Frame& f) { f.payloadSize = std::numeric_limits<std::int64_t>::max(); },
     "is larger than the buffer of 1024."},
    {"no payload", [](Frame& f) { f.payloadSize = 0; }, "There are 0 bytes"},
    {"a negative payload", [](Frame& f) { f.payloadSize = -64; }, "There are 0 bytes"},
    {"all of the buffer", [](Frame& f) { f.payloadSize = 1024; }, kBroken},
    {"less than a trailer", [](Frame& f) { f.payloadSize = 7; }, kBroken},
    {"the last byte cut", [](Frame& f) { f.cut = 1; }, kBroken},
    {"half of a trailer cut", [](Frame& f) { f.cut = 4; }, kBroken},
    {"a length of more than there is", [](Frame& f) { f.lastLength = 0xFFFFFFFF; }, kBroken},
    {"a length of one too much", [](Frame& f) { f.lastLength = 5; }, kBroken},
    {"memory that nobody wrote", [](Frame& f) { f.chunks = {Bytes(256)}, f.cut = 8; }, kBroken},
    {"a chunk that is shorter than its register", [](Frame& f) { f.chunks[Width].resize(2); }, "it is 2 bytes long",
     true},
    {"a chunk of nothing", [](Frame& f) { f.chunks[Format].clear(); }, "it is 0 bytes long", true},
    {"a width of 2^31", [](Frame& f) { f.chunks[Width] = BigEndian(1U << 31); }, nullptr},
    {"a width just below it", [](Frame& f) { f.chunks[Width] = BigEndian((1U << 31) - 1); }, nullptr},
    {"more lines than were sent", [](Frame& f) { f.chunks[Height] = BigEndian(600); }, nullptr},
};

enum class EParser { OfResult, OfPool, OfAll };

/// A camera that lies in some of its frames.
struct LyingDevice {
    LyingDevice() {
        device.makeParser = [this] { return new GevChunks(parsers); };
        device.SetValue(8, 1);
        device.Grabber().alter = [this](GrabResult& result) {
            Frame frame;
            if (lying.count(++frames) != 0) {
                lie->tell(frame);
            }
            frame.WriteTo(result);
        };
    }
    void LieIn(const Lie& what, std::set<int> which) {
        lie = &what;
        lying = std::move(which);
        frames = 0;
    }

    LifeDevice device{"source=free", "Life", {{"Boolean", "ChunkModeActive", 8, ""}}};
    const Lie* lie = nullptr;
    std::set<int> lying; ///< Numbers of frames of a session.
    int frames = 0;
    std::atomic<int> parsers{0};
};

class ChunkLiesTest : public testing::TestWithParam<std::tuple<Lie, EParser>> {
protected:
    static constexpr int kBuffers = 3;

    ChunkLiesTest() {
        alarm(120); // who waits for ever is ended
        hxlog::LogEnable(true);
    }
    ~ChunkLiesTest() override { alarm(0); }

    void Connect(CInstantCamera& camera, LyingDevice& lying) const {
        camera.RegisterConfiguration(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
        camera.Attach(&lying.device, Cleanup_None);
        camera.MaxNumBuffer.SetValue(kBuffers);
        camera.ChunkNodeMapsEnable.SetValue(m_parser != EParser::OfAll);
        camera.StaticChunkNodeMapPoolSize.SetValue(m_parser == EParser::OfPool ? kBuffers : 0);
    }
    void Disconnect(CInstantCamera& camera, LyingDevice& lying) const {
        EXPECT_EQ(lying.parsers, m_parser == EParser::OfPool ? kBuffers : 0) << "between two sessions";
        camera.DetachDevice();
        EXPECT_EQ(lying.parsers, 0);
        EXPECT_THAT(lying.device.Grabber().Violations(), testing::IsEmpty());
    }
    static std::set<int> LyingOf(int count) { return count == 1 ? std::set{1} : std::set{2, 5}; }
    static std::string Failure(const std::function<void()>& step) {
        return Fakes::FailureOf<GenICam::RuntimeException>(step);
    }

    /// What has come with an image, or with the exception in its place.
    void ExpectTold(const CGrabResultPtr& result, bool isLie, const std::string& failure) const {
        const bool isRefused = isLie && m_lie.message != nullptr;
        EXPECT_THAT(failure, HasSubstr(isRefused ? m_lie.message : kNothing.c_str()));
        ASSERT_TRUE(result.IsValid());
        EXPECT_TRUE(result->GrabSucceeded());
        EXPECT_EQ(result->GetBufferSize(), 1024U);
        EXPECT_EQ(result->IsChunkDataAvailable(), m_parser != EParser::OfAll);
        const GenApi::CIntegerPtr timeStamp(result->GetChunkDataNodeMap(), "ChunkTimestamp");
        const bool hasChunks = m_parser != EParser::OfAll && (!isRefused || m_lie.isAttached);
        ASSERT_EQ(GenApi::IsReadable(timeStamp), hasChunks) << "none of an image before";
        EXPECT_EQ(hasChunks ? timeStamp->GetValue() : 99, 99);
        if (isRefused || !isLie) {
            EXPECT_EQ(GeometryOf(result), isRefused ? kOfTransport : kOfChunks);
        } else {
            EXPECT_FALSE(Fits(*result.operator->())) << "who compares is told";
        }
    }
    static bool Fits(const CGrabResultData& result) {
        try {
            return result.GetImageSize() <= result.GetBufferSize();
        } catch (const GenICam::InvalidArgumentException&) {
            return false;
        }
    }

    const Lie& m_lie = std::get<0>(GetParam());
    const EParser m_parser = std::get<1>(GetParam());
    Fakes::LogRecorder m_log{"zelmo.base.InstantCamera"};
};

INSTANTIATE_TEST_SUITE_P(All, ChunkLiesTest,
                         testing::Combine(testing::ValuesIn(kLies),
                                          testing::Values(EParser::OfResult, EParser::OfPool, EParser::OfAll)));

TEST_P(ChunkLiesTest, ReachTheCallerAndTheSessionGoesOn) {
    LyingDevice lying;
    CInstantCamera camera;
    Connect(camera, lying);
    CGrabResultPtr result;
    for (const int count : {1, 5, 0}) {
        SCOPED_TRACE(count);
        lying.LieIn(m_lie, LyingOf(count));
        count == 0 ? camera.StartGrabbing() : camera.StartGrabbing(static_cast<unsigned long>(count));
        for (int image = 1; image <= (count == 0 ? 6 : count); ++image) {
            SCOPED_TRACE(image);
            const std::string failure =
                Failure([&] { EXPECT_TRUE(camera.RetrieveResult(kPatience, result, kRaises)); });
            ExpectTold(result, lying.lying.count(image) != 0, failure);
            EXPECT_EQ(result->GetImageNumber(), image);
            EXPECT_EQ(camera.IsGrabbing(), image != count);
        }
        camera.StopGrabbing();
        EXPECT_TRUE(camera.GetGrabStopWaitObject().Wait(0));
    }
    lying.LieIn(m_lie, {1});
    const std::string failure = Failure([&] { EXPECT_TRUE(camera.GrabOne(kPatience, result)); });
    ExpectTold(result, true, failure);
    EXPECT_FALSE(camera.IsGrabbing());
    result.Release();
    Disconnect(camera, lying);
}

TEST_P(ChunkLiesTest, EndTheLoopOfTheCameraWhichCanBeginAnother) {
    LyingDevice lying;
    Diary diary;
    CInstantCamera camera;
    Connect(camera, lying);
    camera.RegisterConfiguration(&diary, RegistrationMode_ReplaceAll, Cleanup_None);
    camera.RegisterImageEventHandler(&diary, RegistrationMode_ReplaceAll, Cleanup_None);
    std::size_t images = 0, errors = 0;
    for (const std::size_t count : {1, 5, 100, 2}) {
        const bool hasLies = count != 2;
        lying.LieIn(m_lie, hasLies ? LyingOf(static_cast<int>(count)) : std::set<int>());
        camera.StartGrabbing(count, GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
        EXPECT_TRUE(camera.GetGrabStopWaitObject().Wait(kPatience));
        camera.GetExtensionInterface().JoinGrabLoopThread();
        const bool isRefused = hasLies && m_lie.message != nullptr;
        images += !isRefused ? count : count == 1 ? 0 : 1;
        errors += isRefused && count != 1 ? 1 : 0; // the only image ends its session, and then the failure goes on
        EXPECT_EQ(diary.Count("image"), images);
        EXPECT_EQ(diary.Count("error"), errors);
        EXPECT_THAT(diary.error, HasSubstr(errors != 0 ? m_lie.message : ""));
        EXPECT_EQ(m_log.Count("zelmo.base.InstantCamera", GenICam::LogPriority_Error, "Exception caught in grab loop"),
                  isRefused ? 1U : 0U);
        m_log.Clear();
    }
    Disconnect(camera, lying);
}

TEST_P(ChunkLiesTest, EndTheArrayWhichCanBeginAgain) {
    std::array<LyingDevice, 2> lying;
    CInstantCameraArray array(lying.size());
    Connect(array[0], lying[0]);
    Connect(array[1], lying[1]);
    CGrabResultPtr result;
    for (const bool isLie : {true, false}) {
        lying[1].LieIn(m_lie, isLie ? std::set{2} : std::set<int>());
        array.StartGrabbing();
        std::string failure = kNothing;
        for (bool isSeen = false; !isSeen && failure == kNothing;) {
            failure = Failure([&] { EXPECT_TRUE(array.RetrieveResult(kPatience, result, kRaises)); });
            ASSERT_TRUE(result.IsValid());
            const bool isOfLiar = result->GetCameraContext() == 1;
            ExpectTold(result, isLie && isOfLiar && result->GetImageNumber() == 2, failure);
            isSeen = isOfLiar && result->GetImageNumber() == 3;
        }
        const bool hasEnded = isLie && m_lie.message != nullptr;
        EXPECT_EQ(failure != kNothing, hasEnded);
        EXPECT_EQ(array.IsGrabbing() || array[0].IsGrabbing() || array[1].IsGrabbing(), !hasEnded);
        array.StopGrabbing();
        result.Release();
    }
    Disconnect(array[0], lying[0]);
    Disconnect(array[1], lying[1]);
}

} // namespace
