// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Script.h"
#include <zelmo/WaitObject.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Fakes {

using FaultSet = std::uint32_t; ///< Several faults, a bit each.
constexpr FaultSet Bit(EFault fault) {
    return FaultSet{1} << static_cast<unsigned>(fault);
}
constexpr bool Has(FaultSet faults, EFault fault) {
    return (faults & Bit(fault)) != 0;
}

/// Counts the calls of a scripted stream grabber, strikes them with the faults of its script, and collects what the
/// caller does against the contract. Threads: any; SetScript before all others. Locks: m_lock, a leaf.
class CCallWatch {
public:
    explicit CCallWatch(Zelmo::WaitObjectEx& waitObject) : m_waitObject(waitObject) {}

    void SetScript(const CScript& script);

    /// A call from outside, as long as it lives.
    struct CCall {
        struct Leave {
            void operator()(std::atomic<EOperation>* running) const { *running = EOperation::Count; }
        };
        std::unique_ptr<std::atomic<EOperation>, Leave> alone;
        FaultSet faults = 0; ///< those that are left to the grabber
    };
    /// @p alone when calls are promised to come one at a time. @throws what the script says
    CCall Enter(EOperation operation, bool alone = true);
    FaultSet Strike(EOperation operation); ///< The same for what is no call.

    void Violate(const std::string& text); ///< Also logged as "BROKEN: …", category "fake", for who has only the log.
    bool IsSpoilt() const { return m_isSpoilt; } ///< A fault has hindered the clean-up that runs now.

    bool WaitForStall(EOperation operation);
    void Release();
    std::vector<std::string> Violations() const;
    std::uint64_t Calls(EOperation operation) const { return m_calls[static_cast<std::size_t>(operation)]; }
    std::string Order() const;

private:
    void Stall(const CFault& fault);

    Zelmo::WaitObjectEx& m_waitObject;
    CScript m_script;
    std::array<std::atomic<std::uint64_t>, static_cast<std::size_t>(EOperation::Count)> m_calls{};
    std::atomic<EOperation> m_running{EOperation::Count}; // the call that is to be alone
    std::atomic<bool> m_isSpoilt{false};

    mutable std::mutex m_lock; // guards all below
    std::condition_variable m_changed;
    std::vector<std::string> m_violations;
    std::vector<EOperation> m_order, m_stalled;
    std::uint64_t m_releases = 0;
};

} // namespace Fakes
