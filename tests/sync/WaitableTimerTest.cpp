// SPDX-License-Identifier: Apache-2.0
#include <zelmo/WaitableTimer.h>

#include "Support.h"
#include "fakes/Descriptors.h"
#include <zelmo/WaitObjects.h>

#include <gmock/gmock.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <poll.h>
#include <signal.h>
#include <string>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace Zelmo;
using testing::MatchesRegex;

constexpr unsigned int kCancelInstead = 1; // of setting the timer once more

// The kernel's numbers of this process's timers.
std::vector<int> KernelTimers() {
    std::vector<int> ids;
    std::ifstream file("/proc/self/timers");
    for (std::string word; file >> word;) {
        if (word == "ID:") {
            ids.push_back(0);
            file >> ids.back();
        }
    }
    return ids;
}

// Holds the timers' signal back while it lives, also in threads that are started meanwhile.
class SignalHeldBack {
public:
    SignalHeldBack() {
        sigemptyset(&m_signals);
        sigaddset(&m_signals, SIGALRM);
        pthread_sigmask(SIG_BLOCK, &m_signals, nullptr);
    }
    ~SignalHeldBack() { pthread_sigmask(SIG_UNBLOCK, &m_signals, nullptr); }

    static void AwaitPending() {
        sigset_t pending;
        while (sigpending(&pending) == 0 && sigismember(&pending, SIGALRM) != 1) {
            WaitObject::Sleep(1);
        }
    }

private:
    sigset_t m_signals;
};

void SendTimerSignal(void* value) {
    sigval content{};
    content.sival_ptr = value;
    ASSERT_EQ(pthread_sigqueue(pthread_self(), SIGALRM, content), 0);
}

#if defined(ZELMO_SANITIZED)
// the thread sanitizer holds signals back, one for a thread, and drops the others, whichever timer they are for
constexpr unsigned int kAttempts = 600;
#else
constexpr unsigned int kAttempts = 1;
#endif

// Whether a timer that is set signals, where signals for other timers come at the same time.
bool Fires(CWaitableTimer& timer) {
    for (unsigned int attempt = 0; attempt < kAttempts; ++attempt) {
        timer.Set(1);
        if (timer.Wait(kGenerousMs / kAttempts)) {
            return true;
        }
    }
    return false;
}

bool IsReadable(const WaitObject& object) {
    pollfd entry{object.GetFd(), POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

class WaitableTimerTest : public testing::Test {
protected:
    WaitableTimerTest() { m_timer.emplace().Create(); }

    std::optional<CWaitableTimer> m_timer;
};

TEST_F(WaitableTimerTest, SignalsOnceWhenTheTimeIsUp) {
    WaitObjects set;
    set.Add(WaitObjectEx::Create());
    set.Add(*m_timer);
    unsigned int index = 99;
    EXPECT_GE(MillisecondsOf([&] {
                  m_timer->Set(50);
                  EXPECT_TRUE(set.WaitForAny(WaitTimeoutInfinite, &index));
              }),
              50);
    EXPECT_EQ(index, 1u);
    m_timer->Reset();
    EXPECT_FALSE(m_timer->Wait(20));
}

TEST_F(WaitableTimerTest, CancelKeepsWhatWasSignaledAndSetClearsIt) {
    m_timer->Set(20);
    m_timer->Cancel();
    EXPECT_FALSE(m_timer->Wait(100));
    for (const unsigned int unarmed : {0u, WaitTimeoutInfinite}) {
        m_timer->Set(1);
        EXPECT_TRUE(m_timer->Wait(kGenerousMs));
        m_timer->Cancel();
        EXPECT_TRUE(m_timer->Wait(0));
        m_timer->Set(unarmed);
        EXPECT_FALSE(m_timer->Wait(20));
    }
}

TEST_F(WaitableTimerTest, SignalOnItsWayIsNotTakenForTheNextTime) {
    for (const unsigned int nextMs : {kGenerousMs, 0u, WaitTimeoutInfinite, kCancelInstead}) {
        {
            SignalHeldBack held;
            m_timer->Set(1);
            held.AwaitPending();
            nextMs == kCancelInstead ? m_timer->Cancel() : m_timer->Set(nextMs);
        }
        EXPECT_FALSE(m_timer->Wait(0));
        SendTimerSignal(&*m_timer); // for kernels that take the old one back themselves
        EXPECT_FALSE(m_timer->Wait(0));
    }
}

TEST_F(WaitableTimerTest, TimeThatEndsWhileTheSignalIsHeldBackIsNotLost) {
    {
        SignalHeldBack held;
        m_timer->Set(1);
        held.AwaitPending();
        m_timer->Set(1);
        WaitObject::Sleep(20); // the second time ends as well
        EXPECT_FALSE(IsReadable(*m_timer));
    }
    EXPECT_TRUE(m_timer->Wait(kGenerousMs));
}

TEST_F(WaitableTimerTest, HandlerStaysInstalledAfterTheLastTimer) {
    struct sigaction with;
    ASSERT_EQ(sigaction(SIGALRM, nullptr, &with), 0);
    EXPECT_EQ(with.sa_flags & SA_SIGINFO, SA_SIGINFO);
    m_timer.reset();
    struct sigaction after;
    ASSERT_EQ(sigaction(SIGALRM, nullptr, &after), 0);
    EXPECT_EQ(after.sa_sigaction, with.sa_sigaction);
}

TEST_F(WaitableTimerTest, SignalOfOursWithoutItsObjectEndsTheProcess) {
    siginfo_t info{};
    info.si_code = SI_TIMER;
    info.si_timerid = KernelTimers().at(0);
    const auto sendNull = [&info] {
        syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), SIGALRM, &info);
        WaitObject::Sleep(kGenerousMs); // the thread sanitizer hands signals on when a call blocks
    };
    EXPECT_EXIT(sendNull(), testing::KilledBySignal(SIGABRT), "");
}

std::atomic<int> g_alarms = 0;
struct sigaction g_underneath;

struct sigaction ActionOf(void (*handler)(int), void (*handlerOfInfo)(int, siginfo_t*, void*) = nullptr) {
    struct sigaction action {};
    action.sa_handler = handler;
    if (handlerOfInfo != nullptr) {
        action.sa_sigaction = handlerOfInfo;
        action.sa_flags = SA_SIGINFO;
    }
    return action;
}

void CountAlarm(int) {
    ++g_alarms;
}
void CountAlarmOfInfo(int, siginfo_t* info, void*) {
    g_alarms += info->si_code == SI_KERNEL ? 1 : 100;
}
void CountAlarmAndPassOn(int number, siginfo_t* info, void* context) {
    ++g_alarms;
    g_underneath.sa_sigaction(number, info, context);
}

void RingOnce() {
    const itimerval soon{{}, {0, 1000}};
    setitimer(ITIMER_REAL, &soon, nullptr);
    for (itimerval left = soon; left.it_value.tv_sec + left.it_value.tv_usec > 0; getitimer(ITIMER_REAL, &left)) {
        WaitObject::Sleep(1); // ends early, as the signal does
    }
    WaitObject::Sleep(1);
}

struct FormerHandler {
    struct sigaction action;
    int alarms;
};

class ForeignAlarmTest : public testing::TestWithParam<FormerHandler> {};

TEST_P(ForeignAlarmTest, GoesToTheHandlerThatWasThereBeforeOurs) {
    g_alarms = 0;
    sigaction(SIGALRM, &GetParam().action, nullptr);
    CWaitableTimer timer;
    timer.Create();
    RingOnce();
    EXPECT_EQ(g_alarms, GetParam().alarms);
    timer.Set(1);
    EXPECT_TRUE(timer.Wait(kGenerousMs));
    EXPECT_EQ(g_alarms, GetParam().alarms); // ours is none of theirs
}

INSTANTIATE_TEST_SUITE_P(Handlers, ForeignAlarmTest,
                         testing::Values(FormerHandler{ActionOf(SIG_DFL), 0}, FormerHandler{ActionOf(SIG_IGN), 0},
                                         FormerHandler{ActionOf(CountAlarm), 1},
                                         FormerHandler{ActionOf(nullptr, CountAlarmOfInfo), 1}));

TEST(ForeignHandlerTest, InstalledOverOursAndOursOverItAgainGetsEachAlarmOnce) {
    g_alarms = 0;
    const struct sigaction first = ActionOf(CountAlarm);
    const struct sigaction second = ActionOf(nullptr, CountAlarmAndPassOn);
    sigaction(SIGALRM, &first, nullptr);
    CWaitableTimer timer;
    timer.Create();
    sigaction(SIGALRM, &second, &g_underneath);
    timer.Destroy();
    timer.Create();
    RingOnce();
    EXPECT_EQ(g_alarms, 2); // one for each handler
}

// The application blocks the signal, or takes it over.
class SilencedTimerTest : public WaitableTimerTest, public testing::WithParamInterface<bool> {
protected:
    void SetUp() override {
        GetParam() ? static_cast<void>(m_held.emplace()) : static_cast<void>(signal(SIGALRM, CountAlarm));
    }
    std::optional<SignalHeldBack> m_held;
};

TEST_P(SilencedTimerTest, WaitsEndByTheDeadlineOfTheTimer) {
    const WaitObject copy(*m_timer);
    WaitObjects set;
    set.Add(WaitObjectEx::Create());
    set.Add(copy);
    unsigned int index = 99;
    const std::function<bool()> waits[] = {
        [&] { return m_timer->Wait(WaitTimeoutInfinite); },
        [&] { return copy.Wait(kGenerousMs); },
        [&] { return set.WaitForAny(WaitTimeoutInfinite, &index); },
    };
    for (const auto& wait : waits) {
        EXPECT_GE(MillisecondsOf([&] {
                      m_timer->Set(20);
                      EXPECT_FALSE(m_timer->Wait(1));
                      EXPECT_TRUE(wait());
                  }),
                  20);
    }
    EXPECT_EQ(index, 1u);
}

INSTANTIATE_TEST_SUITE_P(BlockedOrTakenOver, SilencedTimerTest, testing::Bool());

static_assert(!std::is_move_constructible_v<CWaitableTimer>);
static_assert(!std::is_assignable_v<CWaitableTimer&, WaitObjectEx>);

TEST_F(WaitableTimerTest, StaysWholeWhatEverIsDoneThroughItsBase) {
    WaitObjectEx& base = *m_timer;
    WaitObjectEx copy = std::move(base);
    EXPECT_THROW(base = copy, GenICam::LogicalErrorException);
    m_timer->Set(1);
    EXPECT_TRUE(copy.Wait(kGenerousMs));
    base.Destroy(); // NOLINT(bugprone-use-after-move): it is whole still
    EXPECT_TRUE(KernelTimers().empty());
    EXPECT_FALSE(m_timer->IsValid());
    copy = WaitObjectEx::Create(); // a copy is no timer
    EXPECT_FALSE(copy.Wait(0));
}

TEST_F(WaitableTimerTest, ReturnsAllItTookAndTellsWhenTheSystemRefuses) {
    m_timer.reset();
    const int before = Fakes::OpenDescriptors();
    m_timer.emplace().Create();
    EXPECT_EQ(KernelTimers().size(), 1u);
    m_timer->Set(kGenerousMs);
    m_timer->Destroy();
    EXPECT_FALSE(m_timer->IsValid());
    EXPECT_TRUE(KernelTimers().empty());
    EXPECT_EQ(Fakes::OpenDescriptors(), before);
    m_timer->Create(); // it can be had again
    m_timer->Set(1);
    EXPECT_TRUE(m_timer->Wait(kGenerousMs));
    EXPECT_THROW(m_timer->Create(), GenICam::LogicalErrorException);
    const std::vector<int> timers = KernelTimers();
    ASSERT_EQ(timers.size(), 1u);
    ASSERT_EQ(syscall(SYS_timer_delete, timers[0]), 0); // behind its back
    EXPECT_THAT(FailureOf([&] { m_timer->Set(1); }),
                MatchesRegex("Error setting waitable timer [0-9a-fx]{10}: Invalid argument"));
    EXPECT_THAT(FailureOf([&] { m_timer->Cancel(); }),
                MatchesRegex("Error canceling waitable timer [0-9a-fx]{10}: Invalid argument"));
}

TEST(UncreatedTimerTest, CancelDoesNothingSetRaisesAndAFailedCreateCanBeTriedAgain) {
    CWaitableTimer timer;
    timer.Cancel();
    timer.Destroy();
    EXPECT_EQ(FailureOf([&] { timer.Set(1); }), "Failed to reset wait object: Invalid argument");
    rlimit old;
    ASSERT_EQ(getrlimit(RLIMIT_SIGPENDING, &old), 0);
    const rlimit noSignals{0, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_SIGPENDING, &noSignals), 0);
    EXPECT_EQ(FailureOf([&] { timer.Create(); }), "Error creating timer: Resource temporarily unavailable");
    EXPECT_FALSE(timer.IsValid());
    ASSERT_EQ(setrlimit(RLIMIT_SIGPENDING, &old), 0);
    CWaitableTimer().Create();      // rehearsal; see DescriptorLimit
    for (const int free : {0, 2}) { // none for the flag, or none for the copy of it
        Fakes::DescriptorLimit limit(free);
        EXPECT_NE(FailureOf([&] { timer.Create(); }).find("Too many open files"), std::string::npos);
        EXPECT_FALSE(timer.IsValid());
    }
    EXPECT_TRUE(KernelTimers().empty());
    timer.Create();
    timer.Set(1);
    EXPECT_TRUE(timer.Wait(kGenerousMs));
}

// Sets, cancels, destroys and makes anew timers on several threads, while stray signals name all of them.
class WaitableTimerStressTest : public testing::Test {
protected:
    void UseOneTimer(size_t slot, unsigned int round) {
        const auto destroy = [](CWaitableTimer* gone) { gone->~CWaitableTimer(); };
        const std::unique_ptr<CWaitableTimer, decltype(destroy)> timer(new (m_slots[slot].bytes) CWaitableTimer,
                                                                       destroy);
        timer->Create();
        m_isHandlerInstalled = true;
        for (unsigned int i = 0; i < 4; ++i) {
            timer->Set(1);
            if ((round + i) % 3 == 0) {
                EXPECT_TRUE(Fires(*timer));
            }
            timer->Set(WaitTimeoutInfinite);
            EXPECT_FALSE(timer->Wait(0)); // nothing left of the time before
            timer->Set(kGenerousMs);
            EXPECT_FALSE(timer->Wait(round % 2));
        }
        timer->Set(1 + round % 2); // goes while armed
    }
    void SendStraySignals() {
        for (auto& slot : m_slots) {
            SendTimerSignal(slot.bytes);
        }
    }

    struct alignas(CWaitableTimer) {
        unsigned char bytes[sizeof(CWaitableTimer)];
    } m_slots[4];
    std::atomic<bool> m_isHandlerInstalled = false;
};

TEST_F(WaitableTimerStressTest, SignalsMeetOnlyTheirOwnLiveTimer) {
    std::jthread strayer([this](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            if (m_isHandlerInstalled) {
                SendStraySignals();
            }
            std::this_thread::yield();
        }
    });
    std::vector<std::jthread> threads; // the first timers of the process, at the same time
    for (size_t slot = 0; slot < std::size(m_slots); ++slot) {
        threads.emplace_back([this, slot] {
            for (unsigned int round = 0; round < 100; ++round) {
                UseOneTimer(slot, round);
            }
        });
    }
    threads.clear();
}

} // namespace
