// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "NullTransport.h"
#include "ScriptedStreamGrabber.h"
#include "fakes/plugins/FakeDevice.h"

#include <zelmo/ChunkParser.h>

#include <atomic>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Fakes {

/// A camera with the integers Width, Height and PayloadSize, the enumerations PixelFormat (Mono8) and AcquisitionMode
/// (Continuous, SingleFrame), the commands AcquisitionStart, AcquisitionStop and TriggerSoftware.
class CStreamDevice : public FakeDevice, public Zelmo::IZelmoDevicePrivate, private IRegisters {
public:
    ~CStreamDevice() override { AwaitRemoval(); }

    /// The camera is physically gone: the removal callbacks are called once, on a thread of their own.
    void Remove() {
        if (m_isRemoved.exchange(true)) {
            return;
        }
        OnRemove();
        if (!m_tellsRemoval) {
            return;
        }
        const std::lock_guard lock(m_lock);
        m_removal = std::thread([this] {
            std::unique_lock callbackLock(m_lock);
            const auto callbacks = m_callbacks;
            callbackLock.unlock();
            for (const auto& callback : callbacks) {
                callback.second(this);
            }
        });
    }

    std::size_t GetNumStreamGrabbers() const override { return 1; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodes.Map(); }
    bool IsRemoved() const override { return m_isRemoved; }
    Zelmo::DeviceCallbackHandle RegisterRemovalCallback(Zelmo::DeviceRemovalCallback& callback) override {
        const std::lock_guard lock(m_lock);
        m_callbacks.emplace(++m_lastHandle, callback);
        return m_lastHandle;
    }
    void DeregisterRemovalCallback(Zelmo::DeviceCallbackHandle handle) override {
        {
            const std::lock_guard lock(m_lock);
            m_callbacks.erase(handle);
        }
        AwaitRemoval();
    }
    void* GetNativeHandle() const override { return nullptr; }
    Zelmo::String_t GetChunkNodeMapDescription() const override { return {}; }
    bool IsChunkNodeMapDescriptionAvailable() const override { return false; }

protected:
    enum EFeature : int { Width, Height, PayloadSize, PixelFormat, AcquisitionMode, Start, Stop, Trigger, Count };

    static constexpr int kMoreFeatures = 8; ///< At most; their numbers begin with Count.

    CStreamDevice(const Zelmo::CDeviceInfo& info, std::int64_t width, std::int64_t height, bool tellsRemoval = true,
                  std::vector<CFeature> more = {})
        : FakeDevice(info), m_tellsRemoval(tellsRemoval), m_values{width, height, 0, Zelmo::PixelType_Mono8},
          m_nodes(WithFeatures(std::move(more)), *this) {}

    std::int64_t Value(int feature) const { return m_values[feature]; }
    void SetValue(int feature, std::int64_t value) { m_values[feature] = value; }
    virtual void OnFeature(EFeature) {} ///< It was written.
    virtual void OnRemove() {}

private:
    void AwaitRemoval() {
        std::unique_lock lock(m_lock);
        std::thread removal = std::move(m_removal);
        lock.unlock();
        if (removal.joinable()) {
            removal.join();
        }
    }
    std::int64_t ReadRegister(int number) override {
        return number == PayloadSize               ? m_values[Width] * m_values[Height]
               : number < Start || number >= Count ? m_values[number].load()
                                                   : 0;
    }
    void WriteRegister(int number, std::int64_t value) override {
        m_values[number] = value;
        OnFeature(static_cast<EFeature>(number));
    }

    static std::vector<CFeature> WithFeatures(std::vector<CFeature> more) {
        std::vector<CFeature> features{
            {"Integer", "Width", Width, "<Min>1</Min><Max>4096</Max>"},
            {"Integer", "Height", Height, "<Min>1</Min><Max>4096</Max>"},
            {"Integer", "PayloadSize", PayloadSize, "<ImposedAccessMode>RO</ImposedAccessMode>"},
            {"Enumeration", "PixelFormat", PixelFormat, "<EnumEntry Name='Mono8'><Value>17301505</Value></EnumEntry>"},
            {"Enumeration", "AcquisitionMode", AcquisitionMode,
             "<EnumEntry Name='Continuous'><Value>0</Value></EnumEntry>"
             "<EnumEntry Name='SingleFrame'><Value>1</Value></EnumEntry>"},
            {"Command", "AcquisitionStart", Start, "<CommandValue>1</CommandValue>"},
            {"Command", "AcquisitionStop", Stop, "<CommandValue>1</CommandValue>"},
            {"Command", "TriggerSoftware", Trigger, "<CommandValue>1</CommandValue>"}};
        features.insert(features.end(), more.begin(), more.end());
        return features;
    }

    const bool m_tellsRemoval;
    std::atomic<std::int64_t> m_values[Count + kMoreFeatures];
    std::atomic<bool> m_isRemoved{false};
    CRegisterNodes m_nodes;
    std::mutex m_lock; // guards all below
    Zelmo::DeviceCallbackHandle m_lastHandle = 0;
    std::map<Zelmo::DeviceCallbackHandle, Zelmo::DeviceRemovalCallback> m_callbacks;
    std::thread m_removal;
};

/// Finds the chunks of each image broken.
class CBrokenChunks final : public Zelmo::ISelfReliantChunkParser, private IRegisters {
public:
    void AttachBuffer(const void*, std::int64_t, GenApi::AttachStatistics_t*) override {
        throw RUNTIME_EXCEPTION("There is no trailer.");
    }
    void DetachBuffer() override {}
    void UpdateBuffer(const void*) override {}
    bool HasCRC() const override { return false; }
    bool CheckCRC() const override { return false; }
    GenApi::INodeMap* GetChunkDataNodeMap() override { return m_nodes.Map(); }
    void Destroy() override { delete this; }

private:
    std::int64_t ReadRegister(int) override { return 0; }
    void WriteRegister(int, std::int64_t) override {}

    CRegisterNodes m_nodes{
        {{"Enumeration", "ChunkPixelFormat", 0, "<EnumEntry Name='Mono8'><Value>1</Value></EnumEntry>"}}, *this};
};

/// A camera with a scripted stream grabber. Frames begin only between AcquisitionStart and AcquisitionStop, also those
/// that are delivered by hand; TriggerSoftware delivers one. With chunks=1 in its script it is set to send chunk data,
/// all of them broken.
class CScriptedDevice final : public CStreamDevice {
public:
    explicit CScriptedDevice(const CScript& script = {}, std::uint32_t cameraNumber = 0,
                             const Zelmo::CDeviceInfo& info = {})
        : CStreamDevice(info, script.width, script.height, script.tellsRemoval, ChunkFeatures(script)),
          m_saysChunks(script.saysChunks), m_grabber(script, cameraNumber, [this] { Remove(); }) {
        SetValue(Count, 1);
        m_grabber.StopAcquisition();
    }

    CScriptedStreamGrabber& Grabber() { return m_grabber; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t) override { return &m_grabber; }
    bool IsChunkNodeMapDescriptionAvailable() const override { return m_saysChunks; }
    Zelmo::IChunkParser* CreateChunkParser() override { return new CBrokenChunks; }

private:
    static std::vector<CFeature> ChunkFeatures(const CScript& script) {
        return script.saysChunks ? std::vector<CFeature>{{"Boolean", "ChunkModeActive", Count, ""}}
                                 : std::vector<CFeature>{};
    }
    void OnFeature(EFeature feature) override {
        if (feature == Start) {
            m_grabber.Acquire(static_cast<std::uint64_t>(Value(AcquisitionMode))); // SingleFrame: one
        } else if (feature == Stop) {
            m_grabber.StopAcquisition();
        } else if (feature == Trigger) {
            m_grabber.Deliver();
        } else {
            m_grabber.SetSize(static_cast<std::int32_t>(Value(Width)), static_cast<std::int32_t>(Value(Height)));
        }
    }
    void OnRemove() override { m_grabber.Remove(); }

    const bool m_saysChunks;
    CScriptedStreamGrabber m_grabber;
};

/// A camera with a null stream grabber, for benchmarks of the camera layer.
class CNullDevice final : public CStreamDevice {
public:
    explicit CNullDevice(CNullStreamGrabber::EPace pace = {}, std::int32_t width = 64, std::int32_t height = 64)
        : CStreamDevice({}, width, height), m_grabber(pace, width, height) {}

    CNullStreamGrabber& Grabber() { return m_grabber; }
    Zelmo::IStreamGrabber* GetStreamGrabber(std::size_t) override { return &m_grabber; }

private:
    CNullStreamGrabber m_grabber;
};

} // namespace Fakes
