#include "FrameAudit.h"
#include "StreamDevice.h"
#include "fakes/Failure.h"

#include <GenApi/GenApi.h>

#include <gmock/gmock.h>

namespace {

using namespace Fakes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Drives a stream grabber as its contract says.
struct Caller {
    explicit Caller(Zelmo::IStreamGrabber& stream, std::int64_t buffers = 2) : grabber(stream) {
        grabber.Open();
        const auto size = static_cast<std::size_t>(Node("PayloadSize")->GetValue());
        Node("MaxBufferSize")->SetValue(static_cast<std::int64_t>(size));
        Node("MaxNumBuffer")->SetValue(buffers);
        grabber.PrepareGrab();
        memory.assign(static_cast<std::size_t>(buffers), std::vector<std::uint8_t>(size));
        for (auto& buffer : memory)
            Register(buffer);
        grabber.StartStreaming();
    }
    GenApi::CIntegerPtr Node(const char* name) { return grabber.GetNodeMap()->GetNode(name); }
    void Register(std::vector<std::uint8_t>& buffer) {
        handles.push_back(grabber.RegisterBuffer(buffer.data(), buffer.size()));
    }
    void QueueAll() {
        for (auto* const handle : handles)
            grabber.QueueBuffer(handle, handle);
    }
    /// Takes what is there, but no more than @p most results, and queues as many buffers again as @p again says.
    /// @return the statuses: 2 grabbed, 3 canceled, 4 failed
    std::vector<int> Take(std::size_t most = 9, std::size_t again = 0) {
        std::vector<int> statuses;
        for (Zelmo::GrabResult result; statuses.size() < most && grabber.RetrieveResult(result);) {
            statuses.push_back(result.status);
            if (result.status == Zelmo::GrabStatus_Grabbed)
                audit.Take(result.buffer, static_cast<std::size_t>(result.payloadSize));
            if (statuses.size() <= again)
                grabber.QueueBuffer(result.handle, result.context);
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

TEST(ScriptTest, IsReadAsItIsWrittenAndSaysWhatIsWrong) {
    const CScript script("source=50;size=8x4;frames=9;log=1;QueueBuffer:3:stall=20;RetrieveResult:*:false");
    EXPECT_EQ(CScript(script.ToText()), script);
    EXPECT_EQ(CScript(CScript::Random(7, 99).ToText()), CScript::Random(7, 99));
    const auto read = [](const char* text) {
        return FailureOf<GenICam::InvalidArgumentException>([&] { CScript{text}; });
    };
    EXPECT_EQ(read("frames=2;Shut:1:false"), "Cannot read 'Shut:1:false' in a script: there is no 'Shut'");
    EXPECT_THAT(read("Open:0:stall"), HasSubstr("'0' is no number"));
    EXPECT_THAT(read("Frame:1:throw-int"), HasSubstr("Frame has no such fault"));
    EXPECT_THAT(read("PayloadSize:1:missing"), HasSubstr("must be *"));
}

TEST(ScriptedGrabberTest, FaultsStrikeTheCallThatTheyName) {
    CScriptedStreamGrabber grabber("RegisterBuffer:3:throw-std;RetrieveResult:3:false;QueueBuffer:4:throw-runtime;"
                                   "Frame:2:fail;FinishGrab:2:throw-int;PayloadSize:2:throw-access");
    EXPECT_THROW(Caller(grabber, 3), std::runtime_error);
    grabber.FinishGrab();
    grabber.Close();
    EXPECT_THROW(Caller(grabber, 3), GenICam::AccessException);
    grabber.Close();
    Caller caller(grabber, 4);
    EXPECT_EQ(FailureOf([&] { caller.QueueAll(); }), "QueueBuffer was told to fail");
    grabber.Deliver();
    EXPECT_THAT(caller.Take(), ElementsAre(2));
    EXPECT_EQ(grabber.Deliver(3), 2u);
    EXPECT_THAT(caller.Take(), IsEmpty());
    EXPECT_TRUE(grabber.GetWaitObject().Wait(0));
    EXPECT_THAT(caller.Take(), ElementsAre(4, 2));
    EXPECT_FALSE(grabber.GetWaitObject().Wait(0));
    EXPECT_THROW(caller.Stop(), int);
    grabber.Close();
    EXPECT_THAT(grabber.Violations(), IsEmpty());
    EXPECT_THAT(grabber.Order(), HasSubstr("StartStreaming QueueBuffer RetrieveResult StopStreaming FlushBuffers "));
}

TEST(ScriptedGrabberTest, SeesWhatItsCallerDoesWrong) {
    const auto violations = [](auto&& step) {
        CScriptedStreamGrabber grabber("RetrieveResult:1:stall");
        Caller caller(grabber);
        FailureOf<GenICam::LogicalErrorException>([&] { step(grabber, caller); });
        return testing::PrintToString(grabber.Violations());
    };
    EXPECT_THAT(violations([](auto& grabber, auto& caller) {
                    grabber.QueueBuffer(caller.handles[0], nullptr);
                    caller.Node("MaxNumBuffer")->SetValue(1);
                    caller.Register(caller.memory[0]);
                    caller.memory[0].resize(7);
                    caller.Register(caller.memory[0]);
                    grabber.QueueBuffer(caller.handles[2], nullptr);
                    caller.memory[0][0] = 1;
                    grabber.FlushBuffers();
                    grabber.DeregisterBuffer(caller.handles[0]);
                }),
                testing::AllOf(HasSubstr("MaxNumBuffer: the grabber is streaming"), HasSubstr("smaller than MaxBuff"),
                               HasSubstr("more buffers are queued"), HasSubstr("a queued buffer was written to"),
                               HasSubstr("DeregisterBuffer: the buffer was not retrieved")));
    EXPECT_THAT(violations([](auto&, auto& caller) {
                    caller.QueueAll();
                    caller.QueueAll();
                }),
                HasSubstr("QueueBuffer: the buffer is queued"));
    EXPECT_THAT(violations([](auto& grabber, auto& caller) {
                    grabber.StopStreaming();
                    caller.QueueAll();
                    grabber.FinishGrab();
                    grabber.QueueBuffer(caller.handles[0], nullptr);
                }),
                testing::AllOf(HasSubstr("QueueBuffer: the grabber is halted"),
                               HasSubstr("FinishGrab: buffers are queued"), HasSubstr("is not registered")));
    EXPECT_THAT(violations([](auto& grabber, auto& caller) {
                    std::thread other([&] { caller.Take(); });
                    EXPECT_TRUE(grabber.WaitForStall(EOperation::RetrieveResult));
                    grabber.QueueBuffer(caller.handles[0], nullptr);
                    grabber.Release();
                    other.join();
                }),
                HasSubstr("QueueBuffer while RetrieveResult runs"));
}

TEST(ScriptedGrabberTest, SumsOfItsFramesAreExact) {
    for (const std::string source : {"source=free;", "source=20000;", "source=queue;"}) {
        CScriptedStreamGrabber grabber(source + "frames=300;Frame:2:fail;Frame:*:spurious;Frame:30:gap");
        Caller caller(grabber, 3);
        caller.QueueAll();
        for (Zelmo::WaitObject& wait = grabber.GetWaitObject();
             grabber.Calls(EOperation::Frame) < 300 && wait.Wait(10000);)
            caller.Take(9, 9);
        caller.Stop();
        const CFrameAccount account = grabber.Account();
        EXPECT_EQ(account.begun, 302u);
        EXPECT_EQ(account.begun, account.lost + account.good + 1);
        EXPECT_EQ(caller.audit.Report(302), (CAuditReport{account.good, account.good, account.lost + 1})) << source;
        EXPECT_THAT(grabber.Violations(), IsEmpty());
    }
}

TEST(FrameAuditTest, TellsDoubledTornForeignAndLateImages) {
    CScriptedStreamGrabber grabber("Frame:1:late;Frame:3:lie-short", 0);
    Caller caller(grabber, 3);
    caller.QueueAll();
    grabber.Deliver(3);
    caller.Take();
    caller.audit.Take(caller.memory[0].data(), caller.memory[0].size());
    caller.audit.Take(&grabber, sizeof grabber);
    EXPECT_EQ(caller.audit.Report(4), (CAuditReport{5, 2, 2, 1, 1, 1, 1}));
}

TEST(StreamDeviceTest, TakesImagesBetweenStartAndStopUntilItIsRemoved) {
    CScriptedDevice device("source=queue;Frame:3:remove");
    const auto run = [&](const char* name) { GenApi::CCommandPtr(device.GetNodeMap()->GetNode(name))->Execute(); };
    GenApi::CIntegerPtr(device.GetNodeMap()->GetNode("Width"))->SetValue(40);
    Caller caller(device.Grabber());
    EXPECT_EQ(caller.memory[0].size(), 640u);
    caller.QueueAll();
    EXPECT_THAT(caller.Take(), IsEmpty());
    run("AcquisitionStart");
    EXPECT_THAT(caller.Take(), ElementsAre(2, 2));
    struct {
        void Signal(Zelmo::IZelmoDevice*) { object.Signal(); }
        Zelmo::WaitObjectEx object = Zelmo::WaitObjectEx::Create();
    } removed;
    Zelmo::RegisterRemovalCallback(&device, removed, &decltype(removed)::Signal);
    device.Grabber().QueueBuffer(caller.handles[0], nullptr);
    EXPECT_TRUE(removed.object.Wait(10000));
    caller.Stop();
    EXPECT_THAT(device.Grabber().Violations(), IsEmpty());
}

TEST(NullTransportTest, BringsEveryBufferBack) {
    using EPace = CNullStreamGrabber::EPace;
    for (const EPace pace : {EPace::AtOnce, EPace::Told, EPace::Free}) {
        CNullDevice device(pace);
        Caller caller(device.Grabber(), 3);
        caller.QueueAll();
        device.Grabber().Complete(1000);
        for (int i = 0; i < 1000; ++i) {
            ASSERT_TRUE(device.Grabber().GetWaitObject().Wait(10000));
            ASSERT_THAT(caller.Take(1, 1), ElementsAre(2));
        }
        caller.Stop();
        EXPECT_FALSE(device.Grabber().GetWaitObject().Wait(0));
    }
}

} // namespace
