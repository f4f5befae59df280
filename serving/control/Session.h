// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Endpoint.h"

#include <gigevision/Status.h>

#include <cstdint>

namespace Serving {

class CAcquisition;
class CBootstrap;
class CMessageChannel;
class CServingFaults;
class CStreamRegisters;
struct CDeviceState;

/// Control as it changes hands, and what losing it does.
/// Borrows: all that it is made with.
/// Threads: the control thread.
class CSession {
public:
    CSession(CDeviceState& state, CServingFaults& faults, CAcquisition& acquisition, CStreamRegisters& stream,
             CMessageChannel& messages, CBootstrap& bootstrap)
        : m_state(state), m_faults(faults), m_acquisition(acquisition), m_stream(stream), m_messages(messages),
          m_bootstrap(bootstrap) {}

    GigEVision::Status WritePrivilege(const CEndpoint& from, std::uint32_t value, std::int64_t nowNs);
    void OnSignOfLife(const CEndpoint& from, std::int64_t nowNs); ///< A valid command came.
    void OnTime(std::int64_t nowNs);                              ///< Looks whether the heartbeat has ended.
    void End() noexcept; ///< Takes control from whoever has it. The camera's settings stay.

private:
    void CloseChannels() noexcept;

    CDeviceState& m_state;
    CServingFaults& m_faults;
    CAcquisition& m_acquisition;
    CStreamRegisters& m_stream;
    CMessageChannel& m_messages;
    CBootstrap& m_bootstrap;
};

} // namespace Serving
