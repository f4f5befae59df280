// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

/// The bootstrap registers of GigE Vision, 0x0000 to 0x9FFF, as data.
namespace GigEVision {

enum class RegisterAccess : std::uint8_t { ReadOnly, WriteOnly, ReadWrite };

struct BootstrapRegister {
    std::uint32_t address; ///< or the offset within its stream channel or action
    std::uint32_t bytes;   ///< 4, or the length of a text or table
    const char* name;      ///< "GVCP capability"
    RegisterAccess access = RegisterAccess::ReadOnly;
    std::uint32_t capability = 0; ///< mask of Register::kGvcpCapability without which there is none; 0: none is needed
    bool isMandatory = false;
};

std::span<const BootstrapRegister> BootstrapRegisters();     ///< In the order of their addresses.
std::span<const BootstrapRegister> StreamChannelRegisters(); ///< At kStreamChannel + n · kStreamChannelStride.
const BootstrapRegister* FindBootstrapRegister(std::uint32_t address); ///< That holds the byte; channels too.

namespace Register {
inline constexpr std::uint32_t kEnd = 0xA000; ///< the maker's begin here
inline constexpr std::uint32_t kVersion = 0x0000, kDeviceMode = 0x0004, kMacHigh = 0x0008, kMacLow = 0x000C,
                               kIpSupported = 0x0010, kIpInUse = 0x0014, kCurrentIp = 0x0024, kCurrentMask = 0x0034,
                               kCurrentGateway = 0x0044, kManufacturer = 0x0048, kModel = 0x0068,
                               kDeviceVersion = 0x0088, kManufacturerInfo = 0x00A8, kSerialNumber = 0x00D8,
                               kUserName = 0x00E8, kFirstUrl = 0x0200, kSecondUrl = 0x0400, kInterfaces = 0x0600,
                               kPersistentIp = 0x064C, kPersistentMask = 0x065C, kPersistentGateway = 0x066C,
                               kLinkSpeed = 0x0670, kMessageChannels = 0x0900, kStreamChannels = 0x0904,
                               kActionSignals = 0x0908, kActionDeviceKey = 0x090C, kActiveLinks = 0x0910,
                               kGvspCapability = 0x092C, kMessageCapability = 0x0930, kGvcpCapability = 0x0934,
                               kHeartbeatTimeout = 0x0938, kTickFrequencyHigh = 0x093C, kTickFrequencyLow = 0x0940,
                               kTimestampControl = 0x0944, kTimestampHigh = 0x0948, kTimestampLow = 0x094C,
                               kDiscoveryDelay = 0x0950, kGvcpConfiguration = 0x0954, kPendingTimeout = 0x0958,
                               kSwitchoverKey = 0x095C, kGvspConfiguration = 0x0960, kLinkCapability = 0x0964,
                               kLinkConfiguration = 0x0968, kCcp = 0x0A00, kPrimaryPort = 0x0A04, kPrimaryIp = 0x0A14,
                               kMcp = 0x0B00, kMcda = 0x0B10, kMctt = 0x0B14, kMcrc = 0x0B18, kMcsp = 0x0B1C,
                               kStreamChannel = 0x0D00, kStreamChannelStride = 0x40, kManifest = 0x9000,
                               kActionGroupKey = 0x9800, kActionGroupMask = 0x9804, kActionStride = 0x10;
// Within a stream channel.
inline constexpr std::uint32_t kScp = 0x00, kScps = 0x04, kScpd = 0x08, kScda = 0x18, kScsp = 0x1C, kScc = 0x20,
                               kSccfg = 0x24;
} // namespace Register

namespace GvcpCapability { // masks of kGvcpCapability; those of the configuration are the same where both exist
inline constexpr std::uint32_t kUserName = 0x80000000, kSerialNumber = 0x40000000, kHeartbeatDisable = 0x20000000,
                               kLinkSpeed = 0x10000000, kPrimaryApplication = 0x08000000, kManifest = 0x04000000,
                               kTestData = 0x02000000, kDiscoveryDelay = 0x01000000,
                               kDiscoveryDelayWritable = 0x00800000, kStatusCodes11 = 0x00400000,
                               kSwitchover = 0x00200000, kUnconditionalAction = 0x00100000, kPtp = 0x00080000,
                               kStatusCodes20 = 0x00040000, kScheduledAction = 0x00020000, kPtpExtras = 0x00010000,
                               kAction = 0x40, kPending = 0x20, kEventData = 0x10, kEvent = 0x8, kPacketResend = 0x4,
                               kWriteMem = 0x2, kConcatenation = 0x1;
}
namespace GvcpConfiguration {
inline constexpr std::uint32_t kPtp = 0x00080000, kStatusCodes20 = 0x00040000, kUnconditionalAction = 0x8,
                               kStatusCodes11 = 0x4, kPending = 0x2, kHeartbeatDisable = 0x1;
}
namespace Ccp {
inline constexpr std::uint32_t kExclusive = 0x1, kControl = 0x2, kSwitchover = 0x4, kKey = 0xFFFF0000;
}
namespace GvspConfiguration {
inline constexpr std::uint32_t kExtendedIds = 0x40000000;
}
namespace Scps {
inline constexpr std::uint32_t kFireTestPacket = 0x80000000, kDoNotFragment = 0x40000000, kBigEndian = 0x20000000,
                               kSize = 0x0000FFFF;
}
namespace Scc { // and of SCCFG
inline constexpr std::uint32_t kResendDestination = 0x8, kAllIn = 0x4, kUnconditional = 0x2, kExtendedChunks = 0x1;
}

} // namespace GigEVision
