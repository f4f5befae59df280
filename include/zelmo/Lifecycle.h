// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

namespace Zelmo {

/// Starts the library: logging, the cache folder of the GenICam modules, settings and the transport layer factory.
/// Plug-ins are loaded later, when devices are first looked for.
///
/// Calls are counted, so that independent parts of a process may each start and stop the library; only the first one
/// starts it, and other threads that call meanwhile return when the start is complete. Calls that come out of the
/// start's or stop's own steps, as from a plug-in that goes, only count. The decimal number in the environment variable
/// `ZELMOIF`, if set, is given to AddInternalFlags (NodeMapTools.h) first.
///
/// Never throws: a failure is logged as critical, the rest of the start is left out, and CTlFactory::GetInstance then
/// raises. After the matching ZelmoTerminate it may be tried again.
ZELMO_API void ZelmoInitialize() noexcept;

/// Takes one ZelmoInitialize back; the last one stops the library. Everything it handed out must be gone by then.
/// Settings and binding rules are forgotten, and read anew when they are next needed.
/// Without a matching start nothing happens. @p shutDownLogging is looked at in the last call: false leaves the GenICam
/// log running for other users in the process.
ZELMO_API void ZelmoTerminate(bool shutDownLogging = true) noexcept;

/// Keeps the library started while it lives: the first object in main(), so that all others go before it.
class ZelmoScope {
public:
    explicit ZelmoScope(bool shutDownLogging = true) noexcept : m_shutDownLogging(shutDownLogging) {
        ZelmoInitialize();
    }
    ~ZelmoScope() { ZelmoTerminate(m_shutDownLogging); }
    ZelmoScope(const ZelmoScope&) = delete;
    ZelmoScope& operator=(const ZelmoScope&) = delete;

private:
    bool m_shutDownLogging;
};

} // namespace Zelmo

extern "C" {

/// The version of the library that runs; works without ZelmoInitialize. Null pointers are skipped.
ZELMO_API void GetZelmoVersion(unsigned int* major, unsigned int* minor, unsigned int* subminor, unsigned int* build);

/// The same as text, as in "6.1.0.18286"; never null.
ZELMO_API const char* GetZelmoVersionString();
}

namespace Zelmo {
using ::GetZelmoVersion;
using ::GetZelmoVersionString;
} // namespace Zelmo
