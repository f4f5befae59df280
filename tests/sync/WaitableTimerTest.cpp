#include <zelmo/WaitableTimer.h>

#include "Support.h"
#include "fakes/Descriptors.h"
#include <zelmo/WaitObjects.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <optional>
#include <signal.h>
#include <string>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace Zelmo;
using testing::MatchesRegex;

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
        sigset_t signals = Set();
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    }
    ~SignalHeldBack() {
        sigset_t signals = Set();
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }

    static bool IsPending() {
        sigset_t pending;
        sigpending(&pending);
        return sigismember(&pending, SIGALRM) == 1;
    }
    static void AwaitPending() {
        while (!IsPending()) {
            WaitObject::Sleep(1);
        }
    }

private:
    static sigset_t Set() {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGALRM);
        return signals;
    }
};

void SendTimerSignal(void* value) {
    sigval content{};
    content.sival_ptr = value;
    ASSERT_EQ(pthread_sigqueue(pthread_self(), SIGALRM, content), 0);
}

// Whether a timer that is set signals, where signals for other timers come at the same time.
bool Fires(CWaitableTimer& timer) {
#if defined(ZELMO_SANITIZED)
    // the thread sanitizer holds signals back, one for a thread, and drops the others, whichever timer they are for
    for (int attempt = 0; attempt < 600; ++attempt) {
        timer.Set(1);
        if (timer.Wait(100)) {
            return true;
        }
    }
    return false;
#else
    timer.Set(1);
    return timer.Wait(GenerousMs);
#endif
}

class WaitableTimerTest : public testing::Test {
protected:
    WaitableTimerTest() { m_timer.emplace().Create(); }

    std::optional<CWaitableTimer> m_timer;
};

TEST_F(WaitableTimerTest, SignalsOnceWhenTheTimeIsUp) {
    EXPECT_FALSE(m_timer->Wait(0));
    EXPECT_GE(MillisecondsOf([&] {
                  m_timer->Set(50);
                  EXPECT_TRUE(m_timer->Wait(GenerousMs));
              }),
              50);
    m_timer->Reset();
    EXPECT_FALSE(m_timer->Wait(20));
}

TEST_F(WaitableTimerTest, EndsAnEndlessWaitOnASet) {
    WaitObjects set;
    set.Add(WaitObjectEx::Create());
    set.Add(*m_timer);
    for (int round = 0; round < 3; ++round) {
        m_timer->Set(10);
        unsigned int index = 99;
        EXPECT_TRUE(set.WaitForAny(WaitTimeoutInfinite, &index));
        EXPECT_EQ(index, 1u);
    }
}

TEST_F(WaitableTimerTest, CancelledTimerStaysSilent) {
    m_timer->Set(20);
    m_timer->Cancel();
    EXPECT_FALSE(m_timer->Wait(100));
}

TEST_F(WaitableTimerTest, CancelKeepsWhatWasSignaledAndSetClearsIt) {
    for (const unsigned int unarmed : {0u, WaitTimeoutInfinite}) {
        m_timer->Set(1);
        EXPECT_TRUE(m_timer->Wait(GenerousMs));
        m_timer->Cancel();
        EXPECT_TRUE(m_timer->Wait(0));
        m_timer->Set(unarmed);
        EXPECT_FALSE(m_timer->Wait(20));
    }
}

TEST_F(WaitableTimerTest, SignalOnItsWayIsNotTakenForTheNextTime) {
    for (const unsigned int nextMs : {GenerousMs, 0u, WaitTimeoutInfinite}) {
        {
            SignalHeldBack held;
            m_timer->Set(1);
            held.AwaitPending();
            m_timer->Set(nextMs);
        }
        EXPECT_FALSE(m_timer->Wait(0));
        SendTimerSignal(&*m_timer); // for kernels that take the old one back themselves
        EXPECT_FALSE(m_timer->Wait(0));
    }
    {
        SignalHeldBack held;
        m_timer->Set(1);
        held.AwaitPending();
        m_timer->Cancel();
    }
    EXPECT_FALSE(m_timer->Wait(0));
}

TEST_F(WaitableTimerTest, TimeThatEndsWhileTheSignalIsHeldBackIsNotLost) {
    SignalHeldBack held;
    m_timer->Set(1);
    held.AwaitPending();
    m_timer->Set(1);
    WaitObject::Sleep(20); // the second time ends as well
    EXPECT_FALSE(m_timer->Wait(0));
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    EXPECT_TRUE(m_timer->Wait(GenerousMs));
}

TEST_F(WaitableTimerTest, SignalForATimerThatIsGoneIsHarmless) {
    void* address = &*m_timer;
    {
        SignalHeldBack held;
        m_timer->Set(1);
        held.AwaitPending();
        m_timer.reset();
    }
    SendTimerSignal(address);
    m_timer.emplace().Create(); // at the same address
    SendTimerSignal(address);
    EXPECT_FALSE(m_timer->Wait(0));
    int notATimer = 0;
    SendTimerSignal(&notATimer);
}

TEST_F(WaitableTimerTest, HandlerStaysInstalledAfterTheLastTimer) {
    struct sigaction with;
    ASSERT_EQ(sigaction(SIGALRM, nullptr, &with), 0);
    EXPECT_EQ(with.sa_flags & SA_SIGINFO, SA_SIGINFO);
    m_timer.reset();
    struct sigaction after;
    ASSERT_EQ(sigaction(SIGALRM, nullptr, &after), 0);
    EXPECT_EQ(after.sa_sigaction, with.sa_sigaction);
    const auto sendNull = [] {
        SendTimerSignal(nullptr);
        WaitObject::Sleep(GenerousMs); // the thread sanitizer hands signals on when a call blocks
    };
    EXPECT_EXIT(sendNull(), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(WaitableTimerTest, ReturnsAllItTook) {
    m_timer.reset();
    const int before = Fakes::OpenDescriptors();
    m_timer.emplace().Create();
    EXPECT_EQ(KernelTimers().size(), 1u);
    m_timer->Set(GenerousMs);
    m_timer->Destroy();
    EXPECT_FALSE(m_timer->IsValid());
    EXPECT_TRUE(KernelTimers().empty());
    EXPECT_EQ(Fakes::OpenDescriptors(), before);
    m_timer->Create(); // it can be had again
    m_timer->Set(1);
    EXPECT_TRUE(m_timer->Wait(GenerousMs));
    EXPECT_THROW(m_timer->Create(), GenICam::LogicalErrorException);
    EXPECT_EQ(KernelTimers().size(), 1u);
}

TEST_F(WaitableTimerTest, RefusalsOfTheSystemAreTold) {
    for (const int id : KernelTimers()) {
        ASSERT_EQ(syscall(SYS_timer_delete, id), 0); // behind its back
    }
    EXPECT_THAT(FailureOf([&] { m_timer->Set(1); }),
                MatchesRegex("Error setting waitable timer [0-9a-fx]{10}: Invalid argument"));
    EXPECT_THAT(FailureOf([&] { m_timer->Cancel(); }),
                MatchesRegex("Error canceling waitable timer [0-9a-fx]{10}: Invalid argument"));
}

TEST(UncreatedTimerTest, CancelDoesNothingAndSetRaises) {
    CWaitableTimer timer;
    timer.Cancel();
    timer.Destroy();
    EXPECT_EQ(FailureOf([&] { timer.Set(1); }), "Failed to reset wait object: Invalid argument");
}

TEST(UncreatedTimerTest, FailedCreateLeavesAnInvalidObjectThatCanBeTriedAgain) {
    CWaitableTimer timer;
    rlimit old;
    ASSERT_EQ(getrlimit(RLIMIT_SIGPENDING, &old), 0);
    const rlimit noSignals{0, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_SIGPENDING, &noSignals), 0);
    EXPECT_EQ(FailureOf([&] { timer.Create(); }), "Error creating timer: Resource temporarily unavailable");
    EXPECT_FALSE(timer.IsValid());
    ASSERT_EQ(setrlimit(RLIMIT_SIGPENDING, &old), 0);
    CWaitableTimer rehearsal;
    rehearsal.Create(); // see DescriptorLimit
    rehearsal.Destroy();
    for (const int free : {0, 2}) { // none for the flag, or none for the copy of it
        Fakes::DescriptorLimit limit(free);
        EXPECT_NE(FailureOf([&] { timer.Create(); }).find("Too many open files"), std::string::npos);
        EXPECT_FALSE(timer.IsValid());
    }
    EXPECT_TRUE(KernelTimers().empty());
    timer.Create();
    timer.Set(1);
    EXPECT_TRUE(timer.Wait(GenerousMs));
}

// Sets, cancels, destroys and makes anew timers on several threads, while stray signals name all of them.
class TimerStress {
public:
    static constexpr int threadCount = 4;

    void Run(int rounds) {
        std::jthread strayer([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                for (auto& slot : m_slots) {
                    SendTimerSignal(slot.bytes);
                }
                std::this_thread::yield();
            }
        });
        std::vector<std::jthread> threads;
        for (int i = 0; i < threadCount; ++i) {
            threads.emplace_back([this, i, rounds] {
                for (int round = 0; round < rounds; ++round) {
                    UseOneTimer(m_slots[i].bytes, static_cast<unsigned int>(round));
                }
            });
        }
        threads.clear();
    }

private:
    struct alignas(CWaitableTimer) Slot {
        unsigned char bytes[sizeof(CWaitableTimer)];
    };

    static void UseOneTimer(void* place, unsigned int round) {
        const std::unique_ptr<CWaitableTimer, void (*)(CWaitableTimer*)> timer(
            new (place) CWaitableTimer, [](CWaitableTimer* gone) { gone->~CWaitableTimer(); });
        timer->Create();
        for (int i = 0; i < 4; ++i) {
            timer->Set(1);
            if ((round + static_cast<unsigned int>(i)) % 3 == 0) {
                EXPECT_TRUE(Fires(*timer));
            }
            timer->Set(WaitTimeoutInfinite);
            EXPECT_FALSE(timer->Wait(0)); // nothing left of the time before
            timer->Set(GenerousMs);
            EXPECT_FALSE(timer->Wait(round % 2));
        }
        timer->Set(1 + round % 2); // goes while armed
    }

    Slot m_slots[threadCount];
};

TEST(WaitableTimerStressTest, SignalsMeetOnlyTheirOwnLiveTimer) {
    CWaitableTimer first; // has the handler installed before the strays come
    first.Create();
    TimerStress().Run(100);
    EXPECT_TRUE(Fires(first));
}

TEST(WaitableTimerStressTest, ThreadsMayCreateTheFirstTimersAtOnce) {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round) {
                CWaitableTimer timer;
                timer.Create();
                EXPECT_TRUE(Fires(timer));
            }
        });
    }
}

} // namespace
