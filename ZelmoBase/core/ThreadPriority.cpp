// SPDX-License-Identifier: Apache-2.0
#include <zelmo/ThreadPriority.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <linux/capability.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Zelmo {
namespace {

bool IsPrivileged() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_1, 0};
    __user_cap_data_struct data{};
    // the number of the capability is taken as the mask: this tests capabilities 0, 1, 2 and 4, and is meant to stay so
    return syscall(SYS_capget, &header, &data) == 0 && (data.effective & CAP_SYS_NICE) != 0;
}

int ThreadPriorityOrUnknown(unsigned long threadId) {
    try {
        return GetRTThreadPriority(threadId);
    } catch (...) {
        return -1;
    }
}

/// The integers that hold one thread's priority in a node map.
class CPriorityNodes {
public:
    CPriorityNodes(GenApi::INodeMap* nodeMap, const String_t& baseName) : m_nodeMap(nodeMap), m_baseName(baseName) {}

    std::int64_t Read(const char* ending) const { return Get(ending)->GetValue(false, false); }
    void Write(const char* ending, std::int64_t value) const { Get(ending)->SetValue(value, true); }

private:
    /// A null pointer for a missing node; using it raises.
    GenApi::CIntegerPtr Get(const char* ending) const {
        return GenApi::CIntegerPtr(m_nodeMap->GetNode(m_baseName + ending));
    }

    GenApi::INodeMap* m_nodeMap;
    const String_t& m_baseName;
};

void ReflectPriority(const CPriorityNodes& nodes, int priority) {
    if (priority < nodes.Read("_Min")) {
        nodes.Write("_Min", priority);
    }
    if (priority > nodes.Read("_Max")) {
        nodes.Write("_Max", priority);
    }
    nodes.Write("_Value", priority);
}

} // namespace

void GetRTThreadPriorityCapabilities(int& priorityMin, int& priorityMax) {
    const bool isPrivileged = IsPrivileged();
    rlimit limit{};
    const bool isLimitKnown = getrlimit(RLIMIT_RTPRIO, &limit) == 0;
    priorityMin = sched_get_priority_min(SCHED_RR);
    if (priorityMin == 1) {
        priorityMin = 0; // normal scheduling
    }
    priorityMax = sched_get_priority_max(SCHED_RR);
    if (!isPrivileged && isLimitKnown && limit.rlim_cur <= static_cast<rlim_t>(priorityMax)) {
        priorityMax = static_cast<int>(limit.rlim_cur);
    }
}

int SetRTThreadPriority(unsigned long threadId, int priority) {
    int priorityMin = 0;
    int priorityMax = 0;
    GetRTThreadPriorityCapabilities(priorityMin, priorityMax);
    if (priority < priorityMin || priority > priorityMax) {
        return EINVAL;
    }
    sched_param parameters{};
    parameters.sched_priority = priority;
    return pthread_setschedparam(threadId, priority != 0 ? SCHED_RR : SCHED_OTHER, &parameters);
}

int GetRTThreadPriority(unsigned long threadId) {
    int policy = 0;
    sched_param parameters{};
    return pthread_getschedparam(threadId, &policy, &parameters) == 0 ? parameters.sched_priority : 0;
}

void SetupRTThreadPriorityCapabilities(GenApi::INodeMap* nodeMap, String_t baseName) {
    int priorityMin = 0;
    int priorityMax = 0;
    GetRTThreadPriorityCapabilities(priorityMin, priorityMax);
    const CPriorityNodes nodes(nodeMap, baseName);
    nodes.Write("_Min", priorityMin);
    nodes.Write("_Max", priorityMax);
    nodes.Write("_Value", (priorityMax - priorityMin + 1) / 2 + priorityMin);
}

void SetNodemapRTThreadPriority(GenApi::INodeMap* nodeMap, String_t baseName, unsigned long threadId) {
    const CPriorityNodes nodes(nodeMap, baseName);
    try {
        // what no int holds is no priority either, and must not wrap into one
        const auto value = std::clamp<std::int64_t>(nodes.Read("_Value"), INT_MIN, INT_MAX);
        // a refusal is not looked at: the thread then runs on as it does
        SetRTThreadPriority(threadId, static_cast<int>(value));
    } catch (...) {
        if (nodes.Read("_Override") != 0) {
            throw; // the application asked for exactly this priority
        }
        ReflectPriority(nodes, ThreadPriorityOrUnknown(threadId));
    }
}

void SetThreadName(unsigned long, const char*) {}

void SetCurrentThreadName(const char*) {}

} // namespace Zelmo
