// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Log.h>

#include <exception>

namespace CamEmu {

/// The log category of the plug-in.
inline unsigned long LogCategory() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.camemu");
    return kId;
}

/// Runs code of the application where nobody could take its exceptions; they are logged. @p where names it.
template <class Callback>
void RunLogged(const char* device, const char* where, Callback callback) noexcept {
    try {
        callback();
    } catch (const std::exception& e) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Error, "Device '%s': exception in %s: %s", device, where,
                        e.what());
    } catch (...) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Error, "Device '%s': unknown exception in %s.", device, where);
    }
}

} // namespace CamEmu
