// SPDX-License-Identifier: Apache-2.0
#include "Broadcasts.h"

#include "EventLoop.h"

#include <gigevision/Gvcp.h>

namespace Serving {

bool IsHeard(const CReceived& received, const CNetworkInterface& interface, unsigned loopbackIndex) {
    const bool isFromLoopback = IsLoopback(received.from.address);
    return isFromLoopback == interface.isLoopback &&
           (received.interface == interface.index || received.interface == loopbackIndex);
}

CBroadcasts::CBroadcasts(CEventLoop& loop, CReceiveBuffer& buffer, const CNetworkInterface& interface)
    : m_loop(loop), m_buffer(buffer), m_interface(interface) {}

CBroadcasts::~CBroadcasts() {
    for (const auto& [address, socket] : m_sockets) {
        m_loop.Forget(socket.Number());
    }
}

void CBroadcasts::Listen(std::uint32_t directed) {
    Open(0xFFFFFFFF);
    Open(directed);
}

void CBroadcasts::Open(std::uint32_t address) {
    if (m_sockets.contains(address)) {
        return;
    }
    CDescriptor socket = OpenBroadcastSocket({address, GigEVision::kGvcpPort}, m_interface);
    const int number = socket.Number();
    m_sockets.emplace(address, std::move(socket));
    m_loop.Watch(number, [this, number] { OnReadable(number); });
}

void CBroadcasts::OnReadable(int socket) {
    for (const CReceived& received : m_buffer.Receive(socket)) {
        if (!IsHeard(received, m_interface, m_interface.index)) {
            continue;
        }
        for (IBroadcastListener* listener : m_listeners) {
            listener->OnBroadcast(received);
        }
    }
}

} // namespace Serving
