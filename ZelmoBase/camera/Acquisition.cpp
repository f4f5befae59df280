// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/Acquisition.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/Mutex.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/Device.h>
#include <zelmo/WaitObject.h>

#include <Base/GCSynch.h>
#include <GenApi/ICommand.h>
#include <GenApi/INodeMap.h>
#include <GenApi/Pointer.h>

#include <utility>

namespace Zelmo {
namespace {

void ExecuteIfWritable(GenApi::INodeMap& nodeMap, const char* name) {
    const GenApi::CCommandPtr command(nodeMap.GetNode(name));
    if (GenApi::IsWritable(command)) {
        command->Execute();
    }
}

} // namespace

/// Without the lock, which those wait for who are called back by what the camera does at its start.
void CAcquisition::Start() {
    if (m_nodeMap == nullptr) {
        return;
    }
    {
        GenICam::AutoLock lock(m_nodeMap->GetLock());
        m_owed = EOwed::StopOfStart;
    }
    ScopeGuard failed([this] { // the stop routine comes next
        if (m_nodeMap != nullptr) {
            GenICam::AutoLock lock(m_nodeMap->GetLock());
            m_owed = m_owed == EOwed::Nothing ? EOwed::Nothing : EOwed::Stop;
        }
    });
    ExecuteIfWritable(*m_nodeMap, "AcquisitionStart");
    failed.Dismiss();
    EndStart();
}

void CAcquisition::EndStart() {
    if (m_nodeMap == nullptr) {
        return; // a callback has let go of the device
    }
    GenICam::AutoLock lock(m_nodeMap->GetLock());
    if (m_owed == EOwed::StopBehindStart) {
        StopIfOwed();
    } else if (m_owed == EOwed::StopOfStart) {
        m_owed = EOwed::Stop;
    }
}

void CAcquisition::StopIfOwed() {
    if (std::exchange(m_owed, EOwed::Nothing) != EOwed::Nothing) {
        ExecuteIfWritable(*m_nodeMap, "AcquisitionStop");
    }
}

void CAcquisition::Stop(IZelmoDevice& device) noexcept {
    RunLogged(CameraLogCategory(), "Exception caught while executing acquisition stop, msg='%s'",
              "Unknown exception caught while executing acquisition stop.", [&] {
                  if (m_nodeMap != nullptr && device.GetNodeMap() == m_nodeMap) {
                      GenICam::AutoLock lock(m_nodeMap->GetLock());
                      StopIfOwed();
                  }
              });
}

void CAcquisition::StopFromEngine(const WaitObject& stop) noexcept {
    constexpr unsigned stepMs = 1;
    RunLogged(CameraLogCategory(), "Exception caught while executing acquisition stop from grab thread, msg='%s'",
              "Unknown exception caught while executing acquisition stop from grab thread.",
              [&]() ZELMO_NO_THREAD_SAFETY_ANALYSIS {
                  if (m_nodeMap == nullptr) {
                      return;
                  }
                  GenICam::CLock& lock = m_nodeMap->GetLock();
                  while (!lock.TryLock()) {
                      if (stop.Wait(stepMs)) {
                          return;
                      }
                  }
                  const ScopeGuard unlock([&lock]() ZELMO_NO_THREAD_SAFETY_ANALYSIS { lock.Unlock(); });
                  if (m_owed == EOwed::StopOfStart || m_owed == EOwed::StopBehindStart) {
                      m_owed = EOwed::StopBehindStart;
                  } else {
                      StopIfOwed();
                  }
              });
}

} // namespace Zelmo
