// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>
#include <Base/GCLinkage.h>
#include <Base/GCString.h>
#include <Log/Appender.h>
#include <Log/Logger.h>

#include <cstdarg>

namespace GenICam {

/// The log of the process: a tree of loggers with dotted names, and where their messages go.
/// Threads: all operations may be called by any thread at any time, also before Initialize and after ShutDown; messages
/// are then dropped. A logger, once got, is valid until the process ends.
class GENICAM_API CLog {
public:
    CLog() = delete;

    /// Brings the log up and takes it down; calls are counted, and only the first and the last one act. The first
    /// configures by ConfigureFromEnvironment or else by ConfigureDefault. The last removes all appenders and levels.
    /// ShutDown without Initialize does nothing.
    static void Initialize();
    static void ShutDown();

    /// The logger of that name, made at the first call together with its ancestors ("a.b.c" has "a.b" and "a"). Names
    /// are case-sensitive; the empty name is the root. @throws BadAllocException
    static Logger& GetLogger(const gcstring& name);
    static Logger& GetLogger(const char* name);
    static Logger& GetRootLogger();
    static bool Exists(const gcstring& name); ///< Whether GetLogger would find it without making it.

    /// Drops all appenders and levels; then the root is at LogPriority_Warn and writes to the standard error stream.
    static void ConfigureDefault();

    /// The file that SetGenICamLogConfig or the environment variable GENICAM_LOG_CONFIG_V3_1 names, or else
    /// ConfigureDefault; then what two environment variables say. What is said wrongly is told once on the standard
    /// error stream and ignored.
    /// ZELMO_LOG_LEVEL: level of the root and, behind commas, of categories: "INFO", "600", "WARN,zelmo.base=DEBUG".
    /// Names in any case: FATAL, EMERG, ALERT, CRIT, ERROR, WARN, NOTICE, INFO, DEBUG, NOTSET, and OFF for nothing.
    /// ZELMO_LOG_FILE: file to append to instead of the standard error stream. At 10 MiB it is renamed to "name.1.ext",
    /// and of these the last three are kept. One that cannot be opened leaves the standard error stream.
    /// @return false, with nothing done, if none of all that is set or only a file that cannot be used.
    static bool ConfigureFromEnvironment();

    /// Drops all appenders and levels, then does what the lines of a file or text say:
    ///     log4cpp.rootCategory=ERROR, Out            level and appenders of the root
    ///     log4cpp.category.GenApi.Device=DEBUG, All  of a category; "NOTSET" or nothing for the level of its ancestor
    ///     log4cpp.additivity.GenApi.Device=false     keep its messages from the appenders of its ancestors
    ///     log4cpp.appender.Out=ConsoleAppender       the standard error stream
    ///     log4cpp.appender.All=FileAppender
    ///     log4cpp.appender.All.fileName=$(HOME)/all.log
    ///     log4cpp.appender.All.append=false          "true" without this line
    ///     log4cpp.appender.All.layout.ConversionPattern=%d %-5p %c: %x%m%n
    /// Lines that begin with # or ! are comments, other keys are ignored. What cannot be done is told on the standard
    /// error stream with its line, and the rest holds.
    /// @return false, with nothing done, if the file cannot be read or no line configures a category.
    static bool ConfigureFromFile(const gcstring& path);
    static bool ConfigureFromString(const gcstring& text);

    /// An appender that writes lines to a file; attach it with AddAppender. @p append keeps what the file holds.
    /// In @p pattern stand for: %c category, %d local date and time with milliseconds, %m message, %n end of line, %p
    /// priority, %r milliseconds since 1970, %t thread, %x context texts, %% a percent sign; the empty pattern is
    /// "%d %p %c: %x%m%n". Numbers between, as in "%-20.30c", give least and greatest width; %d{%H:%M:%S,%l} is a
    /// format of strftime, with %l for the milliseconds.
    /// @throws RuntimeException if the file cannot be opened, InvalidArgumentException for an unknown conversion.
    static AppenderPtr CreateFileAppender(const gcstring& name, const gcstring& path, bool append = false,
                                          const gcstring& pattern = gcstring());
    static void AddAppender(Logger& logger, const AppenderPtr& appender) { logger.addAppender(appender); }
    static void RemoveAppender(Logger& logger, const AppenderPtr& appender) { logger.removeAppender(appender); }
    static void RemoveAllAppenders(); ///< Those of all loggers.

    static void SetPriorityInfo(Logger& logger) { logger.setPriority(LogPriority_Info); }
    static void SetPriorityError(Logger& logger) { logger.setPriority(LogPriority_Error); }
    static bool IsInfoEnabled(const Logger& logger) noexcept { return logger.isPriorityEnabled(LogPriority_Info); }
    static bool IsWarnEnabled(const Logger& logger) noexcept { return logger.isPriorityEnabled(LogPriority_Warn); }
    static bool IsDebugEnabled(const Logger& logger) noexcept { return logger.isPriorityEnabled(LogPriority_Debug); }

    static void Log(Logger& logger, int priority, const char* format, ...) noexcept GENICAM_PRINTF_FORMAT(3, 4);
    static void LogVA(Logger& logger, int priority, const char* format, va_list arguments) noexcept
        GENICAM_PRINTF_FORMAT(3, 0);

    /// Traces of nested calls: LogPush logs and then indents what this thread logs; LogPop takes one indentation back
    /// and then logs. The indentation is a context text of two blanks, kept whether or not the message is enabled.
    static void LogPush(Logger& logger, int priority, const char* format, ...) noexcept GENICAM_PRINTF_FORMAT(3, 4);
    static void LogPop(Logger& logger, int priority, const char* format, ...) noexcept GENICAM_PRINTF_FORMAT(3, 4);

    /// Context texts of the calling thread; all that are pushed stand, joined, before its messages. PopNDC takes the
    /// last one off; without one it does nothing.
    static void PushNDC(const gcstring& text) noexcept;
    static void PopNDC() noexcept;
};

} // namespace GenICam
