// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/UdpSocket.h"

#include <gigevision/Gvcp.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <thread>

namespace gige_bench {

/// The control side of a camera on the loopback network: registers that hold what is written to them, and one stream
/// channel. It answers no resend commands.
/// Threads: any.
class CRegisterDevice {
public:
    CRegisterDevice(std::uint32_t address, std::uint16_t streamSourcePort, std::uint32_t packetSize);
    ~CRegisterDevice();
    CRegisterDevice(const CRegisterDevice&) = delete;
    CRegisterDevice& operator=(const CRegisterDevice&) = delete;

    Gige::CRoute Route() const; ///< Of a host at 127.0.0.1.
    PluginKit::CEndpoint StreamDestination() const;

private:
    void Serve();
    void Answer(const GigEVision::CommandMessage& command, const PluginKit::CEndpoint& from);

    Gige::CUdpSocket m_socket;
    std::atomic<bool> m_isEnding{false};
    mutable std::mutex m_lock;
    std::map<std::uint32_t, std::uint32_t> m_registers;
    std::thread m_thread;
};

} // namespace gige_bench
