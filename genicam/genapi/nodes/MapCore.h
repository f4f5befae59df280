// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/Model.h"
#include "genicam/genapi/nodes/Callbacks.h"
#include "genicam/genapi/nodes/NodeBase.h"

#include <GenApi/INodeMap.h>
#include <Log/CLog.h>

#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace GenApi {

class PortNode;

/// The nodes that one change makes void: first what changes itself (roots), then all that depend on it.
struct Closure {
    std::vector<NodeBase*> nodes;
    std::size_t roots = 0;
    std::vector<std::uint8_t> onlyValue; ///< of each: not 0 if a write leaves its mode and limits; of AffectedBy only
};

/// What the nodes of one map share: the lock, the nodes, who depends on whom, the call in progress.
/// Threads: everything but the constants under the lock.
/// Owns: the nodes, in one block of memory.
class MapCore {
public:
    MapCore(ModelPtr model, CLock* userLock, const gcstring& deviceName, INodeMap& map);
    MapCore(const MapCore&) = delete;
    MapCore& operator=(const MapCore&) = delete;
    ~MapCore();

    const Model& Description() const noexcept { return *m_model; }
    CLock& Lock() const noexcept GENICAM_RETURN_CAPABILITY(*m_lock) { return *m_lock; }
    /// Says so where clang cannot see it: the inner protocol of the nodes runs under the lock that its public call
    /// took.
    void AssertLocked() const noexcept GENICAM_ASSERT_CAPABILITY(*m_lock) {}
    INodeMap& Map() const noexcept { return m_map; }
    const gcstring& DeviceName() const noexcept { return m_deviceName; }
    std::size_t NodeCount() const noexcept { return m_nodes.size(); }
    NodeBase& NodeAt(NodeIndex node) const noexcept { return *m_nodes[node]; }

    /// "Width.SetValue": the outermost public call; empty outside of one.
    std::string EntryPoint() const;
    bool IsEntry(const NodeBase& node) const noexcept { ///< whether it is this node's
        AssertLocked();
        return m_entryNode == &node;
    }

    /// A change of @p node: invalidates, collects callbacks and fires them when the lock is given back.
    template <typename Action>
    void Change(NodeBase& node, const char* method, Action&& action);
    template <typename Action>
    void ChangeAll(Action&& action);   ///< likewise, of any nodes
    bool IsChanging() const noexcept { ///< whether callbacks are being collected
        AssertLocked();
        return m_batch != nullptr;
    }
    void Invalidate(NodeBase& node);         ///< the node and its dependents; their callbacks join the call's batch
    void InvalidateAffected(NodeBase& node); ///< likewise with the terminal nodes, as if it had been written
    /// Likewise several at once, in one walk, as many may have the same dependents. @p closure holds them, each once,
    /// and gets their dependents; with those it may be given again.
    void Invalidate(Closure& closure);
    void InvalidateAll();
    void Poll(std::int64_t elapsedMs);

    const Closure& AffectedBy(NodeBase& node,
                              std::unique_ptr<Closure>& spare); ///< kept, or in @p spare if too many are
    const Closure& DependentsOf(NodeBase& node, std::unique_ptr<Closure>& spare); ///< likewise
    std::vector<NodeBase*> TerminalsOf(NodeBase& node);

    void AddRegistrations(int count) noexcept {
        AssertLocked();
        m_registrations += count;
    }

    /// Expires with the map: for those who may live longer than it.
    std::weak_ptr<const void> Life();

private:
    friend class EntryScope;
    friend class WriteScope;
    friend class BatchScope;
    friend class EvaluationGuard;

    /// @return whether there was no entry point, and this call is it now.
    bool Enter(const NodeBase& node, const char* method) noexcept {
        AssertLocked();
        if (m_entryNode != nullptr) {
            return false;
        }
        m_entryNode = &node;
        m_entryMethod = method;
        return true;
    }
    void Leave() noexcept {
        AssertLocked();
        m_entryNode = nullptr;
    }
    bool IsDue(NodeBase& node, std::int64_t elapsedMs); ///< counts the time for a polled node
    void CreateNodes();
    void DestroyNodes() noexcept;
    void EndRegistrations() noexcept;
    void DropAll(const Closure& closure) GENICAM_REQUIRES(*m_lock);
    void Collect(const Closure& closure) GENICAM_REQUIRES(*m_lock);
    const Closure& Keep(std::unique_ptr<Closure> made, const Closure*& kept, std::unique_ptr<Closure>& spare)
        GENICAM_REQUIRES(*m_lock);
    void AddDependents(Closure& closure) GENICAM_REQUIRES(*m_lock);
    void MarkOnlyValue(Closure& closure) GENICAM_REQUIRES(*m_lock);
    void CollectTerminals(NodeBase& node, std::vector<NodeBase*>& terminals) GENICAM_REQUIRES(*m_lock);
    bool Visit(NodeBase& node) noexcept GENICAM_REQUIRES(*m_lock);
    void AddUnvisited(std::span<const NodeIndex> nodes, std::vector<NodeBase*>& list) GENICAM_REQUIRES(*m_lock);

    const ModelPtr m_model;
    const std::shared_ptr<CLock> m_lock; // the map's own, or borrowed; shared with calls that may outlive the map
    INodeMap& m_map;
    const gcstring m_deviceName;

    std::unique_ptr<std::byte[]> m_block; // the nodes; like the next two made once, so it needs no lock
    std::vector<NodeBase*> m_nodes;
    std::vector<NodeBase*> m_polled;

    const NodeBase* m_entryNode GENICAM_GUARDED_BY(*m_lock) = nullptr;
    const char* m_entryMethod GENICAM_GUARDED_BY(*m_lock) = nullptr;
    int m_evaluationDepth GENICAM_GUARDED_BY(*m_lock) = 0;
    std::uint32_t m_evaluationSteps GENICAM_GUARDED_BY(*m_lock) = 0; // of the outermost evaluation
    int m_writeDepth GENICAM_GUARDED_BY(*m_lock) = 0;
    CallbackBatch* m_batch GENICAM_GUARDED_BY(*m_lock) = nullptr; // of the call in progress
    int m_registrations GENICAM_GUARDED_BY(*m_lock) = 0;          // of all nodes
    std::uint32_t m_walk GENICAM_GUARDED_BY(*m_lock) = 0;         // the number of the last one; marks what it has met
    std::vector<std::unique_ptr<Closure>> m_closures GENICAM_GUARDED_BY(*m_lock);
    std::size_t m_closureNodes GENICAM_GUARDED_BY(*m_lock) = 0;
    std::shared_ptr<const void> m_life GENICAM_GUARDED_BY(*m_lock); // once somebody asked for it
};

/// Makes a public call the entry point unless an outer one is. Under the lock. At DEBUG, category GenApi tells the
/// call's begin and end, indented for what is called inside.
class EntryScope {
public:
    EntryScope(const NodeBase& node, const char* method) noexcept
        : m_core(node.Core()), m_isEntry(m_core.Enter(node, method)) {
        if (TraceLog().isPriorityEnabled(GenICam::LogPriority_Debug)) {
            TraceBegin(node, method);
        }
    }
    EntryScope(const EntryScope&) = delete;
    EntryScope& operator=(const EntryScope&) = delete;
    ~EntryScope() {
        if (m_isTraced) {
            TraceEnd();
        }
        if (m_isEntry) {
            m_core.Leave();
        }
    }

private:
    static GenICam::Logger& TraceLog() {
        static GenICam::Logger& logger = GenICam::CLog::GetLogger("GenApi");
        return logger;
    }
    void TraceBegin(const NodeBase& node, const char* method) noexcept;
    void TraceEnd() noexcept;

    MapCore& m_core;
    const bool m_isEntry;
    bool m_isTraced = false;
};

/// One public call of a node that changes nothing: holds the lock.
class Call {
public:
    Call(const NodeBase& node, const char* method) noexcept : m_lock(node.Core().Lock()), m_entry(node, method) {}

private:
    const GenICam::AutoLock m_lock;
    const EntryScope m_entry;
};

/// Marks a node as being read or written; bounds recursion.
class EvaluationGuard {
public:
    enum Purpose { Reading, Writing, Asking }; ///< asking, e.g. for limits, may come back to the node
    /// @throws GenICam::RuntimeException on a cycle, beyond 1000 levels or 1000000 steps
    EvaluationGuard(NodeBase& node, Purpose purpose)
        : m_core(node.Core()), m_busy(purpose == Reading   ? &node.m_isEvaluating
                                      : purpose == Writing ? &node.m_isWriting
                                                           : nullptr) {
        m_core.AssertLocked();
        const bool isCycle = m_busy != nullptr && *m_busy;
        std::uint32_t& steps = m_core.m_evaluationSteps;
        steps = m_core.m_evaluationDepth == 0 ? 1 : steps + 1;
        if (isCycle || m_core.m_evaluationDepth >= kMaxDepth || steps > kMaxSteps) {
            Fail(node, isCycle, m_core.m_evaluationDepth);
        }
        ++m_core.m_evaluationDepth;
        if (m_busy != nullptr) {
            *m_busy = true;
        }
    }
    EvaluationGuard(const EvaluationGuard&) = delete;
    EvaluationGuard& operator=(const EvaluationGuard&) = delete;
    ~EvaluationGuard() {
        m_core.AssertLocked();
        --m_core.m_evaluationDepth;
        if (m_busy != nullptr) {
            *m_busy = false;
        }
    }

    /// Counts as steps what is done for a node beyond visiting it: entries looked at, instructions of its formula.
    static void Spend(const NodeBase& node, std::size_t steps);

private:
    static constexpr int kMaxDepth = 1000;
    static constexpr std::uint32_t kMaxSteps = 1000000; // ways through a graph can be many more than its nodes

    [[noreturn]] static void Fail(const NodeBase& node, bool isCycle, int depth);

    MapCore& m_core;
    bool* const m_busy; // of the node; null when asking
};

/// The write itself, after all checks. The outermost one invalidates what the node affects, before and after.
class WriteScope {
public:
    explicit WriteScope(NodeBase& node);
    WriteScope(const WriteScope&) = delete;
    WriteScope& operator=(const WriteScope&) = delete;
    ~WriteScope(); ///< without Succeed: what was cached is dropped, nothing is called

    void Succeed();

private:
    void Drop(std::size_t from, bool keepProtected) noexcept;
    void Leave(bool keepProtected) noexcept;

    MapCore& m_core;
    EvaluationGuard m_guard;
    const Closure* m_affected = nullptr; // of the outermost write
    std::unique_ptr<Closure> m_spare;
    bool m_isOpen = true;
};

/// Callbacks of one public call: whoever makes the outermost change fires them. A change made by a port while another
/// one is written through it invalidates on its own account, but leaves its callbacks to the outer one.
class BatchScope {
public:
    BatchScope(MapCore& core, CallbackBatch& batch) noexcept : m_core(core), m_isOutermost(!core.IsChanging()) {
        core.AssertLocked();
        if (m_isOutermost) {
            core.m_batch = &batch;
        }
        // a change in the middle of a write is no part of it: it makes void by itself what it affects
        m_outerDepth = std::exchange(core.m_writeDepth, 0);
    }
    BatchScope(const BatchScope&) = delete;
    BatchScope& operator=(const BatchScope&) = delete;
    ~BatchScope() {
        m_core.AssertLocked();
        if (m_isOutermost) {
            m_core.m_batch = nullptr;
        }
        m_core.m_writeDepth = m_outerDepth;
    }

private:
    MapCore& m_core;
    const bool m_isOutermost;
    int m_outerDepth = 0;
};

/// @p action gets the batch, to run steps that must not keep each other from their turn.
template <typename Action>
void MapCore::ChangeAll(Action&& action) {
    CallbackBatch batch;
    std::shared_ptr<CLock> lockLife; // outlives the guard
    {
        const GenICam::AutoLock lock(*m_lock);
        batch.Run([&] {
            const BatchScope scope(*this, batch);
            action(batch);
        });
        if (!batch.IsEmpty()) {
            lockLife = m_lock; // callbacks may destroy the map: nothing of it is touched from here on
            batch.Fire(cbPostInsideLock);
        }
    }
    batch.Fire(cbPostOutsideLock);
    batch.Rethrow();
}

template <typename Action>
void MapCore::Change(NodeBase& node, const char* method, Action&& action) {
    ChangeAll([&](CallbackBatch&) {
        const EntryScope entry(node, method);
        action();
    });
}

} // namespace GenApi
