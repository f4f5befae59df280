// SPDX-License-Identifier: Apache-2.0
#include "DeviceSelector.h"
#include "Errors.h"
#include "FilterCheck.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tool::FindFilterFault;
using Zelmo::CDeviceInfo;

CDeviceInfo MakeInfo(const char* serial, const char* name, const char* fullName, const char* model) {
    CDeviceInfo info;
    info.SetDeviceClass("HarlixGigE").SetFullName(fullName);
    info.SetSerialNumber(serial).SetUserDefinedName(name).SetModelName(model);
    return info;
}

class DeviceSelectorTest : public testing::Test {
protected:
    DeviceSelectorTest() {
        m_devices.push_back(MakeInfo("100", "left", "bus/1", "Small"));
        m_devices.push_back(MakeInfo("200", "100", "bus/2", "Small"));
        m_devices.push_back(MakeInfo("300", "left", "200", "Large"));
        m_devices.push_back(MakeInfo("400", "a=b", "Model=Small", "Large"));
        m_devices[2].SetIpAddress("192.168.0.7");
    }

    std::vector<std::size_t> Match(const char* wanted) const { return tool::MatchDevices(m_devices, wanted); }

    Zelmo::DeviceInfoList m_devices;
};

TEST_F(DeviceSelectorTest, TheFirstKindThatMatchesDecides) {
    EXPECT_THAT(Match("100"), ElementsAre(0)) << "a serial number, though another camera is named so";
    EXPECT_THAT(Match("200"), ElementsAre(1)) << "a serial number, though another camera's full name is the same";
    EXPECT_THAT(Match("left"), ElementsAre(0, 2));
    EXPECT_THAT(Match("bus/2"), ElementsAre(1));
    EXPECT_THAT(Match("a=b"), ElementsAre(3)) << "a name, not a property";
    EXPECT_THAT(Match("Model=Small"), ElementsAre(3)) << "a full name, not a property";
    EXPECT_THAT(Match("1"), ElementsAre(1)) << "an index, as no name is so";
}

TEST_F(DeviceSelectorTest, PropertiesMustAllHold) {
    EXPECT_THAT(Match("ModelName=Small"), ElementsAre(0, 1));
    EXPECT_THAT(Match("ModelName=Small,UserDefinedName=left"), ElementsAre(0));
    EXPECT_THAT(Match("ModelName=Small,UserDefinedName=right"), IsEmpty());
    EXPECT_THAT(Match("UserDefinedName=a=b"), ElementsAre(3)) << "the value may hold an equals sign";
    EXPECT_THAT(Match("NoSuchKey=1"), IsEmpty());
}

TEST_F(DeviceSelectorTest, AddressesAreComparedByValue) {
    EXPECT_THAT(Match("IpAddress=192.168.0.007"), ElementsAre(2));
    try {
        Match("IpAddress=nonsense");
        FAIL() << "a broken address was compared";
    } catch (const tool::ToolError& error) {
        EXPECT_EQ(error.GetExitCode(), tool::ExitCode::Usage);
        EXPECT_THAT(error.what(), testing::HasSubstr("nonsense"));
    }
}

TEST_F(DeviceSelectorTest, WhatIsNeitherNameNorIndexMatchesNothing) {
    for (const char* wanted :
         {"4", "-1", "1x", "0x1", "=", "ModelName=Small,", ",", "ModelName", "99999999999999999999", " 1"}) {
        EXPECT_THAT(Match(wanted), IsEmpty()) << wanted;
    }
}

TEST_F(DeviceSelectorTest, CameraIsCalledBySerialNumberOrElseByItsFullName) {
    EXPECT_EQ(tool::GetCameraName(m_devices[0]), "100");
    CDeviceInfo bare;
    bare.SetFullName("bus/\x1B"
                     "9");
    EXPECT_EQ(tool::GetCameraName(bare), "bus/?9");
    EXPECT_EQ(tool::DescribeCamera(m_devices[0]), "100  Small  'left'  (HarlixGigE)");
}

TEST(DeviceFilterTest, WhatTheLibraryPassesOverIsAFault) {
    for (const char* filter : {"A=1", " A = 1 && B=2||C=x y ", "A=1&&&B=2", "A=1|2", "A=1&"}) {
        EXPECT_EQ(FindFilterFault(filter), "") << filter;
    }
    for (const auto& [filter, fault] :
         {std::pair("A", "'A' is no condition"), std::pair("A=1 && =2", "'=2'"), std::pair("A=1 && B= ", "'B='"),
          std::pair("A=1=2", "'A=1=2'"), std::pair("A=1 & & B=2", "''"), std::pair("A=1 ||", "one side of '||'"),
          std::pair(" ", "nothing")}) {
        EXPECT_THAT(FindFilterFault(filter), testing::HasSubstr(fault)) << filter;
    }
}

} // namespace
