// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Device.h>
#include <zelmo/Log.h>

namespace Fakes {

/// Writes down what a test plug-in is called for; tests read it with a LogRecorder.
template <class... Args>
void LogCall(const char* format, const Args&... args) {
    static const unsigned long kId = hxlog::LogGetCatID("fake");
    hxlog::LogTrace(kId, hxlog::LogLevel_Notice, format, args...);
}

/// A device that can be made and destroyed, and has nothing.
class FakeDevice : public Zelmo::IZelmoDevice {
public:
    explicit FakeDevice(const Zelmo::CDeviceInfo& info) : m_info(info) {}
    virtual ~FakeDevice() = default;

    void Open(Zelmo::AccessModeSet modes) override { m_modes = modes; }
    void Close() override { m_modes.reset(); }
    bool IsOpen() const override { return m_modes.any(); }
    Zelmo::AccessModeSet AccessMode() const override { return m_modes; }
    const Zelmo::CDeviceInfo& GetDeviceInfo() const override { return m_info; }
    std::size_t GetNumStreamGrabbers() const override { return 0; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t) override { return nullptr; }
    Zelmo::IEventGrabber* GetEventGrabber() override { return nullptr; }
    GenApi::INodeMap* GetNodeMap() override { return nullptr; }
    GenApi::INodeMap* GetTLNodeMap() override { return nullptr; }
    bool IsRemoved() const override { return false; }
    Zelmo::ITransportLayer* GetTransportLayer() const override { return nullptr; }
    Zelmo::IEventAdapter* CreateEventAdapter() override { return nullptr; }
    void DestroyEventAdapter(Zelmo::IEventAdapter*) override {}
    Zelmo::IChunkParser* CreateChunkParser() override { return nullptr; }
    void DestroyChunkParser(Zelmo::IChunkParser*) override {}
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback&) override { return 0; }
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle) override {}

private:
    Zelmo::CDeviceInfo m_info;
    Zelmo::AccessModeSet m_modes;
};

} // namespace Fakes
