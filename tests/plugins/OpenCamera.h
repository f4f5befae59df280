// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <core/FrameRecord.h>

#include <Base/GCException.h>
#include <GenApi/GenApi.h>
#include <zelmo/Device.h>
#include <zelmo/PixelType.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/TlFactory.h>
#include <zelmo/WaitObject.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// What tests of plug-ins share: devices are reached as an application reaches them, through the factory.
namespace Plugins {

inline Zelmo::AccessModeSet ForStreaming() {
    return Zelmo::Control | Zelmo::Stream;
}

struct Destroyer {
    void operator()(Zelmo::IZelmoDevice* device) const { Zelmo::CTlFactory::GetInstance().DestroyDevice(device); }
};
using DevicePtr = std::unique_ptr<Zelmo::IZelmoDevice, Destroyer>;

/// An open camera that simulates images, its features by their names.
class OpenCamera {
public:
    explicit OpenCamera(DevicePtr device, Zelmo::AccessModeSet modes) : m_device(std::move(device)) {
        m_device->Open(modes);
    }
    Zelmo::IZelmoDevice& Device() { return *m_device; }
    Zelmo::IStreamGrabber& Grabber() { return *m_device->GetStreamGrabber(0); }

    template <class Pointer>
    Pointer Get(const char* name) {
        Pointer pointer = m_device->GetNodeMap()->GetNode(name);
        if (!pointer.IsValid()) {
            throw std::runtime_error(std::string("no feature ") + name);
        }
        return pointer;
    }
    GenApi::CIntegerPtr Int(const char* name) { return Get<GenApi::CIntegerPtr>(name); }
    void Execute(const char* name) { Get<GenApi::CCommandPtr>(name)->Execute(); }
    std::string Text(const char* name) { return Get<GenApi::CValuePtr>(name)->ToString().c_str(); }
    void Set(const char* name, const std::string& value) { Get<GenApi::CValuePtr>(name)->FromString(value.c_str()); }
    bool IsWritable(const char* name) { return GenApi::IsWritable(Get<GenApi::CBasePtr>(name)); }

    /// Small and fast images that carry a record.
    void CountFrames(unsigned width = 64, unsigned height = 64) {
        Set("Width", std::to_string(width));
        Set("Height", std::to_string(height));
        Set("TestImageSelector", "FrameCounter");
        Set("AcquisitionFrameRateEnable", "0");
    }

private:
    DevicePtr m_device;
};

/// One session of a stream grabber with buffers of its own, from Open to Close.
class Session {
public:
    /// Registers @p buffers; there may be @p announced of them.
    Session(OpenCamera& camera, std::size_t buffers, std::size_t announced = 0) : m_grabber(camera.Grabber()) {
        m_grabber.Open();
        const auto size = static_cast<std::size_t>(Parameter("PayloadSize"));
        SetParameter("MaxBufferSize", static_cast<std::int64_t>(size));
        SetParameter("MaxNumBuffer", static_cast<std::int64_t>(std::max(buffers, announced)));
        m_grabber.PrepareGrab();
        for (std::size_t i = 0; i < buffers; ++i) {
            m_memory.emplace_back(size);
            m_handles.push_back(m_grabber.RegisterBuffer(m_memory.back().data(), size));
        }
    }
    ~Session() { m_grabber.Close(); }

    Zelmo::IStreamGrabber& operator*() { return m_grabber; }
    Zelmo::IStreamGrabber* operator->() { return &m_grabber; }

    std::int64_t Parameter(const char* name) {
        return GenApi::CIntegerPtr(m_grabber.GetNodeMap()->GetNode(name))->GetValue();
    }
    void SetParameter(const char* name, std::int64_t value) {
        GenApi::CIntegerPtr(m_grabber.GetNodeMap()->GetNode(name))->SetValue(value);
    }
    void* Context(std::size_t index) { return &m_memory[index]; }
    Zelmo::StreamBufferHandle Handle(std::size_t index) { return m_handles[index]; }
    std::vector<std::uint8_t>& Memory(std::size_t index) { return m_memory[index]; }
    void Queue(std::size_t index) { m_grabber.QueueBuffer(m_handles[index], Context(index)); }
    void QueueAll() {
        for (std::size_t i = 0; i < m_handles.size(); ++i) {
            Queue(i);
        }
    }
    void Requeue(const Zelmo::GrabResult& result) { m_grabber.QueueBuffer(result.handle, result.context); }

    /// The next result; fails the test when none comes.
    Zelmo::GrabResult Take() {
        Zelmo::GrabResult result;
        EXPECT_TRUE(m_grabber.GetWaitObject().Wait(60000));
        EXPECT_TRUE(m_grabber.RetrieveResult(result));
        return result;
    }
    std::vector<Zelmo::GrabResult> TakeAll() {
        std::vector<Zelmo::GrabResult> results;
        for (Zelmo::GrabResult result; m_grabber.RetrieveResult(result);) {
            results.push_back(result);
        }
        return results;
    }
    /// What the record in the image says; nothing when the image is not whole.
    static std::optional<CamEmu::CFrameRecord> Record(const Zelmo::GrabResult& result) {
        CamEmu::CFrameRecord record;
        if (result.status != Zelmo::GrabStatus_Grabbed) {
            return {};
        }
        const auto size = static_cast<std::size_t>(result.payloadSize);
        if (CamEmu::CheckFrame({static_cast<std::uint8_t*>(result.buffer), size}, record) !=
            CamEmu::EFrameCheck::Intact) {
            return {};
        }
        return record;
    }

private:
    Zelmo::IStreamGrabber& m_grabber;
    std::deque<std::vector<std::uint8_t>> m_memory;
    std::vector<Zelmo::StreamBufferHandle> m_handles;
};

} // namespace Plugins
