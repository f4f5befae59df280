// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EventGrabber.h"
#include "ServiceThread.h"
#include "common/ChunkParser.h"
#include "common/EventAdapter.h"
#include "common/NumberPort.h"
#include "common/RemovalWatch.h"
#include "control/Connection.h"
#include "control/RegisterPort.h"
#include "discovery/FoundCamera.h"
#include "net/LinkWatch.h"
#include "stream/StreamGrabber.h"

#include <zelmo/Device.h>

#include <atomic>
#include <memory>
#include <optional>

namespace Gige {

/// What devices of a transport layer share; the transport layer owns it and outlives them.
class CDeviceSurroundings;

/// One application's handle on a camera. Within the process one device object at a time can control it.
/// Owns:    the connection, the service thread, the node maps with their ports, the grabbers, the event adapters, the
///          watch for removals.
/// Threads: one at a time, but for the removal callbacks, IsRemoved and what is read through node maps: any. Locks:
///          plugins/gige/README.md.
class CDevice final : public Zelmo::IZelmoDevice, public Zelmo::IZelmoDevicePrivate, public Zelmo::IDescriptionSource {
public:
    CDevice(CFoundCamera camera, CDeviceSurroundings& surroundings, Zelmo::ITransportLayer& transportLayer);
    ~CDevice();

    /// Exclusive includes Control. The binding rules say whose description the node map is made of.
    /// @throws GenICam::LogicalErrorException when it is open already
    /// @throws GenICam::AccessException       when somebody else has the camera open in a way that excludes this one
    /// @throws GenICam::RuntimeException      when the camera does not answer or cannot be reached, or no description
    ///                                        can be had
    void Open(Zelmo::AccessModeSet modes) override;
    void Close() override;
    bool IsOpen() const override { return m_isOpen; }
    Zelmo::AccessModeSet AccessMode() const override { return m_modes; }

    const Zelmo::CDeviceInfo& GetDeviceInfo() const override { return m_info; }
    std::size_t GetNumStreamGrabbers() const override { return 1; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t index) override { return index == 0 ? &m_grabber : nullptr; }
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
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) override { m_watch.Remove(handle); }

    void* GetNativeHandle() const override { return nullptr; }
    Zelmo::String_t GetChunkNodeMapDescription() const override { return m_chunks.Text(); }
    bool IsChunkNodeMapDescriptionAvailable() const override { return m_chunks.IsAvailable(); }

    void GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) override;

private:
    void Connect(Zelmo::AccessModeSet modes);
    void OpenConnection(Zelmo::AccessModeSet modes);
    void TellIfLost() noexcept;
    void RequireReachable() const;
    void MakeNodeMap(std::int64_t untilNs);
    void StopLeftovers() noexcept;
    void ChangeNodeMap(std::shared_ptr<GenApi::INodeMap> nodeMap) noexcept;
    void Disconnect() noexcept;
    CCameraFeatures Features();
    void LockFeatures(bool isLocked) noexcept;
    void InvalidateStream() noexcept;
    std::uint64_t PayloadSize() const noexcept;
    std::uint64_t AccessStatus() const;
    void ChangeHeartbeat(std::uint32_t timeoutMs);
    std::uint64_t ConnectionValue(std::int64_t address) const;
    void SetConnectionValue(std::int64_t address, std::uint64_t value);

    const CFoundCamera m_camera;
    CDeviceSurroundings& m_surroundings;
    Zelmo::ITransportLayer& m_transportLayer;
    const Zelmo::CDeviceInfo m_info;
    std::atomic<bool> m_isOpen = false;
    Zelmo::AccessModeSet m_modes;
    CConnectionSettings m_settings;
    CConnectionCounts m_counts;
    CConnection m_connection{m_settings, m_counts};
    PluginKit::CRemovalWatch m_watch;
    CServiceThread m_service{m_connection, [this] { TellIfLost(); }};
    std::optional<CLinkWatch::CSubscription> m_linkWatch; // while open
    CRegisterPort m_port{m_connection};
    mutable PluginKit::CMutex m_nodeMapLock;     // a leaf, for changing the pointer, and for others to copy it
    std::shared_ptr<GenApi::INodeMap> m_nodeMap; // while open
    PluginKit::CChunkParsers m_chunks;
    PluginKit::CNumberPort m_connectionPort;
    PluginKit::NodeMapPtr m_connectionMap; // always there
    CStreamGrabber m_grabber;
    CEventGrabber m_eventGrabber;
    PluginKit::CEventAdapters m_eventAdapters; // while open
};

} // namespace Gige
