// SPDX-License-Identifier: Apache-2.0
#include "OrderedWork.h"
#include "WorkerPool.h"

#include <gmock/gmock.h>

#include <barrier>
#include <latch>
#include <stdexcept>

namespace {

class OrderedWorkTest : public testing::Test {
protected:
    tool::OrderedWork::Tell Note(int number) {
        return [this, number](const std::exception_ptr& error) { m_told.push_back(error ? -number : number); };
    }

    std::vector<int> m_told;
    tool::WorkerPool m_pool{2};
    tool::OrderedWork m_work{&m_pool};
};

TEST_F(OrderedWorkTest, IsDoneAtTheSameTimeAndToldInOrder) {
    std::barrier meeting(2); // whoever worked alone would wait here for ever
    std::latch secondDone(1);
    m_work.Add(
        [&] {
            meeting.arrive_and_wait();
            secondDone.wait();
        },
        Note(1));
    m_work.Add(
        [&] {
            meeting.arrive_and_wait();
            secondDone.count_down();
        },
        Note(2));
    m_work.Add([] { throw std::runtime_error("x"); }, Note(3));
    m_work.Add({}, Note(4));
    m_work.Drain();
    EXPECT_THAT(m_told, testing::ElementsAre(1, 2, -3, 4));
    EXPECT_FALSE(m_work.Drain()) << "nothing is left";
}

TEST_F(OrderedWorkTest, NeverMoreIsHeldThanThereAreThreads) {
    std::atomic<int> held = 0;
    int most = 0;
    for (int i = 0; i < 100; ++i) {
        m_work.WaitForRoom();
        const std::shared_ptr<int> memory(new int, [&](const int* one) {
            delete one;
            --held;
        });
        most = std::max(most, ++held);
        m_work.Add([memory] {}, Note(i));
    }
    m_work.Drain();
    EXPECT_EQ(m_told.size(), 100u);
    EXPECT_LE(most, 2);
}

} // namespace
