// SPDX-License-Identifier: Apache-2.0
#include "MinimalCamera.h"

#include <Base/GCException.h>

#include <chrono>
#include <utility>

namespace Minimal {
namespace {

[[noreturn]] void ThrowUnreachable(const char* attempt, std::int64_t address, bool isPluggedIn) {
    throw RUNTIME_EXCEPTION("Cannot %s register 0x%llX of the camera: %s.", attempt,
                            static_cast<unsigned long long>(address),
                            isPluggedIn ? "there is none" : "the cable is pulled");
}

} // namespace

std::uint32_t MinimalCamera::Read(std::int64_t address) const {
    if (m_isPluggedIn) {
        switch (address) {
        case kAcquisitionStart: // a command clears its register as soon as it is carried out: here, at once
        case kAcquisitionStop:
        case kSimulateRemoval:
        case kTestEventGenerate:
            return 0;
        case kParamsLocked:
            return m_locks > 0 ? 1 : 0;
        case kBrightness:
            return m_brightness;
        case kChunkModeActive:
            return m_sendsChunks ? 1 : 0;
        case kEventNotification:
            return m_sendsEvents ? 1 : 0;
        }
    }
    ThrowUnreachable("read", address, m_isPluggedIn);
}

void MinimalCamera::Write(std::int64_t address, std::uint32_t value) {
    if (m_isPluggedIn) {
        switch (address) {
        case kAcquisitionStart:
            m_isAcquiring = true;
            return;
        case kAcquisitionStop:
            m_isAcquiring = false;
            return;
        case kBrightness:
            m_brightness = value;
            return;
        case kChunkModeActive:
            m_sendsChunks = value != 0;
            return;
        case kEventNotification:
            m_sendsEvents = value != 0;
            return;
        case kTestEventGenerate:
            RaiseTestEvent();
            return;
        case kSimulateRemoval:
            m_isPluggedIn = false;
            m_removal.CameraIsGone();
            return;
        }
    }
    ThrowUnreachable("write", address, m_isPluggedIn);
}

std::uint64_t MinimalCamera::GetTicks() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

bool MinimalCamera::SendEventsTo(EventReceiver receiver) {
    const std::lock_guard lock(m_eventMutex);
    if (m_eventReceiver) {
        return false;
    }
    m_eventReceiver = std::move(receiver);
    return true;
}

void MinimalCamera::SendEventsNowhere() {
    const std::lock_guard lock(m_eventMutex);
    m_eventReceiver = nullptr;
}

void MinimalCamera::RaiseTestEvent() {
    const std::lock_guard lock(m_eventMutex);
    if (m_sendsEvents && m_eventReceiver) {
        m_eventReceiver(GetTicks());
    }
}

bool MinimalCamera::Answers() {
    if (!m_isPluggedIn && m_holders == 0) {
        m_isAcquiring = false;
        m_removal.CameraIsBack();
        m_isPluggedIn = true;
    }
    return m_isPluggedIn;
}

} // namespace Minimal
