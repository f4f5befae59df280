// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Log/CLog.h>

#include "genicam/genapi/nodes/MapCore.h"

#include <cstdint>
#include <span>
#include <string>

namespace GenApi {

/// Tells the log, in category GenApi.Device, which values are read (level DEBUG) and written (level INFO): those of the
/// outermost calls, not of the nodes below them. What the cache answers is not told.
class DeviceLog {
public:
    template <typename T>
    static void TellRead(NodeBase& node, const T& value) {
        if (Tells(node, GenICam::LogPriority_Debug)) {
            GenICam::CLog::Log(Logger(), GenICam::LogPriority_Debug, "%s() = %s", node.Core().EntryPoint().c_str(),
                               Text(value).c_str());
        }
    }
    template <typename T>
    static void TellWritten(NodeBase& node, const T& value) {
        if (Tells(node, GenICam::LogPriority_Info)) {
            GenICam::CLog::Log(Logger(), GenICam::LogPriority_Info, "%s(%s)", node.Core().EntryPoint().c_str(),
                               Text(value).c_str());
        }
    }

private:
    static bool Tells(const NodeBase& node, int priority) {
        return Logger().isPriorityEnabled(priority) && node.Core().IsEntry(node);
    }
    static GenICam::Logger& Logger() {
        static GenICam::Logger& logger = GenICam::CLog::GetLogger("GenApi.Device");
        return logger;
    }
    static std::string Text(std::int64_t value) { return std::to_string(value); }
    static std::string Text(bool value) { return value ? "true" : "false"; }
    static std::string Text(double value);
    static std::string Text(const std::string& value) { return "'" + value + "'"; }
    static std::string Text(std::span<const std::uint8_t> bytes);
};

} // namespace GenApi
