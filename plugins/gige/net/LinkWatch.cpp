// SPDX-License-Identifier: Apache-2.0
#include "net/LinkWatch.h"

#include "PluginLog.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <system_error>
#include <utility>

namespace Gige {
namespace {

PluginKit::CDescriptor OpenNetlink() {
    PluginKit::CDescriptor netlink(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    sockaddr_nl name{};
    name.nl_family = AF_NETLINK;
    name.nl_groups = RTMGRP_LINK;
    if (!netlink.IsOpen() || bind(netlink.Number(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    return netlink;
}

PluginKit::CDescriptor OpenEvent() {
    PluginKit::CDescriptor event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!event.IsOpen()) {
        throw std::system_error(errno, std::generic_category());
    }
    return event;
}

} // namespace

CLinkWatch::CSubscription::CSubscription(CLinkWatch& watch, unsigned interfaceIndex, Listener listener)
    : m_watch(watch), m_interfaceIndex(interfaceIndex), m_listener(std::move(listener)) {
    m_watch.Add(*this);
}

CLinkWatch::CSubscription::~CSubscription() {
    m_watch.Remove(*this);
}

CLinkWatch::~CLinkWatch() = default;

void CLinkWatch::Add(CSubscription& subscription) {
    const PluginKit::CLockGuard life(m_lifeLock);
    {
        const PluginKit::CLockGuard lock(m_listLock);
        m_subscriptions.push_back(&subscription);
    }
    if (m_thread.joinable()) {
        return;
    }
    try {
        Start();
    } catch (const std::exception& e) {
        hxlog::LogTrace(LogCategory(), hxlog::LogLevel_Warn,
                        "Links of network interfaces are not watched, so cameras are found lost or back later: %s",
                        e.what());
    }
}

void CLinkWatch::Start() {
    m_netlink = OpenNetlink();
    m_end = OpenEvent();
    m_thread = std::thread([this, netlink = m_netlink.Number(), end = m_end.Number()] { Run(netlink, end); });
}

void CLinkWatch::Remove(CSubscription& subscription) noexcept {
    const PluginKit::CLockGuard life(m_lifeLock);
    {
        const PluginKit::CLockGuard lock(m_listLock);
        m_subscriptions.remove(&subscription);
        if (!m_subscriptions.empty()) {
            return;
        }
    }
    if (m_thread.joinable()) {
        eventfd_write(m_end.Number(), 1);
        m_thread.join();
    }
    m_netlink.Reset();
    m_end.Reset();
}

void CLinkWatch::Run(int netlink, int end) noexcept {
    pthread_setname_np(pthread_self(), "gige links");
    pollfd sources[] = {{netlink, POLLIN, 0}, {end, POLLIN, 0}};
    for (;;) {
        poll(sources, 2, -1);
        if (sources[1].revents != 0) {
            return;
        }
        if (sources[0].revents != 0) {
            HearChanges(netlink);
        }
    }
}

void CLinkWatch::HearChanges(int netlink) noexcept {
    alignas(nlmsghdr) char buffer[16384];
    const ssize_t bytes = recv(netlink, buffer, sizeof buffer, 0);
    if (bytes < 0) {
        if (errno == ENOBUFS) { // changes were lost; that a link is up does no harm where it is not
            Tell(0, true);
        }
        return;
    }
    auto left = static_cast<unsigned>(bytes);
    for (const auto* message = reinterpret_cast<const nlmsghdr*>(buffer); NLMSG_OK(message, left);
         message = NLMSG_NEXT(message, left)) {
        const bool isLink = message->nlmsg_type == RTM_NEWLINK || message->nlmsg_type == RTM_DELLINK;
        if (isLink && message->nlmsg_len >= NLMSG_LENGTH(sizeof(ifinfomsg))) {
            ifinfomsg link;
            std::memcpy(&link, NLMSG_DATA(message), sizeof link);
            Tell(static_cast<unsigned>(link.ifi_index),
                 message->nlmsg_type == RTM_NEWLINK && (link.ifi_flags & IFF_RUNNING) != 0);
        }
    }
}

void CLinkWatch::Tell(unsigned interfaceIndex, bool isUp) noexcept {
    const PluginKit::CLockGuard lock(m_listLock);
    for (CSubscription* const subscription : m_subscriptions) {
        const bool isMeant = interfaceIndex == 0 || subscription->m_interfaceIndex == interfaceIndex;
        if (isMeant && (interfaceIndex == 0 || subscription->m_isUp != isUp)) { // other changes of a link come, too
            subscription->m_isUp = isUp;
            subscription->m_listener(isUp);
        }
    }
}

} // namespace Gige
