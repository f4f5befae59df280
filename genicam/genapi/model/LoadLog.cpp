// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/LoadLog.h"

#include <Log/CLog.h>

namespace GenApi {

namespace {

void LogLine(int priority, const std::string& text) {
    static auto& logger = GenICam::CLog::GetLogger("GenApi");
    GenICam::CLog::Log(logger, priority, "%s", text.c_str());
}

} // namespace

void LogLoadWarning(const std::string& text) {
    LogLine(GenICam::LogPriority_Warn, text);
}

void LogLoadInfo(const std::string& text) {
    LogLine(GenICam::LogPriority_Info, text);
}

} // namespace GenApi
