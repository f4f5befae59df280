// SPDX-License-Identifier: Apache-2.0
#include "ServiceThread.h"

#include "MessageChannel.h"
#include "control/Connection.h"
#include "net/UdpSocket.h"

#include <Base/GCException.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace Gige {

namespace {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;

PluginKit::CDescriptor MakeWake() {
    PluginKit::CDescriptor wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake.IsOpen()) {
        throw RUNTIME_EXCEPTION("Cannot make an event descriptor: %s.", std::strerror(errno));
    }
    return wake;
}

void WaitReadable(int descriptor, std::int64_t untilNs) noexcept {
    pollfd entry{descriptor, POLLIN, 0};
    const std::int64_t leftNs = std::max<std::int64_t>(untilNs - MonotonicNs(), 0);
    const timespec left{leftNs / kNsPerSecond, leftNs % kNsPerSecond};
    ppoll(&entry, 1, &left, nullptr); // interrupted: the caller looks anew
}

} // namespace

CServiceThread::CServiceThread(CConnection& connection, std::function<void()> onLost)
    : m_connection(connection), m_onLost(std::move(onLost)), m_wake(MakeWake()) {
    m_connection.OnLoss([this] { Wake(); });
}

CServiceThread::~CServiceThread() {
    Stop();
    m_connection.OnLoss({});
}

void CServiceThread::Start() {
    m_isEnding = false;
    m_thread = std::thread([this] { Run(); });
    pthread_setname_np(m_thread.native_handle(), "zelmo-gige");
}

void CServiceThread::Stop() noexcept {
    if (m_thread.joinable()) {
        m_isEnding = true;
        Wake();
        m_thread.join();
    }
}

void CServiceThread::Hurry() noexcept {
    m_connection.Hurry();
    Wake();
}

void CServiceThread::Listen(std::shared_ptr<CMessageChannel> channel) {
    {
        const PluginKit::CLockGuard lock(m_lock);
        m_channel.swap(channel);
    }
    Wake();
}

void CServiceThread::Run() noexcept {
    for (bool isTold = false; !m_isEnding;) {
        if (!isTold && (m_connection.IsLost() || MonotonicNs() >= m_connection.NextBeatNs())) {
            Beat(isTold);
        } else {
            Wait(isTold ? std::numeric_limits<std::int64_t>::max() : m_connection.NextBeatNs());
        }
    }
}

void CServiceThread::Beat(bool& isTold) noexcept {
    if (!m_connection.Beat()) {
        isTold = true;
        m_onLost();
    }
}

// One datagram, or whatever else wakes the thread.
void CServiceThread::Wait(std::int64_t untilNs) noexcept {
    if (const auto channel = Channel()) {
        channel->Serve(untilNs, m_wake.Number());
    } else {
        WaitReadable(m_wake.Number(), untilNs);
    }
    eventfd_t count = 0;
    eventfd_read(m_wake.Number(), &count); // it does not wait
}

void CServiceThread::Wake() noexcept {
    eventfd_write(m_wake.Number(), 1);
}

std::shared_ptr<CMessageChannel> CServiceThread::Channel() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_channel;
}

} // namespace Gige
