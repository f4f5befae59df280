#pragma once

#include "core/Camera.h"

#include <GenApi/PortImpl.h>

#include <string>

namespace CamEmu {

/// The camera's registers as the port of a node map, and behind them its description, where a real camera keeps its
/// own.
/// Threads: any.
class CRegisterPort : public GenApi::CPortImpl {
public:
    explicit CRegisterPort(CCamera& camera) : m_camera(camera) {}

    void SetAccessMode(GenApi::EAccessMode mode) { m_accessMode = mode; } ///< before the port is connected

    GenApi::EAccessMode GetAccessMode() const override { return m_accessMode; }

    /// @throws GenICam::AccessException     against the rights of a register, or while it is locked.
    /// @throws GenICam::OutOfRangeException when the camera refuses the value.
    /// @throws GenICam::RuntimeException    where there is no register.
    void Read(void* bytes, std::int64_t address, std::int64_t length) override;
    void Write(const void* bytes, std::int64_t address, std::int64_t length) override;

    static std::string DescriptionUrl(); ///< Where Read finds the description: "Local:name;address;length", in hex.

private:
    CCamera& m_camera;
    GenApi::EAccessMode m_accessMode = GenApi::NA;
};

} // namespace CamEmu
