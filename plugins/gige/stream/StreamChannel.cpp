// SPDX-License-Identifier: Apache-2.0
#include "stream/StreamChannel.h"

#include "PluginLog.h"
#include "control/Connection.h"
#include "stream/PacketSize.h"
#include "stream/SocketRoom.h"

#include <Base/GCException.h>
#include <gigevision/Gvsp.h>
#include <gigevision/Registers.h>

#include <algorithm>

namespace Gige {

namespace Register = GigEVision::Register;
namespace Scps = GigEVision::Scps;

namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr std::uint32_t kKeptFlags = Scps::kDoNotFragment | Scps::kBigEndian;

constexpr std::uint32_t AddressOf(std::uint32_t offset) {
    return Register::kStreamChannel + offset;
}

} // namespace

void CStreamChannel::Forget() {
    m_verdict = {};
    m_hasWarned = false;
}

void CStreamChannel::Open(const CStreamParameters& parameters) {
    const bool isConfiguring = IsConfiguring(parameters);
    const CDestination destination = isConfiguring ? Wanted(parameters) : Configured();
    m_socket.emplace(m_connection.Route(), destination.address, destination.port);
    try {
        if (isConfiguring) {
            Tell({destination.address, m_socket->LocalPort()});
        }
        if (isConfiguring && parameters.isPacketSizeFound) {
            FindPacketSize();
        }
        m_packetSize = UsablePacketSize();
        m_sourcePort = (m_connection.Capabilities().gvsp & GigEVision::GvspCapability::kScsp) != 0
                           ? static_cast<std::uint16_t>(Read(Register::kScsp) & GigEVision::ChannelPort::kPort)
                           : std::uint16_t{0};
    } catch (...) {
        Close();
        throw;
    }
}

void CStreamChannel::Close() noexcept {
    if (m_isTold) {
        m_connection.TryWriteRegister(AddressOf(Register::kScp), 0);
        m_isTold = false;
    }
    m_socket.reset();
    m_grantedBytes = 0;
}

void CStreamChannel::MakeReady(const CStreamParameters& parameters, std::uint64_t imageBytes) {
    const std::size_t dataBytes = std::max<std::size_t>(GigEVision::DatagramBytes(m_packetSize), 1);
    const CSocketRoom room = RoomForImagesOf(imageBytes / dataBytes + 3, m_packetSize);
    const bool isChosen = parameters.socketBytes > 0;
    m_grantedBytes = m_socket->SetBuffer(isChosen ? parameters.socketBytes : room.wantedBytes);
    WarnOfSmallBuffer(isChosen ? parameters.socketBytes : room.neededBytes);
    if (m_sourcePort != 0) {
        m_socket->Connect({m_connection.Route().device.address, m_sourcePort});
        m_socket->Send({}); // a firewall then lets the answer in
    }
    m_socket->Drain();
}

void CStreamChannel::WarnOfSmallBuffer(std::uint64_t neededBytes) {
    if (m_grantedBytes < neededBytes && !m_hasWarned) {
        m_hasWarned = true;
        hxlog::LogTrace(
            LogCategory(), hxlog::LogLevel_Warn,
            "Stream of camera %s: the kernel grants %llu KiB of memory for packets, %llu KiB are needed, so "
            "packets may be lost in this host. Remedy: sysctl -w net.core.rmem_max=%llu",
            PluginKit::AddressText(m_connection.Route().device.address).c_str(),
            static_cast<unsigned long long>(m_grantedBytes / 1024), static_cast<unsigned long long>(neededBytes / 1024),
            static_cast<unsigned long long>(std::max(neededBytes, kMostRoomBytes) / 2)); // the kernel doubles it
    }
}

// Without control nothing can be written, and the usual Unicast cannot be meant.
bool CStreamChannel::IsConfiguring(const CStreamParameters& parameters) const {
    return m_connection.HasControl() && parameters.transmission != ETransmission::CameraConfig;
}

CStreamChannel::CDestination CStreamChannel::Wanted(const CStreamParameters& parameters) const {
    const CRoute& route = m_connection.Route();
    switch (parameters.transmission) {
    case ETransmission::Multicast:
        return {parameters.group, parameters.port};
    case ETransmission::LimitedBroadcast:
        return {0xFFFFFFFF, parameters.port};
    case ETransmission::SubnetDirectedBroadcast:
        return {route.hostAddress | ~route.hostMask, parameters.port};
    case ETransmission::Unicast:
    case ETransmission::CameraConfig:
        break;
    }
    return {route.hostAddress, parameters.port};
}

CStreamChannel::CDestination CStreamChannel::Configured() const {
    const CRoute& route = m_connection.Route();
    const CDestination found = {Read(Register::kScda),
                                static_cast<std::uint16_t>(Read(Register::kScp) & GigEVision::ChannelPort::kPort)};
    const std::string camera = PluginKit::AddressText(route.device.address);
    if (found.port == 0) {
        throw RUNTIME_EXCEPTION("Camera %s sends no images: nobody has opened its stream channel.", camera.c_str());
    }
    const bool isForMany = PluginKit::IsMulticast(found.address) || found.address == 0xFFFFFFFF ||
                           found.address == (route.hostAddress | ~route.hostMask);
    if (!isForMany && found.address != route.hostAddress) {
        throw RUNTIME_EXCEPTION("Camera %s sends its images to %s alone. Others can receive them once who controls it "
                                "sets TransmissionType to Multicast.",
                                camera.c_str(), PluginKit::AddressText(found.address).c_str());
    }
    return found;
}

void CStreamChannel::Tell(const CDestination& destination) {
    m_connection.WriteRegister(AddressOf(Register::kScda), destination.address);
    m_isTold = true; // also where the answer is lost
    m_connection.WriteRegister(AddressOf(Register::kScp), m_connection.ChannelPort(destination.port));
}

// A search that finds nothing takes most of a second, so it is done once for each opening, unless somebody changes the
// size or the interface's limit.
void CStreamChannel::FindPacketSize() {
    const std::uint32_t former = Read(Register::kScps), flags = former & kKeptFlags;
    const std::uint32_t limit = PacketSizeLimit(m_connection.Route().mtu);
    if (m_verdict.isSameAs(limit, former & Scps::kSize)) {
        return;
    }
    const std::optional<std::uint32_t> found = Gige::FindPacketSize(
        limit, {[&](std::uint32_t size) { return SetPacketSize(flags | Scps::kDoNotFragment, size); },
                [&](std::uint32_t size) { return TestPacketArrives(flags | Scps::kDoNotFragment, size); }});
    constexpr std::uint32_t kCommon = 1500;
    const std::uint32_t size = found ? *found : std::min({former & Scps::kSize, kCommon, limit});
    m_verdict = {limit, SetPacketSize(flags, size).value_or(former & Scps::kSize)};
    const std::string camera = PluginKit::AddressText(m_connection.Route().device.address);
    if (found) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Info, "Stream of camera %s: packets of %u bytes.",
                        camera.c_str(), m_verdict.size);
    } else {
        hxlog::LogTrace(
            LogCategory(), hxlog::LogLevel_Warn,
            "Stream of camera %s: no test packet arrived, of any size up to %u bytes: the camera sends none, or "
            "a firewall drops them. Packets of %u bytes are used.",
            camera.c_str(), limit, m_verdict.size);
    }
}

std::optional<std::uint32_t> CStreamChannel::SetPacketSize(std::uint32_t flags, std::uint32_t size) {
    try {
        m_connection.WriteRegister(AddressOf(Register::kScps), flags | size);
    } catch (const GenICam::TimeoutException&) {
        throw;
    } catch (const GenICam::GenericException&) {
        return std::nullopt; // some cameras refuse where others take the next smaller one
    }
    return Read(Register::kScps) & Scps::kSize;
}

std::uint32_t CStreamChannel::UsablePacketSize() const {
    const std::uint32_t size = Read(Register::kScps) & Scps::kSize;
    if (size < kLeastPacketSize) {
        throw RUNTIME_EXCEPTION("Camera %s sends packets of %u bytes, and images take %u at least: set "
                                "GevSCPSPacketSize.",
                                PluginKit::AddressText(m_connection.Route().device.address).c_str(), size,
                                kLeastPacketSize);
    }
    return size;
}

bool CStreamChannel::TestPacketArrives(std::uint32_t flags, std::uint32_t size) {
    constexpr std::int64_t kWaitsMs[] = {20, 20, 100};
    for (const std::int64_t waitMs : kWaitsMs) {
        if (!SetPacketSize(flags | Scps::kFireTestPacket, size)) {
            return false;
        }
        if (m_socket->Await(GigEVision::DatagramBytes(size), MonotonicNs() + waitMs * kNsPerMs)) {
            return true;
        }
    }
    return false;
}

std::uint32_t CStreamChannel::Read(std::uint32_t offset) const {
    return m_connection.ReadRegister(AddressOf(offset));
}

} // namespace Gige
