// SPDX-License-Identifier: Apache-2.0
#include <Log/Logger.h>

#include "LogContext.h"
#include "LogHierarchy.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>

namespace GenICam {

namespace {

/// A formatted message: on the stack when it fits, else on the heap, never cut.
class CFormattedText {
public:
    CFormattedText(const char* format, va_list arguments) GENICAM_PRINTF_FORMAT(2, 0) : m_text(format) {
        va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(m_buffer, sizeof m_buffer, format, arguments);
        if (length >= static_cast<int>(sizeof m_buffer)) {
            m_text = FormatLong(static_cast<std::size_t>(length), format, again);
        } else if (length >= 0) {
            m_text = std::string_view(m_buffer, static_cast<std::size_t>(length));
        }
        // else the format is broken, and stands for itself
        va_end(again);
    }
    CFormattedText(const CFormattedText&) = delete;
    CFormattedText& operator=(const CFormattedText&) = delete;

    std::string_view View() const noexcept { return m_text; }

private:
    std::string_view FormatLong(std::size_t length, const char* format, va_list arguments) GENICAM_PRINTF_FORMAT(3, 0) {
        m_long.resize(length);
        std::vsnprintf(m_long.data(), length + 1, format, arguments);
        return m_long;
    }

    char m_buffer[1024];
    std::string m_long;
    std::string_view m_text;
};

void Deliver(Appender& appender, const LogRecord& record) noexcept {
    try {
        appender.Append(record);
    } catch (...) {
        // neither the caller nor the next appender is to suffer from this one
    }
}

} // namespace

Logger::Logger(CLogHierarchy& hierarchy, Logger* parent, const gcstring& name)
    : m_hierarchy(hierarchy), m_parent(parent), m_name(name), m_threshold(INT_MIN) {}

void Logger::log(int priority, const char* format, ...) noexcept {
    if (!isPriorityEnabled(priority)) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    logva(priority, format, arguments);
    va_end(arguments);
}

void Logger::logva(int priority, const char* format, va_list arguments) noexcept {
    if (!isPriorityEnabled(priority) || !format) {
        return;
    }
    const int callersErrno = errno;
    try {
        Dispatch(priority, format, arguments);
    } catch (...) {
        // out of memory: the message is lost, as logging must not disturb the caller
    }
    errno = callersErrno;
}

void Logger::Dispatch(int priority, const char* format, va_list arguments) {
    const auto route = m_hierarchy.Look([this] { return m_route; });
    if (route->empty()) {
        return;
    }
    const CFormattedText text(format, arguments);
    const LogRecord record{m_name.view(), priority, LogContext::Joined(), text.View(),
                           std::chrono::system_clock::now()};
    for (const AppenderPtr& appender : *route) {
        Deliver(*appender, record);
    }
}

void Logger::setPriority(int priority) {
    m_hierarchy.Change([&] { m_priority = priority; });
}

int Logger::getPriority() const {
    return m_hierarchy.Look([this] { return m_priority; });
}

int Logger::getChainedPriority() const {
    return m_hierarchy.Look([this] { return CLogHierarchy::ChainedPriority(*this); });
}

void Logger::addAppender(const AppenderPtr& appender) {
    m_hierarchy.Change([&] {
        if (appender && std::ranges::find(m_appenders, appender) == m_appenders.end()) {
            m_appenders.push_back(appender);
        }
    });
}

void Logger::removeAppender(const AppenderPtr& appender) {
    m_hierarchy.Change([&] { std::erase(m_appenders, appender); });
}

void Logger::removeAllAppenders() {
    m_hierarchy.Change([this] { m_appenders.clear(); });
}

std::vector<AppenderPtr> Logger::getAllAppenders() const {
    return m_hierarchy.Look([this] { return m_appenders; });
}

void Logger::setAdditivity(bool additivity) {
    m_hierarchy.Change([&] { m_additivity = additivity; });
}

bool Logger::getAdditivity() const {
    return m_hierarchy.Look([this] { return m_additivity; });
}

} // namespace GenICam
