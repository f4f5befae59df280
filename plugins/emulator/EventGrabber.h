// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraPool.h"
#include "Descriptions.h"
#include "common/Mutex.h"
#include "common/NumberPort.h"
#include "core/EventQueue.h"

#include <zelmo/EventGrabber.h>
#include <zelmo/WaitObject.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace CamEmu {

/// Hands the events of a camera out as messages of GigE Vision. One at a time gets them, within the process.
/// Borrows: the pool camera.
/// Threads: as the contract tells; OnEvent comes on any thread, with locks of the camera held.
/// Locks:   m_lock, a leaf inside that of the event source.
class CEventGrabber final : public Zelmo::IEventGrabber, private IEventSink {
public:
    explicit CEventGrabber(CPoolCamera& camera);
    ~CEventGrabber() { Close(); }

    void Permit(bool events) { m_isPermitted = events; } ///< whether the device was opened for events

    void Open() override;
    void Close() override;
    bool IsOpen() const override { return m_isOpen; }
    bool RetrieveEvent(Zelmo::EventResult& result) override;
    Zelmo::WaitObject& GetWaitObject() const override { return m_wait; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.get(); }

private:
    void OnEvent(const CEvent& event) noexcept override;
    std::uint64_t RegisterValue(std::int64_t address) const;

    CPoolCamera& m_camera;
    bool m_isPermitted = false;
    std::atomic<bool> m_isOpen = false;
    std::uint16_t m_requestId = 0;
    PluginKit::CNumberPort m_port{[this](std::int64_t address) { return RegisterValue(address); }};
    PluginKit::NodeMapPtr m_nodeMap;
    mutable Zelmo::WaitObjectEx m_wait; // signaled exactly while m_queue is not empty

    mutable PluginKit::CMutex m_lock;
    CEventQueue m_queue PLUGIN_GUARDED_BY(m_lock);
};

} // namespace CamEmu
