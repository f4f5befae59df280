// SPDX-License-Identifier: Apache-2.0
#include "InProcess.h"
#include "TemporaryFolder.h"
#include "fakes/LogRecorder.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tool::ExitCode;

/// Grabs from the camera of the scripted plug-in: what comes is what the script says. Images of 64 times 16 bytes.
class GrabScriptTest : public InProcess {
protected:
    GrabScriptTest() : InProcess(TEST_PLUGINS "/scripted") {}
    void TearDown() override { EXPECT_FALSE(m_log.Contains("fake", GenICam::LogPriority_Notice, "BROKEN")); }

    ExitCode RunScript(const std::string& script, std::vector<std::string> words) {
        setenv("ZELMO_TEST_SCRIPT", ("source=queue;" + script).c_str(), 1);
        return Run(std::move(words));
    }

    std::string Message(const char* part = "message") const {
        return tool::Json::parse(m_messages.str().substr(0, m_messages.str().find('\n')))[part];
    }

    TemporaryFolder m_folder;
    Fakes::LogRecorder m_log; // of the library: it stays out of the messages
};

struct Failure {
    const char* script;
    ExitCode exitCode;
    const char* message;
};

std::ostream& operator<<(std::ostream& stream, const Failure& one) {
    return stream << one.script;
}

class FailedGrabTest : public GrabScriptTest, public testing::WithParamInterface<Failure> {};

TEST_P(FailedGrabTest, TellsTheCameraTheCauseAndWhatCame) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"grab", "-n", "50", "--buffers", "2"}, {"bench", "S1", "--duration", "60"}}) {
        EXPECT_EQ(RunScript(GetParam().script, words), GetParam().exitCode) << words[0];
        EXPECT_THAT(Message(), testing::AllOf(HasSubstr("amera S1"), HasSubstr(GetParam().message)));
        EXPECT_THAT(m_data.str(), HasSubstr("\"mb_per_s\"")) << "no summary of " << words[0];
    }
}

INSTANTIATE_TEST_SUITE_P(
    Scripts, FailedGrabTest,
    testing::Values(Failure{"IsOpen:*:true", ExitCode::Access, "in use already"},
                    Failure{"Open:1:throw-access", ExitCode::Failed, "Open was told to fail"},
                    Failure{"StartStreaming:1:throw-runtime", ExitCode::Failed, "StartStreaming was told to fail"},
                    Failure{"MaxNumBuffer:*:limit", ExitCode::Failed, "MaxNumBuffer"},
                    Failure{"RegisterBuffer:1:throw-badalloc", ExitCode::Failed, "buffers"},
                    Failure{"RetrieveResult:3:throw-runtime", ExitCode::Failed, "RetrieveResult was told to fail"},
                    Failure{"Frame:7:remove", ExitCode::Removed, "was removed"}));

struct Strategy {
    const char* typed;
    const char* name;
    bool skips;
};

std::ostream& operator<<(std::ostream& stream, const Strategy& one) {
    return stream << one.typed;
}

class GrabStrategyTest : public GrabScriptTest, public testing::WithParamInterface<Strategy> {};

TEST_P(GrabStrategyTest, EveryImageOfTheCameraIsTakenOrCountedAsSkipped) {
    int images = 30;
    int skipped = 0;
    do { // a writer that happened to keep up has nothing skipped: then it gets more to do
        images *= 2;
        const ExitCode code = RunScript("", {"grab", "-n", std::to_string(images), "-o", m_folder / "%d.png",
                                             "--strategy", GetParam().typed, "--buffers", "4", "--max-lost", "0"});
        skipped = Summary()["skipped"].get<int>();
        EXPECT_EQ(Events("start")[0]["strategy"], GetParam().name);
        EXPECT_EQ(code, skipped > 0 ? ExitCode::Quality : ExitCode::Done) << m_messages.str();
        EXPECT_EQ(Summary()["lost"], 0) << "this camera waits for buffers";
        EXPECT_EQ(skipped + images, Events("frame").back()["block_id"].get<int>() + 1);
    } while (GetParam().skips && skipped == 0 && images < 10000);
    EXPECT_EQ(skipped > 0, GetParam().skips);
}

INSTANTIATE_TEST_SUITE_P(Spellings, GrabStrategyTest,
                         testing::Values(Strategy{"one-by-one", "one-by-one", false},
                                         Strategy{"LatestImageOnly", "latest-image-only", true},
                                         Strategy{"GrabStrategy_LatestImages", "latest-images", true},
                                         Strategy{"Upcoming_Image", "upcoming-image", false}));

TEST_F(GrabScriptTest, CountsWhatCameWhatFailedAndWhatIsMissing) {
    const std::string script =
        "Frame:2:fail;Frame:3:gap;Frame:4:lie-short;Frame:6:lie-huge;Frame:7:lie-long;Frame:8:lie-negative";
    EXPECT_EQ(RunScript(script, {"grab", "-n", "8", "-o", m_folder / "%d.png"}), ExitCode::Done);
    EXPECT_EQ(Summary()["frames"], 4);
    EXPECT_EQ(Summary()["failed"], 4);
    EXPECT_EQ(Summary()["lost"], 2);
    EXPECT_EQ(Summary()["skipped"], 0);
    EXPECT_EQ(Summary()["bytes"], 4 * 64 * 16);
    EXPECT_THAT(m_folder.List(), ElementsAre("1.png", "3.png", "5.png", "7.png"));
    const auto frames = Events("frame");
    EXPECT_EQ(frames[1]["status"], "failed");
    EXPECT_EQ(frames[1]["message"], "lines are missing");
    EXPECT_EQ(frames[2]["block_id"], 4);
    EXPECT_THAT(frames[3]["message"].get<std::string>(), HasSubstr("holds 1023 bytes"));
}

TEST_F(GrabScriptTest, ImageWithBrokenChunksIsWholeAndThatIsTold) {
    EXPECT_EQ(RunScript("chunks=1", {"grab", "-n", "3", "--chunks", "all", "-o", m_folder / "%d.png"}), ExitCode::Done);
    EXPECT_EQ(Summary()["frames"], 3);
    EXPECT_EQ(Message(), "The chunk data of image 1 of camera S1 cannot be read: There is no trailer.");
    EXPECT_THAT(m_folder.List(), ElementsAre("1.png", "2.png", "3.png"));
    EXPECT_EQ(RunScript("chunks=1", {"get", "--nodemap", "chunk", "ChunkGain"}), ExitCode::Failed);
    EXPECT_THAT(m_thrown, HasSubstr("There is no trailer."));
    EXPECT_EQ(RunScript("", {"grab", "--chunks", "all"}), ExitCode::Feature);
    EXPECT_THAT(m_thrown, HasSubstr("it has no feature 'ChunkModeActive'"));
    EXPECT_EQ(RunScript("", {"grab", "--events", "all"}), ExitCode::Feature);
    EXPECT_THAT(m_thrown, HasSubstr("camera S1 has none"));
}

TEST_F(GrabScriptTest, MoreLossesThanPermittedEndWithSix) {
    const char* const script = "Frame:2:gap;Frame:3:fail";
    EXPECT_EQ(RunScript(script, {"grab", "-n", "3", "--max-lost", "3"}), ExitCode::Done);
    EXPECT_EQ(RunScript(script, {"grab", "-n", "3", "--max-lost", "2"}), ExitCode::Quality);
    EXPECT_THAT(m_messages.str(), HasSubstr("3 images were lost (2), skipped (0) or failed (1)"));
    EXPECT_EQ(RunScript(script, {"bench", "--duration", "0.1", "--max-lost", "2"}), ExitCode::Quality);
}

TEST_F(GrabScriptTest, RemovedCameraKeepsWhatCameAndIsNoticedEvenWhenItDoesNotTell) {
    EXPECT_EQ(RunScript("Frame:4:remove", {"grab", "-n", "5", "--buffers", "1", "-o", m_folder / "%d.png"}),
              ExitCode::Removed);
    EXPECT_EQ(Summary()["frames"].get<std::size_t>(), m_folder.List().size());
    EXPECT_EQ(RunScript("mute=1;Frame:4:remove", {"grab", "-n", "5", "--timeout", "20"}), ExitCode::Removed);
}

TEST_F(GrabScriptTest, FormatThatOnlyTheFramesTellIsRefusedThere) {
    const char* const script = "Frame:*:lie-strange";
    EXPECT_EQ(RunScript("frames=1;" + std::string(script), {"grab", "-n", "2", "-o", m_folder / "a.png"}),
              ExitCode::Feature)
        << "ends at once, not when the next image comes";
    EXPECT_THAT(m_folder.List(), testing::IsEmpty());
    EXPECT_EQ(RunScript(script, {"grab", "--raw", "-o", m_folder / "a.raw"}), ExitCode::Done);
    EXPECT_THAT(m_folder.List(), ElementsAre("a.raw", "a.raw.json"));
}

TEST_F(GrabScriptTest, SilentCameraEndsWithFive) {
    for (const char* strategy : {"one-by-one", "upcoming-image"}) {
        EXPECT_EQ(RunScript("frames=1", {"grab", "-n", "2", "--timeout", "20", "--strategy", strategy}),
                  ExitCode::Timeout);
        EXPECT_EQ(Message("code"), "timeout");
        EXPECT_THAT(Message(), HasSubstr("within 20 ms after 1 images"));
        EXPECT_EQ(Summary()["frames"], 1);
    }
}

TEST_F(GrabScriptTest, LatencyIsToldOnlyOfCamerasThatStampByTheClockOfThisHost) {
    EXPECT_EQ(RunScript("", {"bench", "--duration", "0.05"}), ExitCode::Done);
    const tool::Json report = tool::Json::parse(m_data.str());
    EXPECT_GT(report["frames"], 0);
    EXPECT_TRUE(report["latency_p50_us"].is_null());
    EXPECT_TRUE(report["cameras"][0]["latency_max_us"].is_null());
}

} // namespace
