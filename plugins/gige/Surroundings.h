// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/RemovalWatch.h"
#include "discovery/Discovery.h"
#include "net/LinkWatch.h"

namespace Gige {

/// What devices of a transport layer share; the transport layer owns it and outlives them.
/// Threads: any.
class CDeviceSurroundings {
public:
    explicit CDeviceSurroundings(CNetworkChoice choice) : m_discovery(std::move(choice)) {}

    CDiscovery& Discovery() { return m_discovery; }
    CLinkWatch& Links() { return m_links; }
    PluginKit::CEndedThreads& EndedThreads() { return m_endedThreads; } ///< Of devices closed in a removal callback.

private:
    CDiscovery m_discovery;
    CLinkWatch m_links;
    PluginKit::CEndedThreads m_endedThreads;
};

} // namespace Gige
