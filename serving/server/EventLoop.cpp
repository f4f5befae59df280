// SPDX-License-Identifier: Apache-2.0
#include "EventLoop.h"

#include "ServeError.h"

#include "core/AcquisitionClock.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>

namespace Serving {
namespace {

constexpr std::int64_t kLongestWaitMs = 60'000;

int WaitMs(std::int64_t untilNs) {
    constexpr std::int64_t nsPerMs = 1'000'000;
    const std::int64_t nowNs = CamEmu::MonotonicNs();
    if (untilNs <= nowNs) {
        return 0;
    }
    // rounded up: a wait that ends too early is only repeated
    return static_cast<int>(std::min((untilNs - nowNs) / nsPerMs + 1, kLongestWaitMs));
}

} // namespace

CEventLoop::CEventLoop() : m_epoll(epoll_create1(EPOLL_CLOEXEC)), m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!m_epoll.IsOpen() || !m_wake.IsOpen()) {
        throw SystemError("Cannot wait for sockets");
    }
    Watch(m_wake.Number(), [this] {
        eventfd_t count = 0;
        eventfd_read(m_wake.Number(), &count);
    });
}

bool CEventLoop::Watch(int descriptor, std::function<void()> onReadable) {
    auto handler = std::make_shared<std::function<void()>>(std::move(onReadable));
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    if (epoll_ctl(m_epoll.Number(), EPOLL_CTL_ADD, descriptor, &event) != 0) {
        if (errno == EPERM) {
            return false;
        }
        throw SystemError("Cannot wait for a descriptor");
    }
    m_handlers[descriptor] = std::move(handler);
    return true;
}

void CEventLoop::Forget(int descriptor) noexcept {
    epoll_ctl(m_epoll.Number(), EPOLL_CTL_DEL, descriptor, nullptr);
    m_handlers.erase(descriptor);
}

void CEventLoop::Round(std::int64_t untilNs) {
    std::array<epoll_event, 32> events;
    const int ready = epoll_wait(m_epoll.Number(), events.data(), events.size(), WaitMs(untilNs));
    for (int i = 0; i < ready; ++i) {
        const auto found = m_handlers.find(events[static_cast<std::size_t>(i)].data.fd);
        if (found != m_handlers.end()) {
            const auto handler = found->second; // it may be forgotten by what it does
            (*handler)();
        }
    }
}

void CEventLoop::WakeUp() noexcept {
    eventfd_write(m_wake.Number(), 1);
}

} // namespace Serving
