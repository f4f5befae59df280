// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MinimalCamera.h"

#include <Base/GCException.h>
#include <GenApi/PortImpl.h>

#include <cstring>

namespace Minimal {

/// The way from a node map to the registers of the camera.
class MinimalPort final : public GenApi::CPortImpl {
public:
    explicit MinimalPort(MinimalCamera& camera) : m_camera(camera) {}

    void Permit(GenApi::EAccessMode mode) { m_mode = mode; }
    GenApi::EAccessMode GetAccessMode() const override { return m_mode; }

    void Read(void* buffer, std::int64_t address, std::int64_t sizeBytes) override {
        CheckSize(sizeBytes);
        const std::uint32_t value = m_camera.Read(address);
        std::memcpy(buffer, &value, sizeof value);
    }

    void Write(const void* buffer, std::int64_t address, std::int64_t sizeBytes) override {
        CheckSize(sizeBytes);
        std::uint32_t value = 0;
        std::memcpy(&value, buffer, sizeof value);
        m_camera.Write(address, value);
    }

private:
    static void CheckSize(std::int64_t sizeBytes) {
        if (sizeBytes != sizeof(std::uint32_t)) {
            throw RUNTIME_EXCEPTION("Cannot access %lld bytes: a register of the camera has 4.",
                                    static_cast<long long>(sizeBytes));
        }
    }

    MinimalCamera& m_camera;
    GenApi::EAccessMode m_mode = GenApi::NA; // as long as the device is closed
};

} // namespace Minimal
