#pragma once

#include <zelmo/StreamGrabber.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <thread>

#include "NullTransport.h"
#include "RegisterNodes.h"
#include "ScriptedStreamGrabber.h"
#include "fakes/plugins/FakeDevice.h"

namespace Fakes {

/// A camera around a stream grabber, with the integers Width, Height and PayloadSize, the enumerations PixelFormat
/// (Mono8) and AcquisitionMode (Continuous, SingleFrame), the commands AcquisitionStart, AcquisitionStop and
/// TriggerSoftware.
class CStreamDevice : public FakeDevice, public Zelmo::IZelmoDevicePrivate, private IRegisters {
public:
    ~CStreamDevice() override;

    /// The camera is physically gone: the removal callbacks are called once, on a thread of their own.
    void Remove();

    std::size_t GetNumStreamGrabbers() const override { return 1; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t index) override { return index == 0 ? &m_grabber : nullptr; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodes.Map(); }
    bool IsRemoved() const override { return m_isRemoved; }
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) override;
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) override;

    void* GetNativeHandle() const override { return nullptr; }
    Zelmo::String_t GetChunkNodeMapDescription() const override { return {}; }
    bool IsChunkNodeMapDescriptionAvailable() const override { return false; }

protected:
    CStreamDevice(const Zelmo::CDeviceInfo& info, Zelmo::IStreamGrabber& grabber, std::int64_t width,
                  std::int64_t height);

private:
    virtual void OnSize(std::int64_t, std::int64_t) {}
    virtual void OnAcquisitionStart(std::uint64_t) {} ///< For that many frames; 0 without end.
    virtual void OnAcquisitionStop() {}
    virtual void OnTrigger() {}
    virtual void OnRemove() {}

    std::int64_t ReadRegister(int number) override;
    void WriteRegister(int number, std::int64_t value) override;

    Zelmo::IStreamGrabber& m_grabber;
    std::atomic<std::int64_t> m_width, m_height, m_mode{0};
    std::atomic<bool> m_isRemoved{false};
    CRegisterNodes m_nodes;
    std::mutex m_callbackLock; // guards the two below
    Zelmo::DeviceCallbackHandle m_lastHandle = 0;
    std::map<Zelmo::DeviceCallbackHandle, Zelmo::DeviceRemovalCallback> m_callbacks;
    std::thread m_removal;
};

/// A camera with a scripted stream grabber. Frames begin only between AcquisitionStart and AcquisitionStop, also those
/// that are delivered by hand; TriggerSoftware delivers one.
class CScriptedDevice final : public CStreamDevice {
public:
    explicit CScriptedDevice(const CScript& script = {}, std::uint32_t cameraNumber = 0,
                             const Zelmo::CDeviceInfo& info = {});

    CScriptedStreamGrabber& Grabber() { return m_scripted; }

private:
    void OnSize(std::int64_t width, std::int64_t height) override;
    void OnAcquisitionStart(std::uint64_t frames) override { m_scripted.Acquire(frames); }
    void OnAcquisitionStop() override { m_scripted.StopAcquisition(); }
    void OnTrigger() override { m_scripted.Deliver(); }
    void OnRemove() override { m_scripted.Remove(); }

    CScriptedStreamGrabber m_scripted;
};

/// A camera with a null stream grabber, for benchmarks of the camera layer; images of 64 × 64.
class CNullDevice final : public CStreamDevice {
public:
    explicit CNullDevice(CNullStreamGrabber::EPace pace = CNullStreamGrabber::EPace::AtOnce,
                         const Zelmo::CDeviceInfo& info = {})
        : CStreamDevice(info, m_null, 64, 64), m_null(pace, 64 * 64) {}

    CNullStreamGrabber& Grabber() { return m_null; }

private:
    CNullStreamGrabber m_null;
};

} // namespace Fakes
