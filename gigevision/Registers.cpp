// SPDX-License-Identifier: Apache-2.0
#include "Registers.h"

#include <algorithm>
#include <iterator>

namespace GigEVision {

namespace {

using namespace Register;

constexpr auto R = RegisterAccess::ReadOnly, W = RegisterAccess::WriteOnly, RW = RegisterAccess::ReadWrite;
constexpr bool kMandatory = true, kOptional = false;
constexpr std::uint32_t kMessageMcsp = MessageCapability::kMcsp, kMessageMccfg = MessageCapability::kMccfg;

constexpr BootstrapRegister kDevice[] = {
    {kVersion, 4, "version", R, 0, kMandatory},
    {kDeviceMode, 4, "device mode", R, 0, kMandatory},
    {kMacHigh, 4, "MAC address, high", R, 0, kMandatory},
    {kMacLow, 4, "MAC address, low", R, 0, kMandatory},
    {kIpSupported, 4, "IP configurations supported", R, 0, kMandatory},
    {kIpInUse, 4, "IP configurations in use", RW, 0, kMandatory},
    {kCurrentIp, 4, "current IP address", R, 0, kMandatory},
    {kCurrentMask, 4, "current subnet mask", R, 0, kMandatory},
    {kCurrentGateway, 4, "current gateway", R, 0, kMandatory},
    {kManufacturer, 32, "manufacturer name", R, 0, kMandatory},
    {kModel, 32, "model name", R, 0, kMandatory},
    {kDeviceVersion, 32, "device version", R, 0, kMandatory},
    {kManufacturerInfo, 48, "manufacturer's information", R, 0, kMandatory},
    {kSerialNumber, 16, "serial number", R, GvcpCapability::kSerialNumber},
    {kUserName, 16, "user-defined name", RW, GvcpCapability::kUserName},
    {kFirstUrl, 512, "first URL", R, 0, kMandatory},
    {kSecondUrl, 512, "second URL", R, 0, kMandatory},
    {kInterfaces, 4, "number of network interfaces", R, 0, kMandatory},
    {kPersistentIp, 4, "persistent IP address", RW, 0, kOptional, 0, kIpSupported, IpConfiguration::kPersistent},
    {kPersistentMask, 4, "persistent subnet mask", RW, 0, kOptional, 0, kIpSupported, IpConfiguration::kPersistent},
    {kPersistentGateway, 4, "persistent gateway", RW, 0, kOptional, 0, kIpSupported, IpConfiguration::kPersistent},
    {kLinkSpeed, 4, "link speed", R, GvcpCapability::kLinkSpeed},
    {kMessageChannels, 4, "number of message channels", R, 0, kMandatory},
    {kStreamChannels, 4, "number of stream channels", R, 0, kMandatory},
    {kActionSignals, 4, "number of action signals", R, GvcpCapability::kAction},
    {kActionDeviceKey, 4, "action device key", W, GvcpCapability::kAction},
    {kActiveLinks, 4, "number of active links", R, 0, kMandatory, kVersion20},
    {kGvspCapability, 4, "GVSP capability", R, 0, kMandatory},
    {kMessageCapability, 4, "message channel capability", R, 0, kMandatory},
    {kGvcpCapability, 4, "GVCP capability", R, 0, kMandatory},
    {kHeartbeatTimeout, 4, "heartbeat timeout", RW, 0, kMandatory},
    {kTickFrequencyHigh, 4, "timestamp tick frequency, high", R},
    {kTickFrequencyLow, 4, "timestamp tick frequency, low", R},
    {kTimestampControl, 4, "timestamp control", W},
    {kTimestampHigh, 4, "latched timestamp, high", R},
    {kTimestampLow, 4, "latched timestamp, low", R},
    {kDiscoveryDelay, 4, "discovery acknowledge delay", R, GvcpCapability::kDiscoveryDelay, kOptional, 0, 0, 0, true},
    {kGvcpConfiguration, 4, "GVCP configuration", RW},
    {kPendingTimeout, 4, "pending timeout", R, 0, kMandatory, kVersion20},
    {kSwitchoverKey, 4, "control switchover key", W, GvcpCapability::kSwitchover},
    {kGvspConfiguration, 4, "GVSP configuration", RW},
    {kLinkCapability, 4, "physical links supported", R, 0, kMandatory, kVersion20},
    {kLinkConfiguration, 4, "physical link in use", R, 0, kMandatory, kVersion20, 0, 0, true},
    {kPtpState, 4, "PTP state", R, GvcpCapability::kPtp},
    {kActionQueue, 4, "queue size for scheduled actions", R, GvcpCapability::kScheduledAction},
    {kPtpExtras, 4, "PTP extras", R, GvcpCapability::kPtpExtras, kOptional, kVersion21},
    {kPtpProfiles, 4, "PTP profiles supported", R, GvcpCapability::kPtpExtras, kOptional, kVersion21},
    {kPtpProfile, 4, "PTP profile selected", RW, GvcpCapability::kPtpExtras, kOptional, kVersion21},
    {kCcp, 4, "control channel privilege", RW, 0, kMandatory},
    {kPrimaryPort, 4, "port of the primary application", R, GvcpCapability::kPrimaryApplication},
    {kPrimaryIp, 4, "IP address of the primary application", R, GvcpCapability::kPrimaryApplication},
    {kMcp, 4, "message channel port", RW},
    {kMcda, 4, "message channel destination", RW},
    {kMctt, 4, "message channel timeout", RW},
    {kMcrc, 4, "message channel retries", RW},
    {kMcsp, 4, "message channel source port", R, 0, kOptional, 0, kMessageCapability, kMessageMcsp},
    {kMccfg, 4, "message channel configuration", RW, 0, kOptional, kVersion22, kMessageCapability, kMessageMccfg},
    {kManifest, 512, "manifest table", R, GvcpCapability::kManifest},
};

constexpr BootstrapRegister kInterface[] = {
    {0x00, 4, "MAC address, high", R},
    {0x04, 4, "MAC address, low", R},
    {0x08, 4, "IP configurations supported", R},
    {0x0C, 4, "IP configurations in use", RW},
    {0x1C, 4, "current IP address", R},
    {0x2C, 4, "current subnet mask", R},
    {0x3C, 4, "current gateway", R},
    {0x4C, 4, "persistent IP address", RW},
    {0x5C, 4, "persistent subnet mask", RW},
    {0x6C, 4, "persistent gateway", RW},
    {0x70, 4, "link speed", R},
};

constexpr BootstrapRegister kStream[] = {
    {kScp, 4, "stream channel port", RW},
    {kScps, 4, "stream channel packet size", RW},
    {kScpd, 4, "stream channel packet delay", RW},
    {kScda, 4, "stream channel destination", RW},
    {kScsp, 4, "stream channel source port", R, 0, kOptional, 0, kGvspCapability, GvspCapability::kScsp},
    {kScc, 4, "stream channel capability", R},
    {kSccfg, 4, "stream channel configuration", RW},
    {kScz, 4, "stream channel zones", R},
    {kSczd, 4, "stream channel zone directions", R},
    {kScmpc, 4, "largest number of packets of a block", R, 0, kOptional, kVersion22},
    {kScmbsHigh, 4, "largest block, high", R, 0, kOptional, kVersion22},
    {kScmbsLow, 4, "largest block, low", R, 0, kOptional, kVersion22},
    {kSceba, 4, "address of the extended registers", R, 0, kOptional, kVersion22},
};

constexpr BootstrapRegister kAction[] = {
    {0x00, 4, "action group key", RW, GvcpCapability::kAction},
    {0x04, 4, "action group mask", RW, GvcpCapability::kAction},
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
