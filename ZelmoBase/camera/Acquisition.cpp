// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/Acquisition.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"

#include <zelmo/Device.h>

#include <Base/GCSynch.h>
#include <GenApi/ICommand.h>
#include <GenApi/INodeMap.h>
#include <GenApi/Pointer.h>

namespace Zelmo {
namespace {

void ExecuteIfWritable(GenApi::INodeMap& nodeMap, const char* name) {
    const GenApi::CCommandPtr command(nodeMap.GetNode(name));
    if (GenApi::IsWritable(command)) {
        command->Execute();
    }
}

} // namespace

void CAcquisition::Start(IZelmoDevice& device) {
    GenApi::INodeMap* const nodeMap = device.GetNodeMap();
    if (nodeMap != nullptr) {
        GenICam::AutoLock lock(nodeMap->GetLock());
        ExecuteIfWritable(*nodeMap, "AcquisitionStart");
        m_started = true;
    }
}

void CAcquisition::Stop(IZelmoDevice& device, const char* known, const char* unknown) noexcept {
    RunLogged(CameraLogCategory(), known, unknown, [&] {
        GenApi::INodeMap* const nodeMap = device.GetNodeMap();
        if (nodeMap == nullptr) {
            return;
        }
        GenICam::AutoLock lock(nodeMap->GetLock());
        if (m_started) {
            m_started = false;
            ExecuteIfWritable(*nodeMap, "AcquisitionStop");
        }
    });
}

} // namespace Zelmo
