// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/EventAdapter.h>

namespace GenApi {

/// Events of USB3 Vision, one in a message. Address 0 of a port is the first byte of the event's structure: the time
/// stamp is at address 4, data at 12. Data that did not fit into the message's buffer is missing at the end.
class GENICAM_API CEventAdapterU3V : public CEventAdapter {
public:
    explicit CEventAdapterU3V(INodeMap* pNodeMap = nullptr);
    ~CEventAdapterU3V() override;

    void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
};

} // namespace GenApi
