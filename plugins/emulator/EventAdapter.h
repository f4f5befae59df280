// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Boundary.h"

#include <GenApi/EventAdapterGEV.h>
#include <zelmo/EventGrabber.h>

namespace CamEmu {

/// Writes the messages of the event grabber into the node map of an open device.
/// Threads: one at a time; node callbacks run inside DeliverMessage.
class CEventAdapter final : public Zelmo::IEventAdapter {
public:
    explicit CEventAdapter(GenApi::INodeMap& nodeMap) : m_adapter(&nodeMap) {}

    void DeliverMessage(const void* buffer, std::size_t sizeBytes) override {
        AtBoundary("deliver an event", [&] {
            m_adapter.DeliverMessage(static_cast<const std::uint8_t*>(buffer), static_cast<std::uint32_t>(sizeBytes));
        });
    }

private:
    GenApi::CEventAdapterGEV m_adapter;
};

} // namespace CamEmu
