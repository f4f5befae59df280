// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/NodeMap.h"
#include "stream/Reassembler.h"

#include <GenApi/IPort.h>

#include <cstdint>
#include <optional>

namespace Gige {

/// Whom the camera sends to; the numbers are those of the node "TransmissionType".
enum class ETransmission : std::uint8_t { Unicast, Multicast, LimitedBroadcast, SubnetDirectedBroadcast, CameraConfig };

/// What is taken over when a grab is prepared.
struct CStreamParameters {
    std::uint64_t maxBufferBytes = 0, maxBuffers = 0;
    ETransmission transmission = ETransmission::Unicast;
    std::uint32_t group = 0;           ///< of a multicast
    std::uint16_t port = 0;            ///< 0: any
    bool isPacketSizeFound = true;     ///< AutoPacketSize
    std::uint64_t socketBytes = 0;     ///< of kernel memory; 0: as many as are needed
    std::optional<int> threadPriority; ///< nullopt: the usual one
    bool isOffloading = false;
};

/// The node map of a stream grabber, GigEStream.xml, over @p port, which must outlive it.
/// @throws GenICam::RuntimeException
PluginKit::NodeMapPtr MakeStreamNodeMap(GenApi::IPort& port);

/// @throws GenICam::InvalidArgumentException for a group that is none
CStreamParameters ReadStreamParameters(GenApi::INodeMap& nodeMap);
CResendSettings ReadResendSettings(GenApi::INodeMap& nodeMap);
/// The parameters that CResendSettings is made of.
inline constexpr const char* kResendParameters[] = {"EnableResend",
                                                    "ReceiveWindowSize",
                                                    "ResendRequestThreshold",
                                                    "ResendTimeout",
                                                    "ResendRequestBatching",
                                                    "ResendRequestResponseTimeout",
                                                    "MaximumNumberResendRequests",
                                                    "PacketTimeout",
                                                    "FrameRetention"};

// The registers of GigEStream.xml.
namespace StreamRegister {
inline constexpr std::int64_t kPayloadSize = 0x00, kIsPrepared = 0x08, kStatus = 0x10, kAccessMode = 0x18,
                              kIsGrabbing = 0x20, kGrantedKib = 0x28, kAnnounced = 0x30, kInput = 0x38, kOutput = 0x40,
                              kLastFailedStatus = 0x48, kLastFailedText = 0x800;
inline constexpr std::int64_t kLastFailedTextBytes = 256;
} // namespace StreamRegister

/// The statistic at an address. @throws GenICam::RuntimeException where there is none
std::uint64_t StatisticAt(const CStreamCounts& counts, std::int64_t address);

} // namespace Gige
