// SPDX-License-Identifier: Apache-2.0
#include <Log/CLog.h>

#include "LogConfiguration.h"
#include "LogContext.h"
#include "LogHierarchy.h"
#include "LogProperties.h"
#include "SinkAppender.h"

namespace GenICam {

namespace {

constexpr std::string_view kIndentation = "  ";

/// A context text that finds no memory is left out: logging must not disturb the caller.
void PushOrDrop(std::string_view text) noexcept {
    try {
        LogContext::Push(text);
    } catch (...) {
    }
}

} // namespace

void CLog::Initialize() {
    CLogHierarchy& hierarchy = CLogHierarchy::Instance();
    hierarchy.Start([&] {
        if (!ConfigureLogFromEnvironment(hierarchy)) {
            ConfigureLogByDefault(hierarchy);
        }
    });
}

void CLog::ShutDown() {
    CLogHierarchy::Instance().Stop();
}

Logger& CLog::GetLogger(const gcstring& name) {
    return CLogHierarchy::Instance().Get(name.view());
}

Logger& CLog::GetLogger(const char* name) {
    return GetLogger(gcstring(name));
}

Logger& CLog::GetRootLogger() {
    return CLogHierarchy::Instance().Root();
}

bool CLog::Exists(const gcstring& name) {
    return CLogHierarchy::Instance().Exists(name.view());
}

void CLog::ConfigureDefault() {
    CLogHierarchy& hierarchy = CLogHierarchy::Instance();
    hierarchy.Configure([&] { ConfigureLogByDefault(hierarchy); });
}

bool CLog::ConfigureFromEnvironment() {
    CLogHierarchy& hierarchy = CLogHierarchy::Instance();
    return hierarchy.Configure([&] { return ConfigureLogFromEnvironment(hierarchy); });
}

bool CLog::ConfigureFromFile(const gcstring& path) {
    CLogHierarchy& hierarchy = CLogHierarchy::Instance();
    return hierarchy.Configure([&] { return ConfigureLogFromFile(hierarchy, path); });
}

bool CLog::ConfigureFromString(const gcstring& text) {
    CLogHierarchy& hierarchy = CLogHierarchy::Instance();
    return hierarchy.Configure([&] { return ConfigureLogFromProperties(hierarchy, text.view(), "Log configuration"); });
}

AppenderPtr CLog::CreateFileAppender(const gcstring& name, const gcstring& path, bool append, const gcstring& pattern) {
    return CreatePlainFileAppender(name, path, append, pattern);
}

void CLog::RemoveAllAppenders() {
    CLogHierarchy::Instance().RemoveAllAppenders();
}

void CLog::Log(Logger& logger, int priority, const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    logger.logva(priority, format, arguments);
    va_end(arguments);
}

void CLog::LogVA(Logger& logger, int priority, const char* format, va_list arguments) noexcept {
    logger.logva(priority, format, arguments);
}

void CLog::LogPush(Logger& logger, int priority, const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    logger.logva(priority, format, arguments);
    va_end(arguments);
    PushOrDrop(kIndentation);
}

void CLog::LogPop(Logger& logger, int priority, const char* format, ...) noexcept {
    PopNDC();
    va_list arguments;
    va_start(arguments, format);
    logger.logva(priority, format, arguments);
    va_end(arguments);
}

void CLog::PushNDC(const gcstring& text) noexcept {
    PushOrDrop(text.view());
}

void CLog::PopNDC() noexcept {
    LogContext::Pop();
}

} // namespace GenICam
