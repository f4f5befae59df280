// SPDX-License-Identifier: Apache-2.0

// What info objects hold, how a device satisfies a pattern, and how lists of them are ordered.

#include "ZelmoBase/transport/PropertyBag.h"
#include <Base/GCException.h>
#include <zelmo/DeviceInfo.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace Zelmo;
using testing::ElementsAre;

namespace {

std::vector<std::string> Names(const IProperties& properties) {
    StringList_t names;
    const int count = properties.GetPropertyNames(names);
    EXPECT_EQ(count, static_cast<int>(names.size()));
    return {names.begin(), names.end()};
}

CDeviceInfo Device(const char* key, const char* value) {
    CDeviceInfo info;
    info.SetPropertyValue(key, value);
    return info;
}

CDeviceInfo Camera(const char* deviceClass, const char* serial) {
    CDeviceInfo info;
    info.SetDeviceClass(deviceClass).SetSerialNumber(serial);
    return info;
}

TEST(InfoTest, AbsentPropertyReadsNotAvailableAndLeavesTheCallersValueAlone) {
    const CTlInfo info;
    String_t value = "before";
    EXPECT_EQ(info.GetModelName(), CInfoBase::GetPropertyNotAvailable());
    EXPECT_EQ(info.GetModelName(), "N/A");
    EXPECT_FALSE(info.IsModelNameAvailable());
    EXPECT_FALSE(info.GetPropertyValue("ModelName", value));
    EXPECT_EQ(value, "before");
}

TEST(InfoTest, EveryDeviceAccessorKeepsItsOwnKey) {
    CDeviceInfo info;
    info.SetFriendlyName("a").SetFullName("b").SetVendorName("c").SetDeviceClass("d").SetTLType("e");
    info.SetUsbDriverType("f").SetTransferMode("g").SetIpAddress("h");
    EXPECT_THAT(Names(info), ElementsAre("DeviceClass", "FriendlyName", "FullName", "IpAddress", "TLType",
                                         "TransferModeKey", "UsbDriverTypeName", "VendorName"));
    EXPECT_EQ(info.GetUsbDriverType(), "f");
    EXPECT_TRUE(info.IsTransferModeAvailable());
}

TEST(InfoTest, HiddenPropertiesAreReadButNotListed) {
    const CDeviceInfo info = Device("_Secret", "1");
    EXPECT_THAT(Names(info), ElementsAre());
    EXPECT_TRUE(info.GetPropertyAvailable("_Secret"));
    StringList_t names{"earlier"};
    EXPECT_EQ(Device("A", "1").GetPropertyNames(names), 2) << "names are appended";
}

TEST(InfoTest, CopiesShareNothing) {
    CDeviceInfo original = Device("ModelName", "A");
    original.ClearUserProvidedFlag();
    CDeviceInfo copy(original);
    copy.SetModelName("B");
    EXPECT_EQ(original.GetModelName(), "A");
    EXPECT_FALSE(copy.IsUserProvided());
    EXPECT_TRUE(CDeviceInfo().IsUserProvided());

    const CDeviceInfo& self = copy;
    copy = self;
    EXPECT_EQ(copy.GetModelName(), "B");
    const CDeviceInfo taken(std::move(copy));
    EXPECT_EQ(taken.GetModelName(), "B");
    EXPECT_FALSE(copy.IsModelNameAvailable()); // NOLINT(bugprone-use-after-move)
    copy = taken;
    EXPECT_EQ(copy.GetModelName(), "B");
}

TEST(InfoTest, EqualityCountsHiddenPropertiesButNotFlags) {
    CDeviceInfo a = Device("_Hidden", "1");
    CDeviceInfo b;
    EXPECT_NE(a, b);
    b.SetPropertyValue("_Hidden", "0").SetPropertyValue("_Hidden", "1");
    EXPECT_EQ(a, b);
    b.ClearUserProvidedFlag();
    EXPECT_EQ(a, b);
}

TEST(InfoTest, BagRemembersWhetherItWasModifiedOrExtended) {
    CPropertyBag bag;
    bag.SetPropertyValue("A", "1");
    EXPECT_TRUE(bag.IsExtended());
    EXPECT_FALSE(bag.IsModified());
    bag.ClearAccessFlags();
    bag.SetPropertyValue("A", "1").SetPropertyValue("_B", "2");
    EXPECT_TRUE(bag.IsModified());
    EXPECT_TRUE(bag.IsExtended());
    EXPECT_EQ(bag.GetCount(), 1);
}

TEST(InfoTest, DerivedInfosBeginWithTheirDeviceClass) {
    EXPECT_EQ(CHarlixCamEmuDeviceInfo().GetDeviceClass(), "HarlixCamEmu");
    EXPECT_EQ(CHarlixUsbDeviceInfo().GetDeviceClass(), "HarlixUsb");
    EXPECT_EQ(CHarlixMipexDeviceInfo().GetDeviceClass(), "HarlixMipex");
    EXPECT_THAT(Names(CHarlixGigEDeviceInfo()), ElementsAre("DeviceClass", "PortNr"));
    EXPECT_EQ(CHarlixGigEDeviceInfo().GetPortNr(), "3956");
    EXPECT_FALSE(CHarlixGigEDeviceInfo(CDeviceInfo()).IsDeviceClassAvailable());
}

struct IpQuery {
    const char* key;
    const char* value;
    bool (CDeviceInfo::*query)() const;
    bool expected;
    friend std::ostream& operator<<(std::ostream& stream, const IpQuery& p) {
        return stream << p.key << " of " << p.value;
    }
};

class IpQueryTest : public testing::TestWithParam<IpQuery> {};

TEST_P(IpQueryTest, ReadsItsBitOfTheDecimalText) {
    const IpQuery& p = GetParam();
    EXPECT_EQ((Device(p.key, p.value).*p.query)(), p.expected);
    try {
        (CDeviceInfo().*p.query)();
        FAIL() << "without the key the query must fail";
    } catch (const GenICam::InvalidArgumentException& e) {
        EXPECT_STREQ(e.GetDescription(), "Device info object doesn't contain information about the IP configuration");
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, IpQueryTest,
    testing::Values(IpQuery{"_PortableIpConfigCurrent", "256", &CDeviceInfo::IsPersistentIpActive, true},
                    IpQuery{"_PortableIpConfigCurrent", "512", &CDeviceInfo::IsDhcpActive, true},
                    IpQuery{"_PortableIpConfigCurrent", "1024", &CDeviceInfo::IsAutoIpActive, true},
                    IpQuery{"_PortableIpConfigOptions", "256", &CDeviceInfo::IsPersistentIpSupported, true},
                    IpQuery{"_PortableIpConfigOptions", "512", &CDeviceInfo::IsDhcpSupported, true},
                    IpQuery{"_PortableIpConfigOptions", "1024", &CDeviceInfo::IsAutoIpSupported, true},
                    IpQuery{"_PortableIpConfigCurrent", "1536", &CDeviceInfo::IsPersistentIpActive, false},
                    IpQuery{"_PortableIpConfigOptions", "text", &CDeviceInfo::IsDhcpSupported, false}));

struct Match {
    const char* key;
    const char* device;
    const char* pattern;
    bool expected;
    friend std::ostream& operator<<(std::ostream& stream, const Match& p) {
        return stream << p.key << ' ' << p.device << " against " << p.pattern;
    }
};

class PatternTest : public testing::TestWithParam<Match> {};

TEST_P(PatternTest, ComparesAddressesByValueAndOtherPropertiesAsTexts) {
    const Match& p = GetParam();
    EXPECT_EQ(Device(p.key, p.device).IsSubset(Device(p.key, p.pattern)), p.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Values, PatternTest,
    testing::Values(Match{"IpAddress", "192.168.0.1", "192.168.000.001", true},
                    Match{"IpAddress", "10.0.0.1", " 10 . 0 . 0 . 1 ", true},
                    Match{"SubnetMask", "255.255.255.0", "0xff.0xFF.0377.0", true},
                    Match{"DefaultGateway", "10.0.0.1", "10.0.0.2", false}, Match{"IpAddress", "0.0.0.0", "", true},
                    Match{"Address", "10.0.0.1:3956", "010.0.0.1:3956", false},
                    Match{"Address", "10.0.0.1:3956", "10.0.0.1", false},
                    Match{"Address", "10.0.0.1:0", "10.0.0.1", true},
                    Match{"Address", "10.0.0.1:3956", "10.0.0.01:3956", true}, Match{"Address", "", "", true},
                    Match{"SubnetAddress", "1.1.1.1", "1.1.1.01", false}, Match{"SerialNumber", "1", "01", false},
                    Match{"ModelName", "", "", true}, Match{"_Hidden", "1", "2", true}));

TEST(PatternTest, EveryPropertyOfThePatternMustBeThere) {
    CDeviceInfo device = Camera("HarlixUsb", "1");
    EXPECT_TRUE(device.IsSubset(CDeviceInfo()));
    EXPECT_TRUE(device.IsSubset(device));
    EXPECT_FALSE(device.IsSubset(Device("ModelName", "")));
    EXPECT_FALSE(CDeviceInfo().IsSubset(Device("IpAddress", "bad"))) << "absent: the bad address is not looked at";
    EXPECT_TRUE(device.SetPropertyValue("_Id", "7").IsSubset(Device("_Id", "8"))) << "hidden in the pattern";
}

TEST(PatternTest, TransportLayerInfosCompareAddressesAsTexts) {
    CTlInfo info;
    CTlInfo pattern;
    info.SetPropertyValue("IpAddress", "10.0.0.1");
    pattern.SetPropertyValue("IpAddress", "10.0.0.01");
    EXPECT_FALSE(info.IsSubset(pattern));
}

class BadAddressTest : public testing::TestWithParam<const char*> {};

TEST_P(BadAddressTest, IsNamedInTheFailure) {
    const CDeviceInfo device = Device("IpAddress", "10.0.0.1");
    try {
        static_cast<void>(device.IsSubset(Device("IpAddress", GetParam())));
        FAIL() << "no failure for " << GetParam();
    } catch (const GenICam::RuntimeException& e) {
        EXPECT_EQ(std::string(e.GetDescription()), std::string("Invalid address: ") + GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, BadAddressTest,
                         testing::Values("10.0.0", "camera", "10.0.0.256", "10.-1.0.1", "08.0.0.1", "256.0.0.999"));

TEST(OrderTest, DevicesStandByKindOfTransportThenSerialNumber) {
    std::vector<CDeviceInfo> devices{Camera("HarlixCamEmu", "1"),
                                     Camera("Other", "1"),
                                     Camera("HarlixGigE", "1"),
                                     Camera("HarlixUsb", "A1"),
                                     Camera("HarlixUsb", "10"),
                                     Camera("HarlixUsb", "9"),
                                     Camera("HarlixUsb", "99999999999999999999"),
                                     Camera("Another", "1"),
                                     Camera("HarlixIPCam", "1"),
                                     Camera("HarlixUsb", "-3")};
    std::sort(devices.begin(), devices.end());
    std::vector<std::string> order;
    for (const CDeviceInfo& device : devices) {
        order.push_back(std::string(device.GetDeviceClass()) + " " + device.GetSerialNumber().c_str());
    }
    EXPECT_THAT(order,
                ElementsAre("HarlixUsb 9", "HarlixUsb 10", "HarlixUsb -3", "HarlixUsb 99999999999999999999",
                            "HarlixUsb A1", "HarlixGigE 1", "HarlixIPCam 1", "Another 1", "Other 1", "HarlixCamEmu 1"));
}

TEST(OrderTest, InfosOfOneClassAreEquivalentButForInterfaces) {
    CTlInfo a;
    CTlInfo b;
    EXPECT_FALSE(a < b);
    b.SetFullName("B");
    EXPECT_FALSE(a < b || b < a);
    CInterfaceInfo eth0;
    CInterfaceInfo eth1;
    eth0.SetInterfaceID("eth0");
    eth1.SetInterfaceID("eth1");
    EXPECT_TRUE(eth0 < eth1);
    eth1.SetDeviceClass("HarlixUsb");
    EXPECT_TRUE(eth1 < eth0);
}

} // namespace
