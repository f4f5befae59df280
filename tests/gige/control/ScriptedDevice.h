// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "control/Connection.h"
#include "net/UdpSocket.h"
#include "serving/OwnAddress.h"

#include <Base/GCException.h>
#include <gigevision/Gvcp.h>
#include <gigevision/Registers.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace Gige {

using ByteList = std::vector<std::uint8_t>;
using GigEVision::Command;
using GigEVision::Status;
namespace Register = GigEVision::Register;

inline constexpr std::int64_t kMs = 1'000'000;
inline constexpr std::int64_t kSecond = 1000 * kMs;

inline CRoute RouteTo(std::uint32_t address, std::uint16_t port = GigEVision::kGvcpPort) {
    CRoute route;
    route.device = {address, port};
    route.hostAddress = 0x7F000001;
    route.interface = "lo";
    route.isLoopback = true;
    return route;
}

/// An application's handle on a camera.
struct CHost {
    CConnectionSettings settings;
    CConnectionCounts counts;
    CConnection connection{settings, counts};
};

/// What the operation threw; empty when it did not. @p Expected is what it has to be.
template <class Expected, class Operation>
std::string FailureOf(Operation operation) {
    try {
        operation();
    } catch (const Expected& e) {
        return e.GetDescription();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// A device of 64 KiB of registers and memory, on a thread of its own, that does as a script tells where that wants to.
class CScriptedDevice {
public:
    struct CRequest {
        Command command;
        std::uint16_t id;
        std::uint32_t address; ///< of registers and memory
        ByteList payload;
        PluginKit::CEndpoint from;
        std::int64_t atNs;
    };
    /// @return whether that was all; else it is answered as by any device.
    using CScript = std::function<bool(CScriptedDevice&, const CRequest&)>;

    explicit CScriptedDevice(CScript script = {}, std::map<std::uint32_t, std::uint32_t> registers = {})
        : m_script(std::move(script)) {
        for (const auto& [address, value] : registers) {
            Set(address, value);
        }
    }
    ~CScriptedDevice() {
        m_isEnding = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    CRoute Route() { return RouteTo(Address().address, Address().port); }
    PluginKit::CEndpoint Address() { ///< It begins to hear when it is asked for this.
        if (!m_thread.joinable()) {
            m_thread = std::thread([this] { Run(); });
        }
        return {m_socket.LocalAddress(), m_socket.LocalPort()};
    }

    // Before it hears, or by the script.
    void Set(std::uint32_t address, std::uint32_t value) { GigEVision::PutBigEndian(&m_memory.at(address), value); }
    void SetText(std::uint32_t address, const std::string& text) {
        std::copy(text.begin(), text.end(), m_memory.begin() + address);
    }
    std::uint32_t Get(std::uint32_t address) { return GigEVision::GetBigEndian<std::uint32_t>(&m_memory.at(address)); }

    // By the script.
    void Send(const ByteList& datagram, const CRequest& request) { m_socket.SendTo(request.from, datagram); }
    static ByteList Acknowledge(std::uint16_t id, Command command, const ByteList& payload,
                                Status status = Status::Success) {
        ByteList datagram(8 + payload.size());
        const auto code = GigEVision::AcknowledgeOf(static_cast<std::uint16_t>(command));
        GigEVision::EncodeAcknowledge({status, code, id, payload}, datagram);
        return datagram;
    }
    void Answer(const CRequest& request, const ByteList& payload, Status status = Status::Success) {
        Send(Acknowledge(request.id, request.command, payload, status), request);
    }
    void Pend(const CRequest& request, std::uint16_t ms) {
        const ByteList promise = {0, 0, static_cast<std::uint8_t>(ms >> 8), static_cast<std::uint8_t>(ms)};
        Send(Acknowledge(request.id, Command::Pending, promise), request);
    }
    void AnswerAsAnyDevice(const CRequest& request) {
        switch (request.command) {
        case Command::ReadReg:
            return Answer(request, Part(request.address, 4));
        case Command::ReadMem:
            return Answer(request, Join(First(request.payload, 4),
                                        Part(request.address, request.payload[7] | request.payload[6] << 8)));
        default: // address and data
            std::copy(request.payload.begin() + 4, request.payload.end(), m_memory.begin() + request.address);
            return Answer(request, {0, 0, 0, 1});
        }
    }

    std::vector<CRequest> Requests() const {
        const std::lock_guard guard(m_lock);
        return m_requests;
    }
    /// "rm 200+512 ww A00", reads and writes of registers and memory, in hexadecimal but for the counts.
    std::string Told(std::size_t from = 0) const {
        std::ostringstream text;
        const auto requests = Requests();
        for (auto one = requests.begin() + static_cast<std::ptrdiff_t>(from); one != requests.end(); ++one) {
            const bool isRead = one->command == Command::ReadReg || one->command == Command::ReadMem;
            const bool isMemory = one->command == Command::ReadMem || one->command == Command::WriteMem;
            const std::size_t bytes =
                isRead && isMemory ? one->payload[6] << 8 | one->payload[7] : one->payload.size() - 4;
            text << (one == requests.begin() + static_cast<std::ptrdiff_t>(from) ? "" : " ") << (isRead ? 'r' : 'w')
                 << (isMemory ? 'm' : 'r') << ' ' << std::hex << one->address << std::dec;
            if (isMemory) {
                text << '+' << bytes;
            }
        }
        return text.str();
    }

private:
    static ByteList First(const ByteList& bytes, std::size_t count) {
        return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
    }
    static ByteList Join(ByteList first, const ByteList& second) {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }
    ByteList Part(std::uint32_t address, std::size_t bytes) {
        m_memory.resize(std::max(m_memory.size(), address + bytes));
        const auto begin = m_memory.begin() + address;
        return {begin, begin + static_cast<std::ptrdiff_t>(bytes)};
    }

    void Run() {
        while (!m_isEnding) {
            std::array<std::uint8_t, 2048> buffer;
            const auto received = m_socket.Receive(buffer, MonotonicNs() + 20 * kMs);
            const auto message = received ? GigEVision::DecodeCommand(received->bytes) : std::nullopt;
            if (!message || message->payload.size() < 4) {
                continue;
            }
            const CRequest request{static_cast<Command>(message->command),
                                   message->requestId,
                                   GigEVision::GetBigEndian<std::uint32_t>(message->payload.data()),
                                   {message->payload.begin(), message->payload.end()},
                                   received->from,
                                   MonotonicNs()};
            {
                const std::lock_guard guard(m_lock);
                m_requests.push_back(request);
            }
            if (!m_script || !m_script(*this, request)) {
                AnswerAsAnyDevice(request);
            }
        }
    }

    static CRoute Own() {
        CRoute route;
        route.hostAddress = Serving::OwnAddress(20);
        route.interface = "lo";
        return route;
    }

    CUdpSocket m_socket = CUdpSocket::ForDevice(Own());
    CScript m_script;
    ByteList m_memory = ByteList(0x10000);
    mutable std::mutex m_lock;
    std::vector<CRequest> m_requests;
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};

} // namespace Gige
