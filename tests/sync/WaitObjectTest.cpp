// SPDX-License-Identifier: Apache-2.0
#include <zelmo/WaitObject.h>

#include "ZelmoBase/sync/Deadline.h"

#include "Support.h"
#include "fakes/Descriptors.h"
#include "fakes/Interrupter.h"
#include "fakes/LogRecorder.h"
#include <zelmo/Log.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace Zelmo;
using Fakes::LogLine;
using testing::ElementsAre;

const std::string kOpenFilesHint =
    ". Reached open files limit: To change the limit permanently on a ubuntu system, edit /etc/security/limits.conf";

TEST(WaitObjectTest, StateStaysUntilItIsChanged) {
    WaitObjectEx object = WaitObjectEx::Create();
    EXPECT_FALSE(object.Wait(0));
    object.Reset();
    EXPECT_FALSE(object.Wait(0));
    object.Signal();
    EXPECT_TRUE(object.Wait(0));
    EXPECT_TRUE(object.Wait(WaitTimeoutInfinite));
    object.Signal();
    object.Reset(); // one is enough for both
    EXPECT_FALSE(object.Wait(0));
    EXPECT_TRUE(WaitObjectEx::Create(true).Wait(0));
    EXPECT_EQ(object.GetReadyMask(), POLLIN);
    EXPECT_NE(fcntl(object.GetFd(), F_GETFL) & O_NONBLOCK, 0);
}

TEST(WaitObjectTest, CopiesAreOneFlagWithDescriptorsOfTheirOwn) {
    const int before = Fakes::OpenDescriptors();
    {
        WaitObjectEx first = WaitObjectEx::Create();
        EXPECT_EQ(Fakes::OpenDescriptors(), before + 2);
        WaitObjectEx copy(first);
        WaitObject assigned;
        assigned = first;
        EXPECT_EQ(Fakes::OpenDescriptors(), before + 6);
        first.Signal();
        EXPECT_TRUE(copy.Wait(0));
        EXPECT_TRUE(assigned.Wait(0));
        copy.Reset();
        EXPECT_FALSE(first.Wait(0));
        const WaitObjectEx moved(std::move(first)); // is one more copy
        EXPECT_EQ(Fakes::OpenDescriptors(), before + 8);
        EXPECT_TRUE(first.IsValid()); // NOLINT(bugprone-use-after-move): it is whole still
        first.Destroy();
        first.Destroy();
        copy.Signal();
        EXPECT_TRUE(assigned.Wait(0));
        assigned = WaitObjectEx::Create(); // gives the flag before back
        EXPECT_EQ(Fakes::OpenDescriptors(), before + 6);
        EXPECT_FALSE(assigned.Wait(0));
    }
    EXPECT_EQ(Fakes::OpenDescriptors(), before);
}

TEST(WaitObjectTest, InvalidSourceMakesAnInvalidCopyButDoesNotOverwrite) {
    const WaitObject invalid;
    EXPECT_FALSE(WaitObject(invalid).IsValid());
    WaitObject target = WaitObjectEx::Create(true);
    const int fd = target.GetFd();
    target = invalid;
    EXPECT_TRUE(target.Wait(0));
    EXPECT_EQ(target.GetFd(), fd);
}

TEST(WaitObjectTest, HandleIsCopiedButNeverTakenOver) {
    WaitObjectEx object = WaitObjectEx::Create();
    _WaitObjectPosix_t* handle = object;
    EXPECT_EQ(*object.GetWaitObject(), handle);
    WaitObject copy(handle, true);
    object.Signal();
    EXPECT_TRUE(copy.Wait(0));
    EXPECT_NE(copy.GetFd(), object.GetFd());

    WaitObject notTaken(handle, false);
    EXPECT_FALSE(notTaken.IsValid());
    EXPECT_EQ(notTaken.GetFd(), -1);
    EXPECT_EQ(FailureOf([] { WaitObject(nullptr, true); }), "WaitObject duplicate failed (0): Success");
}

TEST(WaitObjectTest, UseOfAnInvalidOrBrokenObjectIsTold) {
    WaitObjectEx invalid;
    EXPECT_EQ(FailureOf([&] { invalid.Wait(0); }), "Wait operation failed): Invalid argument");
    EXPECT_EQ(FailureOf([&] { invalid.Signal(); }), "Failed to signal wait object: Invalid argument");
    EXPECT_EQ(FailureOf([&] { invalid.Reset(); }), "Failed to reset wait object: Invalid argument");
    WaitObjectEx broken = WaitObjectEx::Create();
    close(broken.GetFd());
    EXPECT_EQ(FailureOf([&] { broken.Reset(); }), "Failed to reset wait object: Bad file descriptor");
    EXPECT_TRUE(broken.Wait(0)); // poll calls a closed descriptor ready
}

TEST(WaitObjectTest, WaitsTellTheirEndByTheErrorNumberAndResetLeavesItAlone) {
    WaitObjectEx object = WaitObjectEx::Create();
    errno = EPERM;
    object.Reset();
    EXPECT_EQ(errno, EPERM);
    object.WaitEx(0, false);
    EXPECT_EQ(errno, ETIME);
    object.Signal();
    object.WaitEx(0, false);
    EXPECT_EQ(errno, 0);
}

TEST(ForeignDescriptorTest, IsSignaledWhileReadableAndCannotBeSignaled) {
    WaitObjectEx writer = WaitObjectEx::Create();
    const int foreign = writer.GetFd();
    fcntl(foreign, F_SETFL, 0);
    WaitObjectEx object(foreign);
    EXPECT_NE(object.GetFd(), foreign);
    EXPECT_NE(fcntl(foreign, F_GETFL) & O_NONBLOCK, 0); // shared with the duplicate
    EXPECT_FALSE(object.Wait(0));
    EXPECT_EQ(FailureOf([&] { object.Signal(); }), "Failed to signal wait object: Bad file descriptor");
    writer.Signal();
    object.Signal(); // nothing left to do
    EXPECT_TRUE(object.Wait(0));
    object.Reset();
    WaitObject copy(object); // without a write end, as its source
    EXPECT_FALSE(copy.Wait(0));
    writer.Destroy();
    EXPECT_TRUE(copy.Wait(0)); // the end of all writers
    EXPECT_EQ(FailureOf([] { WaitObjectEx bad(-1); }), "Failed to create wait object: Bad file descriptor");
}

struct ExhaustionCase {
    int freeDescriptors;
    std::function<void(WaitObjectEx& target, const WaitObjectEx& source)> step;
    const char* message;
};

class DescriptorExhaustionTest : public testing::TestWithParam<ExhaustionCase> {};

TEST_P(DescriptorExhaustionTest, IsToldWithAHintAndLeavesNothingBehind) {
    hxlog::LogEnable(true);
    Fakes::LogRecorder log;
    WaitObjectEx source = WaitObjectEx::Create(true);
    WaitObjectEx target = WaitObjectEx::Create(true);
    GetParam().step(target, source); // succeeds; see DescriptorLimit for what it is good for
    hxlog::LogTrace(hxlog::LogGetCatID("zelmo.base.waitobject"), hxlog::LogLevel_Error, "rehearsal");
    log.Clear();
    const int before = Fakes::OpenDescriptors();
    const int fd = target.GetFd();
    {
        Fakes::DescriptorLimit limit(GetParam().freeDescriptors);
        EXPECT_EQ(FailureOf([&] { GetParam().step(target, source); }),
                  GetParam().message + std::string(": Too many open files") + kOpenFilesHint);
    }
    EXPECT_EQ(Fakes::OpenDescriptors(), before);
    EXPECT_EQ(target.GetFd(), fd);
    EXPECT_TRUE(target.Wait(0));
    EXPECT_THAT(log.Lines(), ElementsAre(LogLine{"zelmo.base.waitobject", 300, kOpenFilesHint}));
}

const char kCreateFailed[] = "Failed to create wait object";
const char kDuplicateFailed[] = "WaitObject duplicate failed (0)";

INSTANTIATE_TEST_SUITE_P(
    Steps, DescriptorExhaustionTest,
    testing::Values(ExhaustionCase{1, [](auto&, auto&) { WaitObjectEx::Create(); }, kCreateFailed},
                    ExhaustionCase{0, [](auto&, auto& source) { WaitObjectEx wrapped(source.GetFd()); }, kCreateFailed},
                    ExhaustionCase{0, [](auto&, auto& source) { WaitObject{source}; }, kDuplicateFailed},
                    ExhaustionCase{1, [](auto&, auto& source) { WaitObject{source}; }, kDuplicateFailed},
                    ExhaustionCase{1, [](auto&, auto& source) { WaitObject copy(source, true); }, kDuplicateFailed},
                    ExhaustionCase{1, [](auto& target, auto& source) { target = source; }, kDuplicateFailed}));

TEST(WaitTest, InterruptionsEndAlertableWaitsAndDoNotShortenOthers) {
    WaitObjectEx object = WaitObjectEx::Create();
    EXPECT_GE(MillisecondsOf([&] { EXPECT_FALSE(object.Wait(30)); }), 29); // the clock counts whole milliseconds
    Fakes::Interrupter interrupter;
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(object.WaitEx(100, false), WaitExResult_Timeout); }), 99);
    EXPECT_EQ(object.WaitEx(kGenerousMs, true), WaitExResult_Alerted);
    EXPECT_EQ(object.WaitEx(WaitTimeoutInfinite, true), WaitExResult_Alerted);
    EXPECT_EQ(object.WaitEx(0, true), WaitExResult_Timeout);
    std::jthread signaler([copy = object, waiter = gettid()]() mutable {
        AwaitBlocked(waiter);
        copy.Signal();
    });
    EXPECT_EQ(object.WaitEx(WaitTimeoutInfinite, false), WaitExResult_Signaled);
}

TEST(WaitTest, OneSignalWakesEveryWaiterWhileOthersResetAndSignal) {
    WaitObjectEx object = WaitObjectEx::Create();
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&object] { EXPECT_TRUE(object.Wait(kGenerousMs)); });
    }
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([copy = object]() mutable {
            for (int round = 0; round < 500; ++round) {
                copy.Reset();
                copy.Signal();
            }
        });
    }
    threads.erase(threads.begin() + 4, threads.end()); // joins those that change it
    object.Signal();
}

TEST(DeadlineTest, ArithmeticIsThatOfThirtyTwoBits) {
    const std::uint32_t now = ClockMs();
    if (now < 10 || now > 0x40000000u) {
        GTEST_SKIP() << "the clock is about to wrap, or too far on to show it";
    }
    EXPECT_EQ(CDeadline(0xFFFFFFF0u).PollTimeout(), 0); // wraps: below the clock
    EXPECT_FALSE(CDeadline(0xFFFFFFF0u).IsAhead());
    EXPECT_LT(CDeadline(0x90000000u).PollTimeout(), 0); // without limit for poll
    EXPECT_TRUE(CDeadline(0x90000000u).IsAhead());
    EXPECT_FALSE(WaitObjectEx::Create().Wait(0xFFFFFFF0u));
}

} // namespace
