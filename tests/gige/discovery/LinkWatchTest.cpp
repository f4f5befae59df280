// SPDX-License-Identifier: Apache-2.0
#include "net/LinkWatch.h"
#include "common/Descriptor.h"

#include <gtest/gtest.h>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

namespace Gige {
namespace {

constexpr std::chrono::seconds kPatience{60};
constexpr unsigned kLoopback = 1; // its number in each network namespace

class Heard {
public:
    CLinkWatch::Listener Listener() {
        return [this](bool isUp) {
            const std::lock_guard lock(m_lock);
            m_states.push_back(isUp);
            m_changed.notify_all();
        };
    }
    bool WaitFor(std::size_t count) {
        std::unique_lock lock(m_lock);
        return m_changed.wait_for(lock, kPatience, [&] { return m_states.size() >= count; });
    }
    std::vector<bool> States() {
        const std::lock_guard lock(m_lock);
        return m_states;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<bool> m_states;
};

void SetLoopback(bool isUp) {
    const PluginKit::CDescriptor control(socket(AF_INET, SOCK_DGRAM, 0));
    ifreq request{};
    std::string("lo").copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = isUp ? IFF_UP : 0;
    ASSERT_EQ(ioctl(control.Number(), SIOCSIFFLAGS, &request), 0);
}

std::ptrdiff_t CountThreads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator());
}

void SwitchAndListen() {
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        ASSERT_EQ(std::getenv("CI"), nullptr) << "no network namespace can be made here";
        GTEST_SKIP() << "no network namespace can be made here";
    }
    const std::ptrdiff_t threads = CountThreads();
    CLinkWatch watch;
    Heard first, second, other;
    {
        const CLinkWatch::CSubscription one(watch, kLoopback, first.Listener());
        const CLinkWatch::CSubscription another(watch, kLoopback + 1000, other.Listener());
        SetLoopback(true);
        ASSERT_TRUE(first.WaitFor(1));
        {
            const CLinkWatch::CSubscription late(watch, kLoopback, second.Listener());
            SetLoopback(false);
            ASSERT_TRUE(first.WaitFor(2) && second.WaitFor(1));
        }
        SetLoopback(true);
        ASSERT_TRUE(first.WaitFor(3));
        EXPECT_EQ(CountThreads(), threads + 1);
    }
    EXPECT_EQ(CountThreads(), threads);
    EXPECT_EQ(first.States(), (std::vector<bool>{true, false, true}));
    EXPECT_EQ(second.States(), std::vector<bool>{false});
    EXPECT_TRUE(other.States().empty());
    const CLinkWatch::CSubscription again(watch, kLoopback, second.Listener());
    SetLoopback(false);
    EXPECT_TRUE(second.WaitFor(2));
}

TEST(LinkWatchTest, WhoWantsToKnowHearsEachChangeOfItsLinkAndNoOther) {
    std::thread(SwitchAndListen).join(); // the namespace is the thread's
}

} // namespace
} // namespace Gige
