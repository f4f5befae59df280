// SPDX-License-Identifier: Apache-2.0
#include "Acquisition.h"

#include "CameraRegisters.h"
#include <core/Camera.h>
#include <core/RegisterMap.h>
#include <serving/Stream.h>

#include <array>

namespace Serving {

using GigEVision::Status;

Status CAcquisition::Start(std::uint64_t address, GigEVision::Bytes value) {
    Look();
    const bool isNew = !m_stream.TakesFrames();
    if (isNew && !StartFrames()) {
        return Status::Error;
    }
    const Status status = WriteCamera(m_camera, address, value);
    if (isNew && GigEVision::IsError(status)) {
        m_stream.StopFrames();
    }
    return status;
}

bool CAcquisition::StartFrames() noexcept {
    try {
        m_stream.StartFrames();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

Status CAcquisition::Stop(std::uint64_t address, GigEVision::Bytes value) {
    const Status status = WriteCamera(m_camera, address, value);
    if (!GigEVision::IsError(status)) {
        m_stream.StopFrames();
    }
    return status;
}

void CAcquisition::Look() {
    const CamEmu::CAcquisitionStatus status = m_camera.Stream().Status();
    if (m_stream.TakesFrames() && !status.isAcquisitionActive && !status.isFrameActive) {
        m_stream.StopFrames();
    }
}

void CAcquisition::GoOn() noexcept {
    if (m_stream.TakesFrames() || !m_camera.Stream().IsAcquiring()) {
        return;
    }
    if (!StartFrames()) {
        Abort();
    }
}

void CAcquisition::Abort() noexcept {
    const std::array<std::uint8_t, 4> execute = {1};
    WriteCamera(m_camera, CamEmu::Reg::kAcquisitionStop, execute);
    m_stream.StopFrames();
}

} // namespace Serving
