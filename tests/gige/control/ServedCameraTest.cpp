// SPDX-License-Identifier: Apache-2.0
#include "control/CommandChannel.h"
#include "control/Description.h"
#include "control/RegisterPort.h"
#include "gige/control/ScriptedDevice.h"
#include "tool/ToolProcess.h"

#include <GenApi/GenApi.h>
#include <GenApi/NodeMapRef.h>

#include <gmock/gmock.h>

namespace Gige {
namespace {

using testing::HasSubstr;

const Zelmo::AccessModeSet kControlled = Zelmo::Control;

/// The program that serves cameras, with one of them.
class ServedCameraTest : public testing::Test {
protected:
    void SetUp() override {
        m_server.emplace(std::vector<std::string>{"--address", Serving::OwnAddressText(10)}, ToolProcess::Settings());
        ASSERT_TRUE(m_server->WaitForOutput("Ctrl+C ends it"));
    }
    /// Returns when it was done.
    void Type(const std::string& line) {
        const std::string end = "done" + std::to_string(++m_lines);
        m_server->Type(line + "\nreset " + end + "\n");
        ASSERT_TRUE(m_server->WaitForOutput("'" + end + "'"));
    }

    const CRoute m_route = RouteTo(Serving::OwnAddress(10));
    std::optional<ToolProcess> m_server;
    int m_lines = 0;
};

TEST_F(ServedCameraTest, RegistersAreReachedThroughTheNodeMapOfItsOwnDescription) {
    CHost host;
    CRegisterPort port(host.connection);
    EXPECT_EQ(port.GetAccessMode(), GenApi::NA);
    for (const bool usesRegisterCommands : {false, true}) {
        host.connection.Open(m_route, kControlled);
        EXPECT_EQ(port.GetAccessMode(), GenApi::RW);
        port.UseRegisterCommands(usesRegisterCommands);
        const CDescription description = ReadDescription(host.connection);
        EXPECT_THAT(description.url, HasSubstr(".zip"));
        GenApi::CNodeMapRef map("Device");
        map._LoadXMLFromZIPData(description.bytes.data(), description.bytes.size());
        ASSERT_TRUE(map._Connect(&port, "Device"));
        const GenApi::CIntegerPtr width = map._GetNode("Width");
        const std::int64_t wanted = usesRegisterCommands ? 320 : 640;
        width->SetValue(wanted);
        map._InvalidateNodes();
        EXPECT_EQ(width->GetValue(), wanted);
        const GenApi::CStringPtr name = map._GetNode("DeviceUserID");
        name->SetValue("left");
        map._InvalidateNodes();
        EXPECT_EQ(name->GetValue(), "left");
        EXPECT_EQ(host.connection.ReadText(Register::kUserName, 16), "left");
        host.connection.Close();
    }
    host.connection.Open(m_route, {});
    EXPECT_EQ(port.GetAccessMode(), GenApi::RO);
    EXPECT_THROW(port.Write("four", 0xA000, 4), GenICam::AccessException);
}

TEST_F(ServedCameraTest, WhatGoesWrongWithAcknowledgesIsNotSeen) {
    CHost host;
    host.settings.readTimeoutMs = host.settings.writeTimeoutMs = 150;
    host.settings.maxRetriesRead = host.settings.maxRetriesWrite = 30;
    host.connection.Open(m_route, kControlled);
    for (const char* const fault : {"ack-loss=0.2", "ack-duplicate=0.5", "ack-wrong-id=0.2", "ack-delay=0.2,200",
                                    "pending=0.2,300", "command-status=0.2,0x8007"}) {
        Type(std::string("fault ") + fault);
        for (std::uint32_t i = 0; i < 20; ++i) {
            const std::uint32_t size = 576 + 4 * i;
            host.connection.WriteRegister(Register::kStreamChannel + Register::kScps, size);
            EXPECT_EQ(host.connection.ReadRegister(Register::kStreamChannel + Register::kScps) & 0xFFFF, size);
        }
        EXPECT_TRUE(host.connection.Beat()) << fault;
        Type("reset");
    }
    EXPECT_EQ(host.counts.failedReads + host.counts.failedWrites, 0u);
    EXPECT_GT(host.counts.timeouts, 0u);
}

TEST_F(ServedCameraTest, ACameraThatNeverHeardOfTheEndIsHadAgainAtOnce) {
    std::optional<CHost> host(std::in_place);
    host->settings.heartbeatTimeoutMs = 60'000;
    host->connection.Open(m_route, kControlled);
    host->connection.WriteRegister(Register::kStreamChannel + Register::kScp, 40000);
    Type("fault silence,700x1");
    host.reset();
    CHost again;
    while (!again.connection.IsOpen()) {
        try {
            again.connection.Open(m_route, kControlled);
        } catch (const GenICam::RuntimeException& e) { // while it is silent
            ASSERT_THAT(e.GetDescription(), HasSubstr("does not answer"));
        }
    }
    EXPECT_EQ(again.connection.ReadRegister(Register::kStreamChannel + Register::kScp) & 0xFFFF, 0u)
        << "its stream was still open";
}

TEST_F(ServedCameraTest, WhoHasControlIsNamed) {
    CHost host;
    host.connection.Open(m_route, Zelmo::Exclusive);
    CHost second, monitor;
    EXPECT_THAT(FailureOf<GenICam::AccessException>([&] { monitor.connection.Open(m_route, {}); }),
                HasSubstr("has control"));
    host.connection.Close();
    host.connection.Open(m_route, kControlled);
    EXPECT_THAT(FailureOf<GenICam::AccessException>([&] { second.connection.Open(m_route, kControlled); }),
                HasSubstr("this process, at 127.0.0.1:"));
    monitor.connection.Open(m_route, {});
    host.connection.Close();

    std::atomic<bool> isDuplicating{false};
    std::atomic<std::uint64_t> timeouts{0};
    CCommandChannel stranger(CUdpSocket::ForDevice(m_route), m_route.device, isDuplicating, timeouts, {});
    ASSERT_TRUE(stranger.WriteRegister(Register::kHeartbeatTimeout, 500, {}).Is(Status::AccessDenied));
    ASSERT_TRUE(stranger.WriteRegister(Register::kCcp, 2, {}).IsDone());
    ASSERT_TRUE(stranger.WriteRegister(Register::kGvcpConfiguration, 1, {}).IsDone()); // no heartbeat
    ASSERT_TRUE(stranger.WriteRegister(Register::kHeartbeatTimeout, 500, {}).IsDone());
    EXPECT_THAT(FailureOf<GenICam::AccessException>([&] { second.connection.Open(m_route, kControlled); }),
                HasSubstr("127.0.0.1:" + std::to_string(stranger.Socket().LocalPort())));
    ASSERT_TRUE(stranger.WriteRegister(Register::kGvcpConfiguration, 0, {}).IsDone());
    second.connection.Open(m_route, kControlled); // waits for the end of its heartbeat
    EXPECT_TRUE(second.connection.HasControl());
}

} // namespace
} // namespace Gige
