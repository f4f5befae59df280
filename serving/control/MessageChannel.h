// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <common/Mutex.h>
#include <core/EventQueue.h>
#include <gigevision/Gvcp.h>
#include <serving/DeviceHost.h>

#include <cstdint>
#include <vector>

namespace CamEmu {
class CCamera;
}

namespace Serving {

class CTicks;
class IStream;
struct CDeviceState;

/// The way of the camera's events to the primary application: the registers of the message channel, and one message at
/// a time that waits for its acknowledge.
/// Borrows: all that it is made with. While the channel is open it is connected to the camera's events.
/// Threads: the control thread, but for OnEvent.
/// Locks:   m_lock, a leaf: it is taken inside those of the camera.
class CMessageChannel final : private CamEmu::IEventSink {
public:
    CMessageChannel(CamEmu::CCamera& camera, IStream& stream, CTicks& ticks, IDeviceHost& host, CDeviceState& state);
    ~CMessageChannel() { Close(); }
    CMessageChannel(const CMessageChannel&) = delete;
    CMessageChannel& operator=(const CMessageChannel&) = delete;

    std::uint32_t Read(std::uint32_t address) const; ///< Of its bootstrap registers.
    GigEVision::Status Write(std::uint32_t address, std::uint32_t value);
    void Close() noexcept; ///< What is pending is dropped.

    void SendSwitchover(); ///< At once; nobody waits for its acknowledge.
    void OnDatagram(GigEVision::Bytes datagram, const CEndpoint& from);
    void OnTime(std::int64_t nowNs);
    std::int64_t DueNs() const;
    std::uint64_t Dropped() const; ///< Events that were, since the camera is served.

private:
    void OnEvent(const CamEmu::CEvent& event) noexcept override;
    GigEVision::Status WritePort(std::uint32_t value);
    bool HasEvents() const;
    bool WaitsForAcknowledge() const { return !m_sent.empty(); }
    bool Pop(CamEmu::CEvent& event);
    CEndpoint Destination() const;
    void SendNext(std::int64_t nowNs);
    void Resend(std::int64_t nowNs);
    /// Makes the next message and sends it. @return the datagram.
    std::vector<std::uint8_t> Send(const GigEVision::EventItem& item, bool wantsAcknowledge);

    CamEmu::CCamera& m_camera;
    IStream& m_stream;
    CTicks& m_ticks;
    IDeviceHost& m_host;
    CDeviceState& m_state;
    std::uint16_t m_port = 0, m_sourcePort = 0; // 0 while closed
    std::uint32_t m_destination = 0, m_timeoutMs = 0, m_retries = 0;

    std::vector<std::uint8_t> m_sent; // waits for its acknowledge; empty: none does
    std::uint32_t m_retriesLeft = 0;
    std::int64_t m_resendNs = 0;
    std::uint16_t m_lastId = 0;

    mutable PluginKit::CMutex m_lock;
    CamEmu::CEventQueue m_queue PLUGIN_GUARDED_BY(m_lock);
    std::uint64_t m_dropped PLUGIN_GUARDED_BY(m_lock) = 0; // of channels that were closed
};

} // namespace Serving
