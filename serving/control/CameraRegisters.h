// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Memory.h"

namespace CamEmu {
class CCamera;
struct CRegister;
} // namespace CamEmu

namespace Serving {

class CAcquisition;

/// The registers of the simulated camera as a network sees them: each number turned as a whole, so that its highest
/// byte comes first; texts as they are. Borrows: camera and acquisition. Threads: the control thread.
class CCameraRegisters final : public IMemory {
public:
    CCameraRegisters(CamEmu::CCamera& camera, CAcquisition& acquisition)
        : m_camera(camera), m_acquisition(acquisition) {}

    GigEVision::Status Read(std::uint32_t address, GigEVision::MutableBytes bytes) override;
    std::uint32_t UnitBytes(std::uint32_t address) const override;
    GigEVision::Status Write(std::uint32_t address, GigEVision::Bytes bytes) override;

    static std::uint32_t Size(); ///< bytes of the address space

private:
    CamEmu::CCamera& m_camera;
    CAcquisition& m_acquisition;
};

/// Writes bytes as the camera has them. @return what it answered; Error also for what it threw.
GigEVision::Status WriteCamera(CamEmu::CCamera& camera, std::uint64_t address, GigEVision::Bytes bytes) noexcept;

} // namespace Serving
