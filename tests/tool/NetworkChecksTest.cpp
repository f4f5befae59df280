// SPDX-License-Identifier: Apache-2.0
#include "NetworkChecks.h"

#include <gmock/gmock.h>

#include <stream/SocketRoom.h>

#include <fstream>
#include <functional>
#include <regex>

namespace {

using testing::HasSubstr;
using tool::Check;
using tool::HostInterface;
using tool::NetworkFacts;
using tool::Verdict;

HostInterface Interface(const char* name, const char* place) {
    HostInterface one;
    one.name = name;
    one.place = tool::ParseIpv4Place(place).value_or(tool::Ipv4Place());
    one.mtu = 1500;
    return one;
}

/// A host that has what cameras want, with an interface for them and one to the rest of the world.
NetworkFacts GoodHost() {
    NetworkFacts facts;
    facts.interfaces = {Interface("eth0", "10.0.0.5/24"), Interface("eth1", "192.168.7.1/24")};
    facts.defaultRoutes = {"eth0"};
    facts.receiveBufferMax = 33'554'432;
    return facts;
}

/// Where a fault of eth1 matters, and where it is a hint at most.
NetworkFacts WithCamera(NetworkFacts facts) {
    facts.cameras = {{"S1", "eth1", ""}};
    return facts;
}

std::vector<Check> Findings(const NetworkFacts& facts, Verdict verdict) {
    std::vector<Check> found;
    for (const Check& check : JudgeNetwork(facts)) {
        EXPECT_NE(check.verdict, Verdict::Problem) << check.name;
        EXPECT_TRUE(check.verdict == Verdict::Ok || !check.remedy.empty()) << check.name;
        if (check.verdict == verdict) {
            found.push_back(check);
        }
    }
    return found;
}

struct Fault {
    std::function<void(NetworkFacts&)> plant;
    const char* check;
    const char* detail;
    const char* remedy;
    bool isHintWithoutCamera = true; // it is told, at least
};

TEST(NetworkChecksTest, FaultsAreWarningsWithARemedyWhereCamerasAreAndHintsElsewhere) {
    const Fault faults[] = {
        {[](NetworkFacts& facts) { facts.interfaces[1].reversePathFilter = 1; }, "reverse-path filter of eth1",
         "outside 192.168.7.0/24 are dropped", "net.ipv4.conf.eth1.rp_filter=0"},
        {[](NetworkFacts& facts) {
             facts.interfaces[1].reversePathFilter = 2;
             facts.defaultRoutes.clear();
         },
         "reverse-path filter of eth1", "2 (loose)", "net.ipv4.conf.all.rp_filter=0"},
        {[](NetworkFacts& facts) { facts.interfaces[1].mtu = 1400; }, "MTU of eth1", "1400 bytes are less",
         "ip link set dev eth1 mtu 1500", false},
        {[](NetworkFacts& facts) { facts.interfaces[0] = Interface("eth0", "192.168.7.9/24"); }, "subnet of eth0",
         "192.168.7.0/24 is on eth1 too", "ip address del 192.168.7.1/24 dev eth1"},
        {[](NetworkFacts& facts) { facts.backlogDrops = 3; }, "receive queue", "3 packets", "netdev_max_backlog"},
    };
    for (const Fault& fault : faults) {
        NetworkFacts facts = GoodHost();
        fault.plant(facts);
        const auto warnings = Findings(WithCamera(facts), Verdict::Warning);
        ASSERT_EQ(warnings.size(), 1u) << fault.check;
        EXPECT_EQ(warnings[0].name, fault.check);
        EXPECT_THAT(warnings[0].detail, HasSubstr(fault.detail));
        EXPECT_THAT(warnings[0].remedy, HasSubstr(fault.remedy));
        EXPECT_THAT(Findings(facts, Verdict::Warning), testing::IsEmpty()) << fault.check;
        const auto hints = Findings(facts, Verdict::Ok);
        EXPECT_EQ(std::any_of(hints.begin(), hints.end(), [&](const Check& one) { return one.name == fault.check; }),
                  fault.isHintWithoutCamera);
        facts.setting = "eth0, 192.168.7.20"; // both are in use by what the user says
        EXPECT_EQ(Findings(facts, Verdict::Warning).size(), 1u) << fault.check;
    }
    EXPECT_THAT(Findings(WithCamera(GoodHost()), Verdict::Warning), testing::IsEmpty());
}

std::string RoomIn(const std::string& text) {
    std::smatch parts;
    return std::regex_search(text, parts, std::regex("net.core.rmem_max=(\\d+)")) ? parts[1].str() : "";
}

TEST(NetworkChecksTest, ChecksPageAndStreamsAgreeOnTheRoomForPackets) {
    const std::string advised = std::to_string(Gige::kMostRoomBytes / 2); // the kernel doubles it
    NetworkFacts facts = GoodHost();
    const long enough = *facts.receiveBufferMax;
    EXPECT_EQ(RoomIn(Findings(facts, Verdict::Ok).back().remedy), advised);
    EXPECT_GE(2u * enough, Gige::RoomForImagesOf(5'000'000 / 1464, 1500).neededBytes) << "doctor is content too early";
    facts.receiveBufferMax = enough - 1;
    EXPECT_THAT(Findings(facts, Verdict::Warning), testing::IsEmpty()) << "nobody needs it";
    const auto warnings = Findings(WithCamera(facts), Verdict::Warning);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(RoomIn(warnings[0].remedy), advised);
    int told = 0;
    std::ifstream page(GIGE_PAGE);
    for (std::string line; std::getline(page, line);) {
        if (const std::string room = RoomIn(line); !room.empty()) {
            EXPECT_EQ(room, advised) << line;
            ++told;
        }
    }
    EXPECT_GT(told, 0);
}

TEST(NetworkChecksTest, LookOnlyWhereCamerasAreLookedFor) {
    NetworkFacts facts = GoodHost();
    facts.firewalls = {"ufw is enabled"};
    facts.setting = "eth1 eth9";
    const auto warnings = Findings(facts, Verdict::Warning);
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_EQ(warnings[0].name, "interface eth9");
    EXPECT_EQ(warnings[1].name, "firewall") << "no camera answers where there should be some";
    facts.setting = "off";
    const auto rest = Findings(facts, Verdict::Ok);
    ASSERT_EQ(rest.size(), 2u);
    EXPECT_THAT(rest[0].detail, HasSubstr("ZELMO_GIGE is 'off'"));
    EXPECT_EQ(rest[1].name, "socket buffers");
}

TEST(NetworkChecksTest, CameraInAForeignSubnetIsToldWithTheWayOut) {
    NetworkFacts facts = GoodHost();
    facts.cameras = {{"S1", "eth1", "10.9.9.9/24 is not in eth1's 192.168.7.0/24"}};
    const auto warnings = Findings(facts, Verdict::Warning);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_THAT(warnings[0].detail, HasSubstr("10.9.9.9/24 is not in eth1's"));
    EXPECT_THAT(warnings[0].remedy, HasSubstr("zelmo ip force 'S1'"));
}

} // namespace
