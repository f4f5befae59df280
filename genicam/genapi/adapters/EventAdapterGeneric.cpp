// SPDX-License-Identifier: Apache-2.0
#include <GenApi/EventAdapterGeneric.h>

#include "genicam/genapi/adapters/EventNodes.h"

#include <Base/GCException.h>

#include <optional>

namespace GenApi {

namespace {

void DeliverWhole(EventNodes& nodes, HexId id, const uint8_t msg[], uint32_t numBytes) {
    if (msg == nullptr && numBytes != 0) {
        throw RUNTIME_EXCEPTION("Cannot deliver an event message of %u bytes from null", numBytes);
    }
    nodes.Deliver(id, msg, numBytes);
}

} // namespace

CEventAdapterGeneric::CEventAdapterGeneric(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}

CEventAdapterGeneric::~CEventAdapterGeneric() = default;

void CEventAdapterGeneric::DeliverMessage(const uint8_t[], uint32_t) {
    throw LOGICAL_ERROR_EXCEPTION("Cannot deliver an event message without a header unless its event id is given");
}

void CEventAdapterGeneric::DeliverMessage(const uint8_t msg[], uint32_t numBytes, const GenICam::gcstring& EventID) {
    const std::optional<HexId> id = ParseHexId(EventID.view());
    if (!id) {
        throw INVALID_ARGUMENT_EXCEPTION("The event id '%s' is no hexadecimal number of at most 16 bytes",
                                         EventID.c_str());
    }
    DeliverWhole(Nodes(), *id, msg, numBytes);
}

void CEventAdapterGeneric::DeliverMessage(const uint8_t msg[], uint32_t numBytes, uint64_t EventID) {
    DeliverWhole(Nodes(), {0, EventID}, msg, numBytes);
}

} // namespace GenApi
