// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Datagrams.h"

#include <map>
#include <vector>

namespace Serving {

class CEventLoop;

/// Gets what is broadcast.
class IBroadcastListener {
public:
    virtual void OnBroadcast(const CReceived& received) = 0;

protected:
    ~IBroadcastListener() = default;
};

/// Whether what came by @p by may be heard: from this machine on the loopback interface, and never from an address of
/// the loopback network anywhere else. A unicast from this machine to its own address comes by the loopback interface.
bool IsHeard(const CReceived& received, const CNetworkInterface& interface, unsigned loopbackIndex);

/// Hears what is broadcast on an interface at the control port, for all cameras there.
/// Borrows: loop and buffer; the listeners until they are removed.
/// Threads: the control thread.
class CBroadcasts {
public:
    CBroadcasts(CEventLoop& loop, CReceiveBuffer& buffer, const CNetworkInterface& interface);
    ~CBroadcasts();
    CBroadcasts(const CBroadcasts&) = delete;
    CBroadcasts& operator=(const CBroadcasts&) = delete;

    /// To 255.255.255.255 and to @p directed, the broadcast address of a network, from now on. @throws CServeError.
    void Listen(std::uint32_t directed);
    void Add(IBroadcastListener& listener) { m_listeners.push_back(&listener); }
    void Remove(const IBroadcastListener& listener) noexcept { std::erase(m_listeners, &listener); }

private:
    void Open(std::uint32_t address);
    void OnReadable(int socket);

    CEventLoop& m_loop;
    CReceiveBuffer& m_buffer;
    const CNetworkInterface m_interface;
    std::map<std::uint32_t, CDescriptor> m_sockets; // by address
    std::vector<IBroadcastListener*> m_listeners;
};

} // namespace Serving
