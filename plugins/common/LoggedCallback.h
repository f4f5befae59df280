// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Log.h>

#include <exception>

namespace PluginKit {

/// Runs code of the application where nobody could take its exceptions; they are logged. @p where names it.
template <class Callback>
void RunLogged(unsigned long category, const char* device, const char* where, Callback callback) noexcept {
    try {
        callback();
    } catch (const std::exception& e) {
        hxlog::LogTrace(category, hxlog::LogLevel_Error, "Device '%s': exception in %s: %s", device, where, e.what());
    } catch (...) {
        hxlog::LogTrace(category, hxlog::LogLevel_Error, "Device '%s': unknown exception in %s.", device, where);
    }
}

} // namespace PluginKit
