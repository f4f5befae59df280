// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraPool.h"
#include "Descriptions.h"
#include "EventGrabber.h"
#include "RegisterPort.h"
#include "StreamGrabber.h"
#include "common/ChunkParser.h"
#include "common/EventAdapter.h"
#include "common/NumberPort.h"
#include "common/RemovalWatch.h"

#include <zelmo/Device.h>

#include <cstdint>

namespace CamEmu {

/// The name of the device class.
inline constexpr const char* kDeviceClass = "HarlixCamEmu";

/// What enumeration tells of a camera.
Zelmo::CDeviceInfo DescribeCamera(CCamera& camera);

/// One application's handle on an emulated camera. Opened for Control it owns the camera's registers: a second such
/// opening is refused, in the whole process; without Control they can be read only. Closing what has control stops the
/// acquisition.
/// Owns:    the node maps with their ports, the grabbers, the event adapters, the watch for removals.
/// Borrows: the pool camera, which outlives everything.
/// Threads: one at a time, but for the removal callbacks, IsRemoved and what is read through node maps: any.
class CDevice final : public Zelmo::IZelmoDevice, public Zelmo::IZelmoDevicePrivate, public Zelmo::IDescriptionSource {
public:
    CDevice(CPoolCamera& camera, Zelmo::ITransportLayer& transportLayer);
    ~CDevice();

    /// Exclusive includes Control. The binding rules say whose description the node map is made of.
    /// @throws GenICam::LogicalErrorException when it is open already
    /// @throws GenICam::AccessException       when somebody else has the camera open in a way that excludes this one
    /// @throws GenICam::RuntimeException      when the camera was removed, what opening needs cannot be made, no
    ///                                        description can be had, or ForceFailedOpen wants it so
    void Open(Zelmo::AccessModeSet modes) override;
    void Close() override;
    bool IsOpen() const override { return m_isOpen; }
    Zelmo::AccessModeSet AccessMode() const override { return m_modes; }

    const Zelmo::CDeviceInfo& GetDeviceInfo() const override { return m_info; }
    std::size_t GetNumStreamGrabbers() const override { return 1; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t index) override;
    Zelmo::IEventGrabber* GetEventGrabber() override { return &m_eventGrabber; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.get(); }
    GenApi::INodeMap* GetTLNodeMap() override { return m_connectionMap.get(); }
    bool IsRemoved() const override { return m_watch.IsLost(); }
    Zelmo::ITransportLayer* GetTransportLayer() const override { return &m_transportLayer; }
    Zelmo::IEventAdapter* CreateEventAdapter() override; ///< Null while the device is closed.
    void DestroyEventAdapter(Zelmo::IEventAdapter* adapter) override { m_eventAdapters.Destroy(adapter); }
    /// Null while the device is closed, and when no description for chunks is available.
    Zelmo::IChunkParser* CreateChunkParser() override { return m_chunks.Make(); }
    void DestroyChunkParser(Zelmo::IChunkParser*) override {} // they give themselves up
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) override;
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) override;

    void* GetNativeHandle() const override { return nullptr; }
    Zelmo::String_t GetChunkNodeMapDescription() const override { return m_chunks.Text(); }
    bool IsChunkNodeMapDescriptionAvailable() const override { return m_chunks.IsAvailable(); }

    void GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) override;

private:
    void Connect(Zelmo::AccessModeSet modes);
    bool HasControl() const { return m_modes.test(Zelmo::Control); }
    void InvalidateLock() noexcept;
    std::uint64_t ConnectionValue(std::int64_t address) const;
    void SetConnectionValue(std::int64_t address, std::uint64_t value);

    CPoolCamera& m_camera;
    Zelmo::ITransportLayer& m_transportLayer;
    const Zelmo::CDeviceInfo m_info;
    bool m_isOpen = false;
    Zelmo::AccessModeSet m_modes;
    CRegisterPort m_port;
    PluginKit::NodeMapPtr m_nodeMap; // while open
    PluginKit::CChunkParsers m_chunks;
    PluginKit::CNumberPort m_connectionPort;
    PluginKit::NodeMapPtr m_connectionMap; // always there
    CStreamGrabber m_grabber;
    CEventGrabber m_eventGrabber;
    PluginKit::CEventAdapters m_eventAdapters; // while open
    PluginKit::CRemovalWatch m_watch;
};

} // namespace CamEmu
