// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/map/Callbacks.h"

#include <Base/GCException.h>
#include <Log/CLog.h>

#include <atomic>

namespace GenApi {

namespace {

void LogFailure(const char* text) noexcept {
    static auto& logger = GenICam::CLog::GetLogger("GenApi");
    GenICam::CLog::Log(logger, GenICam::LogPriority_Error, "A node callback failed: %s", text);
}

/// Callbacks may write nodes, which fires callbacks: one that always writes must end, and not with the stack.
class NestingGuard {
public:
    NestingGuard() {
        if (s_depth == kMaxDepth) {
            throw LOGICAL_ERROR_EXCEPTION("Callbacks that change nodes call each other more than %d levels deep",
                                          kMaxDepth);
        }
        ++s_depth;
    }
    ~NestingGuard() { --s_depth; }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;

private:
    static constexpr int kMaxDepth = 64;
    static thread_local int s_depth;
};

thread_local int NestingGuard::s_depth = 0;

} // namespace

void EndRegistration(Registration& registration) {
    registration.isLive = false;
    if (registration.running == 0) {
        registration.callback->Destroy();
    }
}

void CallbackBatch::Add(const std::vector<RegistrationPtr>& registrations) {
    static std::atomic<std::uint64_t> batches{0};
    if (m_number == 0 && !registrations.empty()) {
        m_number = ++batches;
    }
    for (const RegistrationPtr& registration : registrations) {
        if (registration->queuedIn != m_number) {
            registration->queuedIn = m_number;
            m_registrations.push_back(registration);
        }
    }
}

void CallbackBatch::Fire(CLock& lock, ECallbackType cause) {
    for (const RegistrationPtr& registration : m_registrations) {
        FireOne(lock, *registration, cause);
    }
}

void CallbackBatch::FireOne(CLock& lock, Registration& registration, ECallbackType cause) {
    {
        const GenICam::AutoLock guard(lock);
        if (!registration.isLive) {
            return;
        }
        ++registration.running;
    }
    try {
        const NestingGuard nesting;
        (*registration.callback)(cause);
    } catch (...) {
        KeepFailure();
    }
    const GenICam::AutoLock guard(lock);
    --registration.running;
    if (!registration.isLive && registration.running == 0) {
        registration.callback->Destroy();
    }
}

void CallbackBatch::KeepFailure() noexcept {
    if (!m_failure) {
        m_failure = std::current_exception();
    }
    try {
        throw;
    } catch (const std::exception& failure) {
        LogFailure(failure.what());
    } catch (...) {
        LogFailure("Unknown");
    }
}

} // namespace GenApi
