// SPDX-License-Identifier: Apache-2.0
#include "SinkAppender.h"

#include "PatternLayout.h"
#include <Base/GCException.h>

#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <atomic>
#include <cstdio>

namespace GenICam {

namespace {

/// Lays a record out as a line and hands it to a sink, which does its own locking.
class CSinkAppender final : public Appender {
public:
    CSinkAppender(const gcstring& name, CPatternLayout layout, std::shared_ptr<spdlog::sinks::sink> sink)
        : Appender(name), m_layout(std::move(layout)), m_sink(std::move(sink)) {
        // the layout has said all, the end of the line included
        m_sink->set_formatter(
            std::make_unique<spdlog::pattern_formatter>("%v", spdlog::pattern_time_type::local, std::string()));
    }

    void Append(const LogRecord& record) override {
        const std::string line = m_layout.Format(record);
        try {
            m_sink->log(spdlog::details::log_msg(spdlog::string_view_t(), spdlog::level::info, line));
            m_sink->flush();
        } catch (const spdlog::spdlog_ex& failure) {
            if (!m_failureTold.exchange(true)) {
                std::fprintf(stderr, "Cannot write to log %s: %s\n", getName().c_str(), failure.what());
            }
        }
    }

private:
    CPatternLayout m_layout;
    std::shared_ptr<spdlog::sinks::sink> m_sink;
    std::atomic<bool> m_failureTold = false;
};

template <class Sink, class... Arguments>
AppenderPtr CreateOver(const gcstring& name, CPatternLayout layout, Arguments&&... arguments) {
    try {
        auto sink = std::make_shared<Sink>(std::forward<Arguments>(arguments)...);
        return std::make_shared<CSinkAppender>(name, std::move(layout), std::move(sink));
    } catch (const spdlog::spdlog_ex& failure) {
        throw RUNTIME_EXCEPTION(std::string(failure.what()));
    }
}

} // namespace

AppenderPtr CreateErrorStreamAppender(const gcstring& name, const gcstring& pattern) {
    return CreateOver<spdlog::sinks::stderr_sink_mt>(name, CPatternLayout(pattern.view()));
}

AppenderPtr CreatePlainFileAppender(const gcstring& name, const gcstring& path, bool append, const gcstring& pattern) {
    const bool truncate = !append;
    return CreateOver<spdlog::sinks::basic_file_sink_mt>(name, CPatternLayout(pattern.view()), path.c_str(), truncate);
}

AppenderPtr CreateRotatingFileAppender(const gcstring& name, const gcstring& path, std::size_t limitBytes,
                                       std::size_t keptFiles) {
    return CreateOver<spdlog::sinks::rotating_file_sink_mt>(name, CPatternLayout(), path.c_str(), limitBytes,
                                                            keptFiles);
}

} // namespace GenICam
