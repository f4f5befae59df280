// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/EventAdapter.h>

namespace GenApi {

/// Events of GigE Vision: several without data in a message (command 0x00C0), or with data (0x00C2), also several if
/// each says its size. Address 0 of a port is the first byte of the event's item, which is 16 bytes long, 24 with
/// extended ids; its data follows. Data that did not fit into the message's buffer is missing at the end, an item that
/// did not is an error.
class GENICAM_API CEventAdapterGEV : public CEventAdapter {
public:
    explicit CEventAdapterGEV(INodeMap* pNodeMap = nullptr);
    ~CEventAdapterGEV() override;

    void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
};

} // namespace GenApi
