// SPDX-License-Identifier: Apache-2.0

// ZELMO_DEVICE_FILTER, the filter step, and the default interface that applies it.

#include "ZelmoBase/transport/GlobalDeviceFilter.h"
#include "fakes/LogRecorder.h"
#include <Base/GCException.h>
#include <zelmo/DefaultInterface.h>
#include <zelmo/Log.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

using namespace Zelmo;
using Fakes::LogLine;
using testing::_;
using testing::ElementsAre;

namespace {

CDeviceInfo Camera(const char* serial) {
    CDeviceInfo info;
    return info.SetSerialNumber(serial).SetDeviceClass("HarlixUsb");
}

std::vector<std::string> Serials(const DeviceInfoList& list) {
    std::vector<std::string> serials;
    for (const CDeviceInfo& info : list) {
        serials.emplace_back(info.GetSerialNumber());
    }
    return serials;
}

std::string ToText(const CDeviceInfo& pattern) {
    StringList_t names;
    pattern.GetPropertyNames(names);
    std::string text;
    for (const String_t& name : names) {
        String_t value;
        pattern.GetPropertyValue(name, value);
        text.append("[").append(name).append("=").append(value).append("]");
    }
    return text;
}

class LoggingTest : public testing::Test {
protected:
    LoggingTest() { hxlog::LogEnable(true); }
    Fakes::LogRecorder m_log;
};

struct FilterText {
    const char* text;
    std::vector<std::string> patterns;
    int conditions;
    friend std::ostream& operator<<(std::ostream& stream, const FilterText& p) { return stream << p.text; }
};

class DeviceFilterTextTest : public LoggingTest, public testing::WithParamInterface<FilterText> {};

TEST_P(DeviceFilterTextTest, GivesItsPatternsAndOneLogLine) {
    const FilterText& p = GetParam();
    setenv("ZELMO_DEVICE_FILTER", p.text, 1);
    DeviceInfoList list;
    const int count = ParseDeviceFilter(list);
    std::vector<std::string> patterns;
    for (const CDeviceInfo& info : list) {
        patterns.push_back(ToText(info));
    }
    EXPECT_EQ(patterns, p.patterns);
    EXPECT_EQ(count, static_cast<int>(p.patterns.size()));
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(LogLine{"zelmo.base.TlFactory", GenICam::LogPriority_Notice,
                                    "Parsed " + std::to_string(count) + " filter device infos containing " +
                                        std::to_string(p.conditions) + " conditions from '" + p.text + "'"}));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, DeviceFilterTextTest,
    testing::Values(FilterText{"SerialNumber=1234", {"[SerialNumber=1234]"}, 1},
                    FilterText{"DeviceClass=HarlixGigE && IpAddress=192.168.0.2 || DeviceClass=HarlixUsb",
                               {"[DeviceClass=HarlixGigE][IpAddress=192.168.0.2]", "[DeviceClass=HarlixUsb]"},
                               3},
                    FilterText{"A=1&B=2&&&&C=3", {"[A=1][B=2][C=3]"}, 3}, FilterText{"A=1&A=2", {"[A=2]"}, 2},
                    FilterText{"A&B=2&C", {"[B=2]"}, 1}, FilterText{" A = 1 & =2&B=2", {"[A=1][B=2]"}, 2},
                    FilterText{"A=1=2", {"[A=1]"}, 1}, FilterText{"A=&B=2||=3", {"[B=2]"}, 1},
                    FilterText{"A=1&==&B=2", {"[A=1]"}, 1}, FilterText{"=", {}, 0}, FilterText{"||", {}, 0},
                    FilterText{"||A=1||", {"[A=1]"}, 1}, FilterText{"A|B=1", {"[A|B=1]"}, 1}));

TEST_F(LoggingTest, LongFilterIsReadInOnePass) {
    std::string text;
    for (int i = 0; i < 200000; ++i) {
        text.append(i % 2 ? "A=1&" : "B=2||");
    }
    setenv("ZELMO_DEVICE_FILTER", text.c_str(), 1);
    DeviceInfoList list;
    EXPECT_EQ(ParseDeviceFilter(list), 100001); // "A=1&B=2" again and again; "B=2" and "A=1" at the ends
}

TEST_F(LoggingTest, UnsetAndEmptyFilterLogNothing) {
    DeviceInfoList list(1);
    unsetenv("ZELMO_DEVICE_FILTER");
    EXPECT_EQ(ParseDeviceFilter(list), 0);
    EXPECT_TRUE(list.empty());
    setenv("ZELMO_DEVICE_FILTER", "", 1);
    EXPECT_EQ(ParseDeviceFilter(list), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre());
}

TEST_F(LoggingTest, FilterStepTakesADeviceOnceAndCounts) {
    DeviceInfoList devices;
    DeviceInfoList filter;
    DeviceInfoList target;
    EXPECT_EQ(ApplyDeviceFilter(devices, filter, target), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre()) << "nothing to filter";

    for (const char* const serial : {"3", "1", "2"}) {
        devices.push_back(Camera(serial));
    }
    for (const char* const serial : {"1", "3", "1"}) {
        filter.push_back(Camera(serial));
    }
    target.push_back(Camera("earlier"));
    EXPECT_EQ(ApplyDeviceFilter(devices, filter, target), 2);
    EXPECT_THAT(Serials(target), ElementsAre("earlier", "3", "1"));
    EXPECT_THAT(m_log.Lines(), ElementsAre(LogLine{"zelmo.base.interface", GenICam::LogPriority_Info,
                                                   "Filter containing 3 items applied to device list, count of devices "
                                                   "before filter step = 3, after filter step = 2."}));
}

class MockTransportLayer : public ITransportLayer {
public:
    MOCK_METHOD(int, EnumerateDevices, (DeviceInfoList&, bool), (override));
    MOCK_METHOD(int, EnumerateDevices, (DeviceInfoList&, const DeviceInfoList&, bool), (override));
    MOCK_METHOD(IZelmoDevice*, CreateDevice, (const CDeviceInfo&), (override));
    MOCK_METHOD(IZelmoDevice*, CreateFirstDevice, (const CDeviceInfo&), (override));
    MOCK_METHOD(IZelmoDevice*, CreateDevice, (const CDeviceInfo&, const StringList_t&), (override));
    MOCK_METHOD(IZelmoDevice*, CreateFirstDevice, (const CDeviceInfo&, const StringList_t&), (override));
    MOCK_METHOD(IZelmoDevice*, CreateDevice, (const String_t&), (override));
    MOCK_METHOD(void, DestroyDevice, (IZelmoDevice*), (override));
    MOCK_METHOD(bool, IsDeviceAccessible, (const CDeviceInfo&, AccessModeSet, EDeviceAccessiblityInfo*), (override));
    MOCK_METHOD(CTlInfo, GetTlInfo, (), (const, override));
    virtual ~MockTransportLayer() = default;
};

class DefaultInterfaceTest : public LoggingTest {
protected:
    void TransportLayerHas(const std::vector<const char*>& serials) {
        EXPECT_CALL(m_tl, EnumerateDevices(_, true)).WillRepeatedly([serials](DeviceInfoList& list, bool) {
            for (const char* const serial : serials) {
                list.push_back(Camera(serial));
            }
            return 77;
        });
    }

    static CInterfaceInfo Info() {
        CInterfaceInfo info;
        return info.SetInterfaceID("only");
    }

    testing::StrictMock<MockTransportLayer> m_tl;
    CDefaultInterface& m_interface = *new CDefaultInterface(&m_tl, Info());
    std::unique_ptr<IInterfacePrivate, void (*)(IInterfacePrivate*)> m_owner{&m_interface,
                                                                             [](auto* i) { i->Delete(); }};
};

TEST_F(DefaultInterfaceTest, EnumerationSortsItsOwnBlockOnly) {
    TransportLayerHas({"10", "9"});
    DeviceInfoList list;
    list.push_back(Camera("99"));
    EXPECT_EQ(m_interface.EnumerateDevices(list, true), 77) << "the transport layer's own count";
    EXPECT_THAT(Serials(list), ElementsAre("99", "9", "10"));
    m_interface.EnumerateDevices(list, false);
    EXPECT_THAT(Serials(list), ElementsAre("9", "10"));
}

TEST_F(DefaultInterfaceTest, EarlierEntriesOutliveALayerThatReplacesOrFails) {
    EXPECT_CALL(m_tl, EnumerateDevices(_, true))
        .WillOnce([](DeviceInfoList& list, bool) {
            list.clear();
            list.push_back(Camera("1"));
            return 1;
        })
        .WillOnce([](DeviceInfoList& list, bool) -> int {
            list.push_back(Camera("found before the fault"));
            throw RUNTIME_EXCEPTION("broken");
        });
    DeviceInfoList list;
    for (const char* const serial : {"99", "98"}) {
        list.push_back(Camera(serial));
    }
    EXPECT_EQ(m_interface.EnumerateDevices(list, true), 1);
    EXPECT_THROW(m_interface.EnumerateDevices(list, true), GenICam::RuntimeException);
    EXPECT_THAT(Serials(list), ElementsAre("99", "98", "1", "found before the fault"));
}

TEST_F(DefaultInterfaceTest, FilteredEnumerationCountsWhatItAdds) {
    TransportLayerHas({"10", "9", "8"});
    DeviceInfoList list;
    list.push_back(Camera("99"));
    DeviceInfoList filter;
    filter.push_back(Camera("nobody"));
    EXPECT_EQ(m_interface.EnumerateDevices(list, filter, true), 0);
    EXPECT_THAT(Serials(list), ElementsAre("99"));
    filter.push_back(Camera("10"));
    filter.push_back(Camera("8"));
    EXPECT_EQ(m_interface.EnumerateDevices(list, filter, true), 2);
    EXPECT_THAT(Serials(list), ElementsAre("99", "8", "10"));
}

} // namespace
