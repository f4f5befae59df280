// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/EventGrabEngine.h"

#include "ZelmoBase/camera/CameraEventConnection.h"
#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/Device.h>
#include <zelmo/WaitObject.h>

#include <exception>
#include <utility>

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
    ResetResult();
}

/// Not while the adapter reads it.
void CEventGrabEngine::ResetResult() noexcept {
    if (!IsDelivering()) {
        m_result = EventResult();
    }
}

bool CEventGrabEngine::ProcessEvents() {
    // A handler may have stopped the grabbing, and a grabber may signal what it does not have. Events that come faster
    // than they are handled must not keep the caller from images, a stop and the end of its time.
    constexpr int kMost = 1000;
    const auto isPending = [this] { return IsRunning() && !IsDelivering() && GetWaitObject().Wait(0); };
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

bool CEventGrabEngine::IsDelivering() const noexcept {
    return m_deliveringThread == std::this_thread::get_id();
}

bool CEventGrabEngine::Postpone(const std::shared_ptr<CCameraEventConnection>& connection) const {
    if (!IsDelivering()) {
        return false;
    }
    m_postponed.push_back(connection);
    return true;
}

/// What handlers do may end all this: once they are called nothing of it is touched, but what they leave to notify.
void CEventGrabEngine::Deliver() {
    std::exception_ptr failure;
    m_deliveringThread = std::this_thread::get_id();
    try {
        m_adapter->DeliverMessage(m_result.buffer, EventResult::BufferSizeBytes);
    } catch (...) { // also that of a callback of one node, which is no reason to keep quiet about the others
        failure = std::current_exception();
    }
    m_deliveringThread = std::thread::id();
    if (!IsRunning()) {
        ResetResult(); // a callback has stopped the grabbing
    }
    const std::vector<std::shared_ptr<CCameraEventConnection>> changed = std::exchange(m_postponed, {});
    for (const auto& connection : changed) {
        connection->Notify();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace Zelmo
