// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>
#include <Base/GCString.h>

#include <chrono>
#include <memory>
#include <string_view>

namespace GenICam {

/// One message on its way to the appenders. The texts are borrowed: valid only during Append.
struct LogRecord {
    std::string_view category; ///< Empty for the root logger.
    int priority;              ///< See ELogPriority; any number may come.
    std::string_view ndc;      ///< The thread's context texts, outermost first (CLog::PushNDC).
    std::string_view message;
    std::chrono::system_clock::time_point time;
};

/// A target of log messages. Loggers share their appenders; whoever wants to hear messages derives from this one.
/// Threads: Append is called by all threads that log, several at a time, without any lock of the log, so it guards its
/// own data; it must not log itself. What it throws is dropped.
class GENICAM_API Appender {
public:
    explicit Appender(const gcstring& name);
    Appender(const Appender&) = delete;
    Appender& operator=(const Appender&) = delete;
    virtual ~Appender();

    const gcstring& getName() const noexcept { return m_name; }

    /// Takes one message. After removal a message that was on its way may still come, from another thread.
    virtual void Append(const LogRecord& record) = 0;

private:
    gcstring m_name;
};

using AppenderPtr = std::shared_ptr<Appender>;

} // namespace GenICam
