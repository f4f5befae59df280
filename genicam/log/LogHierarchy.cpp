// SPDX-License-Identifier: Apache-2.0
#include "LogHierarchy.h"

#include <climits>

namespace GenICam {

CLogHierarchy& CLogHierarchy::Instance() {
    static auto* const kInstance = new CLogHierarchy;
    return *kInstance;
}

CLogHierarchy::CLogHierarchy() {
    AutoLock lock(m_lock);
    m_root = &Add({}, nullptr);
    m_root->m_priority = LogPriority_Warn;
}

void CLogHierarchy::Stop() {
    AutoLock start(m_startLock);
    if (m_startCount == 0 || --m_startCount > 0) {
        return;
    }
    SetUp(false);
    Reset();
}

void CLogHierarchy::SetUp(bool up) {
    Change([&]() GENICAM_NO_THREAD_SAFETY_ANALYSIS { m_up = up; });
}

Logger& CLogHierarchy::Get(std::string_view name) {
    AutoLock lock(m_lock);
    if (const auto found = m_loggers.find(name); found != m_loggers.end()) {
        return *found->second;
    }
    Logger* ancestor = m_root;
    for (auto dot = name.find('.'); dot != name.npos; dot = name.find('.', dot + 1)) {
        ancestor = &Add(name.substr(0, dot), ancestor);
    }
    return Add(name, ancestor);
}

bool CLogHierarchy::Exists(std::string_view name) const {
    AutoLock lock(m_lock);
    return m_loggers.find(name) != m_loggers.end();
}

Logger& CLogHierarchy::Add(std::string_view name, Logger* parent) {
    if (const auto found = m_loggers.find(name); found != m_loggers.end()) {
        return *found->second;
    }
    std::unique_ptr<Logger> logger(new Logger(*this, parent, gcstring(name)));
    Refresh(*logger);
    return *m_loggers.emplace(std::string(name), std::move(logger)).first->second;
}

void CLogHierarchy::RemoveAllAppenders() {
    Change([this]() GENICAM_NO_THREAD_SAFETY_ANALYSIS {
        for (auto& [name, logger] : m_loggers) {
            logger->m_appenders.clear(); // the routes still hold them
        }
    });
}

void CLogHierarchy::Reset() {
    Change([this]() GENICAM_NO_THREAD_SAFETY_ANALYSIS {
        for (auto& [name, logger] : m_loggers) {
            logger->m_appenders.clear();
            logger->m_additivity = true;
            logger->m_priority = LogPriority_NotSet;
        }
        m_root->m_priority = LogPriority_Warn;
    });
}

int CLogHierarchy::ChainedPriority(const Logger& logger) noexcept {
    const Logger* level = &logger;
    while (level->m_priority == LogPriority_NotSet && level->m_parent) {
        level = level->m_parent;
    }
    return level->m_priority;
}

void CLogHierarchy::Refresh(std::vector<std::shared_ptr<const Route>>& retired) {
    retired.reserve(m_loggers.size());
    for (auto& [name, logger] : m_loggers) {
        retired.push_back(logger->m_route);
        Refresh(*logger);
    }
}

void CLogHierarchy::Refresh(Logger& logger) {
    const bool inherits = logger.m_parent && logger.m_additivity;
    if (inherits && logger.m_appenders.empty()) {
        logger.m_route = logger.m_parent->m_route;
    } else {
        auto route = std::make_shared<Route>(logger.m_appenders);
        if (inherits) {
            route->insert(route->end(), logger.m_parent->m_route->begin(), logger.m_parent->m_route->end());
        }
        logger.m_route = std::move(route);
    }
    logger.m_threshold.store(m_up ? ChainedPriority(logger) : INT_MIN, std::memory_order_relaxed);
}

} // namespace GenICam
