#include "DecodePng.h"
#include "InProcess.h"
#include "TemporaryFolder.h"
#include "fakes/LogRecorder.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tool::ExitCode;

/// Grabs from the camera of the scripted plug-in: what comes is what the script says.
class GrabScriptTest : public InProcess {
protected:
    GrabScriptTest() : InProcess(TEST_PLUGINS "/scripted") {}

    ExitCode Grab(const std::string& script, std::vector<std::string> options) {
        setenv("ZELMO_TEST_SCRIPT", script.c_str(), 1);
        m_calls.Clear();
        options.insert(options.begin(), "grab");
        return Run(options);
    }

    /// The calls of the stream grabber, those in a row once.
    std::vector<std::string> Calls() const {
        std::vector<std::string> calls;
        for (const Fakes::LogLine& line : m_calls.Lines()) {
            if (line.category == "fake" && (calls.empty() || calls.back() != line.message)) {
                calls.push_back(line.message);
            }
        }
        return calls;
    }

    std::string Message(const char* part = "message") const {
        return tool::Json::parse(m_messages.str().substr(0, m_messages.str().find('\n')))[part];
    }

    TemporaryFolder m_folder;
    Fakes::LogRecorder m_calls{"fake"};
};

TEST_F(GrabScriptTest, DrivesTheGrabberInTheOrderOfItsContract) {
    EXPECT_EQ(Grab("image image image", {"-n", "2", "--buffers", "3"}), ExitCode::Done);
    EXPECT_THAT(Calls(), ElementsAre("Open", "MaxBufferSize 16 MaxNumBuffer 3", "PrepareGrab", "RegisterBuffer",
                                     "StartStreaming", "StopStreaming", "FlushBuffers", "DeregisterBuffer",
                                     "FinishGrab", "Close"));
}

struct Failure {
    const char* script;
    ExitCode exitCode;
    std::vector<std::string> calls;
};

std::ostream& operator<<(std::ostream& stream, const Failure& one) {
    return stream << one.script;
}

class FailedStartTest : public GrabScriptTest, public testing::WithParamInterface<Failure> {};

TEST_P(FailedStartTest, UndoesWhatWasDoneAndNothingElse) {
    EXPECT_EQ(Grab(GetParam().script, {}), GetParam().exitCode);
    EXPECT_THAT(Message(), HasSubstr("camera S1"));
    EXPECT_EQ(Calls(), GetParam().calls);
    EXPECT_EQ(Summary()["frames"], 0);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, FailedStartTest,
    testing::Values(
        Failure{"isopen", ExitCode::Access, {}}, Failure{"openfails", ExitCode::Failed, {"Open"}},
        Failure{"preparefails", ExitCode::Failed, {"Open", "MaxBufferSize 16 MaxNumBuffer 10", "PrepareGrab", "Close"}},
        Failure{"startfails",
                ExitCode::Failed,
                {"Open", "MaxBufferSize 16 MaxNumBuffer 10", "PrepareGrab", "RegisterBuffer", "StartStreaming",
                 "StopStreaming", "FlushBuffers", "DeregisterBuffer", "FinishGrab", "Close"}}));

TEST_F(GrabScriptTest, CountsWhatCameWhatFailedAndWhatIsMissing) {
    EXPECT_EQ(Grab("image failed gap short image", {"-n", "5", "-o", m_folder / "%d.png"}), ExitCode::Done);
    EXPECT_EQ(Summary()["frames"], 3);
    EXPECT_EQ(Summary()["failed"], 2);
    EXPECT_EQ(Summary()["lost"], 2);
    EXPECT_EQ(Summary()["bytes"], 3 * 16);
    EXPECT_THAT(m_folder.List(), ElementsAre("1.png", "3.png", "5.png"));
    const auto frames = Events("frame");
    EXPECT_EQ(frames[1]["status"], "failed");
    EXPECT_EQ(frames[1]["error"], "lines are missing");
    EXPECT_EQ(frames[2]["block_id"], 5);
    EXPECT_THAT(frames[3]["error"].get<std::string>(), HasSubstr("holds 15 bytes"));
}

TEST_F(GrabScriptTest, MoreLossesThanPermittedEndWithSix) {
    EXPECT_EQ(Grab("image gap failed", {"-n", "3", "--max-lost", "3"}), ExitCode::Done);
    EXPECT_EQ(Grab("image gap failed", {"-n", "3", "--max-lost", "2"}), ExitCode::Quality);
    EXPECT_THAT(m_messages.str(), HasSubstr("3 images were lost or failed"));
}

TEST_F(GrabScriptTest, RemovedCameraEndsWithNineAndKeepsWhatCame) {
    EXPECT_EQ(Grab("image removed", {"-n", "5", "-o", m_folder / "%d.png"}), ExitCode::Removed);
    EXPECT_THAT(Message(), HasSubstr("S1 was removed"));
    EXPECT_EQ(Calls().back(), "Close");
    EXPECT_LE(m_folder.List().size(), 1u);
    EXPECT_EQ(Summary()["frames"].get<std::size_t>(), m_folder.List().size());
}

TEST_F(GrabScriptTest, FormatThatOnlyTheFramesTellIsRefusedThere) {
    EXPECT_EQ(Grab("strange", {"-o", m_folder / "a.png"}), ExitCode::Feature);
    EXPECT_THAT(m_folder.List(), testing::IsEmpty());
    EXPECT_EQ(Grab("strange", {"--raw", "-o", m_folder / "a.raw"}), ExitCode::Done);
    EXPECT_THAT(m_folder.List(), ElementsAre("a.raw"));
}

TEST_F(GrabScriptTest, SilentCameraEndsWithFive) {
    EXPECT_EQ(Grab("image", {"-n", "2", "--timeout", "20"}), ExitCode::Timeout);
    EXPECT_EQ(static_cast<int>(ExitCode::Timeout), 5);
    EXPECT_EQ(Message("code"), "timeout");
    EXPECT_THAT(Message(), HasSubstr("within 20 ms after 1 images"));
    EXPECT_EQ(Summary()["frames"], 1);
}

} // namespace
