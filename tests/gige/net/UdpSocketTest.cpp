// SPDX-License-Identifier: Apache-2.0
#include "net/UdpSocket.h"

#include "gige/control/ScriptedDevice.h"

#include <gmock/gmock.h>

#include <netinet/in.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

namespace Gige {
namespace {

using testing::HasSubstr;

CUdpSocket MakeSocket(std::uint16_t port = 0) {
    CRoute route;
    route.hostAddress = Serving::OwnAddress(30);
    route.interface = "lo";
    return CUdpSocket::ForDevice(route, port);
}

TEST(UdpSocketTest, PortsAreThoseThatTheEnvironmentAllows) {
    setenv("ZELMO_GIGE_PORTS", "41000-41001", 1);
    {
        const CUdpSocket first = MakeSocket(), second = MakeSocket(), own = MakeSocket(41005);
        EXPECT_EQ(first.LocalPort(), 41000);
        EXPECT_EQ(second.LocalPort(), 41001);
        EXPECT_EQ(own.LocalPort(), 41005);
        EXPECT_EQ(own.LocalAddress(), Serving::OwnAddress(30));
        const std::string text = FailureOf<GenICam::RuntimeException>([] { MakeSocket(); });
        EXPECT_THAT(text, HasSubstr(Serving::OwnAddressText(30) + ", ports 41000 to 41001, of the interface lo"));
    }
    EXPECT_EQ(MakeSocket().LocalPort(), 41000) << "free again";
    for (const char* const bad : {"41001-41000", "a", "0-5", "1-70000", "1-"}) {
        setenv("ZELMO_GIGE_PORTS", bad, 1);
        EXPECT_THAT(FailureOf<GenICam::RuntimeException>([] { MakeSocket(); }), HasSubstr("ZELMO_GIGE_PORTS")) << bad;
    }
    unsetenv("ZELMO_GIGE_PORTS");
    EXPECT_THAT(FailureOf<GenICam::RuntimeException>([] { CUdpSocket::ForBroadcast("none0"); }), HasSubstr("none0"));
}

TEST(UdpSocketTest, WaitingEndsByDataWakingAndTimeAndNotByIcmpErrors) {
    CUdpSocket socket = MakeSocket();
    std::array<std::uint8_t, 4> buffer;
    const sockaddr_in nobody = {AF_INET, htons(9), {htonl(Serving::OwnAddress(31))}, {}};
    ASSERT_EQ(connect(socket.Number(), reinterpret_cast<const sockaddr*>(&nobody), sizeof nobody), 0);
    const std::int64_t beginNs = MonotonicNs();
    EXPECT_TRUE(socket.SendTo({Serving::OwnAddress(31), 9}, ByteList(4)));
    EXPECT_FALSE(socket.Receive(buffer, beginNs + 50 * kMs)); // refused
    EXPECT_GE(MonotonicNs() - beginNs, 50 * kMs);
    EXPECT_TRUE(socket.SendTo({Serving::OwnAddress(31), 9}, ByteList(4)));
    EXPECT_TRUE(socket.SendTo({Serving::OwnAddress(31), 9}, ByteList(4))) << "the error is that of the one before";

    CUdpSocket other = MakeSocket();
    EXPECT_TRUE(other.SendTo({other.LocalAddress(), other.LocalPort()}, ByteList{1, 2, 3, 4, 5}));
    const auto received = other.Receive(buffer, INT64_MAX);
    ASSERT_TRUE(received);
    EXPECT_EQ(received->from.port, other.LocalPort());
    EXPECT_EQ(received->bytes.size(), 4u) << "cut";
    const PluginKit::CDescriptor wake(eventfd(1, EFD_CLOEXEC));
    EXPECT_FALSE(other.Receive(buffer, INT64_MAX, wake.Number()));
}

} // namespace
} // namespace Gige
