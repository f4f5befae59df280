// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/FrameTrigger.h"

#include "ZelmoBase/camera/AttachedDevice.h"

#include <zelmo/WaitObjects.h>

#include <Base/GCException.h>
#include <GenApi/IBoolean.h>
#include <GenApi/ICommand.h>
#include <GenApi/IEnumeration.h>

#include <chrono>
#include <thread>

namespace Zelmo {
namespace {

void SelectFrameTriggerWait(GenApi::IEnumeration& selector) {
    selector.FromString("FrameTriggerWait");
}

} // namespace

bool CFrameTrigger::CanWait() const {
    if (GenApi::IsWritable(m_device.GetStatusSelector())) {
        SelectFrameTriggerWait(*m_device.GetStatusSelector());
        return GenApi::IsReadable(m_device.GetStatus());
    }
    return GenApi::IsReadable(m_device.GetSoftwareTrigger());
}

std::function<bool()> CFrameTrigger::GetTest() const {
    if (GenApi::IsWritable(m_device.GetStatusSelector())) {
        SelectFrameTriggerWait(*m_device.GetStatusSelector());
        GenApi::IBoolean* const status = m_device.GetStatus();
        if (!GenApi::IsReadable(status)) {
            throw RUNTIME_EXCEPTION("The camera device does not support waiting for frame trigger ready. "
                                    "AcquisitionStatus is not readable.");
        }
        return [status] { return status->GetValue(); };
    }
    GenApi::ICommand* const trigger = m_device.GetSoftwareTrigger();
    if (!GenApi::IsReadable(trigger)) {
        throw RUNTIME_EXCEPTION("The camera device does not support waiting for frame trigger ready.");
    }
    return [trigger] { return trigger->IsDone(); };
}

/// Asks again and again, as a camera that is about to be ready is so within microseconds.
bool CFrameTrigger::WaitReady(unsigned timeoutMs) const {
    const auto due = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    const std::function<bool()> isReady = GetTest();
    while (!isReady()) {
        if (timeoutMs != WaitTimeoutInfinite && std::chrono::steady_clock::now() >= due) {
            return false;
        }
        std::this_thread::yield(); // on a busy core, to those that make it ready
    }
    return true;
}

void CFrameTrigger::Execute() const {
    GenApi::ICommand* const trigger = m_device.GetSoftwareTrigger();
    if (trigger == nullptr) {
        throw RUNTIME_EXCEPTION("The device does not support software trigger.");
    }
    if (!GenApi::IsAvailable(trigger)) {
        throw RUNTIME_EXCEPTION(
            "The software trigger command is not available. Check the configuration of the camera.");
    }
    trigger->Execute(true);
}

} // namespace Zelmo
