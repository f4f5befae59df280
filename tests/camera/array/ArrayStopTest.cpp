// SPDX-License-Identifier: Apache-2.0

// Stops from other threads and from handlers, in every phase, and sessions that are started right behind.

#include "ArrayTest.h"

#include <future>

using namespace Zelmo;

namespace {

/// A place where one thread stands until another one lets it go.
class Gate {
public:
    void Pass() {
        m_arrived.set_value();
        m_opened.get_future().wait();
    }
    bool WaitForArrival() {
        return m_arrived.get_future().wait_for(std::chrono::milliseconds(kPatience)) == std::future_status::ready;
    }
    void Open() { m_opened.set_value(); }

private:
    std::promise<void> m_arrived, m_opened;
};

/// A thread's work, which must come to its end.
class Task {
public:
    explicit Task(std::function<void()> step) : m_done(std::async(std::launch::async, std::move(step))) {}
    bool Ends() const { return m_done.wait_for(std::chrono::milliseconds(kPatience)) == std::future_status::ready; }
    bool IsUnderWay() const { return m_done.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout; }

private:
    std::future<void> m_done;
};

/// A camera that does something before it stops, without its lock.
struct HookedCamera : CInstantCamera {
    void StopGrabbing() override {
        if (const std::function<void()> step = std::exchange(beforeStop, nullptr)) {
            step();
        }
        CInstantCamera::StopGrabbing();
    }
    std::function<void()> beforeStop; // once
};

class ArrayStopTest : public ArrayTest {
protected:
    ArrayStopTest() {
        m_array.onCreate = [] { return new HookedCamera; };
    }
    std::function<void()>& BeforeStop(std::size_t i) { return static_cast<HookedCamera&>(m_array[i]).beforeStop; }
    void ExpectAlive() {
        EXPECT_TRUE(m_array.IsGrabbing());
        EXPECT_EQ(Grabbing(), m_array.GetSize());
        Fill({0, 1});
        EXPECT_EQ(Next(), 0);
        EXPECT_EQ(Next(), 1);
    }
};

TEST_F(ArrayStopTest, ThreadThatWaitsReturnsWithoutAResult) {
    Make(2);
    for (const EGrabStrategy strategy : {GrabStrategy_OneByOne, GrabStrategy_UpcomingImage}) {
        for (const unsigned ms : {kPatience, WaitTimeoutInfinite}) {
            m_array.StartGrabbing(strategy);
            bool isFound = true;
            Task waiter([&] { isFound = m_array.RetrieveResult(ms, m_result); });
            EXPECT_TRUE(waiter.IsUnderWay());
            m_array.StopGrabbing();
            EXPECT_TRUE(IsStopped());
            EXPECT_TRUE(waiter.Ends());
            EXPECT_FALSE(isFound);
        }
    }
}

TEST_F(ArrayStopTest, IdleArrayStopsCamerasThatGrabOnTheirOwn) {
    Make(2);
    m_array[1].StartGrabbing();
    BeforeStop(1) = [this] { EXPECT_TRUE(m_array.IsGrabbing()); }; // as in any stop
    m_array.StopGrabbing();
    EXPECT_TRUE(IsStopped());
    EXPECT_EQ(Logged(), "StopGrabbing|");
}

TEST_F(ArrayStopTest, SecondStopWaitsForTheFirstAndLeavesTheNextSessionAlone) {
    Make(2);
    m_array.StartGrabbing();
    Gate gate;
    BeforeStop(0) = [&] { gate.Pass(); };
    Task first([this] {
        m_array.StopGrabbing();
        m_array.StartGrabbing(); // right behind
    });
    ASSERT_TRUE(gate.WaitForArrival());
    EXPECT_TRUE(m_array.IsGrabbing()); // while it stops
    EXPECT_EQ(Failure([&] { m_array.StartGrabbing(); }), "Grabbing has already been started.");
    EXPECT_FALSE(Retrieve());
    Task second([this] { m_array.StopGrabbing(); });
    EXPECT_TRUE(second.IsUnderWay());
    gate.Open();
    EXPECT_TRUE(first.Ends());
    EXPECT_TRUE(second.Ends());
    ExpectAlive();
}

TEST_F(ArrayStopTest, RetrievalThatStopsLateLeavesTheNextSessionAlone) {
    Make(2);
    CInstantCameraArray other;
    for (const EGrabStrategy strategy : {GrabStrategy_OneByOne, GrabStrategy_UpcomingImage}) {
        m_array.StartGrabbing(strategy);
        m_array[0].StopGrabbing();
        Gate gate;
        m_array.onStop = [&] {
            m_array.onStop = nullptr;
            other.StopGrabbing();
            gate.Pass();
        };
        bool isFound = true;
        Task waiter([&] { isFound = m_array.RetrieveResult(kPatience, m_result); }); // and finds the stopped camera
        ASSERT_TRUE(gate.WaitForArrival());
        m_array.StopGrabbing();
        m_array.StartGrabbing();
        gate.Open();
        EXPECT_TRUE(waiter.Ends());
        EXPECT_FALSE(isFound);
        ExpectAlive();
        m_array.StopGrabbing();
    }
}

TEST_F(ArrayStopTest, RetrievalDoesNotWaitForAStopThatMayWaitForIt) {
    Make(2);
    m_array.StartGrabbing();
    m_array[0].StopGrabbing();
    Gate retrieval, stop;
    m_array.onStop = [&] {
        m_array.onStop = nullptr;
        retrieval.Pass();
    };
    Task waiter([this] { EXPECT_FALSE(Retrieve()); }); // and finds the stopped camera
    ASSERT_TRUE(retrieval.WaitForArrival());
    BeforeStop(1) = [&] { stop.Pass(); };
    Task stopper([this] { m_array.StopGrabbing(); });
    ASSERT_TRUE(stop.WaitForArrival());
    retrieval.Open();
    EXPECT_TRUE(waiter.Ends());
    stop.Open();
    EXPECT_TRUE(stopper.Ends());
    EXPECT_TRUE(IsStopped());
}

TEST_F(ArrayStopTest, RetrievalThatFailsLateLeavesTheNextSessionAlone) {
    Make(2);
    m_array.StartGrabbing();
    Life(0).on["image"] = [this](CInstantCamera&) { // stops, starts and only then fails
        Life(0).on.clear();
        Task([this] {
            m_array.StopGrabbing();
            m_array.StartGrabbing();
        }).Ends();
        throw RUNTIME_EXCEPTION("too late");
    };
    Fill({0});
    EXPECT_EQ(Failure([&] { Retrieve(); }), "too late");
    ExpectAlive();
}

TEST_F(ArrayStopTest, RetrievalThatLeavesLateLeavesTheTimerOfTheNextSessionAlone) {
    Make(2);
    m_array.StartGrabbing();
    std::unique_ptr<Task> later;
    Life(0).on["image"] = [&](CInstantCamera&) {
        Life(0).on.clear();
        m_array.StopGrabbing();
        m_array.StartGrabbing();
        later = std::make_unique<Task>([this] {
            CGrabResultPtr result;
            EXPECT_FALSE(m_array.RetrieveResult(200, result, kReturns));
        });
        EXPECT_TRUE(later->IsUnderWay());
    };
    std::jthread sender([this] {
        WaitObject::Sleep(50); // into the wait, most likely
        Device(0).Grabber().Deliver();
    });
    EXPECT_EQ(Next(), 0);
    EXPECT_TRUE(later->Ends());
}

TEST_F(ArrayStopTest, StopDuringAStartIsFoundAtItsEndOrByTheNextRetrieval) {
    Make(2);
    const auto stop = [this](CInstantCamera& camera) {
        Life(0).on.clear();
        m_array.StopGrabbing();
        EXPECT_FALSE(camera.IsGrabbing());
    };
    Life(0).on["started"] = stop;
    EXPECT_EQ(Failure([&] { m_array.StartGrabbing(); }), "The device is not open."); // the stop has closed it
    EXPECT_TRUE(IsStopped());
    m_array.Open();
    Life(0).on["started"] = stop;
    m_array.StartGrabbing();
    EXPECT_EQ(Grabbing(), 1U);
    EXPECT_FALSE(Retrieve());
    EXPECT_TRUE(IsStopped());
}

TEST_F(ArrayStopTest, StartEndsBehindAStopThatFoundNoSession) {
    Make(2);
    m_array.Open();
    Gate start, stop;
    Life(1).on["started"] = [&](CInstantCamera&) { start.Pass(); };
    Task starter([this] { m_array.StartGrabbing(); });
    ASSERT_TRUE(start.WaitForArrival());
    BeforeStop(0) = [&] { stop.Pass(); };
    Task stopper([this] { m_array.StopGrabbing(); });
    ASSERT_TRUE(stop.WaitForArrival());
    start.Open();
    EXPECT_TRUE(starter.IsUnderWay());
    EXPECT_EQ(Failure([&] { m_array.StartGrabbing(); }), "Grabbing has already been started.");
    stop.Open();
    EXPECT_TRUE(stopper.Ends());
    EXPECT_TRUE(starter.Ends());
    EXPECT_EQ(Grabbing(), 0U);
    EXPECT_FALSE(Retrieve());
    EXPECT_TRUE(IsStopped());
}

TEST_F(ArrayStopTest, ThreadThatWaitsIsWokenThoughHandlersStartTheCamerasAgain) {
    Make(1);
    for (int round = 0; round < 100; ++round) {
        m_array.StartGrabbing();
        Life(0).on["stopped"] = [this](CInstantCamera& camera) { // the signal of its stop is gone at once
            Life(0).on.clear();
            camera.StartGrabbing();
        };
        Task waiter([this] { Retrieve(WaitTimeoutInfinite); });
        std::this_thread::yield();
        Task stop([this] { m_array.StopGrabbing(); });
        ASSERT_TRUE(stop.Ends());
        EXPECT_TRUE(waiter.Ends());
        EXPECT_FALSE(m_array.IsGrabbing());
        EXPECT_TRUE(m_array[0].IsGrabbing());
        m_array.StopGrabbing();
    }
}

// From handlers

TEST_F(ArrayStopTest, HandlerInsideAStopMayStop) {
    Make(2);
    for (std::size_t i = 0; i < 2; ++i) {
        for (const char* event : {"stop", "stopped", "closed"}) {
            Life(i).on[event] = [this](CInstantCamera&) { m_array.StopGrabbing(); };
        }
    }
    for (std::size_t i = 0; i < 2; ++i) {
        m_array.StartGrabbing();
        BeforeStop(i) = [this] { m_array.StopGrabbing(); }; // and one without the lock of its camera
        m_array.StopGrabbing();
        EXPECT_TRUE(IsStopped());
        m_array[1].StartGrabbing();
        BeforeStop(i) = [this] { m_array.StopGrabbing(); };
        m_array.StopGrabbing();
        EXPECT_TRUE(IsStopped());
    }
}

/// All cameras are pulled at once, and each one's handler stops the array.
struct Removal {
    const char* name;
    bool isGrabbing;
    bool hasOverride; // of the locks
};

class ArrayRemovalTest : public ArrayStopTest, public testing::WithParamInterface<Removal> {
protected:
    struct Override final : ILockOverride {
        void Lock() override { lock.lock(); }
        void Unlock() override { lock.unlock(); }
        std::recursive_mutex lock;
    };
    Override m_overrides[3];
};

TEST_P(ArrayRemovalTest, HandlersOfAllCamerasMayStopAtOnce) {
    Make(3);
    std::atomic<int> arrived{0}, stopped{0};
    for (std::size_t i = 0; i < 3; ++i) {
        if (GetParam().hasOverride) {
            m_array[i].GetExtensionInterface().SetLockOverride(&m_overrides[i]);
        }
        Life(i).on["removed"] = [&](CInstantCamera&) { // each holds the lock of its camera, which the others want
            ++arrived;
            Eventually([&] { return arrived == 3; });
            m_array.StopGrabbing();
            ++stopped;
        };
    }
    m_array.Open();
    if (GetParam().isGrabbing) {
        m_array.StartGrabbing();
    }
    bool isFound = false;
    Task waiter([&] { isFound = Retrieve(); });
    for (std::size_t i = 0; i < 3; ++i) {
        Device(i).Fire();
    }
    EXPECT_TRUE(Eventually([&] { return stopped == 3; }));
    EXPECT_TRUE(waiter.Ends());
    EXPECT_FALSE(isFound);
    EXPECT_TRUE(IsStopped());
    m_array.Initialize(0); // before the locks
}

INSTANTIATE_TEST_SUITE_P(Arrays, ArrayRemovalTest,
                         testing::Values(Removal{"Idle", false, false}, Removal{"Grabbing", true, false},
                                         Removal{"IdleWithOtherLocks", false, true},
                                         Removal{"GrabbingWithOtherLocks", true, true}),
                         [](const auto& given) { return std::string(given.param.name); });

TEST_F(ArrayStopTest, HandlersMayStopWhileTheCamerasAreDestroyed) {
    Make(2);
    m_array.Open();
    Gate gate;
    bool isWalked = false;
    std::atomic<int> stopped{0};
    for (std::size_t i = 0; i < 2; ++i) {
        Life(i).on["removed"] = [&](CInstantCamera&) {
            m_array.StopGrabbing();
            ++stopped;
        };
    }
    BeforeStop(1) = [&] { gate.Pass(); };
    Device(1).Fire();
    ASSERT_TRUE(gate.WaitForArrival());
    m_array.onDestroy = [&] {
        m_array.onDestroy = nullptr;
        BeforeStop(0) = [&] { isWalked = true; };
        Device(0).Fire();
        EXPECT_TRUE(Eventually([&] { return stopped == 2; }));
    };
    Task resize([this] { m_array.Initialize(0); });
    EXPECT_TRUE(resize.IsUnderWay()); // until the first handler is through
    gate.Open();
    EXPECT_TRUE(resize.Ends());
    EXPECT_FALSE(isWalked); // the second one finds nothing to do
}

TEST_F(ArrayStopTest, HandlerMayStopWhileAnotherThreadDoes) {
    Make(2);
    m_array.StartGrabbing();
    Gate gate;
    Life(1).on["removed"] = [&](CInstantCamera&) {
        gate.Pass();
        m_array.StopGrabbing();
    };
    Device(1).Fire();
    ASSERT_TRUE(gate.WaitForArrival());
    Task stop([this] { m_array.StopGrabbing(); });
    EXPECT_TRUE(stop.IsUnderWay()); // for the lock of camera 1
    gate.Open();
    EXPECT_TRUE(stop.Ends());
    EXPECT_TRUE(IsStopped());
}

TEST_F(ArrayStopTest, CameraThatFailsToStopLeavesTheArrayIdle) {
    Make(2);
    BeforeStop(0) = BeforeStop(1) = [] { throw RUNTIME_EXCEPTION("not now"); };
    m_array.StartGrabbing();
    Task waiter([this] { EXPECT_FALSE(Retrieve()); });
    EXPECT_TRUE(waiter.IsUnderWay());
    EXPECT_EQ(Failure([&] { m_array.StopGrabbing(); }), "not now");
    EXPECT_FALSE(m_array.IsGrabbing());
    EXPECT_TRUE(waiter.Ends());
    EXPECT_EQ(Failure([&] { m_array.StopGrabbing(); }), "not now"); // of camera 1
    m_array.StopGrabbing();
    EXPECT_TRUE(IsStopped());
}

TEST_F(ArrayStopTest, DestructorDestroysCamerasThatFailToStop) {
    Station station("");
    {
        struct Array : CInstantCameraArray {
            CInstantCamera* CreateInstantCamera() override { return new HookedCamera; }
        } array;
        array.Initialize(1);
        array[0].Attach(&station.device, Cleanup_None);
        array[0].RegisterConfiguration(&station.diary, RegistrationMode_ReplaceAll, Cleanup_None);
        array.StartGrabbing();
        static_cast<HookedCamera&>(array[0]).beforeStop = [] { throw RUNTIME_EXCEPTION("not now"); };
    }
    EXPECT_EQ(station.diary.Count("stopped"), 1U);
    EXPECT_EQ(station.device.Callbacks(), 0U);
}

// Stress

/// One thread retrieves, two stop what they find, one stops at any time, this one starts again and again; events and
/// frames come all the while.
TEST_F(ArrayStopTest, RetrievalStartsAndStopsCrossEachOther) {
    Make(3, "source=free");
    m_array[0].GrabCameraEvents.SetValue(true);
    m_array.Open();
    std::atomic<int> results{0};
    {
        std::vector<std::jthread> threads;
        const auto repeat = [&](int pauseMs, std::function<void()> step) {
            threads.emplace_back([pauseMs, step](const std::stop_token& stop) {
                while (!stop.stop_requested()) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
                    step();
                }
            });
        };
        const auto stopFound = [this] {
            if (m_array.IsGrabbing()) {
                m_array.StopGrabbing();
            }
        };
        repeat(0, [&] { results += m_array.RetrieveResult(1000, m_result, kReturns) ? 1 : 0; });
        repeat(2, stopFound);
        repeat(2, stopFound);
        repeat(30, [this] { m_array.StopGrabbing(); });
        repeat(1, [this] { Events(0).Put(1); });
        for (int sessions = 0; sessions < 100;) {
            try {
                m_array.StartGrabbing(static_cast<EGrabStrategy>(sessions % 4));
                ++sessions;
            } catch (const GenICam::GenericException&) { // not stopped yet
                std::this_thread::yield();
            }
        }
    }
    m_array.StopGrabbing();
    EXPECT_TRUE(IsStopped());
    EXPECT_GT(results, 0);
    m_array.StartGrabbing();
    EXPECT_NE(Next(), -1);
}

/// Each session has its own waiter, which may be slow to leave when the next one begins.
TEST_F(ArrayStopTest, SlowWaitersHinderNoLaterSession) {
    Make(2);
    std::vector<std::future<void>> waiters;
    for (int round = 0; round < 200; ++round) {
        m_array.StartGrabbing();
        waiters.push_back(std::async(std::launch::async, [this] {
            CGrabResultPtr result;
            m_array.RetrieveResult(WaitTimeoutInfinite, result, kReturns);
        }));
        std::this_thread::yield();
        m_array.StopGrabbing();
        EXPECT_FALSE(m_array.IsGrabbing());
        if (waiters.back().wait_for(std::chrono::milliseconds(kPatience)) != std::future_status::ready) {
            FAIL() << "round " << round << ": the waiter hangs";
        }
    }
    m_array.StartGrabbing();
    EXPECT_EQ(Failure([&] { m_array.RetrieveResult(20, m_result); }), "Grab timed out.");
}

} // namespace
