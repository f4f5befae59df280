// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

#include <cstdarg>

/// The log front end of the library and its plug-ins: category names become small numbers, levels become priorities of
/// the GenICam log (GenICam::CLog), which writes the lines.
///
/// Threads: all functions from any thread. Nothing here throws; a call that cannot log is without effect. Only an
/// exception out of the back end's own log operation ends the process.
namespace hxlog {

/// How much a line matters; the number in brackets is the priority in the GenICam log. Other values get 800.
enum LogLevel : int {
    LogLevel_Debug = 16,    ///< (700)
    LogLevel_Info = 32,     ///< (600)
    LogLevel_Notice = 64,   ///< (500)
    LogLevel_Warn = 128,    ///< (400)
    LogLevel_Error = 256,   ///< (300)
    LogLevel_Critical = 512 ///< (200)
};

/// The identifier of a category, made on first use and kept for the life of the process; case does not matter.
/// Call it once for each unit and keep the answer: `static const unsigned long id = hxlog::LogGetCatID("my.unit");`
/// @return all bits set, which LogTrace takes and ignores, while logging is disabled, for a null or empty name, or when
/// the table of 500 categories or its 15500 bytes for names are full.
ZELMO_API unsigned long LogGetCatID(const char* name) noexcept;

/// Writes one line; `printf` style.
/// @return 0 when nothing was logged: logging disabled, null @p format, a category that does not exist.
ZELMO_API long LogTrace(unsigned long category, LogLevel level, const char* format, ...) noexcept
    __attribute__((format(printf, 3, 4)));

/// The same for functions that themselves take variable arguments. @p arguments may be used again afterwards.
ZELMO_API long LogTraceVA(unsigned long category, LogLevel level, const char* format, va_list arguments) noexcept
    __attribute__((format(printf, 3, 0)));

/// Switches logging on or off; off at load, on from the first ZelmoInitialize. Identifiers stay valid over a pause.
/// @return true.
ZELMO_API bool LogEnable(bool enable) noexcept;

} // namespace hxlog
