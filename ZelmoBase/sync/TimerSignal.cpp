// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/sync/TimerSignal.h"

#include "ZelmoBase/core/Mutex.h"
#include "ZelmoBase/sync/TimerRecords.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <signal.h>

namespace Zelmo {
namespace {

static_assert(kTimerSignal == SIGALRM);

/// What was installed before one of our installations. Never freed: a handler may be reading it.
struct FormerAction {
    struct sigaction action {};
    const FormerAction* older = nullptr; // before our installation before that
};

std::atomic<const FormerAction*> g_former{nullptr};

/// Stands at the end of the signal's description when we hand it on, where the system leaves zeros. A former handler
/// may hand it back to us, if it was installed over ours and ours over it again: it then goes to the next older one.
struct HandOnMark {
    const void* mark;
    const FormerAction* next;
};

static_assert(sizeof(siginfo_t) >= 128, "what the system fills in must not reach our mark");

char* MarkIn(siginfo_t& info) {
    return reinterpret_cast<char*>(&info) + sizeof(siginfo_t) - sizeof(HandOnMark);
}

bool IsHandler(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) != 0 || (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN);
}

/// As the system would have called it, but for flags that only the system can follow.
void Call(const struct sigaction& action, int number, siginfo_t& info, void* context) {
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &action.sa_mask, &before);
    if ((action.sa_flags & SA_SIGINFO) != 0) {
        action.sa_sigaction(number, &info, context);
    } else {
        action.sa_handler(number);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void HandOn(int number, siginfo_t info, void* context) {
    HandOnMark mark;
    std::memcpy(&mark, MarkIn(info), sizeof mark);
    const FormerAction* former = mark.mark == &g_former ? mark.next : g_former.load();
    if (former != nullptr && IsHandler(former->action)) {
        mark = {&g_former, former->older};
        std::memcpy(MarkIn(info), &mark, sizeof mark);
        Call(former->action, number, info, context);
    }
}

extern "C" void OnTimerSignal(int number, siginfo_t* info, void* context) {
    const int error = errno;
    const void* object = info->si_value.sival_ptr;
    if (!SignalIfDue(object)) {
        if (object == nullptr && info->si_code == SI_TIMER && IsTimerOfOurs(info->si_timerid)) {
            std::abort(); // our own timer has lost its object
        }
        HandOn(number, *info, context);
    }
    errno = error;
}

bool IsOurs(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == OnTimerSignal;
}

} // namespace

void InstallTimerHandler() {
    static CMutex& lock = *new CMutex; // timers of static lifetime may outlive statics
    auto former = std::make_unique<FormerAction>();
    const CLockGuard guard(lock);
    sigaction(kTimerSignal, nullptr, &former->action);
    if (!IsOurs(former->action)) {
        former->older = g_former.load();
        g_former.store(former.release()); // before the handler, which may be needed at once
    }
    struct sigaction action {};
    action.sa_sigaction = OnTimerSignal;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(kTimerSignal, &action, nullptr);
}

void KeepTimerHandler() noexcept {
    const FormerAction* former = g_former.load();
    sigaction(0, former != nullptr ? &former->action : nullptr, nullptr); // no such signal: this is refused
}

} // namespace Zelmo
