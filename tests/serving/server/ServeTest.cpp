// SPDX-License-Identifier: Apache-2.0
#include "serving/Client.h"
#include "serving/control/ServedCamera.h"
#include "tool/ToolProcess.h"

#include <core/FrameRecord.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>

namespace Serving {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint32_t kChannel = Register::kStreamChannel;

/// Whether the host itself says that nobody hears at the control port of the address.
bool IsNobodyAt(std::uint32_t address) {
    const CDescriptor connected(socket(AF_INET, SOCK_DGRAM, 0));
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(address);
    to.sin_port = htons(GigEVision::kGvcpPort);
    const ByteList discovery = {0x42, 1, 0, 2, 0, 0, 0, 1};
    EXPECT_EQ(connect(connected.Number(), reinterpret_cast<sockaddr*>(&to), sizeof to), 0);
    for (int tries = 0; tries < 600; ++tries) { // the host bounds how often it says so
        char answer = 0;
        pollfd waited = {connected.Number(), POLLIN, 0};
        if (send(connected.Number(), discovery.data(), discovery.size(), 0) < 0 ||
            (poll(&waited, 1, 100) > 0 && recv(connected.Number(), &answer, 1, 0) < 0)) {
            return errno == ECONNREFUSED;
        }
        if (answer != 0 || waited.revents != 0) {
            return false; // somebody answers
        }
    }
    return false;
}

/// The program with cameras at OwnAddress(10) and on.
class ServeTest : public testing::Test {
protected:
    void Start(std::uint32_t cameras = 1, std::vector<std::string> options = {}) {
        options.insert(options.begin(), "--json");
        for (std::uint32_t i = 0; i < cameras; ++i) {
            options.insert(options.end(), {"--address", OwnAddressText(10 + i)});
        }
        m_server.emplace(options, ToolProcess::Settings());
        ASSERT_TRUE(m_server->WaitForOutput("Ctrl+C ends it")) << "is told when all is ready";
    }
    /// Until all that was typed has been done. @return the camera's status then.
    tool::Json WaitUntilDone() {
        m_server->Type("status\nreset done\n");
        EXPECT_TRUE(m_server->WaitForOutput("There is no camera 'done'"));
        const std::string& out = m_server->SoFar().out;
        const std::size_t from = out.find("{\"type\":\"status\"");
        return from < out.size() ? tool::Json::parse(out.substr(from, out.find('\n', from) - from)) : tool::Json();
    }
    std::vector<tool::Json> EventsOf(const ToolResult& result, const std::string& type) {
        std::vector<tool::Json> events = result.Events();
        std::erase_if(events, [&](const tool::Json& one) { return one["type"] != type; });
        return events;
    }
    ToolResult End(int signal = SIGTERM) {
        m_server->Signal(signal);
        return m_server->Wait();
    }

    void TakeControl() {
        ASSERT_EQ(m_client.Write(kCamera, Register::kCcp, 2), Status::Success);
        ASSERT_EQ(m_client.Write(kCamera, Register::kGvcpConfiguration, 1), Status::Success) << "no heartbeat";
    }
    void Prepare(std::initializer_list<std::pair<std::uint32_t, std::uint32_t>> values) {
        for (const auto& value : values) {
            ASSERT_EQ(m_client.Write(kCamera, value.first, value.second), Status::Success) << std::hex << value.first;
        }
    }
    /// Small images that tell whether they are whole, to the receiver.
    void PrepareStream(std::uint32_t frames) {
        constexpr auto camera = Address::kCamera;
        TakeControl();
        Prepare({{camera + Reg::kWidth, 64},
                 {camera + Reg::kHeight, 40},
                 {camera + Reg::kTestImage, static_cast<std::uint32_t>(CamEmu::ETestImage::FrameCounter)},
                 {camera + Reg::kAcquisitionMode, static_cast<std::uint32_t>(CamEmu::EAcquisitionMode::MultiFrame)},
                 {camera + Reg::kAcquisitionFrameCount, frames},
                 {kChannel + Register::kScps, 576},
                 {kChannel + Register::kScda, m_receiver.Address().address},
                 {kChannel + Register::kScp, m_receiver.Address().port}});
    }
    void Acquire() { Prepare({{Address::kCamera + Reg::kAcquisitionStart, 1}}); }
    /// All packets up to the trailer of @p last, by block.
    std::map<std::uint64_t, CReceiver::Packets> ReceiveBlocks(std::uint64_t last) {
        std::map<std::uint64_t, CReceiver::Packets> blocks;
        while (!CReceiver::IsComplete(blocks[last])) {
            const auto datagram = m_receiver.Next(kPatience);
            const auto packet = datagram ? GigEVision::DecodePacket(datagram->bytes) : std::nullopt;
            if (!packet) {
                ADD_FAILURE() << "no packet of the stream";
                break;
            }
            blocks[packet->header.blockId][packet->header.packetId] = datagram->bytes;
        }
        return blocks;
    }

    const std::uint32_t kCamera = OwnAddress(10);
    std::optional<ToolProcess> m_server;
    CClient m_client;
    CReceiver m_receiver; // of streams or messages
};

TEST_F(ServeTest, TellsItsCamerasWhichAreFoundByUnicastAndBroadcast) {
    Start(2);
    std::map<std::uint32_t, std::string> serialNumbers; // of those that answered the broadcast
    const std::uint16_t id = m_client.Send(0x7FFFFFFF, Command::Discovery, {});
    while (!HasFailure() && serialNumbers.size() < 2) {
        const CClient::CAnswer answer = m_client.Receive(id);
        const auto info = GigEVision::DecodeDiscoveryAck(answer.payload);
        ASSERT_TRUE(info);
        if (answer.from.address == OwnAddress(10) || answer.from.address == OwnAddress(11)) { // tests beside this one
            EXPECT_EQ(info->address, answer.from.address);
            serialNumbers[info->address] = info->serialNumber;
        }
    }
    for (std::uint32_t i = 0; i < 2; ++i) {
        const auto info = GigEVision::DecodeDiscoveryAck(m_client.Ask(OwnAddress(10 + i), Command::Discovery).payload);
        ASSERT_TRUE(info);
        EXPECT_EQ(info->serialNumber, serialNumbers[OwnAddress(10 + i)]);
        EXPECT_EQ(info->mask, 0xFF000000u);
    }
    const auto served = EventsOf(End(), "serving");
    ASSERT_EQ(served.size(), 2u);
    for (std::uint32_t i = 0; i < 2; ++i) {
        EXPECT_EQ(served[i]["schema"], 1);
        EXPECT_EQ(served[i]["cameras"], 2);
        EXPECT_EQ(served[i]["address"], OwnAddressText(10 + i));
        EXPECT_EQ(served[i]["device"], serialNumbers[OwnAddress(10 + i)]);
        EXPECT_EQ(served[i]["port"], 3956);
        EXPECT_EQ(served[i]["interface"], "lo");
    }
    EXPECT_NE(served[0]["mac_address"], served[1]["mac_address"]);
}

TEST_F(ServeTest, WhoHasControlReadsAndWrites) {
    Start(2);
    TakeControl();
    CClient other;
    const std::uint32_t width = Address::kCamera + Reg::kWidth;
    EXPECT_EQ(m_client.Write(kCamera, width, 128), Status::Success);
    EXPECT_EQ(other.Write(kCamera, width, 64), Status::AccessDenied);
    EXPECT_EQ(other.Read(kCamera, width), 128u);
    EXPECT_NE(other.Read(OwnAddress(11), width), 128u) << "of the second camera";
    EXPECT_EQ(other.Write(OwnAddress(11), Register::kCcp, 2), Status::Success);
    ByteList name = Words({Register::kUserName, 0x4C656674}); // "Left"
    name.resize(4 + 16);
    EXPECT_EQ(m_client.Ask(kCamera, Command::WriteMem, name).status, Status::Success);
    EXPECT_EQ(m_client.Ask(kCamera, Command::ReadMem, Words({Register::kUserName, 16})).payload, name);
    EXPECT_EQ(WaitUntilDone()["controlled_by"], Text(m_client.Address()));
    EXPECT_EQ(EventsOf(End(), "summary").at(0)["refused_commands"], 1);
}

TEST_F(ServeTest, AnAddressThatIsServedIsRefusedAndStaysServed) {
    Start();
    const ToolResult second = RunTool({"--json", "--address", OwnAddressText(11), "--address", OwnAddressText(10)});
    EXPECT_EQ(second.exitCode, 4);
    EXPECT_EQ(second.Error()["code"], "in_use");
    EXPECT_EQ(second.Error()["message"], OwnAddressText(10) + ":3956 is in use by another program");
    EXPECT_THAT(second.out, IsEmpty());
    EXPECT_TRUE(IsNobodyAt(OwnAddress(11)));
    EXPECT_EQ(m_client.Ask(kCamera, Command::Discovery).status, Status::Success);
}

TEST_F(ServeTest, AForcedAddressTakesThePlaceOfTheFormerOne) {
    Start(2);
    GigEVision::ForceIp force;
    const auto info = GigEVision::DecodeDiscoveryAck(m_client.Ask(kCamera, Command::Discovery).payload);
    ASSERT_TRUE(info);
    force.mac = info->mac;
    force.mask = 0xFF000000;
    const auto payload = [&](std::uint32_t address) {
        force.address = address;
        GigEVision::GvcpBuffer buffer;
        const GigEVision::Bytes bytes = GigEVision::EncodeForceIp(force, buffer);
        return ByteList(bytes.begin(), bytes.end());
    };
    m_client.Send(kCamera, Command::ForceIp, payload(OwnAddress(11))); // the other's: is not answered
    const CClient::CAnswer answer = m_client.Ask(kCamera, Command::ForceIp, payload(OwnAddress(20)));
    EXPECT_EQ(answer.status, Status::Success);
    EXPECT_EQ(answer.from, (CEndpoint{OwnAddress(20), GigEVision::kGvcpPort}));
    EXPECT_TRUE(IsNobodyAt(kCamera));
    EXPECT_EQ(m_client.Read(OwnAddress(20), Register::kCurrentIp), OwnAddress(20));
    EXPECT_EQ(m_client.Read(OwnAddress(11), Register::kCurrentIp), OwnAddress(11));
    const ToolResult result = End();
    EXPECT_EQ(EventsOf(result, "summary").at(0)["cameras"][0]["address"], OwnAddressText(20));
    EXPECT_THAT(result.err, HasSubstr(OwnAddressText(11) + ":3956 is in use"));
}

TEST_F(ServeTest, FramesArriveWhole) {
    Start();
    PrepareStream(5);
    Acquire();
    const auto blocks = ReceiveBlocks(5);
    EXPECT_EQ(blocks.size(), 5u);
    for (const auto& block : blocks) {
        ASSERT_TRUE(CReceiver::IsComplete(block.second)) << block.first;
        CamEmu::CFrameRecord record;
        EXPECT_EQ(CamEmu::CheckFrame(CReceiver::ImageOf(block.second), record), CamEmu::EFrameCheck::Intact);
        EXPECT_EQ(record.blockId + 1, block.first);
    }
    const tool::Json summary = EventsOf(End(), "summary").at(0);
    EXPECT_EQ(summary["blocks"], 5);
    EXPECT_EQ(summary["packets"], 5 * 7);
    EXPECT_EQ(summary["lost_blocks"], 0);
}

TEST_F(ServeTest, AnEventIsSentUntilItIsAcknowledged) {
    Start();
    PrepareStream(2);
    CReceiver messages;
    Prepare({{Register::kMcda, messages.Address().address},
             {Register::kMctt, 20}, // ms
             {Register::kMcrc, 100'000},
             {Register::kMcp, messages.Address().port},
             {Address::kCamera + Reg::kEventNotification + 4, 1}}); // of FrameStart
    const std::uint32_t port = m_client.Read(kCamera, Register::kMcsp);
    Acquire();
    std::vector<std::uint64_t> blocks;
    std::optional<std::uint16_t> acknowledged;
    for (std::map<std::uint16_t, int> times; blocks.size() < 2;) {
        const auto datagram = messages.Next(kPatience);
        ASSERT_TRUE(datagram);
        EXPECT_EQ(datagram->from, (CEndpoint{kCamera, static_cast<std::uint16_t>(port)}));
        const auto message = GigEVision::DecodeCommand(datagram->bytes);
        ASSERT_TRUE(message && message->Is(Command::Event) && message->Has(GigEVision::Flag::kAcknowledge));
        if (message->requestId == acknowledged || ++times[message->requestId] < 3) {
            continue; // was on its way, or is to come again
        }
        blocks.push_back(GigEVision::EventItems(message->payload, false, false).Next().value().blockId);
        acknowledged = message->requestId;
        GigEVision::GvcpBuffer buffer;
        messages.Send(
            GigEVision::EncodeAcknowledge(
                {Status::Success, GigEVision::AcknowledgeOf(message->command), message->requestId, {}}, buffer),
            datagram->from);
    }
    EXPECT_THAT(blocks, ElementsAre(1, 2));
    const tool::Json summary = EventsOf(End(), "summary").at(0);
    EXPECT_EQ(summary["events"], 2);
    EXPECT_GE(summary["resent_events"], 4);
}

TEST_F(ServeTest, FaultsThatAreTypedAreMadeAndCounted) {
    Start(1, {"--fault", "trailer-loss@2"});
    m_server->Type("nonsense\nfault leader-loss@1x1\nfault ack-duplicatex1\n");
    WaitUntilDone();
    const std::uint16_t id = m_client.Send(kCamera, Command::Discovery, {});
    m_client.Receive(id);
    m_client.Receive(id);
    PrepareStream(3);
    Acquire();
    const auto blocks = ReceiveBlocks(3);
    EXPECT_TRUE(CReceiver::IsComplete(blocks.at(3)));
    EXPECT_EQ(blocks.at(1).count(0), 0u);
    EXPECT_EQ(blocks.at(1).size(), 6u);
    EXPECT_EQ(blocks.at(2).size(), 6u);
    EXPECT_EQ(blocks.at(2).count(6), 0u);
    m_server->Type("faults\nquit\n");
    const ToolResult result = m_server->Wait();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.Error()["message"].get<std::string>(), HasSubstr("'nonsense'"));
    std::map<std::string, int> counts;
    const tool::Json faults = EventsOf(result, "faults").at(0)["faults"];
    for (const tool::Json& fault : faults) {
        counts[fault["name"]] = fault["count"].get<int>();
    }
    EXPECT_EQ(counts, (std::map<std::string, int>{{"leader-loss", 1}, {"trailer-loss", 1}, {"ack-duplicate", 1}}));
    EXPECT_EQ(EventsOf(result, "summary").at(0)["faults"],
              (tool::Json{{"AckDuplicate", 1}, {"LeaderLoss", 1}, {"TrailerLoss", 1}}));
}

TEST_F(ServeTest, SignalsEndItCleanlyAndTheEndOfInputDoesNot) {
    for (const int signal : {SIGTERM, SIGINT}) {
        Start();
        PrepareStream(0xFFFF);
        Acquire(); // is ended while it streams
        m_server->EndInput();
        EXPECT_EQ(m_client.Ask(kCamera, Command::Discovery).status, Status::Success);
        const ToolResult result = End(signal);
        EXPECT_EQ(result.exitCode, 128 + signal);
        EXPECT_EQ(EventsOf(result, "summary").size(), 1u);
        EXPECT_TRUE(IsNobodyAt(kCamera));
    }
}

} // namespace
} // namespace Serving
