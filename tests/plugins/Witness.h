// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Device.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

namespace Plugins {

inline void Await(const std::function<bool()>& isTrue) { // as long as the test may take
    while (!isTrue()) {
        std::this_thread::yield();
    }
}

/// Who is told of removals, and does something of its own then.
class Witness {
public:
    explicit Witness(std::function<void(Zelmo::IZelmoDevice*)> action = [](auto) {}) : m_action(std::move(action)) {}

    Zelmo::DeviceCallbackHandle Watch(Zelmo::IZelmoDevice& device) {
        return Zelmo::RegisterRemovalCallback(&device, *this, &Witness::OnRemoved);
    }
    std::atomic<int> calls = 0;

private:
    void OnRemoved(Zelmo::IZelmoDevice* device) {
        EXPECT_NE(std::this_thread::get_id(), m_creator);
        m_action(device);
        ++calls; // last: whoever waits may end this witness then
    }

    const std::thread::id m_creator = std::this_thread::get_id();
    const std::function<void(Zelmo::IZelmoDevice*)> m_action;
};

} // namespace Plugins
