// SPDX-License-Identifier: Apache-2.0
#include "Bootstrap.h"

#include "Actions.h"
#include "DeviceState.h"
#include "MessageChannel.h"
#include "StreamRegisters.h"
#include "Ticks.h"

#include <gigevision/Registers.h>

#include "core/Camera.h"
#include "core/RegisterMap.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Serving {

namespace Register = GigEVision::Register;
namespace Capability = GigEVision::GvcpCapability;
namespace Configuration = GigEVision::GvcpConfiguration;
using GigEVision::Status;

namespace {

constexpr std::uint32_t kCapabilities =
    Capability::kUserName | Capability::kSerialNumber | Capability::kHeartbeatDisable | Capability::kLinkSpeed |
    Capability::kPrimaryApplication | Capability::kDiscoveryDelay | Capability::kStatusCodes11 |
    Capability::kSwitchover | Capability::kStatusCodes20 | Capability::kAction | Capability::kPending |
    Capability::kEvent | Capability::kPacketResend | Capability::kWriteMem | Capability::kConcatenation;
constexpr std::uint32_t kConfigurations = Configuration::kStatusCodes20 | Configuration::kStatusCodes11 |
                                          Configuration::kPending | Configuration::kHeartbeatDisable;
// Where an address may come from.
constexpr std::uint32_t kPersistentIp = 0x1, kDhcp = 0x2, kLinkLocal = 0x4;
constexpr std::uint32_t kLatch = 0x2, kReset = 0x1; // of the time stamp
constexpr std::uint32_t kUserNameBytes = 16, kUrlBytes = 512;

struct CConstant {
    std::uint32_t address, value;
};
constexpr CConstant kConstants[] = {
    {Register::kVersion, 0x00020000},
    {Register::kDeviceMode, 0x80000001}, // big endian, a transmitter, UTF-8
    {Register::kIpSupported, kPersistentIp | kDhcp | kLinkLocal},
    {Register::kIpInUse, kDhcp | kLinkLocal},
    {Register::kInterfaces, 1},
    {Register::kMessageChannels, 1},
    {Register::kStreamChannels, 1},
    {Register::kActionSignals, CamEmu::kActions},
    {Register::kActiveLinks, 1},
    {Register::kGvspCapability, 0xC0000000},    // source port; 16-bit block ids too
    {Register::kMessageCapability, 0x80000000}, // source port
    {Register::kGvcpCapability, kCapabilities},
    {Register::kTickFrequencyHigh, static_cast<std::uint32_t>(kTicksPerSecond >> 32)},
    {Register::kTickFrequencyLow, static_cast<std::uint32_t>(kTicksPerSecond)},
    {Register::kPendingTimeout, 100},
    {Register::kLinkCapability, 0x1}, // a single link
};

// Locally administered, and the same for each camera with that serial number.
std::uint64_t MacOf(const std::string& serialNumber) {
    std::uint64_t hash = 0xCBF29CE484222325; // FNV-1a
    for (const char c : serialNumber) {
        hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3;
    }
    return std::uint64_t{0x02} << 40 | ((hash ^ hash >> 40) & 0xFFFFFFFFFF);
}

// The table knows the rights; registers of what was not announced, or of channels and signals that are not there, are
// reserved words like all others.
bool IsWritable(std::uint32_t address) {
    const GigEVision::BootstrapRegister* const found = GigEVision::FindBootstrapRegister(address);
    return found && found->access != GigEVision::RegisterAccess::ReadOnly &&
           (found->capability == 0 || (found->capability & kCapabilities) != 0);
}

constexpr bool IsIn(std::uint32_t address, std::uint32_t first, std::uint32_t bytes) {
    return address - first < bytes;
}

} // namespace

CBootstrap::CBootstrap(CamEmu::CCamera& camera, CTicks& ticks, CDeviceState& state, CStreamRegisters& stream,
                       CMessageChannel& messages, CActions& actions)
    : m_camera(camera), m_ticks(ticks), m_state(state), m_stream(stream), m_messages(messages), m_actions(actions),
      m_memory(Register::kEnd) {
    PutConstants();
}

void CBootstrap::PutConstants() {
    for (const CConstant& constant : kConstants) {
        Put(constant.address, constant.value);
    }
    const std::string serialNumber = m_camera.Text(CamEmu::Reg::kSerialNumber);
    m_mac = MacOf(serialNumber);
    Put(Register::kMacHigh, static_cast<std::uint32_t>(m_mac >> 32));
    Put(Register::kMacLow, static_cast<std::uint32_t>(m_mac));
    PutText(Register::kManufacturer, 32, m_camera.Text(CamEmu::Reg::kVendorName));
    PutText(Register::kModel, 32, m_camera.Text(CamEmu::Reg::kModelName));
    PutText(Register::kDeviceVersion, 32, m_camera.Text(CamEmu::Reg::kDeviceVersion));
    PutText(Register::kManufacturerInfo, 48, m_camera.Text(CamEmu::Reg::kManufacturerInfo));
    PutText(Register::kSerialNumber, 16, serialNumber);
    Put(Register::kLinkSpeed, m_state.settings.linkMbps);
    Put(Register::kDiscoveryDelay, m_state.settings.discoveryDelayMs & 0xFFFF);
}

void CBootstrap::SetUrls(const std::string& first, const std::string& second) {
    PutText(Register::kFirstUrl, kUrlBytes, first);
    PutText(Register::kSecondUrl, kUrlBytes, second);
}

// What changes elsewhere.
void CBootstrap::PutPresent() {
    Put(Register::kCurrentIp, m_state.addressing.address);
    Put(Register::kCurrentMask, m_state.addressing.mask);
    Put(Register::kCurrentGateway, m_state.addressing.gateway);
    PutText(Register::kUserName, kUserNameBytes, m_camera.Text(CamEmu::Reg::kUserId));
    Put(Register::kHeartbeatTimeout, m_state.control.TimeoutMs());
    Put(Register::kGvcpConfiguration, m_state.gvcp);
    Put(Register::kGvspConfiguration, m_state.gvsp);
    Put(Register::kCcp, m_state.control.Privilege());
    Put(Register::kPrimaryPort, m_state.control.Primary().port);
    Put(Register::kPrimaryIp, m_state.control.Primary().address);
    for (const std::uint32_t address :
         {Register::kMcp, Register::kMcda, Register::kMctt, Register::kMcrc, Register::kMcsp}) {
        Put(address, m_messages.Read(address));
    }
    for (std::uint32_t offset = 0; offset < Register::kStreamChannelStride; offset += 4) {
        Put(Register::kStreamChannel + offset, m_stream.Read(offset));
    }
    for (std::uint32_t address = Register::kActionGroupKey; const std::uint32_t* value = m_actions.Find(address);
         address += Register::kActionStride) {
        Put(address, *value);
        Put(address + 4, *m_actions.Find(address + 4));
    }
}

void CBootstrap::Put(std::uint32_t address, std::uint32_t value) {
    GigEVision::PutBigEndian(&m_memory[address], value);
}

std::uint32_t CBootstrap::Get(std::uint32_t address) const {
    return GigEVision::GetBigEndian<std::uint32_t>(&m_memory[address]);
}

void CBootstrap::PutText(std::uint32_t address, std::size_t length, std::string_view text) {
    std::memset(&m_memory[address], 0, length);
    std::memcpy(&m_memory[address], text.data(), std::min(length, text.size()));
}

Status CBootstrap::Read(std::uint32_t address, GigEVision::MutableBytes bytes) {
    PutPresent();
    std::memcpy(bytes.data(), &m_memory[address], bytes.size());
    return Status::Success;
}

Status CBootstrap::Write(std::uint32_t address, GigEVision::Bytes bytes) {
    if (!IsWritable(address)) {
        return Status::WriteProtect;
    }
    if (IsIn(address, Register::kUserName, kUserNameBytes)) {
        return WriteUserName(address, bytes);
    }
    return WriteWord(address, GigEVision::GetBigEndian<std::uint32_t>(bytes.data()));
}

Status CBootstrap::WriteWord(std::uint32_t address, std::uint32_t value) {
    if (IsIn(address, Register::kStreamChannel, Register::kStreamChannelStride)) {
        return m_stream.Write(address - Register::kStreamChannel, value);
    }
    if (std::uint32_t* const key = m_actions.Find(address)) {
        *key = value;
        return Status::Success;
    }
    switch (address) {
    case Register::kPersistentIp:
    case Register::kPersistentMask:
    case Register::kPersistentGateway:
        Put(address, value);
        return Status::Success;
    case Register::kActionDeviceKey:
        m_actions.SetDeviceKey(value);
        return Status::Success;
    case Register::kTimestampControl:
        WriteTimestampControl(value);
        return Status::Success;
    case Register::kSwitchoverKey:
        m_state.control.SetSwitchoverKey(static_cast<std::uint16_t>(value));
        return Status::Success;
    case Register::kMcp:
    case Register::kMcda:
    case Register::kMctt:
    case Register::kMcrc:
        return m_messages.Write(address, value);
    default:
        return WriteConfiguration(address, value);
    }
}

// Registers that take some values only.
Status CBootstrap::WriteConfiguration(std::uint32_t address, std::uint32_t value) {
    const auto isWithin = [value](std::uint32_t mask) { return (value & ~mask) == 0; };
    switch (address) {
    case Register::kIpInUse:
        if (!isWithin(kPersistentIp | kDhcp | kLinkLocal)) {
            return Status::InvalidParameter;
        }
        Put(address, value | kLinkLocal); // which cannot be switched off
        return Status::Success;
    case Register::kHeartbeatTimeout:
        return m_state.control.SetTimeout(value) ? Status::Success : Status::InvalidParameter;
    case Register::kGvcpConfiguration:
        if (!isWithin(kConfigurations)) {
            return Status::InvalidParameter;
        }
        m_state.gvcp = value;
        m_state.control.SwitchHeartbeat(!m_state.IsConfigured(Configuration::kHeartbeatDisable), m_nowNs);
        m_stream.Apply();
        return Status::Success;
    case Register::kGvspConfiguration:
        if (!isWithin(GigEVision::GvspConfiguration::kExtendedIds)) {
            return Status::InvalidParameter;
        }
        if (value != m_state.gvsp && m_stream.IsStreaming()) {
            return Status::AccessDenied; // a block keeps the form of its ids
        }
        m_state.gvsp = value;
        m_stream.Apply();
        return Status::Success;
    default:
        return Status::WriteProtect;
    }
}

// The camera's register is the one that holds it.
Status CBootstrap::WriteUserName(std::uint32_t address, GigEVision::Bytes bytes) {
    PutPresent();
    std::array<std::uint8_t, CamEmu::Reg::kTextLength> name = {};
    std::memcpy(name.data(), &m_memory[Register::kUserName], kUserNameBytes);
    std::memcpy(&name[address - Register::kUserName], bytes.data(), bytes.size());
    m_camera.Write(CamEmu::Reg::kUserId, name.data(), name.size());
    return Status::Success;
}

void CBootstrap::WriteTimestampControl(std::uint32_t value) {
    if ((value & kLatch) != 0) {
        const std::uint64_t now = m_ticks.Now();
        Put(Register::kTimestampHigh, static_cast<std::uint32_t>(now >> 32));
        Put(Register::kTimestampLow, static_cast<std::uint32_t>(now));
    }
    if ((value & kReset) != 0) {
        m_ticks.Reset();
        m_camera.Stream().SetTimeOrigin(m_ticks.OriginNs());
    }
}

void CBootstrap::ResetConfiguration() {
    m_state.gvcp = 0;
    m_state.control.SwitchHeartbeat(true, m_nowNs);
}

CAddressing CBootstrap::PersistentAddressing() const {
    if ((Get(Register::kIpInUse) & kPersistentIp) == 0) {
        return {0};
    }
    return {Get(Register::kPersistentIp), Get(Register::kPersistentMask), Get(Register::kPersistentGateway)};
}

} // namespace Serving
