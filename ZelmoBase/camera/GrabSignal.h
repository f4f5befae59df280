// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/WaitObject.h>

#include <atomic>

namespace Zelmo {

/// A wait object that can be looked at without a system call. The state is set before the object, so that whoever has
/// seen the object signaled finds it set; while a reset and a signal meet, it may be clear although the object is not.
/// Threads: any.
class CGrabSignal {
public:
    void Signal();
    void Reset();
    void ResetAll(); ///< Also what several threads signaled at once, of which one Reset takes back but the first.
    bool IsSet() const noexcept { return m_isSet.load(); }
    WaitObjectEx& GetObject() noexcept { return m_object; }
    const WaitObjectEx& GetObject() const noexcept { return m_object; }

private:
    WaitObjectEx m_object = WaitObjectEx::Create();
    std::atomic<bool> m_isSet{false};
};

/// The end of one session, signaled when it is stopped or its engine fails, and never reset: whoever waits for results
/// of that session shares it, and so learns of its end however late, whatever the engine does by then.
/// Threads: any.
class CSessionEnd {
public:
    void SignalStop() { m_signal.Signal(); }
    void SignalFailure() {
        m_hasFailed = true; // first: whoever sees the signal has to know why
        m_signal.Signal();
    }
    bool IsSignaled() const noexcept { return m_signal.IsSet(); }
    bool HasFailed() const noexcept { return m_hasFailed.load(); }
    const WaitObjectEx& GetObject() const noexcept { return m_signal.GetObject(); }

private:
    CGrabSignal m_signal;
    std::atomic<bool> m_hasFailed{false};
};

} // namespace Zelmo
