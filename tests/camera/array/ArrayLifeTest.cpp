// SPDX-License-Identifier: Apache-2.0
#include "ArrayTest.h"

#include "fakes/Descriptors.h"
#include "fakes/VirtualSlots.h"

#include <set>
#include <stdexcept>

using namespace Zelmo;
using Fakes::Slot;

namespace {

constexpr const char* kEmpty = "The size of the instant camera array is 0.";
constexpr const char* kDetached = "Not all cameras in the array have attached devices.";

class ArrayLifeTest : public ArrayTest {};

TEST(ArrayOrderTest, VirtualOperationsKeepTheirPlaces) {
    using Array = CInstantCameraArray; // the destructor's two come first
    EXPECT_THAT(Fakes::Slots(&Array::Initialize, &Array::IsZelmoDeviceAttached, &Array::IsCameraDeviceRemoved,
                             &Array::DestroyDevice, &Array::DetachDevice, &Array::Open, &Array::IsOpen, &Array::Close,
                             &Array::GetSize),
                testing::ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10));
    EXPECT_EQ(Slot<CInstantCamera&(std::size_t)>(&Array::operator[]), 11U);
    EXPECT_EQ(Slot<const CInstantCamera&(std::size_t) const>(&Array::operator[]), 12U);
    EXPECT_THAT(Fakes::Slots(&Array::StartGrabbing, &Array::RetrieveResult, &Array::StopGrabbing, &Array::IsGrabbing,
                             &Array::CreateInstantCamera, &Array::DestroyInstantCamera),
                testing::ElementsAre(13, 14, 15, 16, 17, 18));
    EXPECT_EQ(sizeof(Array), 2 * sizeof(void*));
}

TEST_F(ArrayLifeTest, EmptyArrayIsNothingAndHasNothing) {
    EXPECT_EQ(m_array.GetSize(), 0U);
    EXPECT_FALSE(m_array.IsOpen());
    EXPECT_FALSE(m_array.IsZelmoDeviceAttached());
    EXPECT_FALSE(m_array.IsCameraDeviceRemoved());
    EXPECT_FALSE(m_array.IsGrabbing());
    EXPECT_EQ(Fakes::FailureOf<>([&] { m_array.Open(); }), kEmpty);
    EXPECT_EQ(Fakes::FailureOf<>([&] { m_array.StartGrabbing(); }), kEmpty);
    EXPECT_FALSE(Retrieve(0));
    m_array.Close();
    m_array.DetachDevice();
    m_array.DestroyDevice();
    m_array.StopGrabbing();
    EXPECT_EQ(Logged(), "Open|StartGrabbing|Close|DetachDevice|DestroyDevice|StopGrabbing|");
    EXPECT_EQ(Fakes::FailureOf<>([&] { m_array[0]; }), "Camera index 0 out of range.");
    m_array.Initialize(2);
    EXPECT_EQ(Fakes::FailureOf<>([&] { std::as_const(m_array)[2]; }), "Camera index 2 out of range.");
}

TEST_F(ArrayLifeTest, CamerasAreMadeInOrderAndDestroyedFromTheLast) {
    m_array.Initialize(3);
    EXPECT_EQ(m_array.GetSize(), 3U);
    std::string made = "Resize 3|";
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(m_array[i].GetCameraContext(), static_cast<long>(i));
        char line[64];
        std::snprintf(line, sizeof line, "Resize created camera %zu %p|", i, static_cast<void*>(&m_array[i]));
        made += line;
    }
    EXPECT_EQ(Logged(), made);
    m_array.Initialize(1);
    EXPECT_EQ(m_array.destroyed, "210");
    EXPECT_EQ(m_array.GetSize(), 1U);
    m_array.Initialize(0);
    EXPECT_EQ(m_array.destroyed, "2100");
    EXPECT_EQ(m_array.GetSize(), 0U);
}

TEST_F(ArrayLifeTest, CameraThatCannotBeMadeLeavesAnEmptyArray) {
    m_array.Initialize(1);
    int left = 2;
    m_array.onCreate = [&] { return left-- > 0 ? new CInstantCamera : throw RUNTIME_EXCEPTION("no third one"); };
    EXPECT_EQ(Failure([&] { m_array.Initialize(4); }), "no third one");
    EXPECT_EQ(m_array.GetSize(), 0U);
    EXPECT_EQ(m_array.destroyed, "010");
    left = 1;
    m_array.onCreate = [&] { return left-- > 0 ? new CInstantCamera : nullptr; };
    EXPECT_EQ(Failure([&] { m_array.Initialize(4); }),
              "Cannot resize the camera array to 4: CreateInstantCamera gave no camera 1.");
    EXPECT_EQ(m_array.GetSize(), 0U);
    EXPECT_EQ(m_array.destroyed, "0100");
    m_array.onCreate = nullptr;
    m_array.Initialize(2);
    EXPECT_EQ(m_array.GetSize(), 2U);
}

TEST_F(ArrayLifeTest, CameraIsGoneEvenIfDestroyingItFails) {
    m_array.Initialize(2);
    m_array.onDestroy = [] { throw RUNTIME_EXCEPTION("it clings"); };
    m_array.Initialize(1);
    EXPECT_EQ(m_array.destroyed, "10");
    EXPECT_EQ(Errors(), "Exception caught while destroying a camera in array, msg='it clings'|"
                        "Exception caught while destroying a camera in array, msg='it clings'|");
    m_array.onDestroy = [] { throw 1; };
    m_array.Initialize(0);
    EXPECT_EQ(Errors(), "Unknown exception caught while destroying a camera in array.|");
    EXPECT_EQ(m_array.GetSize(), 0U);
}

TEST_F(ArrayLifeTest, DescriptorsComeBackFromAResizeThatRunsOutOfThem) {
    m_array.Initialize(1);
    m_array.Initialize(0);
    const int before = Fakes::OpenDescriptors();
    {
        const Fakes::DescriptorLimit limit(60);
        EXPECT_NE(Failure([&] { m_array.Initialize(100); }), "nothing raised");
    }
    EXPECT_EQ(m_array.GetSize(), 0U);
    EXPECT_EQ(Fakes::OpenDescriptors(), before);
}

TEST(ArrayConstructionTest, ConstructorAndDestructorMakeAndDestroyPlainCameras) {
    struct Derived : CInstantCameraArray {
        Derived() : CInstantCameraArray(2) {}
        CInstantCamera* CreateInstantCamera() override { throw RUNTIME_EXCEPTION("not this one"); }
        void DestroyInstantCamera(CInstantCamera*) override { throw RUNTIME_EXCEPTION("nor this"); }
    };
    hxlog::LogEnable(true);
    Fakes::LogRecorder log("zelmo.base.InstantCamera");
    {
        const Derived array;
        EXPECT_EQ(array.GetSize(), 2U);
        EXPECT_EQ(array[1].GetCameraContext(), 1);
    }
    EXPECT_EQ(log.Count("zelmo.base.InstantCamera", GenICam::LogPriority_Notice, ": Array Resize 0"), 1U);
    EXPECT_EQ(log.Count("zelmo.base.InstantCamera", GenICam::LogPriority_Notice, ": Destroying CInstantCamera"), 2U);
    EXPECT_EQ(log.Count("zelmo.base.InstantCamera", GenICam::LogPriority_Error), 0U);
}

TEST_F(ArrayLifeTest, AnswersAreThoseOfAllCamerasOrOfAny) {
    Make(3);
    EXPECT_TRUE(m_array.IsZelmoDeviceAttached());
    m_array[1].DetachDevice();
    EXPECT_FALSE(m_array.IsZelmoDeviceAttached());
    EXPECT_EQ(Fakes::FailureOf<>([&] { m_array.Open(); }), kDetached);
    EXPECT_EQ(Fakes::FailureOf<>([&] { m_array.StartGrabbing(); }), kDetached);
    Attach(1);
    m_array.Open();
    EXPECT_TRUE(m_array.IsOpen());
    m_array[2].Close();
    EXPECT_FALSE(m_array.IsOpen());
    EXPECT_FALSE(m_array.IsCameraDeviceRemoved());
    Device(1).Fire();
    EXPECT_TRUE(Eventually([&] { return m_array.IsCameraDeviceRemoved(); }));
}

TEST_F(ArrayLifeTest, CameraThatCannotBeOpenedClosesAll) {
    Make(3);
    Device(1).hook = [](const std::string& call) {
        if (call == "Open") {
            throw ACCESS_EXCEPTION("in use elsewhere");
        }
    };
    EXPECT_EQ(Fakes::FailureOf<GenICam::AccessException>([&] { m_array.Open(); }), "in use elsewhere");
    EXPECT_EQ(Logged(), "Open|Close|");
    EXPECT_EQ(Life(0).Count("closed"), 1U);
    EXPECT_EQ(Life(2).Count("open"), 0U); // the walk ended before it
    EXPECT_FALSE(m_array[0].IsOpen());
    Device(1).hook = nullptr;
    m_array.Open();
    EXPECT_TRUE(m_array.IsOpen());
    m_array.Close();
    EXPECT_FALSE(m_array[2].IsOpen());
    EXPECT_EQ(Logged(), "Open|Close|");
}

struct WayDown {
    const char* name;
    void (CInstantCameraArray::*operation)();
    const char* logged;
    const char* told; // to each camera
};

class ArrayWayDownTest : public ArrayTest, public testing::WithParamInterface<WayDown> {};

TEST_P(ArrayWayDownTest, StopsAllCamerasBeforeItTakesThem) {
    Make(2);
    std::string order;
    for (std::size_t i = 0; i < 2; ++i) {
        for (const char* event : {"stop", "closed", "detached", "destroyed"}) {
            Life(i).on[event] = [&, i, event](CInstantCamera&) { order += event + std::to_string(i) + " "; };
        }
    }
    m_array.StartGrabbing();
    m_log.Clear();
    (m_array.*GetParam().operation)();
    EXPECT_EQ(Logged(), GetParam().logged);
    EXPECT_EQ(order, GetParam().told);
    EXPECT_TRUE(IsStopped());
    order.clear();
    (m_array.*GetParam().operation)(); // nothing is left to stop
    EXPECT_EQ(Logged().find("StopGrabbing"), std::string::npos);
    EXPECT_EQ(order, "");
}

INSTANTIATE_TEST_SUITE_P(
    Operations, ArrayWayDownTest,
    testing::Values(WayDown{"Close", &CInstantCameraArray::Close, "Close|StopGrabbing|",
                            "stop0 closed0 stop1 closed1 "}, // the session had opened the devices
                    WayDown{"DetachDevice", &CInstantCameraArray::DetachDevice, "DetachDevice|StopGrabbing|",
                            "stop0 closed0 stop1 closed1 detached0 detached1 "},
                    WayDown{"DestroyDevice", &CInstantCameraArray::DestroyDevice, "DestroyDevice|StopGrabbing|",
                            "stop0 closed0 stop1 closed1 destroyed0 destroyed1 "}),
    [](const auto& given) { return std::string(given.param.name); });

TEST_F(ArrayLifeTest, ResizingNeedsAStopThatSucceeds) {
    Make(2);
    m_array.StartGrabbing();
    m_array.onStop = [] { throw RUNTIME_EXCEPTION("not now"); };
    EXPECT_EQ(Failure([&] { m_array.Initialize(1); }), "not now");
    EXPECT_EQ(m_array.destroyed, "");
    EXPECT_EQ(Grabbing(), 2U);
    m_array.onStop = nullptr;
    m_array.skipsStop = true; // the array does it by itself
    m_array.Initialize(1);
    EXPECT_EQ(m_array.destroyed, "10");
    EXPECT_TRUE(IsStopped());
    EXPECT_FALSE(Retrieve());
}

TEST_F(ArrayLifeTest, ResizingStopsAndResultsOutliveTheirCameras) {
    Make(2);
    m_array.StartGrabbing();
    Fill({1});
    EXPECT_EQ(Next(), 1);
    m_array.Initialize(1);
    EXPECT_EQ(Logged().substr(0, 36), "StartGrabbing|Resize 1|StopGrabbing|");
    EXPECT_TRUE(IsStopped());
    EXPECT_NE(m_result->GetBuffer(), nullptr);
    EXPECT_EQ(Life(1).Count("stopped"), 1U);
}

TEST_F(ArrayLifeTest, GrabsFromEachOf341CamerasAndSaysSoForOneMore) {
    constexpr std::size_t most = 341;
    if (!Fakes::AllowDescriptors(16384)) {
        GTEST_SKIP() << "the hard limit of descriptors is below 16384";
    }
    Make(most + 1);
    EXPECT_EQ(Fakes::FailureOf<>([&] { m_array.StartGrabbing(); }), "Exceeding maximum number of waitobjects (1024)");
    EXPECT_TRUE(IsStopped());
    EXPECT_EQ(Logged(), "StartGrabbing|StopGrabbing|");
    m_array.Initialize(0);
    m_stations.clear();
    Make(most);
    m_array.StartGrabbing();
    std::jthread sender([this] { // from behind: each is waited for by all, or found in its turn
        for (std::size_t i = most; i-- > 0;) {
            Device(i).Grabber().Deliver();
        }
    });
    std::set<long> seen;
    for (std::size_t i = 0; i < most; ++i) {
        seen.insert(Next());
    }
    EXPECT_EQ(seen.size(), most);
    EXPECT_EQ(*seen.begin(), 0);
}

} // namespace
