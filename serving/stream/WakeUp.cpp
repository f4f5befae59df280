// SPDX-License-Identifier: Apache-2.0
#include "WakeUp.h"

#include <core/AcquisitionClock.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>

namespace Serving {

CWakeUp::CWakeUp() : m_event(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (!m_event.IsOpen()) {
        throw std::system_error(errno, std::generic_category(), "Cannot make an event descriptor");
    }
}

void CWakeUp::Notify() noexcept {
    eventfd_write(m_event.Number(), 1);
}

void CWakeUp::Wait(std::int64_t untilNs, int socket) noexcept {
    timespec timeout = {};
    if (untilNs != kForever) {
        const std::int64_t leftNs = std::max<std::int64_t>(0, untilNs - CamEmu::MonotonicNs());
        timeout = {leftNs / 1'000'000'000, leftNs % 1'000'000'000};
    }
    std::array<pollfd, 2> waited = {{{m_event.Number(), POLLIN, 0}, {socket, POLLOUT, 0}}};
    ppoll(waited.data(), waited.size(), untilNs == kForever ? nullptr : &timeout, nullptr);
    eventfd_t count = 0;
    eventfd_read(m_event.Number(), &count);
}

} // namespace Serving
