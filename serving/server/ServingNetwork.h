// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AnswerBudget.h"
#include "Broadcasts.h"
#include "Datagrams.h"
#include "EventLoop.h"
#include "InterfaceAddresses.h"
#include "RareNotes.h"

namespace Serving {

/// What the cameras of a process share of the network.
/// Threads: the control thread; the loop can be woken from any.
struct CServingNetwork {
    CServingNetwork(const CNetworkInterface& interface, EAddressPolicy policy, CRareNotes::CSink note)
        : addresses(interface, policy), broadcasts(loop, buffer, interface), notes(std::move(note)) {}

    CEventLoop loop;
    CReceiveBuffer buffer;
    CAnswerBudget budget;
    CInterfaceAddresses addresses;
    CBroadcasts broadcasts;
    CRareNotes notes;
};

} // namespace Serving
