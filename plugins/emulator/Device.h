#pragma once

#include "CameraPool.h"
#include "Descriptions.h"
#include "RegisterPort.h"
#include "StreamGrabber.h"

#include <zelmo/Device.h>

#include <map>
#include <mutex>

namespace CamEmu {

/// The name of the device class.
inline constexpr const char* deviceClass = "HarlixCamEmu";

/// What enumeration tells of a camera.
Zelmo::CDeviceInfo DescribeCamera(CCamera& camera);

/// One application's handle on an emulated camera. Opened for Control it owns the camera's registers: a second such
/// opening is refused, in the whole process; without Control they can be read only. Closing stops the acquisition.
/// Owns:    the node map with its port, the stream grabber.
/// Borrows: the pool camera, which outlives everything.
/// Threads: one at a time, but for the removal callbacks: any.
class CDevice final : public Zelmo::IZelmoDevice, public Zelmo::IDescriptionSource {
public:
    CDevice(CPoolCamera& camera, Zelmo::ITransportLayer& transportLayer);
    ~CDevice();

    /// @throws GenICam::LogicalErrorException when it is open already
    /// @throws GenICam::RuntimeException      when somebody else controls the camera
    void Open(Zelmo::AccessModeSet modes) override;
    void Close() override;
    bool IsOpen() const override { return m_isOpen; }
    Zelmo::AccessModeSet AccessMode() const override { return m_modes; }

    const Zelmo::CDeviceInfo& GetDeviceInfo() const override { return m_info; }
    std::size_t GetNumStreamGrabbers() const override { return 1; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t index) override;
    Zelmo::IEventGrabber* GetEventGrabber() override { return nullptr; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.get(); }
    GenApi::INodeMap* GetTLNodeMap() override { return nullptr; }
    bool IsRemoved() const override { return false; }
    Zelmo::ITransportLayer* GetTransportLayer() const override { return &m_transportLayer; }
    Zelmo::IEventAdapter* CreateEventAdapter() override { return nullptr; }
    void DestroyEventAdapter(Zelmo::IEventAdapter*) override {}
    Zelmo::IChunkParser* CreateChunkParser() override { return nullptr; }
    void DestroyChunkParser(Zelmo::IChunkParser*) override {}
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) override;
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) override;

    void GetDescription(Zelmo::String_t& url, Zelmo::String_t& bytes) override;

private:
    bool HasControl() const { return m_modes.test(Zelmo::Control); }
    void InvalidateLock() noexcept;

    CPoolCamera& m_camera;
    Zelmo::ITransportLayer& m_transportLayer;
    const Zelmo::CDeviceInfo m_info;
    bool m_isOpen = false;
    Zelmo::AccessModeSet m_modes;
    CRegisterPort m_port;
    NodeMapPtr m_nodeMap; // while open
    CStreamGrabber m_grabber;
    std::mutex m_callbackLock; // guards the two below
    Zelmo::DeviceCallbackHandle m_lastCallback = 0;
    std::map<Zelmo::DeviceCallbackHandle, Zelmo::DeviceRemovalCallback> m_callbacks; // an emulated camera never leaves
};

} // namespace CamEmu
