// SPDX-License-Identifier: Apache-2.0
#include "CameraPool.h"

#include "PluginLog.h"

#include <array>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string_view>

namespace CamEmu {

CPoolCamera& PoolCamera(std::size_t number) {
    // Never destroyed: a stream thread may still run when the process exits.
    static auto& lock = *new std::mutex;
    static auto& cameras = *new std::array<std::unique_ptr<CPoolCamera>, kMaxCameras>;
    const std::lock_guard guard(lock);
    std::unique_ptr<CPoolCamera>& camera = cameras.at(number);
    if (!camera) {
        camera = std::make_unique<CPoolCamera>(static_cast<std::uint32_t>(number));
    }
    return *camera;
}

std::size_t WantedCameras() {
    const char* const value = std::getenv("ZELMO_CAMEMU");
    if (!value || !*value) {
        return 0;
    }
    const std::string_view text = value;
    std::size_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error == std::errc() && end == text.data() + text.size() && count <= kMaxCameras) {
        return count;
    }
    hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Error,
                    "ZELMO_CAMEMU='%s' is not a number of cameras from 0 to %u. No camera is emulated.", value,
                    static_cast<unsigned>(kMaxCameras));
    return 0;
}

} // namespace CamEmu
