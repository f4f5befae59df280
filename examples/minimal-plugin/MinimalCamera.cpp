// SPDX-License-Identifier: Apache-2.0
#include "MinimalCamera.h"

#include <Base/GCException.h>

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
            return 0;
        case kParamsLocked:
            return m_locks > 0 ? 1 : 0;
        case kBrightness:
            return m_brightness;
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
        case kSimulateRemoval:
            m_isPluggedIn = false;
            m_removal.CameraIsGone();
            return;
        }
    }
    ThrowUnreachable("write", address, m_isPluggedIn);
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
