// SPDX-License-Identifier: Apache-2.0
#include "Registers.h"

#include <algorithm>
#include <iterator>

namespace GigEVision {

namespace {

using namespace Register;
using enum RegisterAccess;

constexpr bool kMandatory = true, kOptional = false;
constexpr std::uint32_t kMessageMcsp = MessageCapability::kMcsp, kMessageMccfg = MessageCapability::kMccfg;
constexpr std::uint32_t kPersistent = IpConfiguration::kPersistent;

constexpr BootstrapRegister kDevice[] = {
    {kVersion, 4, "version", ReadOnly, 0, kMandatory},
    {kDeviceMode, 4, "device mode", ReadOnly, 0, kMandatory},
    {kMacHigh, 4, "MAC address, high", ReadOnly, 0, kMandatory},
    {kMacLow, 4, "MAC address, low", ReadOnly, 0, kMandatory},
    {kIpSupported, 4, "IP configurations supported", ReadOnly, 0, kMandatory},
    {kIpInUse, 4, "IP configurations in use", ReadWrite, 0, kMandatory},
    {kCurrentIp, 4, "current IP address", ReadOnly, 0, kMandatory},
    {kCurrentMask, 4, "current subnet mask", ReadOnly, 0, kMandatory},
    {kCurrentGateway, 4, "current gateway", ReadOnly, 0, kMandatory},
    {kManufacturer, 32, "manufacturer name", ReadOnly, 0, kMandatory},
    {kModel, 32, "model name", ReadOnly, 0, kMandatory},
    {kDeviceVersion, 32, "device version", ReadOnly, 0, kMandatory},
    {kManufacturerInfo, 48, "manufacturer's information", ReadOnly, 0, kMandatory},
    {kSerialNumber, 16, "serial number", ReadOnly, GvcpCapability::kSerialNumber},
    {kUserName, 16, "user-defined name", ReadWrite, GvcpCapability::kUserName},
    {kFirstUrl, 512, "first URL", ReadOnly, 0, kMandatory},
    {kSecondUrl, 512, "second URL", ReadOnly, 0, kMandatory},
    {kInterfaces, 4, "number of network interfaces", ReadOnly, 0, kMandatory},
    {kPersistentIp, 4, "persistent IP address", ReadWrite, 0, kOptional, 0, kIpSupported, kPersistent},
    {kPersistentMask, 4, "persistent subnet mask", ReadWrite, 0, kOptional, 0, kIpSupported, kPersistent},
    {kPersistentGateway, 4, "persistent gateway", ReadWrite, 0, kOptional, 0, kIpSupported, kPersistent},
    {kLinkSpeed, 4, "link speed", ReadOnly, GvcpCapability::kLinkSpeed},
    {kMessageChannels, 4, "number of message channels", ReadOnly, 0, kMandatory},
    {kStreamChannels, 4, "number of stream channels", ReadOnly, 0, kMandatory},
    {kActionSignals, 4, "number of action signals", ReadOnly, GvcpCapability::kAction},
    {kActionDeviceKey, 4, "action device key", WriteOnly, GvcpCapability::kAction},
    {kActiveLinks, 4, "number of active links", ReadOnly, 0, kMandatory, kVersion20},
    {kGvspCapability, 4, "GVSP capability", ReadOnly, 0, kMandatory},
    {kMessageCapability, 4, "message channel capability", ReadOnly, 0, kMandatory},
    {kGvcpCapability, 4, "GVCP capability", ReadOnly, 0, kMandatory},
    {kHeartbeatTimeout, 4, "heartbeat timeout", ReadWrite, 0, kMandatory},
    {kTickFrequencyHigh, 4, "timestamp tick frequency, high", ReadOnly},
    {kTickFrequencyLow, 4, "timestamp tick frequency, low", ReadOnly},
    {kTimestampControl, 4, "timestamp control", WriteOnly},
    {kTimestampHigh, 4, "latched timestamp, high", ReadOnly},
    {kTimestampLow, 4, "latched timestamp, low", ReadOnly},
    {kDiscoveryDelay, 4, "discovery acknowledge delay", ReadOnly, GvcpCapability::kDiscoveryDelay, kOptional, 0, 0, 0,
     true},
    {kGvcpConfiguration, 4, "GVCP configuration", ReadWrite},
    {kPendingTimeout, 4, "pending timeout", ReadOnly, 0, kMandatory, kVersion20},
    {kSwitchoverKey, 4, "control switchover key", WriteOnly, GvcpCapability::kSwitchover},
    {kGvspConfiguration, 4, "GVSP configuration", ReadWrite},
    {kLinkCapability, 4, "physical links supported", ReadOnly, 0, kMandatory, kVersion20},
    {kLinkConfiguration, 4, "physical link in use", ReadOnly, 0, kMandatory, kVersion20, 0, 0, true},
    {kPtpState, 4, "PTP state", ReadOnly, GvcpCapability::kPtp},
    {kActionQueue, 4, "queue size for scheduled actions", ReadOnly, GvcpCapability::kScheduledAction},
    {kPtpExtras, 4, "PTP extras", ReadOnly, GvcpCapability::kPtpExtras, kOptional, kVersion21},
    {kPtpProfiles, 4, "PTP profiles supported", ReadOnly, GvcpCapability::kPtpExtras, kOptional, kVersion21},
    {kPtpProfile, 4, "PTP profile selected", ReadWrite, GvcpCapability::kPtpExtras, kOptional, kVersion21},
    {kCcp, 4, "control channel privilege", ReadWrite, 0, kMandatory},
    {kPrimaryPort, 4, "port of the primary application", ReadOnly, GvcpCapability::kPrimaryApplication},
    {kPrimaryIp, 4, "IP address of the primary application", ReadOnly, GvcpCapability::kPrimaryApplication},
    {kMcp, 4, "message channel port", ReadWrite},
    {kMcda, 4, "message channel destination", ReadWrite},
    {kMctt, 4, "message channel timeout", ReadWrite},
    {kMcrc, 4, "message channel retries", ReadWrite},
    {kMcsp, 4, "message channel source port", ReadOnly, 0, kOptional, 0, kMessageCapability, kMessageMcsp},
    {kMccfg, 4, "message channel configuration", ReadWrite, 0, kOptional, kVersion22, kMessageCapability,
     kMessageMccfg},
    {kManifest, 512, "manifest table", ReadOnly, GvcpCapability::kManifest},
};

constexpr BootstrapRegister kInterface[] = {
    {0x00, 4, "MAC address, high", ReadOnly},
    {0x04, 4, "MAC address, low", ReadOnly},
    {0x08, 4, "IP configurations supported", ReadOnly},
    {0x0C, 4, "IP configurations in use", ReadWrite},
    {0x1C, 4, "current IP address", ReadOnly},
    {0x2C, 4, "current subnet mask", ReadOnly},
    {0x3C, 4, "current gateway", ReadOnly},
    {0x4C, 4, "persistent IP address", ReadWrite},
    {0x5C, 4, "persistent subnet mask", ReadWrite},
    {0x6C, 4, "persistent gateway", ReadWrite},
    {0x70, 4, "link speed", ReadOnly},
};

constexpr BootstrapRegister kStream[] = {
    {kScp, 4, "stream channel port", ReadWrite},
    {kScps, 4, "stream channel packet size", ReadWrite},
    {kScpd, 4, "stream channel packet delay", ReadWrite},
    {kScda, 4, "stream channel destination", ReadWrite},
    {kScsp, 4, "stream channel source port", ReadOnly, 0, kOptional, 0, kGvspCapability, GvspCapability::kScsp},
    {kScc, 4, "stream channel capability", ReadOnly},
    {kSccfg, 4, "stream channel configuration", ReadWrite},
    {kScz, 4, "stream channel zones", ReadOnly},
    {kSczd, 4, "stream channel zone directions", ReadOnly},
    {kScmpc, 4, "largest number of packets of a block", ReadOnly, 0, kOptional, kVersion22},
    {kScmbsHigh, 4, "largest block, high", ReadOnly, 0, kOptional, kVersion22},
    {kScmbsLow, 4, "largest block, low", ReadOnly, 0, kOptional, kVersion22},
    {kSceba, 4, "address of the extended registers", ReadOnly, 0, kOptional, kVersion22},
};

constexpr BootstrapRegister kAction[] = {
    {0x00, 4, "action group key", ReadWrite, GvcpCapability::kAction},
    {0x04, 4, "action group mask", ReadWrite, GvcpCapability::kAction},
};

const BootstrapRegister* FindByte(std::span<const BootstrapRegister> registers, std::uint32_t address) {
    const auto above = std::ranges::upper_bound(registers, address, {}, &BootstrapRegister::address);
    if (above == registers.begin()) {
        return nullptr;
    }
    const BootstrapRegister& candidate = *std::prev(above);
    return address - candidate.address < candidate.bytes ? &candidate : nullptr;
}

} // namespace

std::span<const BootstrapRegister> BootstrapRegisters() {
    return kDevice;
}
std::span<const BootstrapRegister> InterfaceRegisters() {
    return kInterface;
}
std::span<const BootstrapRegister> StreamChannelRegisters() {
    return kStream;
}
std::span<const BootstrapRegister> ActionRegisters() {
    return kAction;
}

const BootstrapRegister* FindBootstrapRegister(std::uint32_t address) {
    struct Sets {
        std::span<const BootstrapRegister> registers;
        std::uint32_t start, stride, count;
    };
    const Sets repeated[] = {
        {kInterface, kOtherInterfaces, kInterfaceStride, kMaxInterfaces - 1},
        {kStream, kStreamChannel, kStreamChannelStride, kMaxStreamChannels},
        {kAction, kActionGroupKey, kActionStride, kMaxActionSignals},
    };
    for (const Sets& sets : repeated) {
        if (address >= sets.start && (address - sets.start) / sets.stride < sets.count) {
            return FindByte(sets.registers, (address - sets.start) % sets.stride);
        }
    }
    return FindByte(kDevice, address);
}

} // namespace GigEVision
