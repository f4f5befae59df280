// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/EventGrabEngine.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"

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

void CEventGrabEngine::DropAdapter() noexcept {
    Stop(); // nobody could deliver
    m_adapter.reset();
}

void CEventGrabEngine::Start(IEventGrabber* grabber) {
    if (grabber == nullptr || m_adapter == nullptr) {
        return;
    }
    m_grabber = grabber;
    ++m_run;
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
    if (!IsDelivering()) { // else the adapter reads it
        m_result = EventResult();
    }
}

bool CEventGrabEngine::ProcessEvents() {
    if (IsDelivering()) {
        return false;
    }
    // A handler may have stopped the grabbing, and a grabber may signal what it does not have. Events that come faster
    // than they are handled must not keep the caller from images, a stop and the end of its time.
    constexpr int kMost = 1000;
    const std::uint64_t run = m_run; // a handler may start another one, which is for whoever retrieves there
    const auto isPending = [&] { return IsRunning() && run == m_run && GetWaitObject().Wait(0); };
    for (int count = 0; count < kMost && isPending() && RetrieveEvent(); ++count) {
    }
    return isPending();
}

bool CEventGrabEngine::RetrieveEvent() {
    if (!m_grabber.load()->RetrieveEvent(m_result)) {
        return false;
    }
    if (m_result.status != 0) {
        throw RUNTIME_EXCEPTION("Failure while event grabbing, msg = %s", m_result.description.c_str());
    }
    Deliver();
    return true;
}

void CEventGrabEngine::Deliver() {
    std::shared_ptr<IEventAdapter> adapter = m_adapter; // a device that has closed itself may be opened anew
    const ScopeGuard end([this, &adapter]() noexcept {
        m_deliveringThread = std::thread::id();
        adapter.reset(); // before its device can go
        if (!IsRunning()) {
            m_result = EventResult();
        }
        m_onDelivered();
    });
    m_deliveringThread = std::this_thread::get_id();
    adapter->DeliverMessage(m_result.buffer, EventResult::BufferSizeBytes);
}

} // namespace Zelmo
