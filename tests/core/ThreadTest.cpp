// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/Thread.h"

#include "fakes/LogRecorder.h"
#include <zelmo/Log.h>

#include <Base/GCException.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <vector>

namespace {

using Zelmo::CThread;

TEST(ThreadTest, JoinWaitsForTheEndAndLetsTheNextOneStart) {
    CThread thread;
    thread.Join(); // none yet: nothing to wait for
    for (int round = 0; round < 3; ++round) {
        std::atomic<bool> isDone = false;
        std::promise<void> go;
        thread.Start("test", [&] {
            go.get_future().wait();
            char name[16] = "";
            pthread_getname_np(pthread_self(), name, sizeof(name));
            isDone = std::string(name) == "test";
        });
        EXPECT_TRUE(thread.IsJoinable());
        EXPECT_NE(thread.GetNativeHandle(), 0u);
        EXPECT_THROW(thread.Start("test", [] {}), GenICam::LogicalErrorException);
        go.set_value();
        thread.Join();
        EXPECT_TRUE(isDone) << "or its name is another one";
        EXPECT_FALSE(thread.IsJoinable());
        EXPECT_EQ(thread.GetNativeHandle(), 0u);
    }
}

TEST(ThreadTest, SeveralThreadsMayJoinAtOnceButNoneItself) {
    for (int round = 0; round < 50; ++round) {
        CThread thread;
        std::atomic<bool> isDone = false;
        std::promise<void> joining;
        thread.Start("test", [&] {
            EXPECT_THROW(thread.Join(), GenICam::LogicalErrorException);
            joining.get_future().wait();
            EXPECT_THROW(thread.Join(), GenICam::LogicalErrorException); // also while others do
            isDone = true;
        });
        std::vector<std::jthread> joiners;
        for (int i = 0; i < 4; ++i) {
            joiners.emplace_back([&, i] {
                if (i == 0) {
                    joining.set_value();
                }
                thread.Join();
                EXPECT_TRUE(isDone);
            });
        }
    }
}

TEST(ThreadTest, UnjoinedThreadIsDetachedWithOneErrorLine) {
    hxlog::LogEnable(true);
    Fakes::LogRecorder log;
    auto go = std::make_shared<std::promise<void>>();
    auto done = std::make_shared<std::promise<void>>();
    {
        CThread thread;
        thread.Start("test", [go, done] {
            go->get_future().wait();
            done->set_value();
        });
    }
    EXPECT_EQ(log.Count("zelmo.base", 300, "was not joined before its owner went: detached"), 1u);
    go->set_value();
    EXPECT_EQ(done->get_future().wait_for(std::chrono::seconds(60)), std::future_status::ready);
}

TEST(MutexTest, PlainMutexRefusesToBeLockedTwiceAndRecursiveOneCounts) {
    Zelmo::CMutex plain;
    const std::unique_lock held(plain);
    EXPECT_THROW(std::unique_lock again(plain), GenICam::LogicalErrorException);

    Zelmo::CRecursiveMutex recursive;
    const auto canLockElsewhere = [&recursive] {
        return std::async(std::launch::async,
                          [&recursive] { return std::unique_lock(recursive, std::try_to_lock).owns_lock(); })
            .get();
    };
    std::unique_lock first(recursive);
    std::unique_lock second(recursive);
    second.unlock();
    EXPECT_FALSE(canLockElsewhere());
    first.unlock();
    EXPECT_TRUE(canLockElsewhere());
}

} // namespace
