// SPDX-License-Identifier: Apache-2.0
#include "CallWatch.h"

#include "fakes/plugins/FakeDevice.h"
#include <Base/GCException.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <stdexcept>

namespace Fakes {
namespace {

constexpr const char* kFailure = "%s was told to fail";

/// In the order of EFault.
constexpr void (*kThrowers[])(const char* name) = {
    [](const char* name) { throw GENERIC_EXCEPTION(kFailure, name); },
    [](const char* name) { throw RUNTIME_EXCEPTION(kFailure, name); },
    [](const char* name) { throw ACCESS_EXCEPTION(kFailure, name); },
    [](const char* name) { throw BAD_ALLOC_EXCEPTION(kFailure, name); },
    [](const char* name) { throw std::runtime_error(std::string(name) + " was told to fail"); },
    [](const char*) { throw std::bad_alloc(); },
    [](const char*) { throw 1; }};

} // namespace

void CCallWatch::SetScript(const CScript& script) {
    m_script = script;
    for (auto& calls : m_calls) {
        calls = 0;
    }
}

CCallWatch::CCall CCallWatch::Enter(EOperation operation, bool alone) {
    CCall call;
    if (alone) {
        const EOperation other = m_running.exchange(operation);
        call.alone.reset(&m_running);
        if (other != EOperation::Count) {
            Violate(std::string(NameOf(operation)) + " while " + NameOf(other) + " runs");
        }
    }
    {
        const std::lock_guard lock(m_lock);
        if (operation < EOperation::IsOpen && m_order.size() < 1000 &&
            (m_order.empty() || m_order.back() != operation)) {
            m_order.push_back(operation);
        }
    }
    call.faults = Strike(operation);
    return call;
}

FaultSet CCallWatch::Strike(EOperation operation) {
    const std::uint64_t call = ++m_calls[static_cast<std::size_t>(operation)];
    if (operation == EOperation::StopStreaming) {
        m_isSpoilt = false; // here the clean-up begins
    }
    FaultSet struck = 0;
    for (const CFault& fault : m_script.faults) {
        if (fault.operation != operation || (fault.call != call && fault.call != 0)) {
            continue;
        }
        struck |= Bit(fault.fault);
        if (operation <= EOperation::FinishGrab && (fault.fault <= EFault::ThrowInt || fault.fault == EFault::False ||
                                                    fault.fault == EFault::Stray || fault.fault == EFault::Again)) {
            m_isSpoilt = true;
        }
        if (fault.fault <= EFault::ThrowInt) {
            kThrowers[static_cast<std::size_t>(fault.fault)](NameOf(operation));
        }
        if (fault.fault == EFault::Stall) {
            Stall(fault);
        }
        if (fault.fault == EFault::Spurious) {
            m_waitObject.Signal();
        }
    }
    return struck;
}

void CCallWatch::Stall(const CFault& fault) {
    std::unique_lock lock(m_lock);
    m_stalled.push_back(fault.operation);
    m_changed.notify_all();
    const auto released = [this, before = m_releases] { return m_releases != before; };
    const auto endless = std::chrono::hours(24);
    m_changed.wait_for(lock, fault.ms == 0 ? endless : std::chrono::milliseconds(fault.ms), released);
    m_stalled.erase(std::find(m_stalled.begin(), m_stalled.end(), fault.operation));
}

void CCallWatch::Violate(const std::string& text) {
    LogCall("BROKEN: %s", text.c_str());
    const std::lock_guard lock(m_lock);
    if (m_violations.size() < 100) {
        m_violations.push_back(text);
    }
}

bool CCallWatch::WaitForStall(EOperation operation) {
    std::unique_lock lock(m_lock);
    return m_changed.wait_for(lock, std::chrono::seconds(10), [&] {
        return std::find(m_stalled.begin(), m_stalled.end(), operation) != m_stalled.end();
    });
}

void CCallWatch::Release() {
    const std::lock_guard lock(m_lock);
    ++m_releases;
    m_changed.notify_all();
}

std::vector<std::string> CCallWatch::Violations() const {
    const std::lock_guard lock(m_lock);
    return m_violations;
}

std::string CCallWatch::Order() const {
    const std::lock_guard lock(m_lock);
    std::string order;
    for (const EOperation operation : m_order) {
        order += (order.empty() ? "" : " ") + std::string(NameOf(operation));
    }
    return order;
}

} // namespace Fakes
