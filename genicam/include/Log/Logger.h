// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>
#include <Base/GCLinkage.h>
#include <Base/GCString.h>
#include <Log/Appender.h>

#include <atomic>
#include <cstdarg>
#include <memory>
#include <vector>

namespace GenICam {

/// Urgency of a message and level of a logger: a message passes if its number is not above the logger's level.
/// Any other number is allowed for both.
enum ELogPriority : int {
    LogPriority_Emerg = 0,
    LogPriority_Fatal = 0,
    LogPriority_Alert = 100,
    LogPriority_Crit = 200,
    LogPriority_Error = 300,
    LogPriority_Warn = 400,
    LogPriority_Notice = 500,
    LogPriority_Info = 600,
    LogPriority_Debug = 700,
    LogPriority_NotSet = 800 ///< As a level: that of the nearest ancestor; of the root: everything up to here.
};

class CLogHierarchy;

/// One category of the log, such as "zelmo.base". Got from CLog::GetLogger and alive until the process ends, so callers
/// keep the reference. A logger without a level of its own has that of the nearest ancestor; messages go to its own
/// appenders and, unless additivity is off, to those of its ancestors.
/// While the log is down (before CLog::Initialize, after the last CLog::ShutDown) nothing is enabled.
/// Threads: any, at the same time. A disabled call costs one atomic read.
class GENICAM_API Logger {
public:
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// Formats as printf, at any length, and hands on. Never throws: a message that cannot be formatted for want of
    /// memory is lost.
    void log(int priority, const char* format, ...) noexcept GENICAM_PRINTF_FORMAT(3, 4);
    void logva(int priority, const char* format, va_list arguments) noexcept GENICAM_PRINTF_FORMAT(3, 0);
    bool isPriorityEnabled(int priority) const noexcept {
        return priority <= m_threshold.load(std::memory_order_relaxed);
    }

    const gcstring& getName() const noexcept { return m_name; } ///< Empty for the root.
    void setPriority(int priority);
    int getPriority() const;        ///< Its own level; LogPriority_NotSet when it has none.
    int getChainedPriority() const; ///< The level in effect.

    void addAppender(const AppenderPtr& appender);    ///< Null or already there: nothing happens.
    void removeAppender(const AppenderPtr& appender); ///< Not there: nothing happens.
    void removeAllAppenders();
    std::vector<AppenderPtr> getAllAppenders() const; ///< Its own ones only.
    void setAdditivity(bool additivity);
    bool getAdditivity() const;

private:
    friend class CLogHierarchy;
    using Route = std::vector<AppenderPtr>;

    Logger(CLogHierarchy& hierarchy, Logger* parent, const gcstring& name);
    void Dispatch(int priority, const char* format, va_list arguments) GENICAM_PRINTF_FORMAT(3, 0);

    CLogHierarchy& m_hierarchy; // its lock guards all below but the threshold
    Logger* const m_parent;     // null for the root
    const gcstring m_name;
    std::atomic<int> m_threshold; // the level in effect, or below every priority while the log is down
    int m_priority = LogPriority_NotSet;
    bool m_additivity = true;
    Route m_appenders;
    std::shared_ptr<const Route> m_route; // own appenders and the inherited ones; replaced, never changed
};

} // namespace GenICam
