// SPDX-License-Identifier: Apache-2.0
#include "StreamBench.h"
#include "fakes/Cycles.h"
#include "fakes/LogRecorder.h"
#include "fakes/ScarceMemory.h"
#include "fakes/Within.h"

#include "stream/PacketSize.h"
#include "stream/Reassembler.h"

#include <Base/GCException.h>
#include <zelmo/PixelType.h>

#include <gmock/gmock.h>

#include <chrono>
#include <random>

namespace Gige {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(GigeStreamTest, ImagesArriveWholeWithWhatTheLeaderTells) {
    Connect();
    Start(4);
    QueueAll();
    constexpr std::uint64_t kImages = 500;
    Zelmo::GrabResult last;
    for (std::uint64_t id = 1; id <= kImages; ++id) {
        m_camera.Send(Image(id, id % 2 == 0 ? 3000 : 1000));
        last = Next();
        ASSERT_EQ(last.status, Zelmo::GrabStatus_Grabbed) << last.errorDescription.c_str();
        ASSERT_EQ(last.blockId, id);
        ASSERT_EQ(last.payloadSize, id % 2 == 0 ? 3000 : 1000);
        ASSERT_TRUE(IsIntact(last));
        m_grabber.QueueBuffer(last.handle, last.context);
    }
    EXPECT_EQ(last.payloadType, Zelmo::PayloadType_Image);
    EXPECT_EQ(last.pixelType, Zelmo::PixelType_Mono8);
    EXPECT_EQ(last.sizeX, 20);
    EXPECT_EQ(last.sizeY, 150);
    EXPECT_EQ(last.timeStamp, kImages);
    EXPECT_EQ(last.errorCode, 0u);

    Finish();
}

// All that could allocate is made before; the camera's thread does nothing meanwhile.
TEST_F(GigeStreamTest, AnImageCostsNoMemoryAndABatchOneLockAndTwoSystemCalls) {
    Connect();
    BePatient();
    Start(4);
    QueueAll();
    constexpr std::uint64_t kImages = 500;
    std::vector<ByteList> packets;
    for (std::uint64_t id = 1; id <= kImages; ++id) {
        const CSentBlock block = m_camera.Cut(Image(id));
        for (std::uint32_t packet = 0; packet <= block.trailerId; ++packet) {
            packets.push_back(block.Packet(packet));
        }
    }
    Zelmo::GrabResult result;
    std::size_t allocations = 0;
    for (std::uint64_t id = 1, sent = 0; id <= kImages; ++id) {
        if (id == kImages / 2) { // warm
            allocations = ScarceMemory::AllAllocations();
        }
        for (int i = 0; i < 5; ++i) {
            m_camera.SendPacket(packets[sent++]);
        }
        result = Next();
        m_grabber.QueueBuffer(result.handle, result.context);
    }
    EXPECT_EQ(ScarceMemory::AllAllocations(), allocations);
    EXPECT_EQ(result.blockId, kImages);
    const CReceiveCosts costs = m_grabber.Costs();
    EXPECT_EQ(costs.datagrams, kImages * 5);
    constexpr std::uint64_t kIdle = 100; // times that it woke for nothing, on a machine with other work
    EXPECT_LE(costs.locks, costs.batches + kIdle);
    EXPECT_LE(costs.waits + costs.receives, 2 * costs.batches + 2 * kIdle);
    EXPECT_LE(costs.signals, kImages);
    EXPECT_EQ(costs.sends, 0u) << "nothing was lost";
    Finish();
}

TEST_F(GigeStreamTest, EachStatisticCountsWhatItsNameSays) {
    Connect();
    const auto send = [this](std::uint64_t id) { m_camera.Send(Image(id)); };
    const auto fail = [&] {
        Set("EnableResend", 0);
        m_camera.Send(Image(1), {2, 3});
        send(2);
    };
    const auto skip = [&] {
        send(1);
        send(4);
    };
    const auto resend = [&] { m_camera.Send(Image(1), {1, 2}); };
    const auto starve = [&] {
        for (std::uint64_t id = 1; id <= 5; ++id) {
            send(id);
        }
    };
    const auto repeat = [&] {
        m_camera.SendPacket(m_camera.Cut(Image(1)).Packet(0));
        send(1);
    };
    const auto refuse = [&] {
        std::array<std::uint8_t, 64> room;
        m_camera.Send(Image(1), {2});
        m_camera.SendPacket(m_camera.Cut(Image(1)).Packet(2, room, 0x800C));
    };
    const auto restart = [&] {
        send(200);
        CBlockShape first = Image(1);
        first.timestamp = 201;
        m_camera.Send(first);
    };
    const auto flush = [&] {
        m_camera.Send(Image(1), {2, 3, 4});
        EXPECT_TRUE(Eventually([this] { return Get("Statistic_Total_Packet_Count") == 2; }));
        m_grabber.FlushBuffers();
    };
    const struct {
        const char* name;
        std::function<void()> provoke;
        std::uint64_t expected;
    } kCases[] = {
        {"Statistic_Total_Buffer_Count", fail, 2},
        {"Statistic_Failed_Buffer_Count", fail, 1},
        {"Statistic_Failed_Packet_Count", fail, 2},
        {"Statistic_Last_Failed_Buffer_Status", fail, 0x47010000},
        {"Statistic_Last_Block_Id", fail, 2},
        {"StreamDeliveredFrameCount", fail, 1},
        {"StreamStartedFrameCount", skip, 4},
        {"StreamStartedFrameCount", fail, 2},
        {"StreamStartedFrameCount", starve, 5},
        {"StreamStartedFrameCount", flush, 1},
        {"StreamLostFrameCount", skip, 2},
        {"StreamLostFrameCount", starve, 2},
        {"StreamLostFrameCount", flush, 0},
        {"Statistic_Missed_Frame_Count", skip, 2},
        {"Statistic_Total_Packet_Count", skip, 10},
        {"Statistic_Buffer_Underrun_Count", starve, 2},
        {"Statistic_Resend_Packet_Count", resend, 2},
        {"Statistic_Resend_Request_Count", resend, 1},
        {"Statistic_Resent_Packet_Count", resend, 2},
        {"Statistic_Doubled_Packet_Count", repeat, 1},
        {"Statistic_Ignored_Packet_Count", [&] { m_camera.SendPacket(ByteList(7)); }, 1},
        {"Statistic_Error_Packet_Count", refuse, 1},
        {"Statistic_Resynchronization_Count", restart, 1},
        {"StreamOutputBufferCount", skip, 2},
        {"StreamInputBufferCount", skip, 1},
        {"StreamAnnouncedBufferCount", skip, 3},
    };
    BePatient();
    for (const auto& tried : kCases) {
        SCOPED_TRACE(tried.name);
        Set("EnableResend", 1);
        Start(3);
        QueueAll();
        const std::uint64_t before = m_camera.m_sent;
        tried.provoke();
        EXPECT_TRUE(Eventually([&] {
            return m_grabber.Costs().datagrams >= m_camera.m_sent - before && Get(tried.name) == tried.expected;
        })) << Get(tried.name);
        m_grabber.StopStreaming();
        EXPECT_EQ(Get(tried.name), tried.expected) << "it only passed through it";
        Finish();
    }
}

TEST_F(GigeStreamTest, ItsNodesTellWhatItIsReadyFor) {
    const GenApi::CBooleanPtr isGrabbing(m_grabber.GetNodeMap()->GetNode("StreamIsGrabbing"));
    ASSERT_TRUE(isGrabbing.IsValid());
    const auto state = [&] {
        return Text("Status") + " " + Text("AccessMode") + (isGrabbing->GetValue() ? " 1" : " 0");
    };
    EXPECT_EQ(state(), "NotInitialized NotInitialized 0");
    EXPECT_EQ(Text("StreamType"), "GEV");
    m_grabber.Permit({}); // of a device that is open all the same: its features can be read
    EXPECT_EQ(state(), "Closed Monitor 0");
    m_grabber.Permit(Zelmo::Exclusive | Zelmo::Control | Zelmo::Stream);
    EXPECT_EQ(state(), "Closed Exclusive 0");
    Connect();
    Start(0);
    EXPECT_EQ(state(), "Locked Control 1");
    m_grabber.StopStreaming();
    EXPECT_EQ(state(), "Locked Control 0");
    m_grabber.FinishGrab();
    EXPECT_EQ(state(), "Open Control 0");
}

TEST_F(GigeStreamTest, PacketsLostInThisHostAreCountedApart) {
    Connect();
    m_grabber.Open();
    Prepare();
    for (int i = 0; i < 5000; ++i) { // more than there is room for while nobody wants images
        m_camera.SendPacket(ByteList(1000));
    }
    m_grabber.StartStreaming();
    m_camera.SendPacket(ByteList(1000));
    ASSERT_TRUE(Eventually([this] { return m_grabber.Costs().datagrams > 0; }));
    EXPECT_EQ(Get("Statistic_Host_Dropped_Packet_Count"), 0u) << "they were not of this stream";
    Finish();
    Set("SocketBufferSize", 1); // the kernel's least, which is room for one packet or two
    Start(1);
    EXPECT_LT(Get("SocketBufferSizeGranted"), 16u);
    EXPECT_TRUE(Eventually([&] {
        for (int i = 0; i < 1000; ++i) {
            m_camera.SendPacket(ByteList(1000));
        }
        return Get("Statistic_Host_Dropped_Packet_Count") > 0;
    }));
    Finish();
}

TEST_F(GigeStreamTest, FailedImagesSayWhy) {
    Connect();
    Set("EnableResend", 0);
    Start(3);
    QueueAll();
    m_camera.Send(Image(1), {2});
    m_camera.Send(Image(2), {2});
    m_camera.Send(Image(3, 5000)); // larger than a buffer
    const Zelmo::GrabResult missing = Next();
    Zelmo::GrabResult starved;
    ASSERT_TRUE(m_grabber.GetWaitObject().Wait(kPatienceMs));
    ScarceMemory::FailAfter(0);
    const bool isBack = m_grabber.RetrieveResult(starved);
    ScarceMemory::Relax();
    const Zelmo::GrabResult large = Next();
    EXPECT_EQ(missing.status, Zelmo::GrabStatus_Failed);
    EXPECT_EQ(missing.errorCode, 0x47010000u);
    EXPECT_THAT(missing.errorDescription.c_str(), HasSubstr("Block 1: 1 of 5 packets missing (first 2, last 2)"));
    EXPECT_TRUE(isBack);
    EXPECT_EQ(starved.errorCode, 0x47010000u);
    EXPECT_TRUE(starved.errorDescription.empty()) << "there was no memory for it";
    EXPECT_EQ(large.errorCode, 0x47040000u);
    EXPECT_THAT(large.errorDescription.c_str(), AllOf(HasSubstr("4,096"), HasSubstr("5,000")));
    EXPECT_THAT(Text("Statistic_Last_Failed_Buffer_Status_Text"), HasSubstr("Block 3"));
    Finish();
}

TEST_F(GigeStreamTest, PayloadsAreNamedAsFarAsTheContractCan) {
    namespace PayloadType = GigEVision::PayloadType;
    const struct {
        std::uint16_t type;
        Zelmo::EPayloadType expected;
        const char* text; ///< where the contract has no name, or the camera a remark
        std::uint16_t status = 0, firstPart = 1;
    } kCases[] = {
        {PayloadType::kImage, Zelmo::PayloadType_Image, nullptr},
        {PayloadType::kRawData, Zelmo::PayloadType_RawData, nullptr},
        {PayloadType::kFile, Zelmo::PayloadType_File, nullptr},
        {PayloadType::kChunkData, Zelmo::PayloadType_ChunkData, nullptr},
        {PayloadType::kImage | PayloadType::kChunks, Zelmo::PayloadType_ChunkData, nullptr},
        {PayloadType::kMultiPart, Zelmo::PayloadType_Image, nullptr},
        {PayloadType::kMultiPart, Zelmo::PayloadType_RawData, "multi-part", 0, 0x000A},
        {PayloadType::kJpeg, Zelmo::PayloadType_RawData, "JPEG"},
        {PayloadType::kCustom | 1, Zelmo::PayloadType_RawData, "0x8001"},
        {PayloadType::kImage, Zelmo::PayloadType_Image, "the camera remarks", 0x4004},
    };
    Connect();
    Start(1);
    std::uint64_t id = 0;
    for (const auto& tried : kCases) {
        SCOPED_TRACE(tried.type);
        CBlockShape shape = Image(++id);
        shape.type = tried.type;
        shape.leaderStatus = tried.status;
        shape.isExtended = true;
        shape.chunkBytes = shape.bytes;
        shape.firstPartBytes = 2000;
        shape.firstPartType = tried.firstPart;
        Queue(0);
        m_camera.Send(shape);
        const Zelmo::GrabResult result = Next();
        EXPECT_EQ(result.status, Zelmo::GrabStatus_Grabbed);
        EXPECT_EQ(result.payloadType, tried.expected);
        EXPECT_EQ(result.payloadSize, 3000);
        EXPECT_THAT(result.errorDescription.c_str(), HasSubstr(tried.text ? tried.text : ""));
        EXPECT_EQ(result.errorDescription.empty(), !tried.text);
        EXPECT_TRUE(IsIntact(result));
    }
    Finish();
}

// The camera never stops sending; each buffer's memory is gone the moment its result is out.
TEST_F(GigeStreamTest, NothingIsWrittenIntoABufferThatIsBack) {
    const int cycles = Fakes::CyclesOf(40000);
    constexpr std::size_t kBuffers = 4;
    Connect();
    std::atomic<bool> isEnding = false;
    std::thread sender([&] {
        for (std::uint64_t id = 1; !isEnding; ++id) {
            m_camera.Send(Image(id % 60000 + 1), id % 3 == 0 ? std::set<std::uint32_t>{2} : std::set<std::uint32_t>{});
        }
    });
    std::mt19937 random(1);
    for (int cycle = 0; cycle < cycles; ++cycle) {
        Start(kBuffers);
        QueueAll();
        std::size_t back = 0;
        const auto take = [&] {
            for (Zelmo::GrabResult result; m_grabber.RetrieveResult(result); ++back) {
                static_cast<Fakes::Unmappable*>(result.context)->Take();
            }
        };
        usleep(random() % 1500);
        take();
        if (const unsigned way = random() % 3; way == 0) {
            m_grabber.FlushBuffers();
        } else if (way == 1) {
            m_grabber.StopStreaming();
            m_grabber.FlushBuffers();
        } else {
            m_grabber.Close();
            back = kBuffers; // those that are queued are dropped
            for (const auto& memory : m_memory) {
                memory->Take();
            }
        }
        take();
        ASSERT_EQ(back, kBuffers);
        usleep(random() % 500);
        Finish();
    }
    isEnding = true;
    sender.join();
}

TEST_F(GigeStreamTest, PacketsOfTheSessionBeforeAreNotFoundInABuffer) {
    Connect();
    m_grabber.Open();
    Prepare();
    m_camera.Send(Image(7)); // while nobody wants images
    m_grabber.StartStreaming();
    Fakes::Unmappable memory(kBufferBytes);
    m_grabber.QueueBuffer(m_grabber.RegisterBuffer(memory.Address(), kBufferBytes), nullptr);
    m_camera.Send(Image(1));
    const Zelmo::GrabResult result = Next();
    EXPECT_EQ(result.status, Zelmo::GrabStatus_Grabbed);
    EXPECT_EQ(result.blockId, 1u);
    EXPECT_TRUE(IsIntact(result));
    EXPECT_EQ(Get("Statistic_Total_Packet_Count"), 5u);
    Finish();
}

// A firewall or a path with a small MTU shows in no other way.
TEST_F(GigeStreamTest, TheLogTellsThatNotOnePacketCame) {
    const Fakes::LogRecorder log("zelmo.gige");
    m_camera.Set(Register::kGvspCapability, 0); // so that others reach the socket
    CTestCamera stranger(4);
    Connect();
    Start(1);
    QueueAll();
    stranger.Follow(m_camera);
    stranger.Send(Image(50));
    EXPECT_TRUE(Eventually([&] { return log.Contains("zelmo.gige", GenICam::LogPriority_Warn, "not one packet"); }));
    m_camera.Send(Image(1));
    EXPECT_EQ(Next().status, Zelmo::GrabStatus_Grabbed) << "it goes on";
    Finish();
}

// An idle thread sleeps for 10 s.
TEST_F(GigeStreamTest, AFlushIsNotKeptWaitingByASilentCamera) {
    Connect();
    Start(2);
    QueueAll();
    m_camera.Send(Image(1));
    EXPECT_EQ(Next().status, Zelmo::GrabStatus_Grabbed);
    Fakes::ExpectWithin(std::chrono::milliseconds(5), [this] { m_grabber.FlushBuffers(); });
    EXPECT_EQ(Next().status, Zelmo::GrabStatus_Canceled);
    Finish();
}

TEST_F(GigeStreamTest, StoppedBuffersStayQueuedForTheNextStart) {
    Connect();
    Start(2);
    QueueAll();
    m_camera.Send(Image(1), {2, 3, 4}); // half filled
    ASSERT_TRUE(Eventually([this] { return Get("Statistic_Total_Packet_Count") == 2; }));
    m_grabber.StopStreaming();
    Zelmo::GrabResult result;
    EXPECT_FALSE(m_grabber.RetrieveResult(result));
    m_grabber.StartStreaming();
    m_camera.Send(Image(1));
    m_camera.Send(Image(2));
    EXPECT_EQ(Next().status, Zelmo::GrabStatus_Grabbed);
    EXPECT_EQ(Next().status, Zelmo::GrabStatus_Grabbed);
    Finish();
}

TEST_F(GigeStreamTest, TheLargestPacketsThatArriveAreUsed) {
    const struct {
        const char* text;
        std::uint32_t mtu, former, cameraLimit, pathBytes;
        bool isRefusing;
        std::uint32_t expected;
        unsigned testPackets;
    } kCases[] = {
        {"the first fits", 9000, 1400, 16000, 16000, false, 9000, 1},
        {"the camera has less", 9000, 1400, 4000, 16000, false, 4000, 1},
        {"the camera refuses more", 9000, 1400, 1500, 16000, true, 1500, 1},
        {"the way takes less", 9000, 1400, 16000, 1500, false, 1500, 10},
        {"a small MTU", 578, 1400, 16000, 16000, false, 576, 1},
        {"nothing arrives", 9000, 8000, 16000, 0, false, 1500, 18},
        {"nothing arrives, small before", 1500, 1000, 16000, 0, false, 1000, 9},
    };
    for (const auto& tried : kCases) {
        SCOPED_TRACE(tried.text);
        m_camera.m_largestSize = tried.cameraLimit;
        m_camera.m_pathBytes = tried.pathBytes;
        m_camera.m_refusesSizes = tried.isRefusing;
        m_camera.m_testPackets = 0;
        m_camera.Set(Channel(Register::kScps), tried.former | Scps::kBigEndian);
        Connect(Zelmo::Control | Zelmo::Stream, tried.mtu);
        m_calls.clear();
        unsigned fired = 0;
        for (int session = 0; session < 2; ++session) { // the second one knows
            m_grabber.Open();
            Prepare();
            EXPECT_EQ(m_camera.Get(Channel(Register::kScps)), tried.expected | Scps::kBigEndian);
            EXPECT_GE(m_camera.m_testPackets, tried.testPackets);
            EXPECT_TRUE(session == 0 || m_camera.m_testPackets == fired);
            fired = m_camera.m_testPackets;
            m_grabber.FinishGrab();
            m_grabber.Close();
        }
        EXPECT_THAT(m_calls, ElementsAre("changed", "lock", "unlock", "changed", "lock", "unlock"));
        m_grabber.Forbid();
        m_connection.Close();
    }
}

TEST_F(GigeStreamTest, AFailedStartLeavesNothingBehind) {
    Connect();
    m_grabber.Open();
    m_payloadSize = kBufferBytes + 1;
    EXPECT_THROW(Prepare(), GenICam::RuntimeException) << "buffers are too small";
    EXPECT_EQ(m_camera.Get(Channel(Register::kScp)), 0u);
    EXPECT_THAT(m_calls, ElementsAre("changed"));
    m_payloadSize = 0;
    Set("AutoPacketSize", 0);
    m_camera.Set(Channel(Register::kScps), 100);
    EXPECT_THROW(Prepare(), GenICam::RuntimeException) << "packets are too small";
    EXPECT_EQ(m_camera.Get(Channel(Register::kScp)), 0u);
    EXPECT_THAT(m_calls, ElementsAre("changed"));
    Set("DestinationPort", 1);
    SetText("TransmissionType", "Multicast");
    SetText("DestinationAddr", "10.0.0.1");
    EXPECT_THROW(Prepare(), GenICam::InvalidArgumentException) << "no group";
    EXPECT_EQ(Text("Status"), "Open");
    for (int i = 0; i < 2; ++i) { // harmless where nothing is to be undone
        m_grabber.StopStreaming();
        m_grabber.FlushBuffers();
        m_grabber.FinishGrab();
        m_grabber.Close();
    }
    EXPECT_EQ(Text("Status"), "Closed");
    m_grabber.Forbid();
    EXPECT_EQ(Text("Status"), "NotInitialized");
    EXPECT_THROW(m_grabber.Open(), GenICam::LogicalErrorException);
}

TEST_F(GigeStreamTest, AMonitorReceivesWhatIsSentToMany) {
    Connect(Zelmo::Stream);
    m_grabber.Open();
    EXPECT_THROW(Prepare(), GenICam::RuntimeException) << "nobody has opened the channel";
    m_camera.Set(Channel(Register::kScda), 0x0A000001);
    m_camera.Set(Channel(Register::kScp), 5000);
    EXPECT_THROW(Prepare(), GenICam::RuntimeException) << "the images are somebody else's";
    m_grabber.Close();

    CConnection connection{m_settings, m_counts};
    connection.Open(m_connection.Route(), Zelmo::Control);
    CStreamGrabber primary(connection, {});
    primary.Permit(Zelmo::Control | Zelmo::Stream);
    Set(primary, "MaxBufferSize", kBufferBytes);
    SetText(primary, "DestinationAddr", m_group.c_str());
    for (const char* const type : {"Multicast", "SubnetDirectedBroadcast"}) { // on whatever port is free
        SCOPED_TRACE(type);
        SetText(primary, "TransmissionType", type);
        primary.Open();
        primary.PrepareGrab();
        primary.StartStreaming();
        Start(1);
        QueueAll();
        m_camera.Send(Image(1));
        EXPECT_EQ(Next().status, Zelmo::GrabStatus_Grabbed);
        EXPECT_EQ(Text("AccessMode"), "Monitor");
        Finish();
        EXPECT_NE(m_camera.Get(Channel(Register::kScp)), 0u) << "it is not the monitor's to close";
        primary.Close();
        EXPECT_EQ(m_camera.Get(Channel(Register::kScp)), 0u);
    }
}

TEST_F(GigeStreamTest, EachTransmissionArrives) {
    Connect();
    SetText("DestinationAddr", m_group.c_str());
    const struct {
        const char* type;
        std::uint32_t destination;
    } kCases[] = {{"Unicast", Serving::OwnAddress(2)},
                  {"Multicast", *PluginKit::ParseAddress(m_group)},
                  {"SubnetDirectedBroadcast", 0x7FFFFFFF},
                  {"LimitedBroadcast", 0xFFFFFFFF}};
    for (const auto& tried : kCases) {
        SCOPED_TRACE(tried.type);
        SetText("TransmissionType", tried.type);
        Start(1);
        QueueAll();
        EXPECT_EQ(m_camera.Get(Channel(Register::kScda)), tried.destination);
        EXPECT_TRUE(m_camera.WasPathOpened());
        CBlockShape image = Image(1);
        image.isExtended = tried.destination == 0x7FFFFFFF;
        m_camera.Send(image, {2}); // which is asked for again
        EXPECT_TRUE(IsIntact(Next()));
        Finish();
    }
}

// Also where the camera does not tell which port its packets come from.
TEST_F(GigeStreamTest, OnlyTheCameraIsHeard) {
    m_camera.Set(Register::kGvspCapability, 0);
    CTestCamera stranger(4);
    Connect();
    Start(2);
    QueueAll();
    stranger.Follow(m_camera);
    m_camera.SendStray(ByteList(7));
    m_camera.SendStray(ByteList(1000));         // as a test packet
    for (std::uint64_t id = 1; id <= 2; ++id) { // before the camera was heard, and after
        stranger.Send(Image(50));
        EXPECT_TRUE(Eventually([this] { return Get("Statistic_Ignored_Packet_Count") == 7; }));
        m_camera.Send(Image(id));
        const Zelmo::GrabResult result = Next();
        EXPECT_EQ(result.blockId, id);
        EXPECT_TRUE(IsIntact(result));
    }
    EXPECT_EQ(Get("Statistic_Total_Packet_Count"), 10u);
    EXPECT_EQ(Get("Statistic_Ignored_Packet_Count"), 7u) << "later ones do not even reach the socket";
    Finish();
}

TEST_F(GigeStreamTest, PacketsThatTheKernelPutTogetherAreTakenApart) {
    Connect();
    Set("ReceiveOffloadEnable", 1);
    Start(1);
    QueueAll();
    m_camera.SendMerged(Image(1));
    const Zelmo::GrabResult result = Next();
    EXPECT_EQ(result.status, Zelmo::GrabStatus_Grabbed);
    EXPECT_TRUE(IsIntact(result));
    EXPECT_EQ(Get("Statistic_Total_Packet_Count"), 5u);
    EXPECT_EQ(m_grabber.Costs().datagrams, 3u);
    Finish();
}

// Without answers of the camera, nothing waits for it longer than for one try.
TEST_F(GigeStreamTest, BuffersComeBackFromACameraThatIsGone) {
    m_settings.heartbeatTimeoutMs = 500;
    Connect();
    Start(2);
    QueueAll();
    m_camera.Send(Image(1), {2});
    m_camera.m_isDeaf = true;
    EXPECT_TRUE(Eventually([this] { return !m_connection.Beat(); }));
    EXPECT_TRUE(m_connection.IsLost());
    m_grabber.StopStreaming();
    m_grabber.FlushBuffers();
    EXPECT_EQ(Next().status, Zelmo::GrabStatus_Canceled);
    EXPECT_EQ(Next().status, Zelmo::GrabStatus_Canceled);
    m_grabber.FinishGrab();
    m_grabber.Close();
    EXPECT_THROW(m_grabber.Open(), GenICam::RuntimeException);
}

} // namespace
} // namespace Gige
