// SPDX-License-Identifier: Apache-2.0
#include <GenApi/EventAdapterU3V.h>

#include "genicam/genapi/adapters/EventMessage.h"

namespace GenApi {

namespace {

// u32 prefix, u16 flags, u16 command, u16 length, u16 request id
constexpr GenCpLayout kLayout = {12, 6, 8, LoadLittleEndian<std::uint16_t>};
constexpr std::uint32_t kNownPrefix = 0x45563355; // "U3VE"

} // namespace

CEventAdapterU3V::CEventAdapterU3V(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}

CEventAdapterU3V::~CEventAdapterU3V() = default;

void CEventAdapterU3V::DeliverMessage(const uint8_t msg[], uint32_t numBytes) {
    RequireHeader(msg, numBytes, kLayout.headerBytes);
    const auto prefix = LoadLittleEndian<std::uint32_t>(msg);
    RequireValue("prefix", prefix, prefix == kNownPrefix);
    DeliverGenCp(Nodes(), kLayout, msg, numBytes);
}

} // namespace GenApi
