// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MinimalEvents.h"
#include "MinimalPort.h"
#include "MinimalStreamGrabber.h"

#include <zelmo/Device.h>

namespace Minimal {

/// One application's handle on the camera: features, a stream, events, and the news that the camera is gone. It gives
/// the description as well (IDescriptionSource) and tells that it has one for chunks (IZelmoDevicePrivate).
/// Threads: one at a time, but for IsOpen, which the removal thread asks, too.
class MinimalDevice final : public Zelmo::IZelmoDevice,
                            public Zelmo::IZelmoDevicePrivate,
                            public Zelmo::IDescriptionSource {
public:
    MinimalDevice(Zelmo::ITransportLayer& transportLayer, MinimalCamera& camera, const Zelmo::CDeviceInfo& info);
    ~MinimalDevice();

    void Open(Zelmo::AccessModeSet modes) override;
    void Close() override;
    bool IsOpen() const override { return m_isOpen; }
    Zelmo::AccessModeSet AccessMode() const override { return m_modes; }

    const Zelmo::CDeviceInfo& GetDeviceInfo() const override { return m_info; }
    std::size_t GetNumStreamGrabbers() const override { return 1; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t index) override { return index == 0 ? &m_stream : nullptr; }
    Zelmo::IEventGrabber* GetEventGrabber() override { return &m_events; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.get(); }
    GenApi::INodeMap* GetTLNodeMap() override { return m_tlNodeMap.get(); }
    bool IsRemoved() const override { return m_isOpen && !m_camera.IsPluggedIn(); }
    Zelmo::ITransportLayer* GetTransportLayer() const override { return &m_transportLayer; }
    Zelmo::IEventAdapter* CreateEventAdapter() override;
    void DestroyEventAdapter(Zelmo::IEventAdapter* adapter) override;
    Zelmo::IChunkParser* CreateChunkParser() override;
    void DestroyChunkParser(Zelmo::IChunkParser* parser) override;
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) override;
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) override;

    void* GetNativeHandle() const override { return nullptr; }
    Zelmo::String_t GetChunkNodeMapDescription() const override;
    bool IsChunkNodeMapDescriptionAvailable() const override { return true; }

    void GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) override;

private:
    Zelmo::ITransportLayer& m_transportLayer;
    MinimalCamera& m_camera;
    const Zelmo::CDeviceInfo m_info;
    std::atomic<bool> m_isOpen{false};
    Zelmo::AccessModeSet m_modes;
    MinimalPort m_port;     // outlives the node map
    NodeMapPtr m_nodeMap;   // while open
    NodeMapPtr m_tlNodeMap; // always: it is set before the device is opened
    MinimalStreamGrabber m_stream;
    MinimalEventGrabber m_events;
};

} // namespace Minimal
