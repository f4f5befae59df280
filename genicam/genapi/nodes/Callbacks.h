// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/NodeCallback.h>
#include <GenApi/Synch.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <vector>

namespace GenApi {

/// A callback that is registered at a node; shared with the batches that are going to call it.
/// Threads: any, at the same time. It takes no lock: whoever waits for its calls must not keep one from ending.
class Registration {
public:
    explicit Registration(CNodeCallback* callback) noexcept : m_callback(callback) {}
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    bool Is(CallbackHandleType handle) const noexcept {
        return reinterpret_cast<CallbackHandleType>(m_callback.load()) == handle;
    }
    void Call(ECallbackType cause); ///< Unless it has ended. @throws what the callback throws

    void End() noexcept { m_calls.fetch_or(kEnded); } ///< No call begins any more. Once, then Finish without a lock.
    /// Returns when no call runs on any thread any more, with the callback destroyed; from inside such a call at once,
    /// and then the last call destroys it.
    void Finish();

    std::uint64_t queuedIn = 0; ///< the batch that took it last; under the map's lock

private:
    friend class CNodeCallback;
    class Frame;

    static void Forget(const CNodeCallback& dying) noexcept;
    void Leave();
    void Destroy();

    static constexpr std::uint32_t kEnded = 0x80000000;  // deregistered
    static constexpr std::uint32_t kOrphan = 0x40000000; // nobody waits: the last call destroys the callback

    std::atomic<CNodeCallback*> m_callback; // null once destroyed
    std::atomic<std::uint32_t> m_calls{0};  // in progress, on any thread; above them the two bits
};
using RegistrationPtr = std::shared_ptr<Registration>;

/// The callbacks that one public call will fire: first all with the lock held, then all without it. They fire also if
/// the call fails, which is told by Rethrow when all is done: what was collected before has changed.
/// Callbacks may register and deregister, themselves too; what is deregistered meanwhile is not called any more. They
/// may destroy the map, so a batch needs nothing of it.
class CallbackBatch {
public:
    void Add(const std::vector<RegistrationPtr>& registrations); ///< Each once. Under the lock.
    bool IsEmpty() const noexcept { return m_registrations.empty(); }

    /// Runs a step of the call; keeps its exception, if it is the first one.
    template <typename Step>
    void Run(Step&& step) {
        try {
            step();
        } catch (...) {
            if (!m_failure) {
                m_failure = std::current_exception();
            }
        }
    }

    void Fire(ECallbackType cause); ///< All are called; the first exception is kept, the others are logged.
    void Rethrow() const {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
    }

private:
    void KeepFailure() noexcept;

    std::vector<RegistrationPtr> m_registrations;
    std::exception_ptr m_failure;
    std::uint64_t m_number = 0; // once it holds something: unlike that of any other batch
};

} // namespace GenApi
