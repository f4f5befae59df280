// SPDX-License-Identifier: Apache-2.0
#include "StreamRegisters.h"

#include "Acquisition.h"
#include "DeviceState.h"
#include <serving/Ticks.h>

#include <algorithm>
#include <exception>

namespace Serving {

namespace Register = GigEVision::Register;
namespace Scps = GigEVision::Scps;
namespace Scc = GigEVision::Scc;
using GigEVision::Status;

namespace {

constexpr std::uint32_t kCapability = Scc::kResendDestination | Scc::kExtendedChunks;
constexpr std::uint32_t kPortMask = 0xFFFF;
constexpr std::uint32_t kFirstPacketSize = 1500, kLeastPacketSize = 576, kLargestPacketSize = 16000;
static_assert(kTicksPerSecond == 1'000'000'000, "a delay in ticks is one in nanoseconds");

} // namespace

CStreamRegisters::CStreamRegisters(IStream& stream, CAcquisition& acquisition, const CDeviceState& state)
    : m_stream(stream), m_acquisition(acquisition), m_state(state), m_packetSize(PossibleSize(kFirstPacketSize)) {}

std::uint32_t CStreamRegisters::Read(std::uint32_t offset) const {
    switch (offset) {
    case Register::kScp:
        return m_port;
    case Register::kScps:
        return m_packetSize;
    case Register::kScpd:
        return m_delayTicks;
    case Register::kScda:
        return m_destination;
    case Register::kScsp:
        return m_sourcePort;
    case Register::kScc:
        return kCapability;
    case Register::kSccfg:
        return m_configuration;
    default:
        return 0;
    }
}

Status CStreamRegisters::Write(std::uint32_t offset, std::uint32_t value) {
    switch (offset) {
    case Register::kScp:
        return WritePort(value);
    case Register::kScps:
        return WritePacketSize(value);
    case Register::kScpd:
        m_delayTicks = value;
        Apply();
        return Status::Success;
    case Register::kScda:
        return WriteDestination(value);
    case Register::kSccfg:
        return WriteConfiguration(value);
    default:
        return Status::WriteProtect;
    }
}

// Each opening begins anew, also that of an open channel.
Status CStreamRegisters::WritePort(std::uint32_t value) {
    Close();
    m_port = static_cast<std::uint16_t>(value & kPortMask);
    Status status = Status::Success;
    if (m_port != 0) {
        try {
            m_sourcePort = m_stream.Open(Settings());
        } catch (const std::exception&) {
            m_port = 0;
            status = Status::Error;
        }
    }
    m_acquisition.GoOn();
    return status;
}

void CStreamRegisters::Close() noexcept {
    if (m_stream.IsOpen()) {
        m_stream.Close();
    }
    m_port = m_sourcePort = 0;
}

// The size counts headers of IP and UDP. What cannot be had becomes the next smaller one.
std::uint32_t CStreamRegisters::PossibleSize(std::uint32_t wanted) const {
    const std::uint32_t largest = std::clamp(m_state.settings.largestPacket, kLeastPacketSize, kLargestPacketSize);
    return std::clamp(wanted, kLeastPacketSize, largest) / 4 * 4;
}

Status CStreamRegisters::WritePacketSize(std::uint32_t value) {
    const std::uint32_t wanted = PossibleSize(value & Scps::kSize) | (value & Scps::kDoNotFragment);
    if (wanted != m_packetSize) {
        if (IsStreaming()) {
            return Status::AccessDenied;
        }
        m_packetSize = wanted;
        Apply();
    }
    if ((value & Scps::kFireTestPacket) != 0 && m_stream.IsOpen() && !IsStreaming()) {
        m_stream.SendTestPacket(m_packetSize & Scps::kSize, (m_packetSize & Scps::kDoNotFragment) != 0);
    }
    return Status::Success;
}

Status CStreamRegisters::WriteDestination(std::uint32_t address) {
    if (!m_state.MaySendTo(address)) {
        return Status::AccessDenied;
    }
    m_destination = address;
    Apply();
    return Status::Success;
}

Status CStreamRegisters::WriteConfiguration(std::uint32_t value) {
    if ((value & ~kCapability) != 0) {
        return Status::InvalidParameter;
    }
    m_configuration = value;
    Apply();
    return Status::Success;
}

Status CStreamRegisters::SetChunkForm(EChunkForm form) {
    if (IsStreaming()) {
        return Status::AccessDenied;
    }
    m_chunkForm = form;
    Apply();
    return Status::Success;
}

void CStreamRegisters::Apply() {
    if (m_stream.IsOpen()) {
        m_stream.Apply(Settings());
    }
}

CStreamSettings CStreamRegisters::Settings() const {
    CStreamSettings settings;
    // a former primary's address may not be sent to any more
    settings.destination = {m_state.MaySendTo(m_destination) ? m_destination : 0, m_port};
    settings.packetSize = m_packetSize & Scps::kSize;
    settings.doNotFragment = (m_packetSize & Scps::kDoNotFragment) != 0;
    settings.packetDelayNs = m_delayTicks;
    settings.extendedIds = m_state.HasExtendedIds();
    settings.extendedChunks = (m_configuration & Scc::kExtendedChunks) != 0;
    settings.chunkForm = m_chunkForm;
    settings.resendToRequester = (m_configuration & Scc::kResendDestination) != 0;
    settings.statusCodes11 = m_state.IsConfigured(GigEVision::GvcpConfiguration::kStatusCodes11);
    settings.statusCodes20 = m_state.IsConfigured(GigEVision::GvcpConfiguration::kStatusCodes20);
    return settings;
}

} // namespace Serving
