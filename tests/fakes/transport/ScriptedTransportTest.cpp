// SPDX-License-Identifier: Apache-2.0
#include "StreamDevice.h"

#include <GenApi/GenApi.h>

#include <gmock/gmock.h>

namespace {

using namespace Fakes;
using testing::ElementsAre;

/// Drives a stream grabber with one buffer as its contract says.
struct Caller {
    explicit Caller(Zelmo::IStreamGrabber& stream) : grabber(stream) {
        grabber.Open();
        const auto size = static_cast<std::size_t>(Node("PayloadSize")->GetValue());
        Node("MaxBufferSize")->SetValue(static_cast<std::int64_t>(size));
        Node("MaxNumBuffer")->SetValue(1);
        grabber.PrepareGrab();
        memory.resize(size);
        handles.push_back(grabber.RegisterBuffer(memory.data(), size));
        grabber.StartStreaming();
    }
    GenApi::CIntegerPtr Node(const char* name) const { return grabber.GetNodeMap()->GetNode(name); }
    void QueueAll() {
        for (auto* const handle : handles) {
            grabber.QueueBuffer(handle, handle);
        }
    }
    void TakeAll() {
        for (Zelmo::GrabResult result; grabber.RetrieveResult(result);) {
        }
    }

    Zelmo::IStreamGrabber& grabber;
    std::vector<std::uint8_t> memory;
    std::vector<Zelmo::StreamBufferHandle> handles;
};

TEST(ScriptedGrabberTest, SeesWhatItsCallerDoesWrong) {
    CScriptedStreamGrabber grabber("RetrieveResult:1:stall");
    Caller caller(grabber);
    caller.Node("MaxNumBuffer")->SetValue(1);
    std::vector<std::uint8_t> small(99);
    caller.handles.push_back(grabber.RegisterBuffer(small.data(), 99));
    caller.QueueAll();
    caller.memory[0] = 1;
    EXPECT_THROW(caller.QueueAll(), GenICam::LogicalErrorException);
    std::thread other([&] { caller.TakeAll(); });
    EXPECT_TRUE(grabber.WaitForStall(EOperation::RetrieveResult));
    grabber.FlushBuffers();
    EXPECT_THROW(grabber.DeregisterBuffer(caller.handles[0]), GenICam::LogicalErrorException);
    grabber.Release();
    other.join();
    EXPECT_THROW(grabber.QueueBuffer(&grabber, nullptr), GenICam::LogicalErrorException);
    grabber.StopStreaming();
    grabber.QueueBuffer(caller.handles[0], nullptr);
    grabber.FinishGrab();
    EXPECT_THAT(
        grabber.Violations(),
        ElementsAre("MaxNumBuffer: the grabber is streaming", "RegisterBuffer: the buffer is below MaxBufferSize",
                    "QueueBuffer: more buffers are queued than MaxNumBuffer", "QueueBuffer: the buffer is queued",
                    "a queued buffer was written to", "DeregisterBuffer while RetrieveResult runs",
                    "DeregisterBuffer: the buffer was not retrieved", "QueueBuffer: the buffer is not registered",
                    "QueueBuffer: the grabber is halted", "FinishGrab: buffers are queued or not retrieved"));
}

} // namespace
