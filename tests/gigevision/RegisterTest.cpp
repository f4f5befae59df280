// SPDX-License-Identifier: Apache-2.0

// The registers and their bits: each line of the golden table is compared, and the tables hold nothing beyond it.

#include "gigevision/Golden.h"

#include <gigevision/Registers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <utility>

using namespace GigEVision;
using Golden::ParseNumber;

namespace {

// What stands here for the bits and values of each register.
typedef std::map<std::string, std::uint32_t> Names;
const std::map<std::string, Names> kConstants = {
    {"version",
     {{"major", Version::kMajor},
      {"minor", Version::kMinor},
      {"1.2", Register::kVersion12},
      {"2.0", Register::kVersion20}}},
    {"device_mode",
     {{"big_endian", DeviceMode::kBigEndian},
      {"class", DeviceMode::kClass},
      {"link_configuration", DeviceMode::kLink},
      {"character_set", DeviceMode::kCharacterSet},
      {"transmitter", DeviceMode::kTransmitter},
      {"receiver", DeviceMode::kReceiver},
      {"transceiver", DeviceMode::kTransceiver},
      {"peripheral", DeviceMode::kPeripheral},
      {"single", DeviceMode::kSingleLink},
      {"multiple", DeviceMode::kMultipleLinks},
      {"static_lag", DeviceMode::kStaticLag},
      {"dynamic_lag", DeviceMode::kDynamicLag},
      {"utf8", DeviceMode::kUtf8},
      {"ascii", DeviceMode::kAscii}}},
    {"mac_high", {{"address", kMacHighMask}}},
    {"ip_supported",
     {{"pause_handled", IpConfiguration::kPauseHandled},
      {"pause_generated", IpConfiguration::kPauseGenerated},
      {"link_local", IpConfiguration::kLinkLocal},
      {"dhcp", IpConfiguration::kDhcp},
      {"persistent", IpConfiguration::kPersistent}}},
    {"active_links", {{"count", kActiveLinksMask}}},
    {"gvsp_capability",
     {{"scsp", GvspCapability::kScsp},
      {"block_ids_16_bits", GvspCapability::kBlockIds16},
      {"maximum_block_size", GvspCapability::kMaximumBlockSize},
      {"extended_bootstrap", GvspCapability::kExtendedBootstrap}}},
    {"message_channel_capability",
     {{"mcsp", MessageCapability::kMcsp}, {"mccfg", MessageCapability::kMccfg}, {"mcec", MessageCapability::kMcec}}},
    {"gvcp_capability",
     {{"user_name", GvcpCapability::kUserName},
      {"serial_number", GvcpCapability::kSerialNumber},
      {"heartbeat_off", GvcpCapability::kHeartbeatDisable},
      {"link_speed", GvcpCapability::kLinkSpeed},
      {"primary_application", GvcpCapability::kPrimaryApplication},
      {"manifest", GvcpCapability::kManifest},
      {"test_data", GvcpCapability::kTestData},
      {"discovery_delay", GvcpCapability::kDiscoveryDelay},
      {"discovery_delay_writable", GvcpCapability::kDiscoveryDelayWritable},
      {"status_codes_1_1", GvcpCapability::kStatusCodes11},
      {"switchover", GvcpCapability::kSwitchover},
      {"unconditional_action", GvcpCapability::kUnconditionalAction},
      {"ptp", GvcpCapability::kPtp},
      {"status_codes_2_0", GvcpCapability::kStatusCodes20},
      {"scheduled_action", GvcpCapability::kScheduledAction},
      {"ptp_extras", GvcpCapability::kPtpExtras},
      {"action", GvcpCapability::kAction},
      {"pending", GvcpCapability::kPending},
      {"eventdata", GvcpCapability::kEventData},
      {"event", GvcpCapability::kEvent},
      {"packetresend", GvcpCapability::kPacketResend},
      {"writemem", GvcpCapability::kWriteMem},
      {"concatenation", GvcpCapability::kConcatenation}}},
    {"timestamp_control", {{"latch", TimestampControl::kLatch}, {"reset", TimestampControl::kReset}}},
    {"discovery_ack_delay", {{"ms", kDiscoveryDelayMask}}},
    {"gvcp_configuration",
     {{"ptp", GvcpConfiguration::kPtp},
      {"status_codes_2_0", GvcpConfiguration::kStatusCodes20},
      {"unconditional_action", GvcpConfiguration::kUnconditionalAction},
      {"status_codes_1_1", GvcpConfiguration::kStatusCodes11},
      {"pending", GvcpConfiguration::kPending},
      {"heartbeat_off", GvcpConfiguration::kHeartbeatDisable}}},
    {"switchover_key", {{"key", kSwitchoverKeyMask}}},
    {"gvsp_configuration", {{"extended_ids", GvspConfiguration::kExtendedIds}}},
    {"links_supported",
     {{"single", LinkCapability::kSingle},
      {"multiple", LinkCapability::kMultiple},
      {"static_lag", LinkCapability::kStaticLag},
      {"dynamic_lag", LinkCapability::kDynamicLag}}},
    {"link_in_use",
     {{"single", DeviceMode::kSingleLink},
      {"multiple", DeviceMode::kMultipleLinks},
      {"static_lag", DeviceMode::kStaticLag},
      {"dynamic_lag", DeviceMode::kDynamicLag}}},
    {"ptp_state",
     {{"state", PtpState::kState},
      {"initializing", PtpState::kInitializing},
      {"faulty", PtpState::kFaulty},
      {"disabled", PtpState::kDisabled},
      {"listening", PtpState::kListening},
      {"pre_master", PtpState::kPreMaster},
      {"master", PtpState::kMaster},
      {"passive", PtpState::kPassive},
      {"uncalibrated", PtpState::kUncalibrated},
      {"slave", PtpState::kSlave}}},
    {"ptp_extras", {{"profile_registers", PtpProfile::kRegisters}}},
    {"ptp_profiles_supported", {{"ptp", PtpProfile::kPtp}, {"ieee802_1as", PtpProfile::k8021As}}},
    {"ptp_profile_selected", {{"profile", PtpProfile::kSelected}}},
    {"CCP",
     {{"exclusive", Ccp::kExclusive},
      {"control", Ccp::kControl},
      {"switchover_enabled", Ccp::kSwitchover},
      {"switchover_key", Ccp::kKey}}},
    {"MCP", {{"interface_index", ChannelPort::kInterface}, {"host_port", ChannelPort::kPort}}},
    {"MCSP", {{"port", ChannelPort::kPort}}},
    {"MCCFG", {{"mcec", Mccfg::kMcec}}},
    {"SCP",
     {{"direction", ChannelPort::kDirection},
      {"interface_index", ChannelPort::kInterface},
      {"host_port", ChannelPort::kPort}}},
    {"SCPS",
     {{"fire_test_packet", Scps::kFireTestPacket},
      {"do_not_fragment", Scps::kDoNotFragment},
      {"pixels_big_endian", Scps::kBigEndian},
      {"packet_size", Scps::kSize}}},
    {"SCSP", {{"port", ChannelPort::kPort}}},
    {"SCC",
     {{"both_byte_orders", Scc::kBothByteOrders},
      {"ip_reassembly", Scc::kIpReassembly},
      {"maximum_packet_count", Scc::kMaximumPacketCount},
      {"gendc", Scc::kGenDc},
      {"multipart", Scc::kMultiPart},
      {"large_leader_trailer", Scc::kLargeLeader},
      {"multizone", Scc::kMultiZone},
      {"resend_destination", Scc::kResendDestination},
      {"all_in", Scc::kAllIn},
      {"unconditional_streaming", Scc::kUnconditional},
      {"extended_chunk", Scc::kExtendedChunks}}},
    {"SCZ", {{"additional_zones", Scz::kAdditionalZones}}},
    {"gendc",
     {{"descriptor_address", Register::kDescriptorAddress},
      {"descriptor_size", Register::kDescriptorSize},
      {"flow_table_address", Register::kFlowTableAddress},
      {"flow_table_size", Register::kFlowTableSize}}},
};
// Registers with the bits of another one.
const std::map<std::string, std::string> kAlike = {{"ip_current", "ip_supported"}, {"SCCFG", "SCC"}};

struct Line {
    std::string word, name;
    std::vector<std::string> values;
    std::map<std::string, std::string> options; // since=…, needs=…, in=…
};

Line Parse(const std::string& text) {
    std::vector<std::string> words = Golden::Split(text);
    Line line{words.at(0), words.at(1), {}, {}};
    for (std::size_t i = 2; i < words.size(); ++i) {
        const std::size_t equals = words[i].find('=');
        if (equals == std::string::npos) {
            line.values.push_back(words[i]);
        } else {
            line.options[words[i].substr(0, equals)] = words[i].substr(equals + 1);
        }
    }
    return line;
}

// Takes an option off the line; @return its two numbers, 0 where it is not told.
std::pair<std::uint32_t, std::uint32_t> Take(Line& line, const std::string& option, char separator) {
    const auto node = line.options.extract(option);
    const auto numbers = Golden::Split(node ? node.mapped() : "0" + std::string(1, separator) + "0", separator);
    return {static_cast<std::uint32_t>(ParseNumber(numbers.at(0))),
            static_cast<std::uint32_t>(ParseNumber(numbers.at(1)))};
}

std::string AccessText(const BootstrapRegister& found) {
    const char* const texts[] = {"R", "W", "RW"};
    return texts[static_cast<int>(found.access)] + std::string(found.mayBeWritable ? "/RW" : "");
}

// The register at @p address, of which it is the one at @p offset; values are size and access, then obligation and
// capability.
void CheckRegister(Line& line, std::uint32_t address, std::uint32_t offset, std::size_t firstValue) {
    const BootstrapRegister* const found = FindBootstrapRegister(address);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->address, offset);
    EXPECT_EQ(found->bytes, ParseNumber(line.values.at(firstValue)));
    EXPECT_EQ(FindBootstrapRegister(address + found->bytes - 1), found);
    EXPECT_NE(FindBootstrapRegister(address + found->bytes), found);
    if (const std::string access = line.values.at(firstValue + 1); access != "-") {
        EXPECT_EQ(AccessText(*found), access);
    }
    if (line.values.size() > firstValue + 2) {
        EXPECT_EQ(found->isMandatory ? "M" : "O", line.values.at(firstValue + 2));
        EXPECT_EQ(found->capability, ParseNumber(line.values.at(firstValue + 3)));
    }
    const auto [major, minor] = Take(line, "since", '.');
    EXPECT_EQ(found->since, major << 16 | minor);
    const auto [needed, mask] = Take(line, "needs", ':');
    EXPECT_EQ(found->neededRegister, needed);
    EXPECT_EQ(found->neededMask, mask);
}

struct Set {
    std::span<const BootstrapRegister> registers;
    std::uint32_t start, stride, count;
};

// What the lines told; in the end there must be nothing else.
class Checker {
public:
    void Check(const std::string& text) {
        Line line = Parse(text);
        if (line.word == "register") {
            CheckOne(line);
        } else if (const auto set = m_sets.find(line.word); set != m_sets.end()) {
            CheckSet(line, set->second);
        } else {
            CheckConstant(line);
        }
        EXPECT_TRUE(line.options.empty()) << "unknown option " << line.options.begin()->first;
    }

    void ExpectNothingElse() const {
        EXPECT_EQ(m_registers, BootstrapRegisters().size());
        for (const auto& [name, set] : m_sets) {
            EXPECT_EQ(m_ofSets.at(name), set.registers.size()) << name;
        }
        std::size_t constants = 0;
        for (const auto& [name, names] : kConstants) {
            constants += names.size();
        }
        EXPECT_EQ(m_constants.size(), constants);
    }

private:
    void CheckOne(Line& line) {
        const auto address = static_cast<std::uint32_t>(ParseNumber(line.values.at(0)));
        std::uint32_t offset = address;
        const bool isRepeated = line.name.ends_with("]"); // NAME[3], of a channel or an action
        for (const auto& [name, set] : m_sets) {
            if (isRepeated && address >= set.start && address < set.start + set.count * set.stride) {
                offset = (address - set.start) % set.stride;
            }
        }
        m_registers += isRepeated ? 0 : 1;
        CheckRegister(line, address, offset, 1);
    }

    void CheckSet(Line& line, const Set& set) {
        const auto start = Golden::Split(line.values.at(0), '+');
        const auto offset = static_cast<std::uint32_t>(ParseNumber(line.values.at(1)));
        EXPECT_EQ(ParseNumber(start.at(0)), set.start);
        EXPECT_EQ(ParseNumber(start.at(1)), set.stride);
        ++m_ofSets[line.word];
        for (const std::uint32_t index : {0u, 1u, set.count - 1}) {
            Line copy = line;
            CheckRegister(copy, set.start + index * set.stride + offset, offset, 2);
        }
        line.options.erase("since");
        line.options.erase("needs");
    }

    void CheckConstant(Line& line) {
        const bool isOffset = line.word == "gendc";
        ASSERT_TRUE(isOffset || line.word == "bits" || line.word == "value") << "unknown word";
        const auto alike = kAlike.find(line.name);
        const std::string owner = isOffset ? line.word : alike == kAlike.end() ? line.name : alike->second;
        const std::string name = isOffset ? line.name : line.values.at(0);
        ASSERT_TRUE(kConstants.contains(owner) && kConstants.at(owner).contains(name)) << "unknown bits or value";
        EXPECT_EQ(kConstants.at(owner).at(name), ParseNumber(line.values.at(isOffset ? 0 : 1)));
        m_constants.insert(owner + " " + name);
        if (const auto field = line.options.extract("in")) {
            EXPECT_TRUE(kConstants.at(owner).contains(field.mapped())) << field.mapped();
        }
    }

    const std::map<std::string, Set> m_sets = {
        {"interface", {InterfaceRegisters(), Register::kOtherInterfaces, Register::kInterfaceStride, 3}},
        {"channel", {StreamChannelRegisters(), Register::kStreamChannel, Register::kStreamChannelStride, 512}},
        {"action", {ActionRegisters(), Register::kActionGroupKey, Register::kActionStride, 128}},
    };
    std::size_t m_registers = 0;
    std::map<std::string, std::size_t> m_ofSets;
    std::set<std::string> m_constants;
};

TEST(RegisterTest, RegistersAndBitsAreThoseTold) {
    Checker checker;
    for (const std::string& line : Golden::ReadLines("registers.txt")) {
        SCOPED_TRACE(line);
        checker.Check(line);
    }
    checker.ExpectNothingElse();
}

TEST(RegisterTest, NothingStandsBetweenTheRegisters) {
    for (const std::uint32_t address : {0x18u, 0x23u, 0xF8u, 0x604u, 0x800u, 0x8FFu, 0xA08u, 0xD0Cu, 0x8D00u, 0x9200u,
                                        0x9808u, Register::kEnd, 0xFFFFFFFFu}) {
        EXPECT_EQ(FindBootstrapRegister(address), nullptr) << address;
    }
    EXPECT_TRUE(std::ranges::is_sorted(BootstrapRegisters(), {}, &BootstrapRegister::address));
}

} // namespace
