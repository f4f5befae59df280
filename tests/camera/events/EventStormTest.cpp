// SPDX-License-Identifier: Apache-2.0

// Events without end, for one camera and for an array of three: time-outs, images and stops come all the same.

#include "camera/array/ArrayTest.h"

#include <future>
#include <mutex>

using namespace Zelmo;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

struct Storm {
    const char* name;
    bool signalsOnly; // and yields nothing
    bool isGrabbed;
};

constexpr const char* kLost = "Failure while event grabbing, msg = it was lost";

constexpr Storm kStorms[]{{"Endless", false, true}, {"SignaledButEmpty", true, true}, {"WhileClosed", false, false}};

/// A camera lock whose waiters hardly ever find it free while a thread takes it again as soon as it has let go of it:
/// those of a process without rights to real-time priorities are like that on a busy machine.
class UnfairLock final : public ILockOverride {
public:
    void Lock() override {
        while (!m_mutex.try_lock()) {
            std::this_thread::sleep_for(3ms);
        }
    }
    void Unlock() override { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

/// Of the cameras of an array the first one storms; a single one is used without the array.
class EventStorm : public ArrayTest {
protected:
    void Begin(std::size_t cameras, const Storm& storm) {
        Make(cameras);
        m_isSingle = cameras == 1;
        Events(0).signalsOnly = storm.signalsOnly;
        Events(0).isEndless = true;
        m_array[0].GetExtensionInterface().SetLockOverride(&m_lock);
        m_array[0].GrabCameraEvents.SetValue(storm.isGrabbed);
        Events(0).Put(7);
        Start();
    }
    void Start() { m_isSingle ? m_array[0].StartGrabbing() : m_array.StartGrabbing(); }
    void Stop() { m_isSingle ? m_array[0].StopGrabbing() : m_array.StopGrabbing(); }
    bool RetrieveWithin(unsigned ms) {
        return m_isSingle ? m_array[0].RetrieveResult(ms, m_result, kReturns) : Retrieve(ms);
    }
    template <class Step>
    static Clock::duration TimeOf(Step&& step) {
        const auto begin = Clock::now();
        step();
        return Clock::now() - begin;
    }

    UnfairLock m_lock;
    bool m_isSingle = false;
};

class EventStormTest : public EventStorm, public testing::WithParamInterface<std::tuple<std::size_t, Storm>> {};

TEST_P(EventStormTest, KeepsNobodyFromTimeOutsImagesAndStops) {
    const auto& [cameras, storm] = GetParam();
    Begin(cameras, storm);
    for (const unsigned ms : {0U, 100U}) {
        EXPECT_LT(TimeOf([&] { EXPECT_FALSE(RetrieveWithin(ms)); }), 2s);
    }
    for (int round = 0; round < 5; ++round) {
        for (const std::size_t camera : {std::size_t{0}, cameras - 1}) {
            Device(camera).Grabber().Deliver();
            ASSERT_TRUE(RetrieveWithin(kPatience));
            EXPECT_EQ(m_result->GetCameraContext(), static_cast<long>(camera));
            m_result.Release();
        }
        bool isFound = true;
        auto waiter = std::async(std::launch::async, [&] { isFound = RetrieveWithin(60000); });
        std::this_thread::sleep_for(5ms); // into the storm, most likely
        EXPECT_LT(TimeOf([this] { Stop(); }), 1s);
        ASSERT_EQ(waiter.wait_for(2s), std::future_status::ready);
        EXPECT_FALSE(isFound);
        Start();
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EventStormTest,
                         testing::Combine(testing::Values(std::size_t{1}, std::size_t{3}), testing::ValuesIn(kStorms)),
                         [](const auto& given) {
                             return std::get<1>(given.param).name + std::to_string(std::get<0>(given.param));
                         });

TEST_F(EventStorm, EachFailedOneIsToldAndTheImageComesBehindThem) {
    Begin(1, {"Failed", false, true});
    Events(0).isEndless = false;
    EXPECT_FALSE(RetrieveWithin(0)); // the first one is good
    Fill({0});
    for (int value = 0; value < 3; ++value) {
        Events(0).Put(value, 5);
    }
    for (int value = 0; value < 3; ++value) {
        EXPECT_EQ(Failure([this] { RetrieveWithin(kPatience); }), kLost);
    }
    EXPECT_TRUE(RetrieveWithin(0));
    Events(0).isEndless = true;
    Events(0).Put(1, 5);
    std::atomic<int> failures{0};
    auto application = std::async(std::launch::async, [&] { // goes on whatever is told
        while (m_array[0].IsGrabbing()) {
            failures += Failure([this] { RetrieveWithin(kPatience); }) == kLost ? 1 : 0;
        }
    });
    EXPECT_TRUE(Eventually([&] { return failures > 100; }));
    EXPECT_LT(TimeOf([this] { Stop(); }), 1s);
    EXPECT_EQ(application.wait_for(2s), std::future_status::ready);
}

} // namespace
