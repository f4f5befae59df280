// One camera, "S1", with no features and a stream that plays the script of the environment variable ZELMO_TEST_SCRIPT;
// see CScript.

#include "fakes/plugins/FakeDevice.h"
#include "fakes/transport/ScriptedStreamGrabber.h"

#include <zelmo/TransportLayer.h>

#include <atomic>
#include <cstdlib>
#include <vector>

namespace {

Zelmo::CTlInfo TlInfo() {
    Zelmo::CTlInfo info;
    info.SetDeviceClass("Scripted").SetFullName("Scripted/1");
    return info;
}

Zelmo::CDeviceInfo DeviceInfo() {
    Zelmo::CDeviceInfo info;
    info.SetDeviceClass("Scripted").SetFullName("Scripted/1/S1");
    return info.SetSerialNumber("S1");
}

Fakes::CScript Script() {
    const char* text = std::getenv("ZELMO_TEST_SCRIPT");
    return text != nullptr ? text : "";
}

class ScriptedDevice final : public Fakes::FakeDevice {
public:
    ScriptedDevice() : FakeDevice(DeviceInfo()) {}

    std::size_t GetNumStreamGrabbers() const override { return 1; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t) override { return &m_grabber; }
    GenApi::INodeMap* GetNodeMap() override { return m_grabber.GetNodeMap(); }
    bool IsRemoved() const override { return m_isRemoved; }
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) override {
        m_callbacks.push_back(callback);
        return m_callbacks.size();
    }
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle) override { m_callbacks.clear(); }

private:
    /// With ZELMO_TEST_MUTE the camera goes without telling: it has to be asked.
    void Remove() {
        m_isRemoved = true;
        for (const auto& callback : m_callbacks) {
            if (std::getenv("ZELMO_TEST_MUTE") == nullptr) {
                callback(this);
            }
        }
    }

    std::atomic<bool> m_isRemoved{false};
    std::vector<Zelmo::DeviceRemovalCallback> m_callbacks;
    Fakes::CScriptedStreamGrabber m_grabber{Script(), 0, [this] { Remove(); }};
};

class ScriptedTransportLayer final : public Zelmo::ITransportLayer {
public:
    int EnumerateDevices(Zelmo::DeviceInfoList& list, bool) override {
        list.push_back(DeviceInfo());
        return static_cast<int>(list.size());
    }
    int EnumerateDevices(Zelmo::DeviceInfoList& list, const Zelmo::DeviceInfoList&, bool addToList) override {
        return EnumerateDevices(list, addToList);
    }
    Zelmo::IZelmoDevice* CreateDevice(const Zelmo::CDeviceInfo&) override { return new ScriptedDevice; }
    Zelmo::IZelmoDevice* CreateFirstDevice(const Zelmo::CDeviceInfo&) override { return new ScriptedDevice; }
    Zelmo::IZelmoDevice* CreateDevice(const Zelmo::CDeviceInfo&, const Zelmo::StringList_t&) override {
        return new ScriptedDevice;
    }
    Zelmo::IZelmoDevice* CreateFirstDevice(const Zelmo::CDeviceInfo&, const Zelmo::StringList_t&) override {
        return new ScriptedDevice;
    }
    Zelmo::IZelmoDevice* CreateDevice(const Zelmo::String_t&) override { return new ScriptedDevice; }
    void DestroyDevice(Zelmo::IZelmoDevice* device) override { delete static_cast<ScriptedDevice*>(device); }
    bool IsDeviceAccessible(const Zelmo::CDeviceInfo&, Zelmo::AccessModeSet, Zelmo::EDeviceAccessiblityInfo*) override {
        return true;
    }
    Zelmo::CTlInfo GetTlInfo() const override { return TlInfo(); }
};

} // namespace

ZELMO_PLUGIN_EXPORT void GetTLInfoList(Zelmo::TlInfoList& list, bool) {
    list.push_back(TlInfo());
}

ZELMO_PLUGIN_EXPORT Zelmo::ITransportLayer* Create(const Zelmo::CTlInfo&) {
    static ScriptedTransportLayer transportLayer; // not counted: it may live as long as the plug-in
    return &transportLayer;
}

ZELMO_PLUGIN_EXPORT void Destroy(Zelmo::ITransportLayer*) {}
