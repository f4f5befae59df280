// SPDX-License-Identifier: Apache-2.0
#include "ScriptedCamera.h"
#include "fakes/Failure.h"
#include "fakes/LogRecorder.h"

#include <future>
#include <optional>
#include <utility>

using namespace Zelmo;
using namespace std::chrono_literals;

namespace {

class HandlerRegistrationTest : public ScriptedCamera {
protected:
    void GrabOneImage() {
        CGrabResultPtr result;
        GrabOne(camera, 5s, result);
    }
};

TEST_F(HandlerRegistrationTest, FunctionGetsResultsUntilItsRegistrationGoes) {
    Attach("source=free");
    int count = 0;
    std::optional<CHandlerRegistration> moved;
    {
        CHandlerRegistration first = OnImage(camera, [&](CInstantCamera& from, const CGrabResultPtr& image) {
            EXPECT_EQ(&from, &camera);
            EXPECT_TRUE(image->GrabSucceeded());
            ++count;
        });
        GrabOneImage();
        EXPECT_EQ(count, 1);
        moved = std::move(first);
    }
    GrabOneImage();
    EXPECT_EQ(count, 2) << "it has moved";
    moved = OnImage(camera, [&count, once = std::make_unique<int>(100)](const CGrabResultPtr&) { count += *once; });
    GrabOneImage();
    EXPECT_EQ(count, 102) << "the one before has ended";
    moved->End();
    moved->End();
    GrabOneImage();
    EXPECT_EQ(count, 102);
}

TEST_F(HandlerRegistrationTest, FailureOfAFunctionGoesWhereThatOfAHandlerGoes) {
    Attach("source=free");
    const auto registration = OnImage(camera, [](const CGrabResultPtr&) { throw RUNTIME_EXCEPTION("of a function"); });
    EXPECT_NE(Fakes::FailureOf([&] { GrabOneImage(); }).find("of a function"), std::string::npos);
}

TEST_F(HandlerRegistrationTest, FunctionMayEndItsOwnRegistration) {
    Attach("source=free");
    CHandlerRegistration registration;
    int calls = 0;
    const auto alive = std::make_shared<int>(7);
    registration = OnImage(camera, [&, mine = alive](const CGrabResultPtr&) {
        ++calls;
        registration.End();
        EXPECT_EQ(mine.use_count(), 2) << "what the function holds stays until it returns";
    });
    GrabOneImage();
    GrabOneImage();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(alive.use_count(), 1);
}

TEST_F(HandlerRegistrationTest, EndWaitsForTheFunctionThatAnotherThreadIsIn) {
    Attach("source=free");
    std::promise<void> entered, mayReturn;
    std::atomic<bool> isInside{false};
    CHandlerRegistration registration = OnImage(camera, [&](const CGrabResultPtr&) {
        isInside = true;
        entered.set_value();
        mayReturn.get_future().wait();
        isInside = false;
    });
    camera.StartGrabbing(1, GrabStrategy_OneByOne, GrabLoop_ProvidedByInstantCamera);
    ASSERT_EQ(entered.get_future().wait_for(10s), std::future_status::ready);
    auto wasInside = std::async(std::launch::async, [&] {
        registration.End();
        return isInside.load();
    });
    EXPECT_EQ(wasInside.wait_for(20ms), std::future_status::timeout);
    mayReturn.set_value();
    EXPECT_FALSE(wasInside.get());
}

TEST_F(HandlerRegistrationTest, CameraMayGoAndGiveUpItsHandlersFirst) {
    CHandlerRegistration outlives;
    {
        CInstantCamera other;
        outlives = OnRemoved(other, [] {});
    }
    outlives.End(); // touches nothing that is gone
    Attach("source=free");
    int calls = 0;
    auto replaced = OnImage(camera, [&] { ++calls; });
    camera.RegisterImageEventHandler(nullptr, RegistrationMode_ReplaceAll, Cleanup_None);
    GrabOneImage();
    EXPECT_EQ(calls, 0);
}

TEST_F(HandlerRegistrationTest, RemovalIsToldOnceAndAFailureThenIsLogged) {
    hxlog::LogEnable(true);
    const Fakes::LogRecorder log;
    Attach("");
    camera.Open();
    std::promise<void> told;
    std::atomic<int> calls{0};
    auto registration = OnRemoved(camera, [&](CInstantCamera& from) {
        ++calls;
        EXPECT_TRUE(from.IsCameraDeviceRemoved());
        throw RUNTIME_EXCEPTION("in the function");
    });
    const auto last = OnRemoved(camera, [&] { told.set_value(); });
    device->Remove();
    ASSERT_EQ(told.get_future().wait_for(10s), std::future_status::ready);
    EXPECT_EQ(calls, 1);
    const auto lines = log.Lines();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const Fakes::LogLine& line) {
        return line.message.find("in the function") != std::string::npos;
    }));
    registration.End();
    camera.DetachDevice();
}

} // namespace
