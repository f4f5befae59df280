// SPDX-License-Identifier: Apache-2.0
#include "RegisterDevice.h"

#include <gigevision/Registers.h>

#include <array>

namespace gige_bench {

using namespace GigEVision;

namespace {

Gige::CRoute Loopback(std::uint32_t hostAddress) {
    Gige::CRoute route;
    route.hostAddress = hostAddress;
    route.hostMask = 0xFF000000;
    route.interface = "lo";
    route.mtu = 65536;
    route.isLoopback = true;
    return route;
}

} // namespace

CRegisterDevice::CRegisterDevice(std::uint32_t address, std::uint16_t streamSourcePort, std::uint32_t packetSize)
    : m_socket(Gige::CUdpSocket::ForDevice(Loopback(address))),
      m_registers{{Register::kGvcpCapability, GvcpCapability::kPacketResend},
                  {Register::kGvspCapability, GvspCapability::kScsp},
                  {Register::kStreamChannels, 1},
                  {Register::kStreamChannel + Register::kScps, packetSize},
                  {Register::kStreamChannel + Register::kScsp, streamSourcePort}},
      m_thread([this] { Serve(); }) {}

CRegisterDevice::~CRegisterDevice() {
    m_isEnding = true;
    m_thread.join();
}

Gige::CRoute CRegisterDevice::Route() const {
    Gige::CRoute route = Loopback(0x7F000001);
    route.device = {m_socket.LocalAddress(), m_socket.LocalPort()};
    return route;
}

PluginKit::CEndpoint CRegisterDevice::StreamDestination() const {
    const std::lock_guard lock(m_lock);
    return {m_registers.at(Register::kStreamChannel + Register::kScda),
            static_cast<std::uint16_t>(m_registers.at(Register::kStreamChannel + Register::kScp))};
}

void CRegisterDevice::Serve() {
    constexpr std::int64_t kPatienceNs = 100'000'000;
    while (!m_isEnding) {
        GvcpBuffer buffer;
        const auto received = m_socket.Receive(buffer, Gige::MonotonicNs() + kPatienceNs);
        if (const auto command = received ? DecodeCommand(received->bytes) : std::nullopt) {
            Answer(*command, received->from);
        }
    }
}

void CRegisterDevice::Answer(const CommandMessage& command, const PluginKit::CEndpoint& from) {
    GvcpBuffer buffer;
    const MutableBytes payload = MutableBytes(buffer).subspan(kGvcpHeaderBytes);
    AcknowledgeMessage answer;
    answer.acknowledge = AcknowledgeOf(command.command);
    answer.id = command.requestId;
    const std::lock_guard lock(m_lock);
    if (auto read = command.Is(Command::ReadReg) ? DecodeReadReg(command.payload) : std::nullopt) {
        for (std::size_t i = 0; i < read->count; ++i) {
            read->words[i] = m_registers[read->words[i]];
        }
        answer.payload = EncodeReadRegAck(*read, payload);
    } else if (const auto write = command.Is(Command::WriteReg) ? DecodeWriteReg(command.payload) : std::nullopt) {
        for (std::size_t i = 0; i < write->count; ++i) {
            m_registers[write->writes[i].address] = write->writes[i].value;
        }
        answer.payload = EncodeWriteAck(static_cast<std::uint16_t>(write->count), payload);
    } else {
        return;
    }
    m_socket.SendTo(from, EncodeAcknowledge(answer, buffer));
}

} // namespace gige_bench
