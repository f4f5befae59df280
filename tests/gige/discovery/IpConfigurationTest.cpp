// SPDX-License-Identifier: Apache-2.0
#include "IpConfiguration.h"

#include "gige/control/ScriptedDevice.h"

namespace Gige {
namespace {

TEST(IpConfigurationTest, IsThatOfTheInterfaceByWhichTheCameraWasFound) {
    constexpr std::uint32_t kOther = Register::kOtherInterfaces;
    constexpr std::uint32_t kSupported = 0x08, kInUse = 0x0C, kAddress = 0x4C, kMask = 0x5C; // of the second one
    CScriptedDevice device({}, {{Register::kGvcpCapability, GigEVision::GvcpCapability::kWriteMem},
                                {Register::kInterfaces, 2},
                                {Register::kMacLow, 1},
                                {Register::kIpSupported, 7},
                                {Register::kIpInUse, 5},
                                {Register::kPersistentIp, 0x0A000005},
                                {kOther + 4, 2},
                                {kOther + kSupported, 0xC0000007},
                                {kOther + kInUse, 0x80000006}});
    CFoundCamera camera;
    camera.route = device.Route();
    camera.info.mac = {0, 0, 0, 0, 0, 2};
    StoreIpConfiguration(camera, {true, false, "192.168.7.20", "255.255.255.0", ""});
    CHost host;
    host.connection.Open(camera.route, {});
    const auto read = [&](std::uint32_t address) { return host.connection.ReadRegister(address); };
    EXPECT_EQ(read(kOther + kAddress), 0xC0A80714);
    EXPECT_EQ(read(kOther + kMask), 0xFFFFFF00);
    EXPECT_EQ(read(kOther + kInUse), 0x80000005) << "flow control stays";
    EXPECT_EQ(read(Register::kPersistentIp), 0x0A000005u);
    EXPECT_EQ(read(Register::kIpInUse), 5u);
    const Zelmo::GigEIpConfiguration stored = ReadIpConfiguration(camera);
    EXPECT_EQ(stored.persistentAddress, "192.168.7.20");
    EXPECT_TRUE(stored.isPersistent && !stored.isDhcp);
}

} // namespace
} // namespace Gige
