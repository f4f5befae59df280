// SPDX-License-Identifier: Apache-2.0
#include "CameraPool.h"

#include "PluginLog.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

namespace CamEmu {

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
