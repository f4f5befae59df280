// SPDX-License-Identifier: Apache-2.0
#include "serving/server/InterfaceAddresses.h"

#include <gtest/gtest.h>

namespace Serving {
namespace {

TEST(AddressTest, CamerasHaveAddressesOfHosts) {
    struct {
        std::uint32_t address, mask;
        bool isHost;
    } const cases[] = {
        {0x0A000001, 0xFFFFFF00, true},  {0x0A0000FE, 0xFFFFFF00, true},  {0x0A000000, 0xFFFFFF00, false},
        {0x0A0000FF, 0xFFFFFF00, false}, {0x0A0000FF, 0xFFFF0000, true},  {0x0A000000, 0xFFFFFFFE, true},
        {0x0A000001, 0xFFFFFFFE, true},  {0x0A000001, 0xFFFFFFFF, true},  {0x7F000001, 0xFF000000, true},
        {0x7FFFFFFF, 0xFF000000, false}, {0x00000001, 0xFFFFFF00, false}, {0xE0000001, 0xFFFFFF00, false},
        {0xFFFFFFFF, 0xFFFFFFFF, false}, {0xDFFFFFFE, 0xFFFFFF00, true},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(IsHostAddress({one.address, one.mask}), one.isHost) << std::hex << one.address << "/" << one.mask;
    }
}

TEST(AddressTest, LoopbackHasItsWholeNetworkAndGetsNoOther) {
    for (const EAddressPolicy policy : {EAddressPolicy::AsFound, EAddressPolicy::Manage}) {
        CInterfaceAddresses addresses(LookAtInterface("lo"), policy);
        EXPECT_TRUE(addresses.Interface().isLoopback);
        EXPECT_EQ(addresses.Claim(0x7F123456, 0xFFFFFF00), 0xFF000000u);
        EXPECT_EQ(addresses.Claim(0xC0000201, 0xFFFFFF00), std::nullopt);
        addresses.Release(0x7F123456);
        EXPECT_EQ(addresses.Claim(0x7F123456, 0xFFFFFF00), 0xFF000000u);
    }
}

} // namespace
} // namespace Serving
