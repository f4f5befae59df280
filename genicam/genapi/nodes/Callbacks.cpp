// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/Callbacks.h"

#include <Base/GCException.h>
#include <Log/CLog.h>

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

/// A call of a registration in progress on this thread; inner ones stand for callbacks that callbacks fired.
class Registration::Frame {
public:
    explicit Frame(Registration& registration) noexcept : m_registration(registration), m_outer(s_innermost) {
        s_innermost = this;
    }
    ~Frame() { s_innermost = m_outer; }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    template <typename Condition>
    static Registration* Find(Condition&& holds) noexcept {
        for (const Frame* frame = s_innermost; frame != nullptr; frame = frame->m_outer) {
            if (holds(frame->m_registration)) {
                return &frame->m_registration;
            }
        }
        return nullptr;
    }

private:
    static thread_local Frame* s_innermost;

    Registration& m_registration;
    Frame* const m_outer;
};

thread_local Registration::Frame* Registration::Frame::s_innermost = nullptr;

void Registration::Call(ECallbackType cause) {
    // counted and looked at in one step: either End comes first, and nothing begins, or Finish waits for this call
    std::uint32_t calls = m_calls.load();
    do {
        if ((calls & kEnded) != 0) {
            return;
        }
    } while (!m_calls.compare_exchange_weak(calls, calls + 1));
    try {
        const NestingGuard nesting;
        const Frame frame(*this);
        (*m_callback.load())(cause);
    } catch (...) {
        Leave();
        throw;
    }
    Leave();
}

/// Of a callback that was deregistered in its own call nothing is read here unless it is left to this call: somebody
/// may own it and have deleted it there.
void Registration::Leave() {
    const std::uint32_t left = m_calls.fetch_sub(1) - 1;
    if (left == (kEnded | kOrphan)) {
        Destroy();
    } else if (left == kEnded) {
        m_calls.notify_all(); // Finish waits, and destroys
    }
}

void Registration::Finish() {
    if (Frame::Find([this](const Registration& running) { return &running == this; }) != nullptr) {
        m_calls.fetch_or(kOrphan); // before the last call leaves, as this thread is in one
        return;
    }
    for (std::uint32_t calls = m_calls.load(); calls != kEnded; calls = m_calls.load()) {
        m_calls.wait(calls);
    }
    Destroy();
}

void Registration::Destroy() {
    if (CNodeCallback* const callback = m_callback.exchange(nullptr)) {
        callback->Destroy();
    }
}

/// Only of those that were deregistered: to delete one that is still registered is its owner's error.
void Registration::Forget(const CNodeCallback& dying) noexcept {
    Registration* const running = Frame::Find([&dying](const Registration& each) {
        return each.m_callback.load() == &dying && (each.m_calls.load() & kEnded) != 0;
    });
    if (running != nullptr) {
        running->m_callback = nullptr;
    }
}

/// One that is deleted in its own call, after it was deregistered there, must not be destroyed behind that call.
CNodeCallback::~CNodeCallback() {
    Registration::Forget(*this);
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

void CallbackBatch::Fire(ECallbackType cause) {
    for (const RegistrationPtr& registration : m_registrations) {
        try {
            registration->Call(cause);
        } catch (...) {
            KeepFailure();
        }
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
