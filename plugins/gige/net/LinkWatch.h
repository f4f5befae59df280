// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Descriptor.h"
#include "common/Mutex.h"

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <thread>

namespace Gige {

/// Tells who wants to know that the link of a network interface came up or went down: a cable, a switch, `ip link set`.
/// Where the system does not tell, nobody is told; nothing depends on it but speed.
/// Owns:    one thread, while anybody wants to know.
/// Threads: any. A subscription ends on any thread but that of the watch.
/// Locks:   of beginning and ending; within it the list's, which is also held while somebody is told: who is told may
///          take leaves only, and ends no subscription.
class CLinkWatch {
public:
    using Listener = std::function<void(bool isUp)>;

    /// From its construction to its end, after which the listener does not run and is not called any more.
    class CSubscription {
    public:
        CSubscription(CLinkWatch& watch, unsigned interfaceIndex, Listener listener);
        ~CSubscription();
        CSubscription(const CSubscription&) = delete;
        CSubscription& operator=(const CSubscription&) = delete;

    private:
        friend class CLinkWatch;

        CLinkWatch& m_watch;
        const unsigned m_interfaceIndex;
        const Listener m_listener;
        std::optional<bool> m_isUp; // as told last; the watch's
    };

    CLinkWatch() = default;
    ~CLinkWatch(); ///< There is no subscription any more.
    CLinkWatch(const CLinkWatch&) = delete;
    CLinkWatch& operator=(const CLinkWatch&) = delete;

private:
    void Add(CSubscription& subscription);
    void Remove(CSubscription& subscription) noexcept;
    void Start() PLUGIN_REQUIRES(m_lifeLock);
    void Run(int netlink, int end) noexcept;
    void HearChanges(int netlink) noexcept;
    void Tell(unsigned interfaceIndex, bool isUp) noexcept; ///< Index 0: all of them.

    PluginKit::CMutex m_lifeLock;
    std::thread m_thread PLUGIN_GUARDED_BY(m_lifeLock);
    PluginKit::CDescriptor m_netlink PLUGIN_GUARDED_BY(m_lifeLock), m_end PLUGIN_GUARDED_BY(m_lifeLock);
    PluginKit::CMutex m_listLock;
    std::list<CSubscription*> m_subscriptions PLUGIN_GUARDED_BY(m_listLock);
};

} // namespace Gige
