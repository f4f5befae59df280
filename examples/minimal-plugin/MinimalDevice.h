// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Device.h>

#include "MinimalStreamGrabber.h"

namespace Minimal {

/// The one camera: features, a stream, and nothing else. It does not go away, so it reports no removal.
class MinimalDevice final : public Zelmo::IZelmoDevice, public Zelmo::IDescriptionSource {
public:
    MinimalDevice(Zelmo::ITransportLayer& transportLayer, const Zelmo::CDeviceInfo& info)
        : m_transportLayer(transportLayer), m_info(info) {}

    void Open(Zelmo::AccessModeSet modes) override;
    void Close() override;
    bool IsOpen() const override { return m_nodeMap != nullptr; }
    Zelmo::AccessModeSet AccessMode() const override { return m_modes; }

    const Zelmo::CDeviceInfo& GetDeviceInfo() const override { return m_info; }
    std::size_t GetNumStreamGrabbers() const override { return 1; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t index) override { return index == 0 ? &m_stream : nullptr; }
    Zelmo::IEventGrabber* GetEventGrabber() override { return nullptr; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.get(); }
    GenApi::INodeMap* GetTLNodeMap() override { return m_tlNodeMap.get(); }
    bool IsRemoved() const override { return false; }
    Zelmo::ITransportLayer* GetTransportLayer() const override { return &m_transportLayer; }
    Zelmo::IEventAdapter* CreateEventAdapter() override { return nullptr; }
    void DestroyEventAdapter(Zelmo::IEventAdapter*) override {}
    Zelmo::IChunkParser* CreateChunkParser() override { return nullptr; }
    void DestroyChunkParser(Zelmo::IChunkParser*) override {}
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback&) override { return 0; }
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle) override {}

    void GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) override;

private:
    Zelmo::ITransportLayer& m_transportLayer;
    Zelmo::CDeviceInfo m_info;
    Zelmo::AccessModeSet m_modes;
    NodeMapPtr m_nodeMap;
    NodeMapPtr m_tlNodeMap;
    MinimalStreamGrabber m_stream;
};

} // namespace Minimal
