// SPDX-License-Identifier: Apache-2.0
#include "Acquisition.h"

#include "CameraRegisters.h"
#include "Stream.h"

#include "core/Camera.h"
#include "core/RegisterMap.h"

#include <array>

namespace Serving {

using GigEVision::Status;

Status CAcquisition::Start(std::uint64_t address, GigEVision::Bytes value) {
    Look();
    const bool isNew = !m_stream.TakesFrames();
    if (isNew) {
        try {
            m_stream.StartFrames();
        } catch (const std::exception&) {
            return Status::Error;
        }
    }
    const Status status = WriteCamera(m_camera, address, value);
    if (isNew && GigEVision::IsError(status)) {
        m_stream.StopFrames();
    }
    return status;
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
    try {
        m_stream.StartFrames();
    } catch (const std::exception&) {
        Abort();
    }
}

void CAcquisition::Abort() noexcept {
    const std::array<std::uint8_t, 4> execute = {1};
    WriteCamera(m_camera, CamEmu::Reg::kAcquisitionStop, execute);
    m_stream.StopFrames();
}

} // namespace Serving
