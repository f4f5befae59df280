// SPDX-License-Identifier: Apache-2.0
#include "stream/StreamParameters.h"

#include "StreamDescription.h"
#include "common/Endpoint.h"
#include "common/NumberPort.h"

#include <Base/GCException.h>
#include <GenApi/Pointer.h>

namespace Gige {

namespace {

std::int64_t Number(GenApi::INodeMap& nodeMap, const char* name) {
    return GenApi::CIntegerPtr(nodeMap.GetNode(name))->GetValue();
}

template <typename T>
T NumberAs(GenApi::INodeMap& nodeMap, const char* name) {
    return static_cast<T>(Number(nodeMap, name)); // the description has the limits
}

bool Flag(GenApi::INodeMap& nodeMap, const char* name) {
    return GenApi::CBooleanPtr(nodeMap.GetNode(name))->GetValue();
}

std::int64_t Nanoseconds(GenApi::INodeMap& nodeMap, const char* name) {
    return Number(nodeMap, name) * 1'000'000;
}

std::uint32_t Group(GenApi::INodeMap& nodeMap) {
    const GenICam::gcstring text = GenApi::CStringPtr(nodeMap.GetNode("DestinationAddr"))->GetValue();
    const auto group = PluginKit::ParseAddress(text.c_str());
    if (!group || !PluginKit::IsMulticast(*group)) {
        throw INVALID_ARGUMENT_EXCEPTION("DestinationAddr is '%s', a multicast needs a group from 224.0.0.0 to "
                                         "239.255.255.255.",
                                         text.c_str());
    }
    return *group;
}

} // namespace

PluginKit::NodeMapPtr MakeStreamNodeMap(GenApi::IPort& port) {
    constexpr std::string_view kText = GigeStream::kBuiltinDocuments[0].text;
    static GenApi::CNodeMapFactory factory(GenApi::ContentType_Xml, kText.data(), kText.size());
    return PluginKit::MakeNodeMap(factory, port);
}

CStreamParameters ReadStreamParameters(GenApi::INodeMap& nodeMap) {
    CStreamParameters read;
    read.maxBufferBytes = NumberAs<std::uint64_t>(nodeMap, "MaxBufferSize");
    read.maxBuffers = NumberAs<std::uint64_t>(nodeMap, "MaxNumBuffer");
    read.transmission =
        static_cast<ETransmission>(GenApi::CEnumerationPtr(nodeMap.GetNode("TransmissionType"))->GetIntValue());
    read.group = read.transmission == ETransmission::Multicast ? Group(nodeMap) : 0;
    read.port = NumberAs<std::uint16_t>(nodeMap, "DestinationPort");
    read.isPacketSizeFound = Flag(nodeMap, "AutoPacketSize");
    read.socketBytes = NumberAs<std::uint64_t>(nodeMap, "SocketBufferSize") * 1024;
    if (Flag(nodeMap, "ReceiveThreadPriorityOverride")) {
        read.threadPriority = NumberAs<int>(nodeMap, "ReceiveThreadPriority");
    }
    read.isOffloading = Flag(nodeMap, "ReceiveOffloadEnable");
    return read;
}

CResendSettings ReadResendSettings(GenApi::INodeMap& nodeMap) {
    CResendSettings read;
    read.window = NumberAs<std::uint32_t>(nodeMap, "ReceiveWindowSize");
    read.threshold = NumberAs<std::uint32_t>(nodeMap, "ResendRequestThreshold");
    read.timeoutNs = Nanoseconds(nodeMap, "ResendTimeout");
    read.batching = NumberAs<std::uint32_t>(nodeMap, "ResendRequestBatching");
    read.responseTimeoutNs = Nanoseconds(nodeMap, "ResendRequestResponseTimeout");
    read.maxRequests = NumberAs<std::uint32_t>(nodeMap, "MaximumNumberResendRequests");
    read.isEnabled = Flag(nodeMap, "EnableResend") && read.maxRequests > 0;
    read.packetTimeoutNs = Nanoseconds(nodeMap, "PacketTimeout");
    read.frameRetentionNs = Nanoseconds(nodeMap, "FrameRetention");
    return read;
}

std::uint64_t StatisticAt(const CStreamCounts& counts, std::int64_t address) {
    const std::uint64_t ended = counts.complete + counts.failed;
    const std::uint64_t lost = counts.lostBlocks + counts.underruns;
    const std::uint64_t begun = ended + lost + counts.canceled;
    const std::uint64_t statistics[] = {begun, // the order is that of the description, from 0x100 on
                                        counts.complete,
                                        lost,
                                        ended,
                                        counts.failed,
                                        counts.underruns,
                                        counts.lostBlocks,
                                        counts.packets,
                                        counts.missingPackets,
                                        counts.resendCommands,
                                        counts.resendPackets,
                                        counts.resentPackets,
                                        counts.doubledPackets,
                                        counts.ignoredPackets,
                                        counts.errorPackets,
                                        counts.droppedByHost,
                                        counts.resynchronizations,
                                        counts.lastBlockId};
    const auto index = static_cast<std::size_t>(address - 0x100) / 8;
    if (address < 0x100 || address % 8 != 0 || index >= std::size(statistics)) {
        PluginKit::ThrowNoNumber(address);
    }
    return statistics[index];
}

} // namespace Gige
