// SPDX-License-Identifier: Apache-2.0
#include "FrameAudit.h"
#include "StreamDevice.h"

#include <GenApi/GenApi.h>

#include <gmock/gmock.h>

namespace {

using namespace Fakes;
using testing::ElementsAre;
using testing::IsEmpty;

/// Drives a stream grabber as its contract says.
struct Caller {
    explicit Caller(Zelmo::IStreamGrabber& stream, unsigned buffers = 2) : grabber(stream) {
        grabber.Open();
        const auto size = static_cast<std::size_t>(Node("PayloadSize")->GetValue());
        Node("MaxBufferSize")->SetValue(static_cast<std::int64_t>(size));
        Node("MaxNumBuffer")->SetValue(buffers);
        grabber.PrepareGrab();
        memory.assign(buffers, std::vector<std::uint8_t>(size));
        for (auto& buffer : memory) {
            handles.push_back(grabber.RegisterBuffer(buffer.data(), size));
        }
        grabber.StartStreaming();
    }
    GenApi::CIntegerPtr Node(const char* name) const { return grabber.GetNodeMap()->GetNode(name); }
    void QueueAll() {
        for (auto* const handle : handles) {
            grabber.QueueBuffer(handle, handle);
        }
    }
    /// Takes at most @p most results. @return the statuses: 2 grabbed, 3 canceled, 4 failed
    std::vector<int> Take(std::size_t most = 9, bool again = false) {
        std::vector<int> statuses;
        for (Zelmo::GrabResult result; statuses.size() < most && grabber.RetrieveResult(result);) {
            statuses.push_back(result.status);
            if (result.status == Zelmo::GrabStatus_Grabbed) {
                audit.Take(result.buffer, static_cast<std::size_t>(result.payloadSize));
            }
            if (again) {
                grabber.QueueBuffer(result.handle, result.context);
            }
        }
        return statuses;
    }
    void Stop() {
        grabber.StopStreaming();
        grabber.FlushBuffers();
        Take();
        grabber.FinishGrab();
        grabber.Close();
    }

    Zelmo::IStreamGrabber& grabber;
    CFrameAudit audit;
    std::vector<std::vector<std::uint8_t>> memory;
    std::vector<Zelmo::StreamBufferHandle> handles;
};

TEST(ScriptedGrabberTest, SeesWhatItsCallerDoesWrong) {
    CScriptedStreamGrabber grabber("RetrieveResult:1:stall");
    Caller caller(grabber, 1);
    caller.Node("MaxNumBuffer")->SetValue(1);
    std::vector<std::uint8_t> small(99);
    caller.handles.push_back(grabber.RegisterBuffer(small.data(), 99));
    caller.QueueAll();
    caller.memory[0][0] = 1;
    EXPECT_THROW(caller.QueueAll(), GenICam::LogicalErrorException);
    std::thread other([&] { caller.Take(); });
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

TEST(ScriptedGrabberTest, SumsOfItsFramesAreExact) {
    for (const std::string source : {"source=free;", "source=20000;", "source=queue;"}) {
        CScriptedStreamGrabber grabber(source + "frames=300;Frame:1:late;Frame:3:fail;Frame:*:spurious;Frame:30:gap");
        grabber.StopAcquisition(); // so that the first three frames find a buffer
        Caller caller(grabber, 3);
        caller.QueueAll();
        grabber.Acquire();
        for (auto& wait = grabber.GetWaitObject(); grabber.Calls(EOperation::Frame) < 300 && wait.Wait(10000);) {
            caller.Take(9, true);
        }
        caller.Stop();
        const auto [begun, lost, good, lying, failed, canceled] = grabber.Account();
        EXPECT_THAT(begun, testing::AllOf(302u, lost + good + 1));
        EXPECT_EQ(caller.audit.Report(begun), (CAuditReport{good, good, lost + 1, 0, 0, 0, 1})) << source;
        EXPECT_THAT(grabber.Violations(), IsEmpty());
    }
}

} // namespace
