// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/GrabSignal.h"

namespace Zelmo {

void CGrabSignal::Signal() {
    m_isSet = true;
    m_object.Signal();
}

void CGrabSignal::Reset() {
    m_object.Reset();
    m_isSet = false;
}

void CGrabSignal::ResetAll() {
    while (m_object.Wait(0)) {
        m_object.Reset();
    }
    m_isSet = false;
}

} // namespace Zelmo
