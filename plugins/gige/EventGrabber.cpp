// SPDX-License-Identifier: Apache-2.0
#include "EventGrabber.h"

#include "Descriptions.h"
#include "ServiceThread.h"
#include "common/Boundary.h"

#include <Base/GCException.h>
#include <GenApi/IInteger.h>
#include <GenApi/Pointer.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Gige {

static_assert(kMaxMessageBytes == Zelmo::EventResult::BufferSizeBytes);

CEventGrabber::CEventGrabber(CConnection& connection, CServiceThread& service)
    : m_connection(connection), m_service(service), m_nodeMap(MakeEventNodeMap(m_port)),
      m_wait(Zelmo::WaitObjectEx::Create()) {}

void CEventGrabber::Open() {
    if (m_isOpen) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the event grabber: it is open already.");
    }
    if (!m_isPermitted) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the event grabber: the device was not opened for events.");
    }
    PluginKit::AtBoundary("open the event grabber", [&] {
        CQueue queue;
        queue.room.resize(static_cast<std::size_t>(Parameter("NumBuffer")));
        const CMessageChannel::CSettings settings{static_cast<std::uint32_t>(Parameter("Timeout")),
                                                  static_cast<std::uint32_t>(Parameter("RetryCount"))};
        IMessageSink& sink = *this; // which is no base for others
        auto channel = std::make_shared<CMessageChannel>(m_connection, settings, sink);
        {
            const PluginKit::CLockGuard lock(m_lock);
            m_queue = std::move(queue);
            m_channel = channel;
            m_total = m_failed = 0;
            m_lastFailure = EFailure::None;
        }
        m_service.Listen(std::move(channel));
    });
    m_isOpen = true;
}

void CEventGrabber::Close() {
    std::shared_ptr<CMessageChannel> channel;
    {
        const PluginKit::CLockGuard lock(m_lock);
        channel = std::move(m_channel);
        m_queue = {};
        m_wait.Reset();
    }
    if (channel) {
        m_service.Listen(nullptr);
        channel->Close();
    }
    m_isOpen = false;
}

bool CEventGrabber::RetrieveEvent(Zelmo::EventResult& result) {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_queue.count == 0) {
        return false;
    }
    const CMessage& message = m_queue.room[m_queue.first];
    std::copy(message.bytes.begin(), message.bytes.end(), std::begin(result.buffer));
    result.status = 0;
    result.description = "";
    m_queue.first = (m_queue.first + 1) % m_queue.room.size();
    if (--m_queue.count == 0) {
        m_wait.Reset();
    }
    return true;
}

void CEventGrabber::OnMessage(const CMessageChannel& channel, const CMessage& message) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_channel.get() != &channel) {
        return;
    }
    ++m_total;
    const std::size_t capacity = m_queue.room.size();
    if (m_queue.count == capacity) { // the oldest goes
        m_queue.first = (m_queue.first + 1) % capacity;
        --m_queue.count;
        Count(EFailure::QueueFull);
    }
    m_queue.room[(m_queue.first + m_queue.count) % capacity] = message;
    if (m_queue.count++ == 0) {
        m_wait.Signal();
    }
}

void CEventGrabber::OnMalformed(const CMessageChannel& channel) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_channel.get() == &channel) {
        ++m_total;
        Count(EFailure::Malformed);
    }
}

void CEventGrabber::Count(EFailure failure) {
    ++m_failed;
    m_lastFailure = failure;
}

// The addresses are those of GigEEvents.xml.
std::uint64_t CEventGrabber::RegisterValue(std::int64_t address) const {
    const PluginKit::CLockGuard lock(m_lock);
    switch (address) {
    case 0x00:
        return m_isOpen ? 1 : 0;
    case 0x08:
        return m_total;
    case 0x10:
        return m_failed;
    case 0x18:
        return static_cast<std::uint64_t>(m_lastFailure);
    default:
        PluginKit::ThrowNoNumber(address);
    }
}

std::int64_t CEventGrabber::Parameter(const char* name) const {
    return GenApi::CIntegerPtr(m_nodeMap->GetNode(name))->GetValue();
}

} // namespace Gige
