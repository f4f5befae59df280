// SPDX-License-Identifier: Apache-2.0
#include "Emulator.h"
#include "fakes/ScarceMemory.h"

#include <fakes/Failure.h>
#include <zelmo/Device.h>

#include <atomic>
#include <functional>
#include <set>
#include <thread>

using namespace Emulator;

namespace {

class StreamGrabberTest : public ::testing::Test {
protected:
    StreamGrabberTest() { m_camera.CountFrames(); }

    static bool HasResult(Session& session) { return session->GetWaitObject().Wait(0); }

    /// Ends the session as the grab engine does. @return what came back.
    static std::vector<Zelmo::GrabResult> End(Session& session) {
        session->StopStreaming();
        session->FlushBuffers();
        auto results = session.TakeAll();
        session->FinishGrab();
        return results;
    }

    Library m_library{"3"};
    Camera m_camera;
};

TEST_F(StreamGrabberTest, FlushGivesEveryBufferBackAndTheWaitObjectIsSignaledExactlyMeanwhile) {
    Session session(m_camera, 3);
    Zelmo::GrabResult result;
    result.blockId = 77;
    EXPECT_FALSE(HasResult(session));
    EXPECT_FALSE(session->RetrieveResult(result));
    EXPECT_EQ(result.blockId, 77u) << "left as it was";
    session->StartStreaming();
    session.QueueAll();
    EXPECT_EQ(session->GetNumQueuedBuffers(), 3u);
    session->FlushBuffers();
    std::set<void*> contexts;
    for (int left = 3; left > 0; --left) {
        EXPECT_TRUE(HasResult(session));
        EXPECT_TRUE(session->RetrieveResult(result));
        EXPECT_EQ(result.status, Zelmo::GrabStatus_Canceled);
        contexts.insert(result.context);
    }
    EXPECT_EQ(contexts.size(), 3u);
    EXPECT_FALSE(HasResult(session));
    EXPECT_EQ(session->GetNumQueuedBuffers(), 0u);
    session.Queue(2);
    m_camera.Execute("AcquisitionStart");
    EXPECT_TRUE(Session::Record(session.Take())) << "streaming goes on";
}

TEST_F(StreamGrabberTest, LimitedRateLosesFramesForWantOfABufferAndCountsThem) {
    m_camera.Set("ExposureTime", "100");
    m_camera.Set("AcquisitionFrameRate", "2000");
    m_camera.Set("AcquisitionFrameRateEnable", "1");
    Session session(m_camera, 3);
    session->StartStreaming();
    session.QueueAll();
    m_camera.Execute("AcquisitionStart");
    for (std::uint64_t i = 0; i < 3; ++i) {
        ASSERT_EQ(session.Take().blockId, i);
    }
    while (session.Parameter("StreamLostFrameCount") < 10) {
        std::this_thread::yield();
    }
    session.Queue(0);
    EXPECT_GE(session.Take().blockId, 13u);
    End(session);
    EXPECT_EQ(session.Parameter("StreamDeliveredFrameCount"), 4);
    EXPECT_EQ(session.Parameter("StreamStartedFrameCount"), 4 + session.Parameter("StreamLostFrameCount"));
    EXPECT_GE(session.Parameter("Statistic_Buffer_Underrun_Count"), 10);
}

TEST_F(StreamGrabberTest, SomeFramesEndByThemselves) {
    for (const auto& [mode, frames] : {std::pair{"SingleFrame", 1}, std::pair{"MultiFrame", 3}}) {
        m_camera.Set("AcquisitionMode", mode);
        if (frames == 3) {
            m_camera.Set("AcquisitionFrameCount", "3");
        }
        Session session(m_camera, 6);
        m_camera.Execute("AcquisitionStart"); // before streaming does as well
        session->StartStreaming();
        session.QueueAll();
        for (int i = 0; i < frames; ++i) {
            EXPECT_TRUE(Session::Record(session.Take()));
        }
        EXPECT_EQ(m_camera.Text("AcquisitionStatus"), "0");
        m_camera.Execute("AcquisitionStart");
        for (int i = 0; i < frames; ++i) {
            EXPECT_TRUE(Session::Record(session.Take()));
        }
        EXPECT_EQ(session.Parameter("StreamDeliveredFrameCount"), 2 * frames) << "who has an image finds it counted";
        EXPECT_EQ(session.Parameter("StreamStartedFrameCount"), 2 * frames);
        const auto rest = End(session);
        EXPECT_EQ(rest.size(), 6u - 2 * frames);
    }
}

TEST_F(StreamGrabberTest, AcquisitionStopEndsTheFramesAndStartBringsThemBack) {
    Session session(m_camera, 2);
    session->StartStreaming();
    session.QueueAll();
    m_camera.Execute("AcquisitionStart");
    session.Requeue(session.Take());
    m_camera.Execute("AcquisitionStop");
    EXPECT_EQ(m_camera.Text("AcquisitionStatus"), "0");
    session->FlushBuffers(); // waits for the frame that is being drawn
    const auto frames = session.TakeAll();
    const auto begun = session.Parameter("StreamStartedFrameCount");
    session.QueueAll();
    EXPECT_EQ(session.Parameter("StreamStartedFrameCount"), begun);
    m_camera.Execute("AcquisitionStart");
    EXPECT_EQ(static_cast<std::int64_t>(session.Take().blockId), begun) << "the count goes on";
}

TEST_F(StreamGrabberTest, CallsInTheWrongOrderAreRefusedByName) {
    Zelmo::IStreamGrabber& grabber = m_camera.Grabber();
    std::vector<std::uint8_t> memory(64 * 64);
    const auto refused = [](const std::function<void()>& call, const char* text) {
        try {
            call();
            ADD_FAILURE() << "not refused: " << text;
        } catch (const GenICam::LogicalErrorException& e) {
            EXPECT_NE(std::string(e.GetDescription()).find(text), std::string::npos) << e.GetDescription();
        }
    };
    refused([&] { grabber.PrepareGrab(); }, "prepare the grab");
    grabber.Open();
    refused([&] { grabber.Open(); }, "open already");
    refused([&] { grabber.RegisterBuffer(memory.data(), memory.size()); }, "PrepareGrab was not called");
    refused([&] { grabber.StartStreaming(); }, "PrepareGrab was not called");
    grabber.Close();

    Session session(m_camera, 2);
    refused([&] { session->PrepareGrab(); }, "prepared already");
    refused([&] { session->QueueBuffer(nullptr, nullptr); }, "not registered");
    session->StartStreaming();
    refused([&] { session->StartStreaming(); }, "streaming goes on");
    refused([&] { session->FinishGrab(); }, "streaming was not stopped");
    session.Queue(0);
    refused([&] { session.Queue(0); }, "it is queued");
    refused([&] { session->DeregisterBuffer(session.Handle(0)); }, "it is queued");
    session->FlushBuffers();
    refused([&] { session.Queue(0); }, "was not retrieved");
    session->StopStreaming();
    refused([&] { session->FinishGrab(); }, "1 buffers are queued or were not retrieved");
    session.TakeAll();
    session->DeregisterBuffer(session.Handle(0));
    refused([&] { session.Queue(0); }, "not registered");
}

TEST_F(StreamGrabberTest, DownwardCallsAreHarmlessWhateverWasDone) {
    Zelmo::IStreamGrabber& grabber = m_camera.Grabber();
    Zelmo::GrabResult result;
    for (int open = 0; open < 2; ++open) {
        grabber.StopStreaming();
        grabber.FlushBuffers();
        EXPECT_FALSE(grabber.RetrieveResult(result));
        EXPECT_NO_THROW(grabber.FinishGrab());
        if (open == 0) {
            grabber.Open();
        }
    }
    grabber.Close();
    grabber.Close();
    EXPECT_FALSE(grabber.IsOpen());
}

TEST_F(StreamGrabberTest, BuffersTooSmallAreRefusedBeforeAnythingIsDrawn) {
    Session session(m_camera, 1);
    std::vector<std::uint8_t> memory(64 * 64 - 1);
    EXPECT_THROW(session->RegisterBuffer(memory.data(), memory.size()), GenICam::InvalidArgumentException);
    EXPECT_THROW(session->RegisterBuffer(nullptr, 64 * 64), GenICam::InvalidArgumentException);
    session->FinishGrab();
    session.SetParameter("MaxBufferSize", 64 * 64 - 1);
    EXPECT_THROW(session->PrepareGrab(), GenICam::RuntimeException);
    EXPECT_TRUE(m_camera.IsWritable("Width"));
    session.SetParameter("MaxBufferSize", 64 * 64);
    EXPECT_NO_THROW(session->PrepareGrab());
    EXPECT_THROW(session.SetParameter("MaxBufferSize", 1), GenICam::AccessException);
}

TEST_F(StreamGrabberTest, NoMoreBuffersAreTakenThanMaxNumBufferPromises) {
    Session session(m_camera, 2);
    std::vector<std::uint8_t> memory(64 * 64);
    const auto add = [&] { session->RegisterBuffer(memory.data(), memory.size()); };
    EXPECT_EQ(Fakes::FailureOf<GenICam::LogicalErrorException>(add),
              "Cannot register a buffer: MaxNumBuffer promises 2, and as many are registered.");
    EXPECT_EQ(session.Parameter("StreamAnnouncedBufferCount"), 2);
    session->DeregisterBuffer(session.Handle(0));
    EXPECT_NO_THROW(add()) << "registered only while queued";
}

TEST_F(StreamGrabberTest, StatisticsTellWhereBuffersAndImagesAreAndStayOverTheEnd) {
    m_camera.Set("AcquisitionMode", "MultiFrame");
    m_camera.Set("AcquisitionFrameCount", "3");
    Session session(m_camera, 5);
    session->StartStreaming();
    session.QueueAll();
    EXPECT_EQ(session.Parameter("StreamInputBufferCount"), 5);
    m_camera.Execute("AcquisitionStart");
    while (session.Parameter("StreamOutputBufferCount") < 3) {
        std::this_thread::yield();
    }
    session.Take();
    session->FlushBuffers(); // nothing was begun in what it cancels
    const auto expectFrames = [&] {
        for (const auto& [name, count] :
             {std::pair{"StreamStartedFrameCount", 3}, std::pair{"StreamDeliveredFrameCount", 3},
              std::pair{"Statistic_Total_Buffer_Count", 3}, std::pair{"StreamLostFrameCount", 0},
              std::pair{"Statistic_Buffer_Underrun_Count", 0}, std::pair{"StreamIncompleteFrameCount", 0}}) {
            EXPECT_EQ(session.Parameter(name), count) << name;
        }
    };
    expectFrames();
    EXPECT_EQ(session.Parameter("StreamInputBufferCount"), 0);
    EXPECT_EQ(session.Parameter("StreamOutputBufferCount"), 4);
    End(session);
    session->Close();
    m_camera.Device().Close();
    expectFrames();
    Camera other; // streams the same camera: that is not counted here
    Session another(other, 1);
    another->StartStreaming();
    expectFrames();
}

TEST_F(StreamGrabberTest, LackOfMemoryIsToldAsAnyFailureAndCanBeOutlived) {
    auto& factory = Zelmo::CTlFactory::GetInstance();
    Zelmo::ITransportLayer* const tl = factory.CreateTl(kDeviceClass);
    Zelmo::DeviceInfoList list;
    Zelmo::CDeviceInfo pattern = Pattern("0815-0001");
    Zelmo::IZelmoDevice* device = nullptr;
    Session session(m_camera, 1, 2);
    std::vector<std::uint8_t> memory(64 * 64);
    const std::pair<const char*, std::function<void()>> operations[] = {
        {"enumerate", [&] { tl->EnumerateDevices(list, false); }},
        {"create", [&] { device = tl->CreateDevice(pattern); }},
        {"open", [&] { device->Open(ForStreaming()); }},
        {"register", [&] { session->RegisterBuffer(memory.data(), memory.size()); }},
        {"start", [&] { session->StartStreaming(); }},
        {"flush", [&] { session->FlushBuffers(); }},
    };
    session.Queue(0);
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        std::size_t count = 0;
        while (ScarceMemory::Fails<GenICam::BadAllocException>(count, operation)) {
            ++count;
        }
        EXPECT_GT(count, 0u);
    }
    EXPECT_EQ(list.size(), 3u);
    EXPECT_EQ(session.Take().status, Zelmo::GrabStatus_Canceled);
    tl->DestroyDevice(device);
    factory.ReleaseTl(tl);
}

TEST_F(StreamGrabberTest, BuffersComeAndGoWhileStreaming) {
    Session session(m_camera, 1, 2);
    session->StartStreaming();
    m_camera.Execute("AcquisitionStart");
    for (int i = 0; i < 200; ++i) {
        auto memory = std::make_unique<std::vector<std::uint8_t>>(64 * 64);
        const Zelmo::StreamBufferHandle handle = session->RegisterBuffer(memory->data(), memory->size());
        session->QueueBuffer(handle, nullptr);
        const Zelmo::GrabResult result = session.Take();
        ASSERT_TRUE(Session::Record(result));
        const bool freeFirst = i % 2 == 0; // deregistering does not need the memory
        void* const address = memory->data();
        if (freeFirst) {
            memory.reset();
        }
        EXPECT_EQ(session->DeregisterBuffer(result.handle), address);
    }
}

TEST_F(StreamGrabberTest, CloseCleansUpAllThatWasLeftAndTheNextSessionWorks) {
    for (int round = 0; round < 20; ++round) {
        Session session(m_camera, 4);
        session->StartStreaming();
        session.QueueAll();
        m_camera.Execute("AcquisitionStart");
        EXPECT_TRUE(Session::Record(session.Take()));
        if (round % 2) {
            m_camera.Execute("AcquisitionStop");
        }
    } // closes
    EXPECT_FALSE(m_camera.Grabber().GetWaitObject().Wait(0));
    EXPECT_TRUE(m_camera.IsWritable("Width"));
    Session session(m_camera, 1);
    m_camera.Device().Close(); // with the grabber open
    EXPECT_FALSE(m_camera.Grabber().IsOpen());
}

TEST_F(StreamGrabberTest, OneGrabberTakesTheImagesOfACamera) {
    DevicePtr second = Create();
    second->Open(Zelmo::Stream);
    m_camera.Grabber().Open();
    EXPECT_THROW(second->GetStreamGrabber(0)->Open(), GenICam::RuntimeException);
    m_camera.Grabber().Close();
    Zelmo::IStreamGrabber& other = *second->GetStreamGrabber(0);
    EXPECT_NO_THROW(other.Open());
    GenApi::CIntegerPtr(other.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(64 * 64);
    other.PrepareGrab();
    EXPECT_FALSE(m_camera.IsWritable("Width")) << "whoever streams";
    other.FinishGrab();
    EXPECT_TRUE(m_camera.IsWritable("Width"));
    EXPECT_EQ(second->GetStreamGrabber(1), nullptr);
}

TEST_F(StreamGrabberTest, CamerasStreamAtTheSameTimeEachItsOwnImages) {
    m_camera.Device().Close();
    std::vector<std::thread> threads;
    for (const std::uint32_t number : {0u, 1u, 2u}) {
        threads.emplace_back([number] {
            Camera camera(("0815-000" + std::to_string(number)).c_str());
            camera.CountFrames(64, 16 << number);
            Session session(camera, 4);
            session->StartStreaming();
            session.QueueAll();
            camera.Execute("AcquisitionStart");
            for (std::uint64_t i = 0; i < 2000; ++i) {
                const Zelmo::GrabResult result = session.Take();
                const auto record = Session::Record(result);
                ASSERT_TRUE(record);
                ASSERT_EQ(record->cameraNumber, number);
                ASSERT_EQ(record->blockId, i);
                session.Requeue(result);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(StreamGrabberTest, NothingIsLostTwiceGivenOrLeftWhateverHappensAtTheSameTime) {
    for (int round = 0; round < 100; ++round) {
        Session session(m_camera, 8);
        session->StartStreaming();
        std::atomic<bool> done = false;
        std::thread flusher([&] {
            for (int i = 0; !done; ++i) {
                session->FlushBuffers();
                m_camera.Set("AcquisitionFrameRateEnable", i % 3 == 0 ? "1" : "0");
                if (i % 7 == 0) {
                    m_camera.Execute("AcquisitionStop");
                    m_camera.Execute("AcquisitionStart");
                }
            }
        });
        m_camera.Execute("AcquisitionStart");
        session.QueueAll();
        std::int64_t queued = 8, returned = 0, grabbed = 0;
        for (int i = 0; i < 50; ++i) {
            const Zelmo::GrabResult result = session.Take();
            ++returned;
            grabbed += result.status == Zelmo::GrabStatus_Grabbed;
            ASSERT_TRUE(result.status == Zelmo::GrabStatus_Canceled || Session::Record(result));
            session.Requeue(result);
            ++queued;
        }
        done = true;
        flusher.join();
        for (const auto& result : End(session)) {
            ++returned;
            grabbed += result.status == Zelmo::GrabStatus_Grabbed;
        }
        ASSERT_EQ(returned, queued);
        ASSERT_EQ(grabbed, session.Parameter("StreamDeliveredFrameCount"));
        ASSERT_EQ(session.Parameter("StreamStartedFrameCount"), grabbed + session.Parameter("StreamLostFrameCount"));
    }
}

} // namespace
