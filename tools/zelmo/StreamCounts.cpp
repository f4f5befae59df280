// SPDX-License-Identifier: Apache-2.0
#include "StreamCounts.h"

#include <GenApi/GenApi.h>

namespace tool {
namespace {

struct Field {
    StreamCounts::Count StreamCounts::*count;
    const char* node;
    const char* key;
};

constexpr Field kFields[] = {
    {&StreamCounts::packets, "Statistic_Total_Packet_Count", "packets"},
    {&StreamCounts::missing, "Statistic_Failed_Packet_Count", "missing"},
    {&StreamCounts::requests, "Statistic_Resend_Request_Count", "resend_requests"},
    {&StreamCounts::requested, "Statistic_Resend_Packet_Count", "asked_for"},
    {&StreamCounts::resent, "Statistic_Resent_Packet_Count", "resent"},
    {&StreamCounts::refused, "Statistic_Error_Packet_Count", "refused"},
    {&StreamCounts::droppedByHost, "Statistic_Host_Dropped_Packet_Count", "dropped_by_host"},
    {&StreamCounts::ignored, "Statistic_Ignored_Packet_Count", "ignored"},
    {&StreamCounts::underruns, "Statistic_Buffer_Underrun_Count", "underruns"},
    {&StreamCounts::missedImages, "Statistic_Missed_Frame_Count", "missed_images"},
};

} // namespace

Json StreamCounts::ToJson() const {
    Json json = Json::object();
    for (const Field& field : kFields) {
        if (const Count& count = this->*field.count) {
            json[field.key] = JsonInteger(*count);
        }
    }
    return json;
}

StreamCounts ReadStreamCounts(GenApi::INodeMap* nodeMap) {
    StreamCounts counts;
    for (const Field& field : kFields) {
        const GenApi::CIntegerPtr node(nodeMap != nullptr ? nodeMap->GetNode(field.node) : nullptr);
        if (GenApi::IsReadable(node)) {
            counts.*field.count = static_cast<std::uint64_t>(node->GetValue());
        }
    }
    return counts;
}

} // namespace tool
