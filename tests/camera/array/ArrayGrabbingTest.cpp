// SPDX-License-Identifier: Apache-2.0
#include "ArrayTest.h"

#include <GenApi/Pointer.h>

using namespace Zelmo;

namespace {

constexpr const char* kTimedOut = "Grab timed out.";

class ArrayGrabbingTest : public ArrayTest {
protected:
    std::string TimeoutOf(unsigned ms) {
        return Fakes::FailureOf<GenICam::TimeoutException>([&] { m_array.RetrieveResult(ms, m_result); });
    }
};

// Turns

TEST_F(ArrayGrabbingTest, CamerasTakeTurnsAndTheTurnSurvivesCalls) {
    Make(3);
    m_array.StartGrabbing();
    Fill({0, 0, 1, 2});
    EXPECT_EQ(Next(), 0);
    EXPECT_EQ(Next(), 1);
    EXPECT_EQ(Next(), 2);
    EXPECT_EQ(Next(), 0);
    Fill({0, 2}); // camera 1 has nothing: its turn goes on
    EXPECT_EQ(Next(), 2);
    EXPECT_EQ(Next(), 0);
    Fill({0, 1, 2});
    EXPECT_EQ(Next(), 1);
    EXPECT_EQ(Next(), 2);
    EXPECT_EQ(Next(), 0);
    EXPECT_FALSE(Retrieve(0)); // a whole pass: the turn is where it was
    Fill({0, 1});
    EXPECT_EQ(Next(), 1);
    m_array.StopGrabbing();
    m_array.StartGrabbing();
    Fill({1, 0});
    EXPECT_EQ(Next(), 0); // a start begins with the first
}

TEST_F(ArrayGrabbingTest, ResultThatIsWaitedForLeavesTheTurnAlone) {
    Make(3);
    m_array.StartGrabbing();
    Fill({0});
    EXPECT_EQ(Next(), 0); // the turn is that of 1
    std::jthread sender([this] {
        WaitObject::Sleep(50); // the pass is over by then, most likely, and the turn that of 1 again
        Device(1).Grabber().Deliver();
    });
    EXPECT_EQ(Next(), 1);
    Fill({0, 1, 2});
    const long next = Next();
    EXPECT_TRUE(next == 1 || next == 2) << next; // 2, had the frame come before the pass
    EXPECT_EQ(Next(), (next + 1) % 3);
    EXPECT_EQ(Next(), (next + 2) % 3);
}

// Time

TEST_F(ArrayGrabbingTest, TimeoutIsToldAsAskedForAndTheArrayGoesOn) {
    Make(2);
    EXPECT_FALSE(Retrieve(0)); // not grabbing
    m_array.StartGrabbing();
    Fill({0});
    EXPECT_EQ(Next(), 0);
    EXPECT_EQ(TimeoutOf(0), kTimedOut);
    EXPECT_FALSE(m_result.IsValid()); // given back first
    EXPECT_EQ(TimeoutOf(20), kTimedOut);
    EXPECT_FALSE(Retrieve(0));
    EXPECT_FALSE(Retrieve(20));
    EXPECT_EQ(Grabbing(), 2U);
    EXPECT_TRUE(m_array.IsGrabbing());
    std::jthread sender([this] { Device(1).Grabber().Deliver(); });
    EXPECT_EQ(Next(WaitTimeoutInfinite), 1);
    EXPECT_EQ(Logged(), "StartGrabbing|");
}

TEST_F(ArrayGrabbingTest, EventsThatNobodyFetchesTakeNoWholeCore) {
    struct CountingCamera : CInstantCamera {
        bool RetrieveResult(unsigned ms, CGrabResultPtr& result, ETimeoutHandling handling) override {
            ++calls;
            return CInstantCamera::RetrieveResult(ms, result, handling);
        }
        unsigned calls = 0;
    };
    m_array.onCreate = [] { return new CountingCamera; };
    Make(1);
    Events(0).Put(1);
    m_array.StartGrabbing();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(Retrieve(100));
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(static_cast<CountingCamera&>(m_array[0]).calls, took.count() + 2); // one a millisecond
}

// Events

TEST_F(ArrayGrabbingTest, EventsOfAllCamerasComeBeforeImagesAndEndNoWait) {
    Make(2);
    std::string story;
    std::vector<CHandlerRegistration> handlers;
    for (std::size_t i = 0; i < 2; ++i) {
        handlers.push_back(OnEvent(m_array[i], "EventValue", [&, i] { story += "event" + std::to_string(i) + " "; }));
        Life(i).on["image"] = [&, i](CInstantCamera&) { story += "image" + std::to_string(i) + " "; };
        m_array[i].GrabCameraEvents.SetValue(true);
    }
    m_array.StartGrabbing();
    Fill({0, 1});
    Events(1).Put(1);
    Events(0).Put(1);
    EXPECT_EQ(Next(), 0);
    EXPECT_EQ(std::exchange(story, {}), "event0 event1 image0 ");
    EXPECT_EQ(Next(), 1);
    story.clear();
    std::jthread sender([this] { Events(1).Put(2); });
    EXPECT_FALSE(Retrieve(100));
    EXPECT_EQ(story, "event1 ");
}

TEST_F(ArrayGrabbingTest, HandlerOfAnEventMayStop) {
    Make(2);
    m_array[0].GrabCameraEvents.SetValue(true);
    const auto handler = OnEvent(m_array[0], "EventValue", [this] { m_array.StopGrabbing(); });
    for (const unsigned ms : {kPatience, 0U}) {
        m_array.StartGrabbing();
        Fill({0, 1});
        Events(0).Put(1);
        EXPECT_FALSE(m_array.RetrieveResult(ms, m_result)); // no time-out: nobody grabs any more
        EXPECT_TRUE(IsStopped());
    }
}

TEST_F(ArrayGrabbingTest, RetrievalWhoseSessionIsOverTakesNoTurnOfTheNextOne) {
    Make(2);
    m_array[0].GrabCameraEvents.SetValue(true);
    const auto handler = OnEvent(m_array[0], "EventValue", [this] {
        m_array.StopGrabbing();
        m_array.StartGrabbing(GrabStrategy_UpcomingImage);
    });
    m_array.StartGrabbing();
    Events(0).Put(1);
    EXPECT_FALSE(Retrieve());
    std::jthread sender([this] {
        EXPECT_TRUE(Device(0).Grabber().WaitForQueued(1));
        Device(0).Grabber().Deliver();
    });
    EXPECT_EQ(Next(), 0);
}

// A camera ends

TEST_F(ArrayGrabbingTest, CameraThatHasStoppedEndsAll) {
    Make(3);
    m_array.StartGrabbing();
    Fill({0, 2});
    m_array[1].StopGrabbing();
    EXPECT_EQ(Next(), 0); // it is not yet the turn of 1
    EXPECT_TRUE(m_array.IsGrabbing());
    EXPECT_FALSE(Retrieve()); // the result of 2 is lost
    EXPECT_TRUE(IsStopped());
    EXPECT_EQ(Logged(), "StartGrabbing|StopGrabbing|");
    EXPECT_FALSE(Retrieve());
    m_array.StartGrabbing();
    std::jthread other([this] {
        WaitObject::Sleep(20); // most likely into the wait; found by the pass otherwise
        m_array[2].StopGrabbing();
    });
    EXPECT_FALSE(Retrieve());
    EXPECT_TRUE(IsStopped());
}

// The upcoming image

TEST_F(ArrayGrabbingTest, UpcomingImagesAreWaitedForStrictlyInTurn) {
    Make(2);
    m_array.StartGrabbing(GrabStrategy_UpcomingImage);
    for (const long expected : {0, 1, 0, 1}) {
        std::jthread sender([&] {
            auto& grabber = Device(static_cast<std::size_t>(expected)).Grabber();
            EXPECT_TRUE(grabber.WaitForQueued(1));
            grabber.Deliver();
        });
        EXPECT_EQ(Next(), expected);
    }
    EXPECT_EQ(TimeoutOf(10).substr(0, 15), kTimedOut);
    EXPECT_FALSE(Retrieve(0)); // 1, which cannot begin an image in no time
    EXPECT_EQ(TimeoutOf(0), kTimedOut);
    EXPECT_EQ(Grabbing(), 2U);
    EXPECT_TRUE(m_array.IsGrabbing());
    m_array[0].StopGrabbing();
    EXPECT_FALSE(Retrieve(0)); // 1
    EXPECT_TRUE(m_array.IsGrabbing());
    EXPECT_FALSE(Retrieve(0)); // 0
    EXPECT_TRUE(IsStopped());
    EXPECT_EQ(Logged(), "StartGrabbing|StopGrabbing|");
}

// What fails

struct Fault {
    const char* name;
    EGrabStrategy strategy;
    unsigned ms;
    std::function<void(Station&, CInstantCamera&)> cause; // on camera 1, while it grabs
    const char* failure;
};

class ArrayFaultTest : public ArrayTest, public testing::WithParamInterface<Fault> {};

TEST_P(ArrayFaultTest, EndsTheGrabOfAllCamerasAndGoesToTheCaller) {
    const Fault& given = GetParam();
    Make(2);
    m_array[1].GrabCameraEvents.SetValue(true);
    m_array.StartGrabbing(given.strategy);
    if (given.strategy == GrabStrategy_UpcomingImage) {
        EXPECT_FALSE(Retrieve(0)); // the turn is that of 1
    }
    {
        std::jthread cause([&] { given.cause(*m_stations[1], m_array[1]); });
        EXPECT_EQ(Failure([&] { m_array.RetrieveResult(given.ms, m_result); }), given.failure);
    }
    EXPECT_TRUE(IsStopped());
    EXPECT_EQ(Logged(), "StartGrabbing|StopGrabbing|");
    Life(1).on.clear();
    m_array.StartGrabbing();
    Fill({1});
    EXPECT_EQ(Next(), 1);
}

template <class Exception>
void FailInImageHandler(Station& station, const Exception& exception) {
    station.diary.on["image"] = [exception](CInstantCamera&) { throw exception; };
    EXPECT_TRUE(station.device.Grabber().WaitForQueued(1));
    station.device.Grabber().Deliver();
}

INSTANTIATE_TEST_SUITE_P(
    Causes, ArrayFaultTest,
    testing::Values(
        Fault{"Event", GrabStrategy_OneByOne, kPatience,
              [](Station& station, CInstantCamera&) { station.events.Put(1, 5); },
              "Failure while event grabbing, msg = it was lost"},
        Fault{"EventWithUpcomingImage", GrabStrategy_UpcomingImage, kPatience,
              [](Station& station, CInstantCamera&) { station.events.Put(1, 5); },
              "Failure while event grabbing, msg = it was lost"},
        Fault{"ImageHandler", GrabStrategy_OneByOne, kPatience,
              [](Station& station, CInstantCamera&) { FailInImageHandler(station, RUNTIME_EXCEPTION("bad handler")); },
              "bad handler"},
        Fault{"ImageHandlerThatTimesOut", GrabStrategy_OneByOne, kPatience,
              [](Station& station, CInstantCamera&) { FailInImageHandler(station, TIMEOUT_EXCEPTION("too slow")); },
              "too slow"},
        Fault{"ImageHandlerThatTimesOutWithUpcomingImage", GrabStrategy_UpcomingImage, kPatience,
              [](Station& station, CInstantCamera&) { FailInImageHandler(station, TIMEOUT_EXCEPTION("too slow")); },
              "too slow"}),
    [](const auto& given) { return std::string(given.param.name); });

TEST_F(ArrayGrabbingTest, CameraThatCannotStartStopsAll) {
    Make(3);
    Device(2).Grabber().SetScript("StartStreaming:1:throw-runtime");
    m_array[0].Open();
    EXPECT_EQ(Failure([&] { m_array.StartGrabbing(); }), "Unexpected error! StartStreaming was told to fail");
    EXPECT_EQ(Logged(), "StartGrabbing|StopGrabbing|");
    EXPECT_TRUE(IsStopped());
    EXPECT_TRUE(m_array[0].IsOpen());
    EXPECT_FALSE(m_array[1].IsOpen());
    EXPECT_FALSE(Retrieve(0));
    m_array[1].StartGrabbing();
    EXPECT_EQ(Failure([&] { m_array.StartGrabbing(); }), "Grabbing has already been started."); // says the camera
    EXPECT_TRUE(IsStopped());
    m_array.StartGrabbing();
    m_log.Clear();
    EXPECT_EQ(Failure([&] { m_array.StartGrabbing(); }), "Grabbing has already been started."); // says the array
    EXPECT_EQ(Logged(), "StartGrabbing|");
    EXPECT_EQ(Grabbing(), 3U);
}

TEST_F(ArrayGrabbingTest, CameraWhoseWaitObjectIsMissingStopsAll) {
    Make(2);
    Device(1).hook = [this](const std::string& call) {
        if (call == "GetEventGrabber" && m_array[1].IsGrabbing()) {
            throw RUNTIME_EXCEPTION("no events");
        }
    };
    EXPECT_EQ(Failure([&] { m_array.StartGrabbing(); }), "no events");
    EXPECT_TRUE(IsStopped());
    Device(1).hook = nullptr;
    m_array.StartGrabbing();
    Fill({1});
    EXPECT_EQ(Next(), 1);
}

// Loops of the cameras' own

TEST_F(ArrayGrabbingTest, CamerasWithTheirOwnLoopsAreStoppedTogether) {
    Make(3, "source=free");
    m_array.StartGrabbing(GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(Eventually([&] { return Life(i).Count("image") > 3; }));
    }
    m_array.StopGrabbing();
    EXPECT_TRUE(IsStopped());
}

} // namespace
