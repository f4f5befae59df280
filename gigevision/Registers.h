// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

/// The bootstrap registers of GigE Vision, 0x0000 to 0x9FFF, as data.
namespace GigEVision {

enum class RegisterAccess : std::uint8_t { ReadOnly, WriteOnly, ReadWrite };

struct BootstrapRegister {
    std::uint32_t address; ///< or the offset within its interface, stream channel or action
    std::uint32_t bytes;   ///< 4, or the length of a text or table
    const char* name;      ///< "GVCP capability"
    RegisterAccess access = RegisterAccess::ReadOnly;
    std::uint32_t capability = 0; ///< mask of Register::kGvcpCapability without which there is none; 0: none is needed
    bool isMandatory = false;     ///< of stream channels: told by their number, as channel 0 must be there if any is
    std::uint32_t since = 0;      ///< version, as in Register::kVersion; 0: all have it
    std::uint32_t neededRegister = 0; ///< another one, without whose bits there is none
    std::uint32_t neededMask = 0;
    bool mayBeWritable = false; ///< ReadOnly or ReadWrite, as the device chooses
};

// In the order of their addresses.
std::span<const BootstrapRegister> BootstrapRegisters(); ///< But those of the following, which repeat.
std::span<const BootstrapRegister> InterfaceRegisters(); ///< Interface n, 1 to 3: kOtherInterfaces + (n - 1) · stride
std::span<const BootstrapRegister> StreamChannelRegisters(); ///< Channel n: kStreamChannel + n · kStreamChannelStride
std::span<const BootstrapRegister> ActionRegisters();        ///< Action n: kActionGroupKey + n · kActionStride
/// The register that holds the byte, also of an interface, channel or action; null where there is none.
const BootstrapRegister* FindBootstrapRegister(std::uint32_t address);

namespace Register {
inline constexpr std::uint32_t kEnd = 0xA000; ///< the maker's begin here
inline constexpr std::uint32_t kMaxInterfaces = 4, kMaxStreamChannels = 512, kMaxActionSignals = 128;
inline constexpr std::uint32_t kVersion12 = 0x00010002, kVersion20 = 0x00020000, kVersion21 = 0x00020001,
                               kVersion22 = 0x00020002;
inline constexpr std::uint32_t kVersion = 0x0000, kDeviceMode = 0x0004, kMacHigh = 0x0008, kMacLow = 0x000C,
                               kIpSupported = 0x0010, kIpInUse = 0x0014, kCurrentIp = 0x0024, kCurrentMask = 0x0034,
                               kCurrentGateway = 0x0044, kManufacturer = 0x0048, kModel = 0x0068,
                               kDeviceVersion = 0x0088, kManufacturerInfo = 0x00A8, kSerialNumber = 0x00D8,
                               kUserName = 0x00E8, kFirstUrl = 0x0200, kSecondUrl = 0x0400, kInterfaces = 0x0600,
                               kPersistentIp = 0x064C, kPersistentMask = 0x065C, kPersistentGateway = 0x066C,
                               kLinkSpeed = 0x0670, kOtherInterfaces = 0x0680, kInterfaceStride = 0x80,
                               kMessageChannels = 0x0900, kStreamChannels = 0x0904, kActionSignals = 0x0908,
                               kActionDeviceKey = 0x090C, kActiveLinks = 0x0910, kGvspCapability = 0x092C,
                               kMessageCapability = 0x0930, kGvcpCapability = 0x0934, kHeartbeatTimeout = 0x0938,
                               kTickFrequencyHigh = 0x093C, kTickFrequencyLow = 0x0940, kTimestampControl = 0x0944,
                               kTimestampHigh = 0x0948, kTimestampLow = 0x094C, kDiscoveryDelay = 0x0950,
                               kGvcpConfiguration = 0x0954, kPendingTimeout = 0x0958, kSwitchoverKey = 0x095C,
                               kGvspConfiguration = 0x0960, kLinkCapability = 0x0964, kLinkConfiguration = 0x0968,
                               kPtpState = 0x096C, kActionQueue = 0x0970, kPtpExtras = 0x0974, kPtpProfiles = 0x0978,
                               kPtpProfile = 0x097C, kCcp = 0x0A00, kPrimaryPort = 0x0A04, kPrimaryIp = 0x0A14,
                               kMcp = 0x0B00, kMcda = 0x0B10, kMctt = 0x0B14, kMcrc = 0x0B18, kMcsp = 0x0B1C,
                               kMccfg = 0x0B20, kStreamChannel = 0x0D00, kStreamChannelStride = 0x40,
                               kManifest = 0x9000, kActionGroupKey = 0x9800, kActionGroupMask = 0x9804,
                               kActionStride = 0x10;
// Within a stream channel.
inline constexpr std::uint32_t kScp = 0x00, kScps = 0x04, kScpd = 0x08, kScda = 0x18, kScsp = 0x1C, kScc = 0x20,
                               kSccfg = 0x24, kScz = 0x28, kSczd = 0x2C, kScmpc = 0x30, kScmbsHigh = 0x34,
                               kScmbsLow = 0x38, kSceba = 0x3C;
// Of GenDC, from the address in kSceba.
inline constexpr std::uint32_t kDescriptorAddress = 0x0, kDescriptorSize = 0x4, kFlowTableAddress = 0x8,
                               kFlowTableSize = 0xC;
} // namespace Register

// The bits of the registers. A mask of more than one bit holds a number; its values follow it, shifted down.

namespace Version {
inline constexpr std::uint32_t kMajor = 0xFFFF0000, kMinor = 0x0000FFFF;
}
namespace DeviceMode {
inline constexpr std::uint32_t kBigEndian = 0x80000000;
inline constexpr std::uint32_t kClass = 0x70000000, kTransmitter = 0, kReceiver = 1, kTransceiver = 2, kPeripheral = 3;
inline constexpr std::uint32_t kLink = 0x0F000000, kSingleLink = 0, kMultipleLinks = 1, kStaticLag = 2, kDynamicLag = 3;
inline constexpr std::uint32_t kCharacterSet = 0x000000FF, kUtf8 = 1, kAscii = 2;
} // namespace DeviceMode
inline constexpr std::uint32_t kMacHighMask = 0x0000FFFF;
namespace IpConfiguration { // supported, and in use
inline constexpr std::uint32_t kPauseHandled = 0x80000000, kPauseGenerated = 0x40000000, kLinkLocal = 0x4, kDhcp = 0x2,
                               kPersistent = 0x1;
}
inline constexpr std::uint32_t kActiveLinksMask = 0xF;
namespace GvspCapability {
inline constexpr std::uint32_t kScsp = 0x80000000, kBlockIds16 = 0x40000000, kMaximumBlockSize = 0x20000000,
                               kExtendedBootstrap = 0x10000000;
}
namespace MessageCapability {
inline constexpr std::uint32_t kMcsp = 0x80000000, kMccfg = 0x40000000, kMcec = 0x20000000;
}
namespace GvcpCapability {
inline constexpr std::uint32_t kUserName = 0x80000000, kSerialNumber = 0x40000000, kHeartbeatDisable = 0x20000000,
                               kLinkSpeed = 0x10000000, kPrimaryApplication = 0x08000000, kManifest = 0x04000000,
                               kTestData = 0x02000000, kDiscoveryDelay = 0x01000000,
                               kDiscoveryDelayWritable = 0x00800000, kStatusCodes11 = 0x00400000,
                               kSwitchover = 0x00200000, kUnconditionalAction = 0x00100000, kPtp = 0x00080000,
                               kStatusCodes20 = 0x00040000, kScheduledAction = 0x00020000, kPtpExtras = 0x00010000,
                               kAction = 0x40, kPending = 0x20, kEventData = 0x10, kEvent = 0x8, kPacketResend = 0x4,
                               kWriteMem = 0x2, kConcatenation = 0x1;
}
namespace TimestampControl {
inline constexpr std::uint32_t kLatch = 0x2, kReset = 0x1;
}
inline constexpr std::uint32_t kDiscoveryDelayMask = 0x0000FFFF; ///< ms
namespace GvcpConfiguration {
inline constexpr std::uint32_t kPtp = 0x00080000, kStatusCodes20 = 0x00040000, kUnconditionalAction = 0x8,
                               kStatusCodes11 = 0x4, kPending = 0x2, kHeartbeatDisable = 0x1;
}
inline constexpr std::uint32_t kSwitchoverKeyMask = 0x0000FFFF;
namespace GvspConfiguration {
inline constexpr std::uint32_t kExtendedIds = 0x40000000;
}
namespace LinkCapability { // the link configuration is the number of one of these bits
inline constexpr std::uint32_t kSingle = 0x1, kMultiple = 0x2, kStaticLag = 0x4, kDynamicLag = 0x8;
}
namespace PtpState {
inline constexpr std::uint32_t kState = 0xF, kInitializing = 1, kFaulty = 2, kDisabled = 3, kListening = 4,
                               kPreMaster = 5, kMaster = 6, kPassive = 7, kUncalibrated = 8, kSlave = 9;
}
namespace PtpProfile {
inline constexpr std::uint32_t kRegisters = 0x80000000;                 ///< in kPtpExtras
inline constexpr std::uint32_t kPtp = 0x80000000, k8021As = 0x40000000; ///< in kPtpProfiles
inline constexpr std::uint32_t kSelected = 0x1F;                        ///< in kPtpProfile
} // namespace PtpProfile
namespace Ccp {
inline constexpr std::uint32_t kExclusive = 0x1, kControl = 0x2, kSwitchover = 0x4, kKey = 0xFFFF0000;
}
namespace ChannelPort { // SCP, MCP; the port also of SCSP and MCSP
inline constexpr std::uint32_t kDirection = 0x80000000, kInterface = 0x000F0000, kPort = 0x0000FFFF;
}
namespace Mccfg {
inline constexpr std::uint32_t kMcec = 0x80000000;
}
namespace Scps {
inline constexpr std::uint32_t kFireTestPacket = 0x80000000, kDoNotFragment = 0x40000000, kBigEndian = 0x20000000,
                               kSize = 0x0000FFFF;
}
namespace Scc { // 0x80 to 0x1, but multi-zone, are switched on in SCCFG
inline constexpr std::uint32_t kBothByteOrders = 0x80000000, kIpReassembly = 0x40000000, kMaximumPacketCount = 0x100,
                               kGenDc = 0x80, kMultiPart = 0x40, kLargeLeader = 0x20, kMultiZone = 0x10,
                               kResendDestination = 0x8, kAllIn = 0x4, kUnconditional = 0x2, kExtendedChunks = 0x1;
}
namespace Scz {
inline constexpr std::uint32_t kAdditionalZones = 0x1F;
}

} // namespace GigEVision
