// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Log/CLog.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Fakes {

/// One message as it reached the recorder.
struct LogLine {
    std::string category;
    int priority;
    std::string message;

    friend bool operator==(const LogLine&, const LogLine&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const LogLine& line) {
        return stream << '[' << line.category << ' ' << line.priority << "] " << line.message;
    }
};

/// Records what is logged, at every priority, from construction to destruction; the priorities are the log's own
/// (GenICam::LogPriority_Error and so on). Meanwhile nothing of it goes elsewhere: the appenders above are set aside.
///
/// The recorder holds the log up by an Initialize of its own. So code under test may call CLog::Initialize and ShutDown
/// as often as it likes, in pairs, and loses no line; but it never sees the first Initialize or the last ShutDown. What
/// it configures explicitly (ConfigureDefault, RemoveAllAppenders, levels) does act, and may end the recording.
/// Threads: any may log and look. Create and destroy it on one thread, recorders nested like scopes.
class LogRecorder {
public:
    /// Records the root, that is all loggers without a level of their own, or one category and those below it.
    explicit LogRecorder(const std::string& category = "")
        : m_logger((GenICam::CLog::Initialize(), GenICam::CLog::GetLogger(category.c_str()))),
          m_sink(std::make_shared<Sink>()), m_oldAppenders(m_logger.getAllAppenders()),
          m_oldAdditivity(m_logger.getAdditivity()), m_oldPriority(m_logger.getPriority()) {
        m_logger.removeAllAppenders();
        m_logger.setAdditivity(false);
        m_logger.addAppender(m_sink);
        m_logger.setPriority(INT_MAX);
    }
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;
    ~LogRecorder() {
        m_logger.setPriority(m_oldPriority);
        m_logger.removeAppender(m_sink);
        m_logger.setAdditivity(m_oldAdditivity);
        for (const auto& appender : m_oldAppenders) {
            m_logger.addAppender(appender);
        }
        GenICam::CLog::ShutDown();
    }

    std::vector<LogLine> Lines() const { return m_sink->Lines(); }

    /// How many lines have this category and priority and hold @p text somewhere.
    std::size_t Count(std::string_view category, int priority, std::string_view text = {}) const {
        const auto lines = Lines();
        return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [&](const LogLine& line) {
            return line.category == category && line.priority == priority &&
                   line.message.find(text) != std::string::npos;
        }));
    }
    bool Contains(std::string_view category, int priority, std::string_view text) const {
        return Count(category, priority, text) > 0;
    }
    void Clear() { m_sink->Clear(); }

private:
    // shared with the log, which may deliver a last message while the recorder goes
    class Sink : public GenICam::Appender {
    public:
        Sink() : Appender("LogRecorder") {}
        void Append(const GenICam::LogRecord& record) override {
            std::lock_guard lock(m_mutex);
            m_lines.push_back({std::string(record.category), record.priority, std::string(record.message)});
        }
        std::vector<LogLine> Lines() const {
            std::lock_guard lock(m_mutex);
            return m_lines;
        }
        void Clear() {
            std::lock_guard lock(m_mutex);
            m_lines.clear();
        }

    private:
        mutable std::mutex m_mutex;
        std::vector<LogLine> m_lines;
    };

    GenICam::Logger& m_logger;
    std::shared_ptr<Sink> m_sink;
    std::vector<GenICam::AppenderPtr> m_oldAppenders;
    bool m_oldAdditivity;
    int m_oldPriority;
};

} // namespace Fakes
