// SPDX-License-Identifier: Apache-2.0

// The transport layer on served cameras: which device an info means, whether it could be opened, and what GigE Vision
// has beyond the contract.

#include "gige/plugin/GigE.h"
#include "serving/Client.h"

#include <fakes/Failure.h>
#include <gigevision/Registers.h>
#include <zelmo/GigEVisionNetwork.h>
#include <zelmo/TransportLayer.h>

#include <gmock/gmock.h>

using namespace GigE;
using testing::HasSubstr;
using Zelmo::AccessModeSet;
namespace Register = GigEVision::Register;

namespace {

class GigENetworkTest : public testing::Test {
protected:
    ~GigENetworkTest() override { Zelmo::CTlFactory::GetInstance().ReleaseTl(m_layer); }

    static Zelmo::CTlFactory& Factory() { return Zelmo::CTlFactory::GetInstance(); }
    static Zelmo::EDeviceAccessiblityInfo AccessTo(const Zelmo::CDeviceInfo& info, AccessModeSet modes) {
        Zelmo::EDeviceAccessiblityInfo access = Zelmo::DeviceAccessibility_Unknown;
        const bool isAccessible = Factory().IsDeviceAccessible(info, modes, &access);
        EXPECT_EQ(isAccessible, access == Zelmo::DeviceAccessibility_Ok);
        return access;
    }
    static Zelmo::CDeviceInfo Enumerated(unsigned camera) {
        for (const Zelmo::CDeviceInfo& info : Devices()) {
            if (info.GetIpAddress() == AddressOf(camera).c_str()) {
                return info;
            }
        }
        ADD_FAILURE() << "camera " << camera << " is not listed";
        return {};
    }

    Served m_served{2};
    Library m_library{2};
    Zelmo::ITransportLayer* const m_layer = Factory().CreateTl("HarlixGigE");
    Zelmo::IGigEVisionNetwork& m_network = dynamic_cast<Zelmo::IGigEVisionNetwork&>(*m_layer);
};

TEST_F(GigENetworkTest, InfoSaysAllThatIsKnown) {
    const Zelmo::CDeviceInfo info = Enumerated(0);
    const std::string mac = info.GetMacAddress().c_str();
    EXPECT_EQ(info.GetFullName(), ("HarlixGigE " + mac).c_str());
    EXPECT_EQ(info.GetFriendlyName(), "Emulation (0815-0000)");
    EXPECT_EQ(info.GetTLType(), "GEV");
    EXPECT_EQ(info.GetAddress(), (AddressOf(0) + ":3956").c_str());
    EXPECT_EQ(info.GetPortNr(), "3956");
    EXPECT_EQ(info.GetSubnetMask(), "255.0.0.0");
    EXPECT_EQ(info.GetSubnetAddress(), "127.0.0.0");
    EXPECT_EQ(info.GetInterface(), "127.0.0.1");
    EXPECT_EQ(info.GetInterfaceID(), "lo");
    EXPECT_TRUE(info.IsPersistentIpSupported() && info.IsDhcpSupported() && info.IsAutoIpSupported());
    EXPECT_TRUE(info.IsAutoIpActive());
    EXPECT_FALSE(info.IsUserProvided());
}

TEST_F(GigENetworkTest, AnInfoMeansItsCameraHoweverItIsWritten) {
    const Zelmo::CDeviceInfo enumerated = Enumerated(1);
    std::string dashed = enumerated.GetMacAddress().c_str();
    std::replace(dashed.begin(), dashed.end(), ':', '-');
    Zelmo::CDeviceInfo moved = enumerated; // since it was enumerated
    moved.SetIpAddress("10.0.0.5").SetAddress("10.0.0.5:3956").SetUserDefinedName("was called so").SetInterface("");
    const auto patternOf = [](const char* key, const std::string& value) {
        Zelmo::CDeviceInfo pattern;
        pattern.SetDeviceClass("HarlixGigE").SetPropertyValue(key, value.c_str());
        return pattern;
    };
    for (const Zelmo::CDeviceInfo& info :
         {enumerated, moved, patternOf("MacAddress", dashed), patternOf("IpAddress", AddressOf(1)),
          patternOf("Address", AddressOf(1) + ":3956"), patternOf("SerialNumber", "0815-0001")}) {
        const DevicePtr device(Factory().CreateDevice(info));
        EXPECT_EQ(device->GetDeviceInfo().GetFullName(), enumerated.GetFullName());
    }
    EXPECT_THAT(Fakes::FailureOf([&] { Factory().CreateDevice(patternOf("ModelName", "Emulation")); }),
                HasSubstr("2 devices match"));
    EXPECT_THAT(Fakes::FailureOf([&] { Factory().CreateDevice(patternOf("SerialNumber", "4711")); }),
                HasSubstr("No device is available"));
    moved.SetSerialNumber("4711");
    EXPECT_THAT(Fakes::FailureOf([&] { Factory().CreateDevice(moved); }), HasSubstr("No device is available"));
}

TEST_F(GigENetworkTest, WhetherItCouldBeOpenedIsAskedAndNotTried) {
    const Zelmo::CDeviceInfo info = Enumerated(0);
    m_served.Type("fault heartbeat-frozen");
    Serving::CClient other;
    struct Case {
        std::uint32_t held;
        Zelmo::EDeviceAccessiblityInfo forControl, forLooking;
    };
    for (const Case& one :
         {Case{0, Zelmo::DeviceAccessibility_Ok, Zelmo::DeviceAccessibility_Ok},
          {GigEVision::Ccp::kControl, Zelmo::DeviceAccessibility_InUse, Zelmo::DeviceAccessibility_Ok},
          {GigEVision::Ccp::kExclusive, Zelmo::DeviceAccessibility_InUse, Zelmo::DeviceAccessibility_InUse}}) {
        other.Write(AddressNumberOf(0), Register::kCcp, one.held);
        EXPECT_EQ(AccessTo(info, Zelmo::Control), one.forControl);
        EXPECT_EQ(AccessTo(info, AccessModeSet()), one.forLooking);
        EXPECT_EQ(other.Read(AddressNumberOf(0), Register::kCcp), one.held);
        other.Write(AddressNumberOf(0), Register::kCcp, 0);
    }
    m_served.Stop();
    EXPECT_EQ(AccessTo(info, Zelmo::Control), Zelmo::DeviceAccessibility_NotReachable);
}

TEST_F(GigENetworkTest, StoresHowTheAddressIsGotAndNothingThatIsNone) {
    const Zelmo::CDeviceInfo info = Enumerated(0);
    m_network.SetIpConfiguration(info, {true, true, "10.1.2.3", "255.255.0.0", ""});
    const Zelmo::GigEIpConfiguration stored = m_network.GetIpConfiguration(info);
    EXPECT_TRUE(stored.isPersistent && stored.isDhcp);
    EXPECT_EQ(stored.persistentAddress, "10.1.2.3");
    EXPECT_EQ(stored.persistentMask, "255.255.0.0");
    EXPECT_EQ(stored.persistentGateway, "0.0.0.0");
    EXPECT_THROW(m_network.SetIpConfiguration(info, {true, false, "10.1.255.255", "255.255.0.0", ""}),
                 GenICam::InvalidArgumentException);
    EXPECT_THROW(m_network.ForceIp("no MAC", "10.1.2.3", "255.0.0.0", ""), GenICam::InvalidArgumentException);
    EXPECT_THROW(m_network.ForceIp(info.GetMacAddress(), "10.1.2", "255.0.0.0", ""), GenICam::InvalidArgumentException);
    EXPECT_THROW(m_network.ForceIp("02:00:00:00:00:09", "10.1.2.3", "255.0.0.0", ""), GenICam::RuntimeException);
    m_network.SetIpConfiguration(info, {false, false, "", "", ""});
    EXPECT_FALSE(m_network.GetIpConfiguration(info).isPersistent);
    EXPECT_EQ(m_network.GetIpConfiguration(info).persistentAddress, "10.1.2.3");
}

TEST_F(GigENetworkTest, AnActionIsAnsweredByWhoCarriesItOut) {
    Serving::CClient other;
    ASSERT_EQ(other.Write(AddressNumberOf(0), Register::kCcp, GigEVision::Ccp::kControl), Serving::Status::Success);
    other.Write(AddressNumberOf(0), Register::kActionDeviceKey, 0x1234);
    other.Write(AddressNumberOf(0), Register::kActionGroupKey, 7);
    other.Write(AddressNumberOf(0), Register::kActionGroupMask, 1);
    const auto answers = [&](std::uint32_t deviceKey, std::size_t expected, std::uint32_t timeoutMs) {
        return m_network.IssueAction(deviceKey, 7, 1, AddressOf(0).c_str(), expected, timeoutMs, 0);
    };
    const auto done = answers(0x1234, 1, 60'000);
    ASSERT_EQ(done.size(), 1u);
    EXPECT_EQ(done[0].address, AddressOf(0).c_str());
    EXPECT_EQ(done[0].status, 0u);
    EXPECT_EQ(done[0].statusText, "SUCCESS");
    EXPECT_TRUE(answers(0x4321, 1, 100).empty());
    EXPECT_TRUE(answers(0x1234, 0, 60'000).empty()); // nobody is asked, nothing is waited for
    EXPECT_THROW(m_network.IssueAction(1, 7, 1, "192.0.2.1", 1, 100, 0), GenICam::RuntimeException); // not admitted
}

} // namespace
