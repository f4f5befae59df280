// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Descriptor.h"
#include "common/Endpoint.h"

#include <gigevision/Gvcp.h>
#include <gigevision/Registers.h>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

/// Answers as a camera does that is broken, or bad: its description is where the test says, and behind its registers
/// there is a page of nonsense without end, in which the test may put something at 0x20000.
class HostileCamera {
public:
    enum class EPace { Quick, Slow, PendingForEver, SilentInTheDescription, AlwaysAtItsLimit };

    explicit HostileCamera(std::uint32_t address, EPace pace = EPace::Quick)
        : m_address(address), m_pace(pace), m_socket(socket(AF_INET, SOCK_DGRAM, 0)) {
        sockaddr_in own = {};
        own.sin_family = AF_INET;
        own.sin_addr.s_addr = htonl(address);
        own.sin_port = htons(GigEVision::kGvcpPort);
        EXPECT_EQ(bind(m_socket.Number(), reinterpret_cast<sockaddr*>(&own), sizeof own), 0);
        m_thread = std::jthread([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                Serve();
            }
        });
    }

    void SetUrl(const std::string& url) {
        const std::lock_guard lock(m_lock);
        m_url = url;
    }
    void SetContent(std::string bytes) { ///< Before somebody asks.
        m_content = std::move(bytes);
    }
    std::uint32_t Control() const { return m_control; }

private:
    using CommandMessage = GigEVision::CommandMessage;
    using Command = GigEVision::Command;
    using Clock = std::chrono::steady_clock;
    static constexpr std::uint32_t kDescription = 0x10000, kContent = 0x20000;

    void Serve() {
        pollfd waited = {m_socket.Number(), POLLIN, 0};
        if (poll(&waited, 1, 50) <= 0) {
            return;
        }
        std::array<std::uint8_t, 2048> bytes;
        sockaddr_in from = {};
        socklen_t length = sizeof from;
        const ssize_t size =
            recvfrom(m_socket.Number(), bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from), &length);
        const auto command =
            GigEVision::DecodeCommand({bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))});
        if (command) {
            Answer(*command, from);
        }
    }

    void Answer(const CommandMessage& command, const sockaddr_in& to) {
        GigEVision::GvcpBuffer payload = {};
        if (command.Is(Command::Discovery)) {
            GigEVision::DiscoveryInfo info;
            info.mac = {2, 0};
            GigEVision::PutBigEndian(&info.mac[2], m_address);
            info.address = m_address;
            info.mask = 0xFF000000;
            info.model = "Hostile";
            Send(command, GigEVision::EncodeDiscoveryAck(info, payload), to);
        } else if (command.Is(Command::ReadReg)) {
            auto list = GigEVision::DecodeReadReg(command.payload);
            for (std::size_t i = 0; list && i < list->count; ++i) {
                list->words[i] = Value(list->words[i]);
            }
            Send(command, GigEVision::EncodeReadRegAck(list.value(), payload), to);
        } else if (command.Is(Command::WriteReg)) {
            const auto list = GigEVision::DecodeWriteReg(command.payload);
            const bool isControl = list && list->writes[0].address == GigEVision::Register::kCcp;
            const bool isHeld = isControl && m_pace == EPace::AlwaysAtItsLimit && Clock::now() < m_heldUntil;
            if (isControl && !isHeld) {
                m_control = list->writes[0].value;
            }
            Send(command, GigEVision::EncodeWriteAck(isHeld ? 0 : 1, payload), to, std::nullopt,
                 isHeld ? GigEVision::Status::AccessDenied : GigEVision::Status::Success);
        } else if (command.Is(Command::ReadMem)) {
            ReadMemory(command, to);
        }
    }

    void ReadMemory(const CommandMessage& command, const sockaddr_in& to) {
        const auto read = GigEVision::DecodeReadMem(command.payload);
        GigEVision::GvcpBuffer payload = {};
        const bool isDescription = read && read->address >= kDescription;
        if (isDescription && m_pace == EPace::SilentInTheDescription) {
            return;
        }
        if (isDescription && m_pace == EPace::PendingForEver) {
            Send(command, GigEVision::EncodePending(60'000, payload), to, GigEVision::Command::Pending);
            return;
        }
        if (isDescription && (m_pace == EPace::Slow || m_pace == EPace::AlwaysAtItsLimit)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        std::vector<std::uint8_t> data(read->count, '<');
        Fill(read->address, data);
        Send(command, GigEVision::EncodeMemory({read->address, data}, payload), to);
    }

    void Fill(std::uint32_t address, std::vector<std::uint8_t>& data) {
        const std::lock_guard lock(m_lock);
        if (address == GigEVision::Register::kFirstUrl) {
            std::fill(data.begin(), data.end(), std::uint8_t{0});
            std::copy_n(m_url.begin(), std::min(m_url.size(), data.size()), data.begin());
        } else if (address < kDescription) {
            std::fill(data.begin(), data.end(), std::uint8_t{0});
        } else if (address >= kContent && address - kContent < m_content.size()) {
            m_content.copy(reinterpret_cast<char*>(data.data()), data.size(), address - kContent);
        }
    }

    std::uint32_t Value(std::uint32_t address) const {
        namespace Register = GigEVision::Register;
        switch (address) {
        case Register::kVersion:
            return Register::kVersion20;
        case Register::kDeviceMode:
            return GigEVision::DeviceMode::kBigEndian;
        case Register::kMacHigh:
            return 0x0200;
        case Register::kMacLow:
            return m_address;
        case Register::kGvcpCapability:
            return GigEVision::GvcpCapability::kWriteMem | GigEVision::GvcpCapability::kPending;
        case Register::kHeartbeatTimeout:
            return m_pace == EPace::AlwaysAtItsLimit ? 15'000 : 3000;
        case Register::kCcp:
            return m_control;
        default:
            return 0;
        }
    }

    void Send(const CommandMessage& command, GigEVision::Bytes payload, const sockaddr_in& to,
              std::optional<Command> other = std::nullopt, GigEVision::Status status = GigEVision::Status::Success) {
        const std::uint16_t code = other ? static_cast<std::uint16_t>(*other) : command.command;
        GigEVision::GvcpBuffer buffer;
        const GigEVision::Bytes bytes = GigEVision::EncodeAcknowledge(
            {status, GigEVision::AcknowledgeOf(code), command.requestId, payload}, buffer);
        sendto(m_socket.Number(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    }

    const std::uint32_t m_address;
    const EPace m_pace;
    const PluginKit::CDescriptor m_socket;
    // At its limit another application has control for so long.
    const Clock::time_point m_heldUntil = Clock::now() + std::chrono::seconds(12);
    std::atomic<std::uint32_t> m_control =
        m_pace == EPace::AlwaysAtItsLimit ? std::uint32_t{GigEVision::Ccp::kControl} : 0;
    std::mutex m_lock;
    std::string m_url, m_content;
    std::jthread m_thread;
};
