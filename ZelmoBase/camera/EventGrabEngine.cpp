// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/EventGrabEngine.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/Device.h>
#include <zelmo/WaitObject.h>

namespace Zelmo {
namespace {

/// Gives an adapter back to its device.
struct CEventAdapterDeallocator {
    IZelmoDevice* device;

    void operator()(IEventAdapter* adapter) const noexcept {
        if (adapter != nullptr) {
            RunLogged(CameraLogCategory(), "Exception caught while destroying the event adapter, msg='%s'",
                      "Unknown exception caught while destroying the event adapter.",
                      [&] { device->DestroyEventAdapter(adapter); });
        }
    }
};

} // namespace

void CEventGrabEngine::CreateAdapter(IZelmoDevice& device) {
    m_adapter = std::shared_ptr<IEventAdapter>(device.CreateEventAdapter(), CEventAdapterDeallocator{&device});
}

void CEventGrabEngine::Start(IEventGrabber* grabber) {
    if (grabber == nullptr || m_adapter == nullptr) {
        return;
    }
    m_grabber = grabber;
    ScopeGuard stop([this] { Stop(); });
    grabber->Open();
    stop.Dismiss();
}

void CEventGrabEngine::Stop() noexcept {
    if (!IsRunning()) {
        return;
    }
    RunLogged(CameraLogCategory(), "Exception caught while closing the event grabber, msg='%s'",
              "Unknown exception caught while closing the event grabber.", [this] { m_grabber.load()->Close(); });
    m_grabber = nullptr;
    m_result = EventResult();
}

void CEventGrabEngine::ProcessEvents() {
    while (IsRunning() && GetWaitObject().Wait(0)) { // a handler may have stopped the grabbing
        RetrieveEvent();
    }
}

void CEventGrabEngine::RetrieveEvent() {
    if (!m_grabber.load()->RetrieveEvent(m_result)) {
        return;
    }
    if (m_result.status != 0) {
        throw RUNTIME_EXCEPTION("Failure while event grabbing, msg = %s", m_result.description.c_str());
    }
    Deliver();
}

/// The adapter stays until it has returned, and so does the message: a handler may close the camera, or come back here.
void CEventGrabEngine::Deliver() {
    const std::shared_ptr<IEventAdapter> adapter = m_adapter;
    const EventResult message = m_result;
    const std::thread::id before = m_deliveringThread.exchange(std::this_thread::get_id());
    const ScopeGuard end([this, before] { m_deliveringThread = before; });
    adapter->DeliverMessage(message.buffer, EventResult::BufferSizeBytes);
}

} // namespace Zelmo
