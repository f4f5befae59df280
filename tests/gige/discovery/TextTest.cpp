// SPDX-License-Identifier: Apache-2.0
#include "discovery/AddressCommands.h"
#include "discovery/CleanText.h"
#include "discovery/MacAddress.h"
#include "discovery/NetworkChoice.h"
#include "discovery/Verdict.h"

#include <Base/GCException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Gige {
namespace {

using PluginKit::CInterfaceAddress;
using PluginKit::CNetworkInterface;
using testing::ElementsAre;

TEST(CleanTextTest, NothingButWholePrintableCharactersIsLeft) {
    const std::string r = "\xEF\xBF\xBD";
    for (const auto& [text, clean] : std::vector<std::pair<std::string, std::string>>{
             {"Camera 5", "Camera 5"},
             {"K\xC3\xB6ln \xE2\x82\xAC \xF0\x9F\x93\xB7", "K\xC3\xB6ln \xE2\x82\xAC \xF0\x9F\x93\xB7"},
             {"\x1B[31mred\n\x7F", r + "[31mred" + r + r},
             {"a\xC2\x85z", "a" + r + "z"},                                         // a control character of two bytes
             {"\xC3(", r + "("},                                                    // cut short by another one
             {"end\xE2\x82", "end" + r + r},                                        // and by the end
             {"\xC0\x80\xE0\x80\x80", r + r + r + r + r},                           // longer than need be
             {"\xED\xA0\x80 \xF4\x90\x80\x80", r + r + r + " " + r + r + r + r}}) { // a surrogate; beyond the last
        EXPECT_EQ(CleanText(text), clean);
    }
}

TEST(MacAddressTest, IsReadInTheFormsThatPeopleWrite) {
    constexpr MacAddress kMac{0x00, 0x11, 0x22, 0xAA, 0xBB, 0xCC};
    EXPECT_EQ(Text(kMac), "00:11:22:aa:bb:cc");
    for (const char* const text : {"00:11:22:aa:bb:cc", "00-11-22-AA-BB-CC", "001122aabbcc"}) {
        EXPECT_EQ(ParseMac(text), kMac) << text;
    }
    for (const char* const text : {"", "00:11:22:aa:bb", "00:11:22:aa:bb:cc:dd", "0:11:22:aa:bb:cc",
                                   "00:11:22:aa:bb:cg", " 00:11:22:aa:bb:cc", "00::1122aabbcc", "+0:11:22:aa:bb:cc"}) {
        EXPECT_EQ(ParseMac(text), std::nullopt) << text;
    }
}

TEST(NetworkChoiceTest, NamesInterfacesAndAddresses) {
    CNetworkInterface eth1;
    eth1.name = "eth1";
    for (const char* const everything : {static_cast<const char*>(nullptr), "", " , "}) {
        EXPECT_TRUE(ParseNetworkChoice(everything).Admits(eth1));
    }
    EXPECT_FALSE(ParseNetworkChoice("off").Admits(eth1));
    EXPECT_FALSE(ParseNetworkChoice("eth1,off").Admits(eth1));
    const CNetworkChoice some = ParseNetworkChoice("eth1, 10.0.0.5\teth10");
    EXPECT_THAT(some.interfaces, ElementsAre("eth1", "eth10"));
    EXPECT_THAT(some.addresses, ElementsAre(0x0A000005u));
    EXPECT_TRUE(some.Admits(eth1));
    EXPECT_FALSE(ParseNetworkChoice("eth10").Admits(eth1));
    EXPECT_FALSE(ParseNetworkChoice("10.0.0.5").Admits(eth1)); // nothing is broadcast for the sake of one camera
}

TEST(NetworkChoiceTest, BroadcastsReachEachSubnetOnce) {
    CNetworkInterface eth1;
    eth1.canBroadcast = true;
    eth1.addresses = {{0xC0A80101, 0xFFFFFF00}, {0xC0A80102, 0xFFFFFF00}, {0x0A000001, 0xFFFFFFFF}};
    EXPECT_THAT(BroadcastsOf(eth1), ElementsAre(0xFFFFFFFFu, 0xC0A801FFu));
    eth1.canBroadcast = false; // a tunnel
    EXPECT_THAT(BroadcastsOf(eth1), ElementsAre());
    CNetworkInterface lo;
    lo.isLoopback = true;
    lo.addresses = {{0x7F000001, 0xFF000000}, {0x0A000001, 0xFFFFFF00}};
    EXPECT_THAT(BroadcastsOf(lo), ElementsAre(0x7FFFFFFFu, 0xFFFFFFFFu));
}

TEST(VerdictTest, SaysWhyACameraCannotBeReachedAndWhatToDo) {
    CNetworkInterface eth1;
    eth1.name = "eth1";
    eth1.addresses = {{0xC0A80101, 0xFFFFFF00}, {0x0A010101, 0xFFFF0000}};
    const auto verdict = [&](std::uint32_t address, std::uint32_t mask, std::uint32_t gateway) {
        return SubnetVerdict({address, mask}, gateway, eth1);
    };
    EXPECT_EQ(verdict(0xC0A80105, 0xFFFFFF00, 0), "");
    EXPECT_EQ(verdict(0x0A01FF05, 0xFFFFFF00, 0x0A01FF01), ""); // it answers through its gateway
    EXPECT_EQ(verdict(0x0A000005, 0xFFFFFF00, 0x0A000001),
              "10.0.0.5/24 is not in eth1's 192.168.1.0/24, 10.1.0.0/16; force an address or add one to eth1");
    EXPECT_EQ(verdict(0xC0A80185, 0xFFFFFF80, 0),
              "eth1's 192.168.1.1 is not in the camera's 192.168.1.128/25; force the mask 255.255.255.0");
}

TEST(HostAddressTest, OnlyWhatAHostCanHaveIsForced) {
    for (const auto& [address, mask] :
         std::vector<std::pair<std::uint32_t, std::uint32_t>>{{0xC0A80100, 0xFFFFFF00}, // the subnet
                                                              {0xC0A801FF, 0xFFFFFF00}, // its broadcast
                                                              {0xC0A80105, 0xFF00FF00}, // a mask with a hole
                                                              {0xC0A80105, 0},          // and none
                                                              {0x00000005, 0xFFFFFF00}, // this network
                                                              {0xE0000005, 0xFF000000}, // many
                                                              {0xFFFFFFFF, 0xFFFFFFFF}}) {
        EXPECT_THROW(CheckHostAddress({address, mask, 0}), GenICam::InvalidArgumentException)
            << Text(CInterfaceAddress{address, mask});
    }
    EXPECT_NO_THROW(CheckHostAddress({0xC0A80105, 0xFFFFFF00, 0}));
    EXPECT_NO_THROW(CheckHostAddress({0xC0A80104, 0xFFFFFFFE, 0})); // one of a pair
}

} // namespace
} // namespace Gige
