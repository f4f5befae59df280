// SPDX-License-Identifier: Apache-2.0
#include "EventGrabber.h"

#include "common/Boundary.h"
#include "core/EventMessage.h"
#include "core/RegisterMap.h"

#include <Base/GCException.h>
#include <GenApi/IInteger.h>
#include <GenApi/Pointer.h>

#include <algorithm>
#include <iterator>

namespace CamEmu {

static_assert(kEventMessageBytes <= Zelmo::EventResult::BufferSizeBytes);

CEventGrabber::CEventGrabber(CPoolCamera& camera)
    : m_camera(camera), m_nodeMap(MakeEventNodeMap(m_port)), m_wait(Zelmo::WaitObjectEx::Create()) {}

void CEventGrabber::Open() {
    if (m_isOpen) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the event grabber: it is open already.");
    }
    if (!m_isPermitted) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open the event grabber: the device was not opened for events.");
    }
    const std::string serialNumber = m_camera.camera.Text(Reg::kSerialNumber);
    if (m_camera.link.IsPulled()) {
        throw RUNTIME_EXCEPTION("Cannot open the event grabber: camera %s was removed.", serialNumber.c_str());
    }
    const std::int64_t capacity = GenApi::CIntegerPtr(m_nodeMap->GetNode("NumBuffer"))->GetValue();
    PluginKit::AtBoundary("open the event grabber", [&] {
        CEventQueue queue;
        queue.Open(static_cast<std::size_t>(capacity));
        const PluginKit::CLockGuard lock(m_lock);
        std::swap(m_queue, queue);
    });
    if (!m_camera.camera.Events().Connect(*this)) {
        throw RUNTIME_EXCEPTION("Cannot open the event grabber: the events of camera %s go to another one.",
                                serialNumber.c_str());
    }
    m_isOpen = true;
}

void CEventGrabber::Close() {
    m_camera.camera.Events().Disconnect(*this);
    const PluginKit::CLockGuard lock(m_lock);
    m_queue.Clear();
    m_wait.Reset();
    m_isOpen = false;
}

bool CEventGrabber::RetrieveEvent(Zelmo::EventResult& result) {
    CEvent event;
    {
        const PluginKit::CLockGuard lock(m_lock);
        if (!m_queue.Pop(event)) {
            return false;
        }
        if (m_queue.IsEmpty()) {
            m_wait.Reset();
        }
    }
    m_requestId = static_cast<std::uint16_t>(m_requestId == 0xFFFF ? 1 : m_requestId + 1); // 0 is none
    result.status = 0;
    result.description = "";
    EncodeEvent(event, m_requestId, std::span<std::uint8_t, kEventMessageBytes>(result.buffer, kEventMessageBytes));
    std::fill(result.buffer + kEventMessageBytes, std::end(result.buffer), std::uint8_t{0});
    return true;
}

void CEventGrabber::OnEvent(const CEvent& event) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    const bool wasEmpty = m_queue.IsEmpty();
    m_queue.Push(event, m_camera.camera.Events().IsWanted(EEvent::EventOverrun));
    if (wasEmpty) {
        m_wait.Signal();
    }
}

// The addresses are those of CamEmuEvents.xml.
std::uint64_t CEventGrabber::RegisterValue(std::int64_t address) const {
    const PluginKit::CLockGuard lock(m_lock);
    switch (address) {
    case 0x00:
        return m_isOpen ? 1 : 0;
    case 0x08:
        return m_queue.Pushed();
    case 0x10:
        return m_queue.Dropped();
    case 0x18:
        return m_queue.Dropped() != 0 ? 1 : 0;
    default:
        PluginKit::ThrowNoNumber(address);
    }
}

} // namespace CamEmu
