// SPDX-License-Identifier: Apache-2.0

// What a camera tells beside its images: chunk data and events.

#include "InProcess.h"

#include <zelmo/Device.h>
#include <zelmo/TlFactory.h>

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::SizeIs;
using tool::ExitCode;
using tool::Json;

/// Two emulated cameras of small images. What a run leaves set is still there for the next one.
class GrabMetadataTest : public InProcess {
protected:
    GrabMetadataTest() : InProcess({}, "2") {
        for (const char* camera : {"0", "1"}) {
            Run({"set", "-d", camera, "Width=64", "Height=32", "ChunkSelector=Width", "EventSelector=EventOverrun"});
        }
    }

    /// What the tool may have changed, and how each test begins.
    void ExpectAsBefore() {
        EXPECT_EQ(Run({"get", "-d", "0", "ChunkModeActive", "ChunkSelector", "EventSelector"}, {}), ExitCode::Done);
        EXPECT_EQ(m_data.str(), "ChunkModeActive=0\nChunkSelector=Width\nEventSelector=EventOverrun\n");
        for (const char* setting : {"ChunkSelector=Gain", "ChunkSelector=Timestamp", "EventSelector=ExposureEnd"}) {
            Run({"set", "-d", "0", setting});
            Run({"get", "-d", "0", "ChunkEnable", "EventNotification"}, {});
            EXPECT_EQ(m_data.str(), "ChunkEnable=0\nEventNotification=Off\n") << setting;
        }
    }
};

TEST_F(GrabMetadataTest, ImagesTellTheChunksThatWereWantedOrThatTheyAreMissing) {
    EXPECT_EQ(Run({"grab", "-d", "0", "-n", "3", "--chunks", "Gain,ChunkTimestamp", "--chunks", "Gain", "--set",
                   "Gain=2.5", "--exec", "ForceFailedBuffer"}),
              ExitCode::Done)
        << m_thrown;
    const auto frames = Events("frame");
    ASSERT_THAT(frames, SizeIs(3));
    EXPECT_EQ(frames[0]["chunks"], Json::parse(R"({"ChunkGain":null,"ChunkTimestamp":null})")); // it failed
    for (const Json& frame : {frames[1], frames[2]}) {
        EXPECT_EQ(frame["chunks"]["ChunkGain"], 2.5);
        EXPECT_EQ(frame["chunks"]["ChunkTimestamp"], frame["timestamp_ticks"]);
        EXPECT_THAT(frame["chunks"], SizeIs(2));
    }
    ExpectAsBefore();
}

TEST_F(GrabMetadataTest, EventsAreToldWithTheImageThatTheyCameBeforeAndAheadOfIt) {
    EXPECT_EQ(Run({"grab", "-d", "0", "-n", "4", "--events", "EventExposureEndFrameID,FrameStart"}), ExitCode::Done)
        << m_thrown;
    std::vector<std::uint64_t> ends;
    std::uint64_t image = 0;
    std::istringstream lines(m_data.str());
    for (std::string line; std::getline(lines, line);) {
        const Json event = Json::parse(line);
        if (event["type"] == "frame") {
            image = event["number"];
        } else if (event["type"] == "event") {
            const std::string name = "Event" + event["event"].get<std::string>();
            const std::uint64_t frame = event["data"][name + "FrameID"];
            EXPECT_EQ(event["device"], "0815-0000");
            EXPECT_EQ(event["before_frame"], image + 1);
            EXPECT_LE(image, frame) << "it comes ahead of its own image";
            EXPECT_GT(event["data"][name + "Timestamp"], 0);
            if (name == "EventExposureEnd") {
                ends.push_back(frame);
            }
        }
    }
    ASSERT_GE(ends.size(), 4u);
    EXPECT_EQ(std::vector<std::uint64_t>(ends.begin(), ends.begin() + 4), (std::vector<std::uint64_t>{0, 1, 2, 3}));
    EXPECT_EQ(Events("summary").size(), 1u);
    EXPECT_THAT(m_data.str().substr(m_data.str().rfind(R"({"type")")), HasSubstr("summary"));
    ExpectAsBefore();
}

TEST_F(GrabMetadataTest, LinesSayTheirCameraAndFieldsAsGetPrintsThem) {
    EXPECT_EQ(Run({"grab", "--all", "--chunks", "all", "--events", "all"}, {}), ExitCode::Done) << m_thrown;
    for (const std::string camera : {"0815-0000", "0815-0001"}) {
        EXPECT_THAT(m_data.str(), HasSubstr("event  " + camera + "  1  ExposureEnd  EventExposureEnd=36865  "));
        EXPECT_THAT(m_data.str(), HasSubstr("frame  " + camera + "  1  ChunkTimestamp="));
    }
    EXPECT_THAT(m_data.str(), HasSubstr("  ChunkExposureTime=10000  "));
    EXPECT_THAT(m_data.str(), HasSubstr("  ChunkPixelFormat=Mono8  "));
    ExpectAsBefore();
}

TEST_F(GrabMetadataTest, NameThatTheCameraDoesNotKnowIsRefusedBeforeTheStart) {
    const std::pair<const char*, const char*> cases[] = {{"--chunks", "camera 0815-0000 has no chunk 'Nope'"},
                                                         {"--events", "camera 0815-0000 has no event 'Nope'"}};
    for (const auto& [option, message] : cases) {
        EXPECT_EQ(Run({"grab", "-d", "0", option, "all,Nope"}), ExitCode::Feature);
        EXPECT_THAT(m_thrown, HasSubstr(message));
        EXPECT_THAT(m_thrown, HasSubstr("and 'all' for each of them"));
        EXPECT_EQ(m_data.str(), "");
    }
    EXPECT_THAT(m_thrown, HasSubstr("'ExposureEnd', 'FrameStart', 'FrameStartOvertrigger'"));
    ExpectAsBefore();
}

TEST_F(GrabMetadataTest, NodeMapChunkIsThatOfAnImageThatIsGrabbedForIt) {
    EXPECT_EQ(Run({"get", "-d", "0", "--nodemap", "chunk", "ChunkWidth", "ChunkGain"}, {}), ExitCode::Done) << m_thrown;
    EXPECT_EQ(m_data.str(), "ChunkWidth=64\nChunkGain=0\n");
    ExpectAsBefore();
    Run({"set", "-d", "1", "ChunkModeActive=1", "ChunkSelector=Height", "ChunkEnable=1"});
    EXPECT_EQ(Run({"features", "-d", "1", "--nodemap", "chunk", "--values"}, {}), ExitCode::Done);
    EXPECT_THAT(m_data.str(), testing::ContainsRegex("ChunkHeight +RO +integer +32\n")); // as it was set, and no more
    EXPECT_THAT(m_data.str(), testing::ContainsRegex("ChunkWidth +NA +integer +-\n"));
}

TEST_F(GrabMetadataTest, ImageThatDoesNotComeIsToldWithTheLimitThatWasPassed) {
    const std::vector<std::string> words{"get", "-d", "0", "--nodemap", "chunk", "ChunkGain", "--image-timeout", "60"};
    Run({"set", "-d", "0", "ForceStall=1"});
    EXPECT_EQ(Run(words), ExitCode::Timeout);
    EXPECT_THAT(m_thrown, HasSubstr("within 60 ms; --image-timeout sets the limit"));
    Run({"set", "-d", "0", "ForceStall=0"});
    ExpectAsBefore();
    Run({"exec", "-d", "0", "ForceFailedBuffer"});
    EXPECT_EQ(Run(words), ExitCode::Failed);
    EXPECT_THAT(m_thrown, HasSubstr("because ForceFailedBuffer was executed"));
    Zelmo::CTlFactory& factory = Zelmo::CTlFactory::GetInstance();
    Zelmo::IZelmoDevice* const other = factory.CreateFirstDevice(Zelmo::CDeviceInfo().SetSerialNumber("0815-0000"));
    other->Open(Zelmo::Control | Zelmo::Stream);
    EXPECT_EQ(Run(words), ExitCode::Access) << "opened to look only";
    EXPECT_THAT(m_thrown, HasSubstr("to the program that has control"));
    factory.DestroyDevice(other);
}

} // namespace
