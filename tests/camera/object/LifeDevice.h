// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fakes/transport/StreamDevice.h"

#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>

/// A scripted camera that writes down its life, calls a hook at each call of the contract, and complains when it is
/// used after it was let go of. As hooks may throw, so does the call, without any effect.
class LifeDevice final : public Fakes::CStreamDevice {
public:
    explicit LifeDevice(const Fakes::CScript& script = {}, const char* deviceClass = "Life",
                        std::vector<Fakes::CFeature> more = {})
        : CStreamDevice(InfoOf(deviceClass), script.width, script.height, true, std::move(more)),
          m_grabber(script, 1, [this] { Remove(); }) {
        m_grabber.StopAcquisition();
    }

    /// Something to do. Threads: any.
    class Hook {
    public:
        using Call = std::function<void(const std::string& call)>;
        void operator=(Call call) {
            const std::lock_guard lock(m_lock);
            m_call = std::move(call);
        }
        void operator()(const char* call) const {
            std::unique_lock lock(m_lock);
            const Call todo = m_call; // which may take itself out
            lock.unlock();
            if (todo) {
                todo(call);
            }
        }

    private:
        mutable std::mutex m_lock;
        Call m_call;
    };
    Hook hook;                          ///< Before each call, on its thread.
    std::string life;                   ///< "open1,3 register deregister close …": without what only asks
    bool isClosedByRemoval = false;     ///< IsOpen says no once the camera is removed.
    std::atomic<bool> isGone{false};    ///< Let go of: any call is a fault.
    mutable std::atomic<int> faults{0}; ///< Such calls.

    Fakes::CScriptedStreamGrabber& Grabber() { return m_grabber; }
    std::size_t Callbacks() const { return m_callbacks.size(); } ///< Registered now.
    using CStreamDevice::SetValue;
    using CStreamDevice::Value;
    void Fire() { CStreamDevice::Remove(); }

    void Open(Zelmo::AccessModeSet modes) override {
        Called("Open");
        FakeDevice::Open(modes);
        life += "open";
        for (std::size_t mode = 1; mode <= 4; ++mode) {
            life += modes.test(mode) ? std::to_string(mode) : "";
        }
        life += " ";
    }
    void Close() override {
        Called("Close");
        FakeDevice::Close();
        life += "close ";
    }
    bool IsOpen() const override {
        Called("IsOpen");
        return FakeDevice::IsOpen() && !(isClosedByRemoval && IsRemoved());
    }
    const Zelmo::CDeviceInfo& GetDeviceInfo() const override {
        Called("GetDeviceInfo");
        return FakeDevice::GetDeviceInfo();
    }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t) override {
        Called("GetStreamGrabber");
        return &m_grabber;
    }
    GenApi::INodeMap* GetNodeMap() override {
        Called("GetNodeMap");
        return hasNodeMap ? CStreamDevice::GetNodeMap() : nullptr;
    }
    GenApi::INodeMap* GetTLNodeMap() override {
        Called("GetTLNodeMap");
        return nullptr;
    }
    Zelmo::IEventGrabber* GetEventGrabber() override {
        Called("GetEventGrabber");
        return eventGrabber;
    }
    Zelmo::IEventAdapter* CreateEventAdapter() override {
        Called("CreateEventAdapter");
        return eventAdapter;
    }
    void DestroyEventAdapter(Zelmo::IEventAdapter*) override { Called("DestroyEventAdapter"); }
    Zelmo::IChunkParser* CreateChunkParser() override {
        Called("CreateChunkParser");
        return makeParser ? makeParser() : nullptr;
    }
    bool IsChunkNodeMapDescriptionAvailable() const override {
        Called("IsChunkNodeMapDescriptionAvailable");
        return static_cast<bool>(makeParser);
    }
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) override {
        Called("RegisterRemovalCallback");
        if (!hasRemoval) {
            return 0;
        }
        const auto handle = CStreamDevice::RegisterRemovalCallback(callback);
        m_callbacks.insert(handle);
        lastCallback = callback;
        life += "register ";
        return handle;
    }
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) override {
        Called("DeregisterRemovalCallback");
        CStreamDevice::DeregisterRemovalCallback(handle);
        m_callbacks.erase(handle);
        life += "deregister ";
    }

    bool hasNodeMap = true;
    bool hasRemoval = true;
    Zelmo::IEventGrabber* eventGrabber = nullptr;
    Zelmo::IEventAdapter* eventAdapter = nullptr;
    std::function<Zelmo::IChunkParser*()> makeParser; ///< Empty: there is no description for chunks.
    Zelmo::DeviceRemovalCallback lastCallback{nullptr};

private:
    static Zelmo::CDeviceInfo InfoOf(const char* deviceClass) {
        Zelmo::CDeviceInfo info;
        info.SetDeviceClass(deviceClass);
        info.SetFullName("Life 1");
        info.SetSerialNumber("1");
        return info;
    }
    void Called(const char* call) const {
        faults += isGone ? 1 : 0;
        hook(call);
    }
    void OnFeature(EFeature feature) override {
        if (feature == Start) {
            Called("AcquisitionStart");
            m_grabber.Acquire(0);
        } else if (feature == Stop) {
            Called("AcquisitionStop");
            m_grabber.StopAcquisition();
        } else if (feature == Trigger) {
            m_grabber.Deliver();
        }
    }
    void OnRemove() override { m_grabber.Remove(); }

    Fakes::CScriptedStreamGrabber m_grabber;
    std::set<Zelmo::DeviceCallbackHandle> m_callbacks;
};
