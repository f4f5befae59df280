// SPDX-License-Identifier: Apache-2.0
#include "serving/description/ServedDescriptions.h"

#include "genicam/genapi/MapFixture.h"
#include "gigevision/Registers.h"
#include "serving/Faults.def"

#include <fstream>
#include <iomanip>
#include <set>
#include <sstream>

namespace {

using namespace GenApi;
using Serving::ESchema;

constexpr std::int64_t kCamera = 0x10000;
constexpr std::size_t kMemory = 0x220000;

struct Fault {
    const char* name;
    const char* parameter;
    std::int64_t initial, min, max;
    const char* text;
};
#define FAULT_ROW(...) {__VA_ARGS__},
#define FAULT_NAMED(name, ...) FAULT_ROW(#name, __VA_ARGS__)
const Fault kFaults[] = {STREAM_FAULTS(FAULT_NAMED) CONTROL_FAULTS(FAULT_NAMED)};

const std::set<std::string> kDropped = {"ImageFileMode",         "ImageFilename",        "ForceFailedStart",
                                        "ForceFailedStartCount", "ForceFailedRetrieval", "ForceFailedRetrievalDelay"};

tests::MapPtr MapOf(EContentType_t content, const std::string& bytes, IPort& port) {
    tests::MapPtr map(CNodeMapFactory(content, bytes.data(), bytes.size()).CreateNodeMap());
    EXPECT_TRUE(map->Connect(&port));
    return map;
}

NodeList_t NodesOf(INodeMap& map) {
    NodeList_t nodes;
    map.GetNodes(nodes);
    return nodes;
}

std::string Property(INode& node, const char* name) {
    GenICam::gcstring value, attribute;
    return node.GetProperty(name, value, attribute) ? value.c_str() : "";
}

struct Place {
    std::int64_t address, length;
    bool operator==(const Place&) const = default;
};

/// By name, with what the nodes say now.
std::map<std::string, Place> PlacesOnDevice(INodeMap& map) {
    std::map<std::string, Place> places;
    for (INode* node : NodesOf(map)) {
        if (Property(*node, "pPort") == "Device") {
            auto& reg = dynamic_cast<IRegister&>(*node);
            places[node->GetName().c_str()] = {reg.GetAddress(), reg.GetLength()};
        }
    }
    return places;
}

struct Form {
    ESchema schema;
    EContentType_t content;
};

class ServedDescriptionTest : public tests::MapTest, public testing::WithParamInterface<Form> {
protected:
    void SetUp() override {
        Port.Memory.resize(kMemory);
        const Serving::CServedDescription& served = Serving::ServedDescription(GetParam().schema);
        Map = MapOf(GetParam().content, GetParam().content == ContentType_Xml ? served.text : served.zipped, Port);
    }
    void Set(const char* name, const std::string& value) { As<IValue>(name).FromString(value.c_str()); }
    void Put(std::size_t address, std::vector<std::uint8_t> bytes) {
        std::copy(bytes.begin(), bytes.end(), Port.Memory.begin() + static_cast<std::ptrdiff_t>(address));
        Map->InvalidateNodes();
    }
    std::string Bytes(std::size_t address, std::size_t count) const {
        std::ostringstream text;
        for (std::size_t i = 0; i < count; ++i) {
            text << std::hex << std::uppercase << std::setw(2) << std::setfill('0') << int(Port.Memory.at(address + i));
        }
        return text.str();
    }
};

INSTANTIATE_TEST_SUITE_P(, ServedDescriptionTest,
                         testing::Values(Form{ESchema::Version_1_1, ContentType_Xml},
                                         Form{ESchema::Version_1_1, ContentType_ZippedXml},
                                         Form{ESchema::Version_1_0, ContentType_Xml},
                                         Form{ESchema::Version_1_0, ContentType_ZippedXml}));

TEST_P(ServedDescriptionTest, HasTheFeaturesOfTheEmulatedCameraHigherUp) {
    std::ifstream file(CAMERA_DESCRIPTION, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(text.find("Gev"), std::string::npos) << "what is served goes into the build folder only";
    tests::MemoryPort memory;
    memory.Memory.resize(kMemory);
    const tests::MapPtr plain = MapOf(ContentType_Xml, text, memory);
    std::size_t kept = 0;
    for (INode* node : NodesOf(*plain)) {
        const std::string name = node->GetName().c_str();
        INode* const served = Map->GetNode(name.c_str());
        if (kDropped.contains(name)) {
            EXPECT_EQ(served, nullptr) << name;
        } else if (node->IsFeature()) {
            ASSERT_NE(served, nullptr) << name;
            EXPECT_EQ(served->GetPrincipalInterfaceType(), node->GetPrincipalInterfaceType()) << name;
            EXPECT_TRUE(served->IsFeature()) << name;
            EXPECT_EQ(Property(*served, "AccessMode"), Property(*node, "AccessMode")) << name;
            ++kept;
        }
    }
    EXPECT_GT(kept, 100U);
    const auto places = PlacesOnDevice(*Map);
    for (const auto& [name, place] : PlacesOnDevice(*plain)) {
        if (const auto moved = places.find(name); moved != places.end()) {
            EXPECT_EQ(moved->second, (Place{place.address + kCamera, place.length})) << name;
        }
    }
}

TEST_P(ServedDescriptionTest, RegistersBelowTheCamerasOwnAreThoseOfGigEVision) {
    using GigEVision::RegisterAccess;
    std::size_t found = 0;
    for (const auto& [name, place] : PlacesOnDevice(*Map)) {
        if (place.address < kCamera) {
            const auto address = static_cast<std::uint32_t>(place.address);
            const GigEVision::BootstrapRegister* const reg = GigEVision::FindBootstrapRegister(address);
            ASSERT_NE(reg, nullptr) << name;
            EXPECT_EQ(place.length, reg->bytes) << name;
            EXPECT_TRUE(address == 0 || GigEVision::FindBootstrapRegister(address - 1) != reg)
                << name << " begins inside";
            const std::string access = Property(*Map->GetNode(name.c_str()), "AccessMode");
            EXPECT_TRUE(access != "WO" || reg->access == RegisterAccess::WriteOnly) << name;
            EXPECT_TRUE(access != "RW" || reg->access == RegisterAccess::ReadWrite) << name;
            EXPECT_TRUE(access != "RO" || reg->access != RegisterAccess::WriteOnly) << name;
            ++found;
        }
    }
    EXPECT_GT(found, 40U);
}

TEST_P(ServedDescriptionTest, IsBigEndianAndOfItsSchema) {
    const bool isOld = GetParam().schema == ESchema::Version_1_0;
    Version_t version{};
    dynamic_cast<IDeviceInfo&>(*Map).GetSchemaVersion(version);
    EXPECT_EQ(version.Minor, isOld ? 0 : 1);
    EXPECT_EQ(As<IInteger>("GevSCDA").GetRepresentation(), isOld ? HexNumber : IPV4Address);
    for (INode* node : NodesOf(*Map)) {
        if (const std::string order = Property(*node, "Endianess"); !order.empty()) {
            EXPECT_EQ(order, "BigEndian") << node->GetName();
        }
    }
}

TEST_P(ServedDescriptionTest, ValuesGoWhereTheRegistersAre) {
    const struct {
        const char *name, *value;
        std::size_t address;
        const char* bytes;
    } cases[] = {
        {"Height", "700", 0x1030C, "000002BC"},
        {"ExposureTime", "1000", 0x10428, "408F400000000000"},
        {"SimulateRemovalDuration", "-1", 0x10524, "FFFFFFFF"},
        {"DeviceLinkThroughputLimit", "10000000000", 0x10208, "00000002540BE400"},
        {"DeviceUserID", "Left", 0x101C0, "4C65667400"},
        {"TriggerSelector", "FrameBurstStart", 0x10600, "00000001"},
        {"TriggerSource", "Action1", 0x10624, "00000003"},
        {"TriggerSource", "Action2", 0x10624, "00000004"},
        {"SimulateRemoval", "1", 0x210000, "00000001"},
        {"GevSCPSPacketSize", "1500", 0x0D04, "400005DC"},
        {"GevSCPSFireTestPacket", "1", 0x0D04, "C00005DC"},
        {"GevPersistentSubnetMask", "4294967040", 0x065C, "FFFFFF00"},
        {"GevSCPHostPort", "65535", 0x0D00, "0000FFFF"},
        {"GevTimestampControlLatch", "1", 0x0944, "00000002"},
        {"GevTimestampControlReset", "1", 0x0944, "00000001"},
        {"GevGVSPExtendedIDMode", "On", 0x0960, "40000000"},
        {"GevCCP", "ExclusiveAccess", 0x0A00, "00000001"},
        {"ActionDeviceKey", "0x12345678", 0x090C, "12345678"},
        {"ActionGroupKey", "1", 0x9800, "00000001"},
        {"ActionSelector", "2", 0x9800, "00000001"},
        {"ActionGroupKey", "2", 0x9810, "00000002"},
        {"ActionGroupMask", "0xFFFFFFFF", 0x9814, "FFFFFFFF"},
        {"FaultSelector", "LeaderLoss", 0x20000, "00000001"},
        {"FaultRate", "0.5", 0x20120, "3FE0000000000000"},
        {"FaultLeft", "3", 0x2012C, "00000003"},
        {"FaultBlockID", "4", 0x20130, "00000004"},
        {"FaultPacketID", "0xFFFFFFFF", 0x20134, "FFFFFFFF"},
        {"FaultSelector", "ResendRefused", 0x20000, "00000005"},
        {"FaultParameter", "0x8011", 0x201A8, "00008011"},
        {"FaultSeed", "9", 0x20004, "00000009"},
        {"FaultReset", "1", 0x20008, "00000001"},
    };
    Put(0x10300, {0, 0, 8, 0, 0, 0, 8, 0}); // size of the sensor
    Put(0x10708, {0, 0, 8, 0, 0, 0, 8, 0}); // largest size
    Put(0x0D04, {0x40, 0, 0, 0});           // stays beside what is written
    for (const auto& [name, value, address, bytes] : cases) {
        if (auto* const command = dynamic_cast<ICommand*>(Map->GetNode(name))) {
            command->Execute();
        } else {
            Set(name, value);
        }
        EXPECT_EQ(Bytes(address, std::strlen(bytes) / 2), bytes) << name;
    }
}

TEST_P(ServedDescriptionTest, ReadsBootstrapRegisters) {
    const bool isOld = GetParam().schema == ESchema::Version_1_0;
    Put(0x0000, {0, 2, 0, 1, 0x80, 0, 0, 1, 0, 0, 2, 0xA, 0xFF, 0, 0, 1, 0, 0, 0, 6, 0, 0, 0, 4});
    Put(0x0934, {0xDB, 0x44, 0, 0x6F, 0, 0, 0x0B, 0xB8, 0, 0, 0, 1, 0x80, 0, 0, 0});
    Put(0x0948, {0, 0, 0, 2, 0xFF, 0xFF, 0xFF, 0xFF});
    for (const auto& [name, value] : std::vector<std::pair<const char*, const char*>>{
             {"GevVersionMajor", "2"},
             {"GevVersionMinor", "1"},
             {"GevDeviceModeIsBigEndian", "1"},
             {"GevDeviceModeCharacterSet", "UTF8"},
             {"GevMACAddress", isOld ? "0x20AFF000001" : "02:0a:ff:00:00:01"},
             {"GevSupportedIPConfigurationPersistentIP", "0"},
             {"GevSupportedIPConfigurationDHCP", "1"},
             {"GevSupportedIPConfigurationLLA", "1"},
             {"GevCurrentIPConfiguration", "LLA"},
             {"GevSupportedOptionalCommandsConcatenation", "1"},
             {"GevSupportedOptionalCommandsEVENT", "1"},
             {"GevSupportedOptionalCommandsEVENTDATA", "0"},
             {"GevHeartbeatTimeout", "3000"},
             {"GevTimestampTickFrequency", "6442450944"},
             {"GevTimestampValue", "12884901887"}}) {
        EXPECT_EQ(Text(name), value) << name;
    }
    EXPECT_EQ(Mode("GevSCCFGExtendedChunkData"), NI);
    EXPECT_EQ(As<IEnumeration>("GevCCP").GetEntryByName("ControlAccessSwitchoverActive")->GetAccessMode(), NI);
    Put(0x0D20, {0, 0, 0, 1});
    EXPECT_EQ(Mode("GevSCCFGExtendedChunkData"), RW);
    EXPECT_EQ(Mode("GevSCPSPacketSize"), RW);
    Put(kCamera + 0x0328, {0, 0, 0, 1}); // streaming
    EXPECT_EQ(Mode("GevSCPSPacketSize"), RO);
    EXPECT_EQ(Mode("GevSCCFGExtendedChunkData"), RO);
}

TEST_P(ServedDescriptionTest, ListsAllFaultsWithTheirLimits) {
    std::int64_t number = 0;
    for (const Fault& fault : kFaults) {
        SCOPED_TRACE(fault.name);
        Set("FaultSelector", fault.name);
        EXPECT_EQ(As<IEnumeration>("FaultSelector").GetIntValue(), number++);
        ASSERT_EQ(Mode("FaultParameter"), fault.max == 0 ? NA : RW);
        if (fault.max != 0) {
            EXPECT_EQ(Int("FaultParameter").GetMin(), fault.min);
            EXPECT_EQ(Int("FaultParameter").GetMax(), fault.max);
        }
        const std::string tip = As<IEnumeration>("FaultSelector").GetCurrentEntry()->GetNode()->GetToolTip().c_str();
        EXPECT_TRUE(tip.starts_with(fault.text)) << tip;
        EXPECT_NE(tip.find(fault.parameter), std::string::npos) << tip;
    }
    NodeList_t entries;
    As<IEnumeration>("FaultSelector").GetEntries(entries);
    EXPECT_EQ(entries.size(), std::size(kFaults));
}

TEST_P(ServedDescriptionTest, EventsAreReadInBothForms) {
    const std::pair<const char*, const char*> events[] = {{"EventExposureEnd", "EventExposureEnd"},
                                                          {"EventFrameStart", "EventFrameStart"},
                                                          {"EventFrameStartOvertrigger", "EventFrameStartOvertrigger"},
                                                          {"EventCriticalTemperature", "EventCriticalTemperature"},
                                                          {"EventOverrun", "EventOverrunEvent"}};
    CEventAdapterGEV adapter(Map.get());
    for (const bool isExtended : {false, true, false}) {
        Set("GevGVSPExtendedIDMode", isExtended ? "On" : "Off");
        std::uint8_t id = 1;
        for (const auto& [event, prefix] : events) {
            std::vector<std::uint8_t> message = {0x42, 0x01, 0,    0xC0, 0,    16,   0,    1,
                                                 0,    0,    0x90, id++, 0xFF, 0xFF, 0xFE, 0x02};
            if (isExtended) {
                message[1] = 0x11;
                message[5] = 24;
                message.insert(message.end(), {0, 0, 0, 9, 0, 0, 0, 7});
            }
            message.insert(message.end(), {0, 0, 0, 1, 0, 0, 0, 5});
            adapter.DeliverMessage(message.data(), static_cast<std::uint32_t>(message.size()));
            EXPECT_EQ(Int(event).GetValue(), 0x9000 + id - 1);
            EXPECT_EQ(Int((std::string(prefix) + "Timestamp").c_str()).GetValue(), 0x100000005);
            if (std::string_view(event) != "EventCriticalTemperature") {
                EXPECT_EQ(Int((std::string(prefix) + "FrameID").c_str()).GetValue(), isExtended ? 0x900000007 : 0xFE02);
            }
        }
    }
}

TEST(ServedDescriptionsTest, HaveNamesAndVersionsOfTheirOwn) {
    std::set<std::string> names, versions;
    for (const ESchema schema : {ESchema::Version_1_0, ESchema::Version_1_1}) {
        const Serving::CServedDescription& served = Serving::ServedDescription(schema);
        tests::MemoryPort port;
        const tests::MapPtr map = MapOf(ContentType_Xml, served.text, port);
        names.insert(served.name);
        versions.insert(dynamic_cast<IDeviceInfo&>(*map).GetVersionGuid().c_str());
    }
    EXPECT_EQ(names.size(), 2U);
    EXPECT_EQ(versions.size(), 2U);
}

} // namespace
