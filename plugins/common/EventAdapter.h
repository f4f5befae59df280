// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Boundary.h"

#include <GenApi/EventAdapterGEV.h>
#include <zelmo/EventGrabber.h>

#include <memory>
#include <vector>

namespace PluginKit {

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

/// The event adapters of a device.
/// Threads: one at a time.
class CEventAdapters {
public:
    Zelmo::IEventAdapter* Make(GenApi::INodeMap& nodeMap) {
        return AtBoundary("create an event adapter",
                          [&] { return m_adapters.emplace_back(std::make_unique<CEventAdapter>(nodeMap)).get(); });
    }
    void Destroy(const Zelmo::IEventAdapter* adapter) {
        std::erase_if(m_adapters, [adapter](const auto& own) { return own.get() == adapter; });
    }
    void Clear() { m_adapters.clear(); }

private:
    std::vector<std::unique_ptr<CEventAdapter>> m_adapters;
};

} // namespace PluginKit
