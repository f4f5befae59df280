// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/NodeCallback.h>
#include <GenApi/Synch.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <vector>

namespace GenApi {

/// A callback that is registered at a node. Guarded by the map's lock; shared with the batches that are being fired.
struct Registration {
    explicit Registration(CNodeCallback* given) : callback(given) {}
    CNodeCallback* callback;
    int running = 0;            ///< calls in progress, on any thread
    bool isLive = true;         ///< false once deregistered; then the last call that runs destroys it
    std::uint64_t queuedIn = 0; ///< the batch that took it last
};
using RegistrationPtr = std::shared_ptr<Registration>;

/// Ends a registration that is out of its node's list already; Destroy() is called at once or after its last running
/// call. Under the map's lock.
void EndRegistration(Registration& registration);

/// The callbacks that one public call will fire: first all with the lock held, then all without it. They fire also if
/// the call fails, which is told by Rethrow when all is done: what was collected before has changed.
/// Callbacks may register and deregister, themselves too; what is deregistered meanwhile is not called any more.
class CallbackBatch {
public:
    void Add(const std::vector<RegistrationPtr>& registrations); ///< Each once. Under the lock.

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

    void Fire(CLock& lock,
              ECallbackType cause); ///< All are called; the first exception is kept, the others are logged.
    void Rethrow() const {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
    }

private:
    void FireOne(CLock& lock, Registration& registration, ECallbackType cause);
    void KeepFailure() noexcept;

    std::vector<RegistrationPtr> m_registrations;
    std::exception_ptr m_failure;
    std::uint64_t m_number = 0; // once it holds something: unlike that of any other batch
};

} // namespace GenApi
