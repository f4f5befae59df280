// SPDX-License-Identifier: Apache-2.0
#include "control/CommandChannel.h"
#include "control/Description.h"
#include "control/RegisterPort.h"
#include "gige/control/ScriptedDevice.h"

#include <GenApi/GenApi.h>
#include <GenApi/NodeMapRef.h>

#include <gmock/gmock.h>

#include <net/if.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

namespace Gige {
namespace {

using testing::HasSubstr;

const Zelmo::AccessModeSet kControlled = Zelmo::Control;
constexpr const char* kProgram = "arv-fake-gv-camera-0.8";

/// The process leaves for a network of its own, where there is nothing but lo.
bool EnterOwnNetwork() {
    const bool isRoot = geteuid() == 0;
    if (unshare(isRoot ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        return false;
    }
    const PluginKit::CDescriptor socket(::socket(AF_INET, SOCK_DGRAM, 0));
    ifreq request{};
    std::string("lo").copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = IFF_UP | IFF_LOOPBACK | IFF_RUNNING;
    return ioctl(socket.Number(), SIOCSIFFLAGS, &request) == 0;
}

/// A camera of another project, on the port that is every camera's.
class StrangerTest : public testing::Test {
protected:
    void SetUp() override {
        static const bool kIsAlone = EnterOwnNetwork();
        if (!kIsAlone || std::system((std::string("command -v ") + kProgram + " >/dev/null").c_str()) != 0) {
            ASSERT_EQ(std::getenv("CI"), nullptr) << kProgram << " or a network namespace is missing";
            GTEST_SKIP() << kProgram << " or a network namespace is missing";
        }
        Start();
    }
    void TearDown() override { Kill(); }
    void Start() {
        std::string arguments[] = {kProgram, "-i", "127.0.0.1", "-s", "Stranger"};
        char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(),
                        arguments[3].data(), arguments[4].data(), nullptr};
        ASSERT_EQ(posix_spawnp(&m_process, kProgram, nullptr, nullptr, argv, environ), 0);
    }
    void Kill() {
        if (m_process > 0) {
            kill(m_process, SIGKILL);
            waitpid(std::exchange(m_process, -1), nullptr, 0);
        }
    }
    /// While it starts it does not answer.
    void Open(CHost& host, Zelmo::AccessModeSet modes = kControlled) {
        for (int tries = 0; !host.connection.IsOpen(); ++tries) {
            try {
                host.connection.Open(m_route, modes);
            } catch (const GenICam::RuntimeException&) {
                ASSERT_LT(tries, 20);
            }
        }
    }

    const CRoute m_route = RouteTo(0x7F000001);
    pid_t m_process = -1;
};

TEST_F(StrangerTest, IsOpenedReadAndWrittenThroughItsOwnDescription) {
    CHost host;
    ASSERT_NO_FATAL_FAILURE(Open(host));
    EXPECT_EQ(host.connection.Capabilities().gvcp, 0u) << "it tells of nothing that it can";
    EXPECT_EQ(host.connection.ReadText(Register::kSerialNumber, 16), "Stranger");
    EXPECT_EQ(host.connection.ReadText(Register::kManufacturer, 32), "Aravis");
    const CDescription description = ReadDescription(host.connection);
    CRegisterPort port(host.connection);
    for (const bool usesRegisterCommands : {false, true}) {
        port.UseRegisterCommands(usesRegisterCommands);
        GenApi::CNodeMapRef map("Device");
        map._LoadXMLFromString(GenICam::gcstring(description.bytes.data(), description.bytes.size()));
        ASSERT_TRUE(map._Connect(&port));
        const GenApi::CIntegerPtr width = map._GetNode("Width");
        const std::int64_t wanted = usesRegisterCommands ? 256 : 128;
        width->SetValue(wanted);
        map._InvalidateNodes();
        EXPECT_EQ(width->GetValue(), wanted);
    }
    host.connection.WriteMemory(Register::kUserName, ByteList{'l', 'e', 'f', 't', 0, 0, 0, 0});
    EXPECT_EQ(host.connection.ReadText(Register::kUserName, 16), "left");
    ByteList part(3);
    host.connection.ReadMemory(Register::kUserName + 1, part);
    EXPECT_EQ(part, (ByteList{'e', 'f', 't'}));
    EXPECT_TRUE(host.connection.Beat());
    EXPECT_EQ(host.counts.failedReads + host.counts.failedWrites, 0u);
}

TEST_F(StrangerTest, KeepsItsControlByTheHeartbeatAloneAndIsHadAgainAfterwards) {
    CHost host;
    host.settings.heartbeatTimeoutMs = 1000;
    ASSERT_NO_FATAL_FAILURE(Open(host));
    const std::int64_t endNs = MonotonicNs() + 4 * kSecond;
    while (MonotonicNs() < endNs) { // other reads do not count for it
        if (MonotonicNs() >= host.connection.NextBeatNs()) {
            ASSERT_TRUE(host.connection.Beat()) << host.connection.LossText();
        }
        host.connection.ReadRegister(Register::kUserName);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    CHost monitor;
    ASSERT_NO_FATAL_FAILURE(Open(monitor, {}));
    EXPECT_NE(monitor.connection.ReadRegister(Register::kCcp), 0u);
    host.connection.Close();
    EXPECT_EQ(monitor.connection.ReadRegister(Register::kCcp), 0u);

    std::atomic<bool> isDuplicating{false};
    std::atomic<std::uint64_t> timeouts{0};
    CCommandChannel dead(CUdpSocket::ForDevice(m_route), m_route.device, isDuplicating, timeouts, {});
    ASSERT_TRUE(dead.WriteRegister(Register::kCcp, 2, {}).IsDone()); // and was not heard of again
    host.connection.Open(m_route, kControlled);                      // which it does not answer meanwhile
    EXPECT_TRUE(host.connection.Beat());
}

TEST_F(StrangerTest, ThatIsKilledIsLostAndIsHadAgainWhenItIsBack) {
    CHost host;
    host.settings.heartbeatTimeoutMs = 1000;
    ASSERT_NO_FATAL_FAILURE(Open(host));
    Kill();
    const std::int64_t beginNs = MonotonicNs();
    while (host.connection.Beat()) {
        ASSERT_LT(MonotonicNs() - beginNs, 30 * kSecond);
    }
    EXPECT_THAT(host.connection.LossText(), HasSubstr("nothing was heard"));
    host.connection.Close();
    Start();
    ASSERT_NO_FATAL_FAILURE(Open(host));
    EXPECT_TRUE(host.connection.HasControl() && host.connection.Beat());
}

TEST_F(StrangerTest, ThatStartsAnewWithinTheHeartbeatHasForgottenWhoHadControl) {
    CHost host;
    host.settings.heartbeatTimeoutMs = 60'000;
    ASSERT_NO_FATAL_FAILURE(Open(host));
    Kill();
    Start();
    const std::int64_t beginNs = MonotonicNs();
    while (host.connection.Beat()) {
        ASSERT_LT(MonotonicNs() - beginNs, 30 * kSecond);
    }
    EXPECT_THAT(host.connection.LossText(), HasSubstr("let go of its control"));
}

} // namespace
} // namespace Gige
