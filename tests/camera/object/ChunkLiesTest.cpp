// SPDX-License-Identifier: Apache-2.0

// Chunks that lie, by each kind of parser: what the caller gets to know, and how the session goes on.

#include "CameraTest.h"
#include "GevChunks.h"

#include <array>
#include <limits>
#include <memory>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <unistd.h>
#include <utility>

using namespace Zelmo;
using testing::HasSubstr;

namespace {

constexpr std::array<std::uint32_t, 5> kOfTransport{0, 0, 64, 16, 0}, kOfChunks{3, 4, 10, 5, 2};

std::array<std::uint32_t, 5> GeometryOf(const CGrabResultPtr& result) {
    return {result->GetOffsetX(), result->GetOffsetY(), result->GetWidth(), result->GetHeight(), result->GetPaddingX()};
}

struct Lie {
    const char* what;
    void (*tell)(ChunkedFrame& frame);
    const char* message;     ///< Part of the exception; null where nobody can know that it is one.
    bool isAttached = false; ///< The layout is sound: other chunks can be read all the same.
    friend std::ostream& operator<<(std::ostream& stream, const Lie& lie) { return stream << lie.what; }
};

const std::string kNothing = "nothing raised"; // says Fakes::FailureOf
constexpr const char* kAboveBuffer = "is larger than the buffer of 1024.";
constexpr const char* kBroken = "do not end with a chunk";

const Lie kLies[] = {
    {"a byte above the buffer", [](ChunkedFrame& f) { f.payloadSize = 1025; },
     "the payload of 1025 bytes is larger than the buffer of 1024."},
    {"a payload without end", [](ChunkedFrame& f) { f.payloadSize = std::numeric_limits<std::int64_t>::max(); },
     kAboveBuffer},
    {"no payload", [](ChunkedFrame& f) { f.payloadSize = 0; }, "There are 0 bytes"},
    {"a negative payload", [](ChunkedFrame& f) { f.payloadSize = -64; }, "There are 0 bytes"},
    {"all of the buffer", [](ChunkedFrame& f) { f.payloadSize = 1024; }, kBroken},
    {"less than a trailer", [](ChunkedFrame& f) { f.payloadSize = 7; }, kBroken},
    {"the last byte cut", [](ChunkedFrame& f) { f.cut = 1; }, kBroken},
    {"half of a trailer cut", [](ChunkedFrame& f) { f.cut = 4; }, kBroken},
    {"a length of more than there is", [](ChunkedFrame& f) { f.lastLength = 0xFFFFFFFF; }, kBroken},
    {"a length of one too much", [](ChunkedFrame& f) { f.lastLength = 5; }, kBroken},
    {"memory that nobody wrote",
     [](ChunkedFrame& f) {
         f.chunks = {{0, ChunkedFrame::Bytes(256)}};
         f.payloadSize = 256;
     },
     kBroken},
    {"a chunk that is shorter than its register", [](ChunkedFrame& f) { f.chunks[0x103].resize(2); },
     "it is 2 bytes long", true},
    {"a chunk of nothing", [](ChunkedFrame& f) { f.chunks[0x107].clear(); }, "it is 0 bytes long", true},
    {"a width of 2^31", [](ChunkedFrame& f) { f.chunks[0x103] = ChunkedFrame::BigEndian(1U << 31, 4); }, nullptr},
    {"a width just below it", [](ChunkedFrame& f) { f.chunks[0x103] = ChunkedFrame::BigEndian((1U << 31) - 1, 4); },
     nullptr},
    {"more lines than were sent", [](ChunkedFrame& f) { f.chunks[0x104] = ChunkedFrame::BigEndian(600, 4); }, nullptr},
};

enum class EParser { OfResult, OfPool, OfAll };

/// A camera that lies in some of its frames.
struct LyingDevice {
    LyingDevice() {
        device.makeParser = [this] { return new GevChunks(parsers); };
        device.SetValue(8, 1);
        device.Grabber().alter = [this](GrabResult& result) {
            ChunkedFrame frame;
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
    for (const int count : {1, 5, 0}) {
        SCOPED_TRACE(count);
        m_log.Clear();
        const auto start = [&](unsigned long maxImages) {
            camera.StartGrabbing(maxImages, GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
        };
        lying.LieIn(m_lie, LyingOf(count));
        count == 0 ? camera.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera) : start(count);
        if (m_lie.message == nullptr && count == 0) {
            EXPECT_TRUE(Eventually([&] { return diary.Count("image") >= images + 6; }));
            camera.StopGrabbing();
        }
        EXPECT_TRUE(camera.GetGrabStopWaitObject().Wait(kPatience));
        camera.GetExtensionInterface().JoinGrabLoopThread();
        if (m_lie.message != nullptr) {
            EXPECT_EQ(diary.Count("image"), images + (count == 1 ? 0 : 1));
            errors +=
                count == 1 ? 0 : 1; // the only image is retrieved, and ends its session before the failure goes on
            EXPECT_EQ(m_log.Count("zelmo.base.InstantCamera", GenICam::LogPriority_Error,
                                  "Exception caught in grab loop thread"),
                      1U);
            EXPECT_THAT(diary.error, HasSubstr(errors > 0 ? m_lie.message : ""));
        } else if (count != 0) {
            EXPECT_EQ(diary.Count("image"), images + static_cast<std::size_t>(count));
        }
        EXPECT_EQ(diary.Count("error"), errors);
        images = diary.Count("image");
        lying.LieIn(m_lie, {});
        start(2);
        EXPECT_TRUE(camera.GetGrabStopWaitObject().Wait(kPatience));
        camera.GetExtensionInterface().JoinGrabLoopThread();
        EXPECT_EQ(diary.Count("image"), images += 2);
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

using ChunkDamageTest = ChunkLiesTest;

INSTANTIATE_TEST_SUITE_P(All, ChunkDamageTest,
                         testing::Combine(testing::Values(Lie{"any", nullptr, nullptr}),
                                          testing::Values(EParser::OfResult, EParser::OfPool, EParser::OfAll)));

TEST_P(ChunkDamageTest, AnywhereInABufferCostsNoMoreThanItsImage) {
    constexpr int kImages = 500;
    LyingDevice lying;
    std::mt19937 random(7);
    lying.device.Grabber().alter = [&, frame = 0](GrabResult& result) mutable {
        ChunkedFrame().WriteTo(result);
        for (unsigned places = frame++ % 2 == 0 ? 0 : 1 + random() % 4; places > 0; --places) {
            const auto behindImage = static_cast<std::ptrdiff_t>(256 + random() % 96);
            static_cast<std::uint8_t*>(result.buffer)[behindImage] ^= static_cast<std::uint8_t>(1U << random() % 8);
            result.payloadSize -= static_cast<std::int64_t>(random() % 16 == 0 ? random() % 512 : 0);
        }
    };
    CInstantCamera camera;
    Connect(camera, lying);
    camera.StartGrabbing(kImages);
    CGrabResultPtr result;
    int refused = 0;
    for (int image = 0; image < kImages; ++image) {
        const std::string failure = Failure([&] { EXPECT_TRUE(camera.RetrieveResult(kPatience, result, kRaises)); });
        if (image % 2 == 0) {
            ExpectTold(result, false, failure);
        } else {
            ASSERT_TRUE(result.IsValid() && result->GrabSucceeded());
            refused += failure != kNothing ? 1 : 0;
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_FALSE(camera.IsGrabbing());
    result.Release();
    Disconnect(camera, lying);
}

} // namespace
