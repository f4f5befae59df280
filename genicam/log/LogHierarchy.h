// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCSynch.h>
#include <Log/Logger.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace GenICam {

/// The tree of all loggers, and whether the log is up.
/// Owns:    the loggers, which it never drops; it is itself never destroyed, so that static objects may log to the end.
/// Threads: any. Messages are delivered without a lock: a logger's route is a snapshot, replaced at every change.
/// Locks:   m_startLock (start, stop, configuration; held while files are opened), then m_lock (the tree and everything
///          in the loggers). Appenders are destroyed without m_lock, as their destructors are foreign code.
class CLogHierarchy {
public:
    using Route = Logger::Route;

    static CLogHierarchy& Instance();

    /// Counted. The first Start runs @p configure and then brings the log up; if that throws, nothing is counted.
    template <class Step>
    void Start(Step configure) {
        AutoLock start(m_startLock);
        if (m_startCount == 0) {
            configure();
            SetUp(true);
        }
        ++m_startCount;
    }
    void Stop();

    /// Runs a configuration of several steps that no other one and no start or stop may come between.
    template <class Step>
    auto Configure(Step step) {
        AutoLock start(m_startLock);
        return step();
    }

    Logger& Root() noexcept { return *m_root; }
    Logger& Get(std::string_view name);
    bool Exists(std::string_view name) const;

    void RemoveAllAppenders();
    void Reset(); ///< Removes appenders and levels and restores additivity, everywhere.

    /// Runs a step that changes loggers, then brings routes and thresholds up to date.
    template <class Step>
    void Change(Step step) {
        std::vector<std::shared_ptr<const Route>> retired; // outlives the lock
        AutoLock lock(m_lock);
        step();
        Refresh(retired);
    }

    /// Runs a step that reads loggers.
    template <class Step>
    auto Look(Step step) const {
        AutoLock lock(m_lock);
        return step();
    }

    /// The level in effect for @p logger, were the log up. Within Change or Look.
    static int ChainedPriority(const Logger& logger) noexcept;

private:
    CLogHierarchy();

    void SetUp(bool up);
    Logger& Add(std::string_view name, Logger* parent) GENICAM_REQUIRES(m_lock);
    void Refresh(std::vector<std::shared_ptr<const Route>>& retired) GENICAM_REQUIRES(m_lock);
    void Refresh(Logger& logger) GENICAM_REQUIRES(m_lock);

    CLock m_startLock;
    unsigned int m_startCount GENICAM_GUARDED_BY(m_startLock) = 0;
    mutable CLock m_lock;
    bool m_up GENICAM_GUARDED_BY(m_lock) = false;
    // by name, so that a logger comes behind all its ancestors
    std::map<std::string, std::unique_ptr<Logger>, std::less<>> m_loggers GENICAM_GUARDED_BY(m_lock);
    Logger* m_root;
};

} // namespace GenICam
