// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MessageChannel.h"
#include "common/Mutex.h"
#include "common/NodeMap.h"
#include "common/NumberPort.h"

#include <zelmo/EventGrabber.h>
#include <zelmo/WaitObject.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace Gige {

class CServiceThread;

/// Collects the messages of a camera while it is open.
/// Borrows: the connection, and the service thread, which takes them in.
/// Threads: as the contract tells.
/// Locks:   m_lock, a leaf.
class CEventGrabber final : public Zelmo::IEventGrabber, private IMessageSink {
public:
    CEventGrabber(CConnection& connection, CServiceThread& service);
    ~CEventGrabber() { Close(); }

    void Permit(bool events) { m_isPermitted = events; } ///< whether the device was opened for events

    void Open() override;
    void Close() override;
    bool IsOpen() const override { return m_isOpen; }
    bool RetrieveEvent(Zelmo::EventResult& result) override;
    Zelmo::WaitObject& GetWaitObject() const override { return m_wait; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.get(); }

private:
    /// The messages that wait: a ring of fixed room.
    struct CQueue {
        std::vector<CMessage> room;
        std::size_t first = 0, count = 0;
    };
    enum class EFailure : std::uint32_t { None = 0, QueueFull = 1, Malformed = 2 };

    void OnMessage(const CMessageChannel& channel, const CMessage& message) noexcept override;
    void OnMalformed(const CMessageChannel& channel) noexcept override;
    void Count(EFailure failure) PLUGIN_REQUIRES(m_lock);
    std::uint64_t RegisterValue(std::int64_t address) const;
    std::int64_t Parameter(const char* name) const;

    CConnection& m_connection;
    CServiceThread& m_service;
    bool m_isPermitted = false;
    std::atomic<bool> m_isOpen = false;
    PluginKit::CNumberPort m_port{[this](std::int64_t address) { return RegisterValue(address); }};
    PluginKit::NodeMapPtr m_nodeMap;
    mutable Zelmo::WaitObjectEx m_wait; // signaled exactly while a message waits

    mutable PluginKit::CMutex m_lock;
    std::shared_ptr<CMessageChannel> m_channel PLUGIN_GUARDED_BY(m_lock); // messages of another one come too late
    CQueue m_queue PLUGIN_GUARDED_BY(m_lock);
    std::uint64_t m_total PLUGIN_GUARDED_BY(m_lock) = 0, m_failed PLUGIN_GUARDED_BY(m_lock) = 0;
    EFailure m_lastFailure PLUGIN_GUARDED_BY(m_lock) = EFailure::None;
};

} // namespace Gige
