// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TestCamera.h"
#include "fakes/Unmappable.h"

#include "control/Connection.h"
#include "stream/StreamGrabber.h"

#include <GenApi/INodeMap.h>
#include <GenApi/Pointer.h>
#include <zelmo/Log.h>
#include <zelmo/WaitObject.h>

#include <unistd.h>

#include <optional>
#include <string>

namespace Gige {

/// A camera, a connection to it and its stream grabber, as a device puts them together.
class GigeStreamTest : public testing::Test {
protected:
    static constexpr unsigned kPatienceMs = 60'000; // more is a hang
    static constexpr std::size_t kBufferBytes = 4096;

    static void SetUpTestSuite() { hxlog::LogEnable(true); } // before anybody asks for a category

    void Connect(Zelmo::AccessModeSet modes = Zelmo::Control | Zelmo::Stream, std::uint32_t mtu = 1500) {
        CRoute route;
        route.device = {m_camera.Address(), GigEVision::kGvcpPort};
        route.hostAddress = Serving::OwnAddress(2);
        route.hostMask = 0xFF000000;
        route.interface = "lo";
        route.interfaceIndex = 1;
        route.mtu = mtu;
        route.isLoopback = true;
        m_connection.Open(route, modes);
        m_grabber.Permit(modes);
    }
    static void Set(CStreamGrabber& grabber, const char* name, std::int64_t value) {
        SetText(grabber, name, std::to_string(value).c_str());
    }
    static void SetText(CStreamGrabber& grabber, const char* name, const char* value) {
        GenApi::CValuePtr(grabber.GetNodeMap()->GetNode(name))->FromString(value);
    }
    void Set(const char* name, std::int64_t value) { Set(m_grabber, name, value); }
    void SetText(const char* name, const char* value) { SetText(m_grabber, name, value); }
    std::uint64_t Get(const char* name) {
        return static_cast<std::uint64_t>(GenApi::CIntegerPtr(m_grabber.GetNodeMap()->GetNode(name))->GetValue());
    }
    std::string Text(const char* name) {
        return GenApi::CValuePtr(m_grabber.GetNodeMap()->GetNode(name))->ToString().c_str();
    }

    /// Nothing is asked for because the machine has other work than this test.
    void BePatient() {
        Set("PacketTimeout", 100'000);
        Set("ResendRequestResponseTimeout", 10'000);
    }
    /// All up to the stream, with so many buffers registered.
    void Start(std::size_t buffers) {
        m_grabber.Open();
        Prepare(std::max<std::size_t>(buffers, 1));
        m_grabber.StartStreaming();
        for (std::size_t i = 0; i < buffers; ++i) {
            m_memory.push_back(std::make_unique<Fakes::Unmappable>(kBufferBytes));
            m_handles.push_back(m_grabber.RegisterBuffer(m_memory.back()->Address(), kBufferBytes));
        }
    }
    void Prepare(std::size_t buffers = 1) {
        Set("MaxBufferSize", kBufferBytes);
        Set("MaxNumBuffer", static_cast<std::int64_t>(buffers));
        m_grabber.PrepareGrab();
    }
    void Queue(std::size_t index) { m_grabber.QueueBuffer(m_handles[index], m_memory[index].get()); }
    void QueueAll() {
        for (std::size_t i = 0; i < m_handles.size(); ++i) {
            Queue(i);
        }
    }
    Zelmo::GrabResult Next() {
        Zelmo::GrabResult result;
        EXPECT_TRUE(m_grabber.GetWaitObject().Wait(kPatienceMs));
        EXPECT_TRUE(m_grabber.RetrieveResult(result));
        return result;
    }
    void Finish() {
        m_grabber.StopStreaming();
        m_grabber.FlushBuffers();
        for (Zelmo::GrabResult result; m_grabber.RetrieveResult(result);) {
        }
        m_grabber.FinishGrab();
        m_grabber.Close();
        m_handles.clear();
        m_memory.clear();
    }
    /// Until it is true; a hang otherwise.
    template <class Condition>
    static bool Eventually(Condition condition) {
        for (unsigned waitedMs = 0; !condition(); ++waitedMs) {
            if (waitedMs > kPatienceMs) {
                return false;
            }
            usleep(1000);
        }
        return true;
    }
    /// Whether all bytes of the result are those of the block that it names.
    static bool IsIntact(const Zelmo::GrabResult& result) {
        return CSentBlock(Image(result.blockId))
            .IsIn(static_cast<const std::uint8_t*>(result.buffer), 0, static_cast<std::uint64_t>(result.payloadSize));
    }

    CTestCamera m_camera;
    const std::string m_group = PluginKit::AddressText(0xEF000000 | (m_camera.Address() & 0xFFFFFF)); // of this process
    CConnectionSettings m_settings;
    CConnectionCounts m_counts;
    CConnection m_connection{m_settings, m_counts};
    std::vector<std::string> m_calls; // of the device's callbacks
    std::uint64_t m_payloadSize = 0;
    CStreamGrabber m_grabber{m_connection,
                             {[this](bool isLocked) { m_calls.push_back(isLocked ? "lock" : "unlock"); },
                              [this] { return m_payloadSize; }, [this] { m_calls.push_back("changed"); }}};
    std::vector<std::unique_ptr<Fakes::Unmappable>> m_memory;
    std::vector<Zelmo::StreamBufferHandle> m_handles;
};

} // namespace Gige
