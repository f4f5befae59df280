// SPDX-License-Identifier: Apache-2.0
#include <GenApi/EventAdapterCL.h>

#include "genicam/genapi/adapters/EventMessage.h"

namespace GenApi {

namespace {

// u16 preamble, u16 checksum, u16 checksum, u16 channel, u16 flags, u16 command, u16 length, u16 request id
constexpr GenCpLayout kLayout = {16, 10, 12, LoadBigEndian<std::uint16_t>};
constexpr std::uint32_t kNownPreamble = 0x0100;

} // namespace

CEventAdapterCL::CEventAdapterCL(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}

CEventAdapterCL::~CEventAdapterCL() = default;

void CEventAdapterCL::DeliverMessage(const uint8_t msg[], uint32_t numBytes) {
    RequireHeader(msg, numBytes, kLayout.headerBytes);
    const auto preamble = LoadBigEndian<std::uint16_t>(msg);
    RequireValue("preamble", preamble, preamble == kNownPreamble);
    DeliverGenCp(Nodes(), kLayout, msg, numBytes);
}

} // namespace GenApi
