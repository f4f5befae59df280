// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "serving/ByteList.h"

#include <core/Camera.h>
#include <core/RegisterMap.h>
#include <gigevision/Gvcp.h>
#include <gigevision/Registers.h>
#include <serving/AddressMap.h>
#include <serving/Device.h>
#include <serving/Faults.h>
#include <serving/Stream.h>
#include <serving/Ticks.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace Serving {

namespace Reg = CamEmu::Reg;
namespace Register = GigEVision::Register;
using GigEVision::Command;
using GigEVision::Status;

inline constexpr std::int64_t kMs = 1'000'000;

/// Freezes the camera's format as a stream does, and remembers what it was told.
class FakeStream final : public IStream {
public:
    explicit FakeStream(CamEmu::CCamera& camera) : m_camera(camera) {}
    ~FakeStream() override { StopFrames(); }

    std::uint16_t Open(const CStreamSettings& wanted) override {
        if (failsOpen) {
            throw std::system_error(std::make_error_code(std::errc::too_many_files_open));
        }
        settings = wanted;
        isOpen = true;
        ++openings;
        return 40000;
    }
    void Apply(const CStreamSettings& wanted) override { settings = wanted; }
    void Close() noexcept override {
        StopFrames();
        isOpen = false;
    }
    bool IsOpen() const override { return isOpen; }
    void StartFrames() override {
        if (failsStart) {
            throw std::bad_alloc();
        }
        m_camera.LockFormat();
        takesFrames = true;
    }
    void StopFrames() noexcept override {
        if (std::exchange(takesFrames, false)) {
            m_camera.UnlockFormat();
        }
    }
    bool TakesFrames() const override { return takesFrames; }
    std::uint64_t BlockIdOf(std::uint64_t frame) const override { return frame + firstId; }
    void Resend(const GigEVision::ResendRequest& request, const CEndpoint&) override { resends.push_back(request); }
    void SendTestPacket(std::uint32_t size, bool) override { testPackets.push_back(size); }
    void Mute(bool muted) override { isMuted = muted; }
    CStreamCounts Counts() const override { return counts; }

    bool isOpen = false, takesFrames = false, isMuted = false, failsOpen = false, failsStart = false;
    int openings = 0;
    std::uint64_t firstId = 1;
    CStreamSettings settings;
    std::vector<GigEVision::ResendRequest> resends;
    std::vector<std::uint32_t> testPackets;
    CStreamCounts counts;

private:
    CamEmu::CCamera& m_camera;
};

struct SentDatagram {
    CEndpoint to;
    ByteList bytes;
    std::int64_t delayNs = 0;
    ERecipient recipient = ERecipient::Other;
};

class FakeHost final : public IDeviceHost {
public:
    void Answer(const CEndpoint& to, GigEVision::Bytes datagram, ERecipient recipient, std::int64_t delayNs) override {
        answers.push_back({to, {datagram.begin(), datagram.end()}, delayNs, recipient});
    }
    void AnswerByBroadcast(std::uint16_t port, GigEVision::Bytes datagram, std::int64_t delayNs) override {
        broadcasts.push_back({{0xFFFFFFFF, port}, {datagram.begin(), datagram.end()}, delayNs});
    }
    std::uint16_t OpenMessages() override { return 41000; }
    void CloseMessages() noexcept override { ++closedMessages; }
    void SendMessage(const CEndpoint& to, GigEVision::Bytes datagram) override {
        messages.push_back({to, {datagram.begin(), datagram.end()}});
    }
    bool ChangeAddress(const CAddressing& wanted) override {
        if (hasAddress) {
            addresses.push_back(wanted.address);
        }
        return hasAddress;
    }
    void RestoreAddress() override { addresses.push_back(0); }
    void Wake() noexcept override { ++wakes; }

    std::vector<SentDatagram> answers, broadcasts, messages;
    std::vector<std::uint32_t> addresses; // that it was told; 0: the first one
    bool hasAddress = true;
    int closedMessages = 0, wakes = 0;
};

inline ByteList Concat(ByteList front, const ByteList& back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

/// A camera at 10.0.0.2/24, as the hosts see it that ask at its control port.
class ServedCameraTest : public ::testing::Test {
protected:
    static constexpr CEndpoint kHost{0x0A000001, 50000}, kOther{0x0A000003, 50001}, kForeign{0xC0A80001, 50002};

    struct Answer {
        Status status;
        std::uint16_t code, id;
        ByteList payload;

        std::uint32_t Word(std::size_t at = 0) const {
            return payload.size() >= at + 4 ? GigEVision::GetBigEndian<std::uint32_t>(&payload[at]) : 0xBADBAD;
        }
    };
    using AnswerOrNone = std::optional<Answer>;

    static CDeviceSettings Settings() {
        CDeviceSettings settings;
        settings.addressing = {0x0A000002, 0xFFFFFF00, 0x0A0000FE};
        settings.largestPacket = 9000;
        settings.discoveryDelayMs = 1000;
        return settings;
    }

    static ByteList Datagram(std::uint16_t command, const ByteList& payload, std::uint16_t id, std::uint8_t flags = 1) {
        ByteList bytes(GigEVision::kGvcpHeaderBytes + payload.size());
        GigEVision::EncodeCommand({flags, command, id, payload}, bytes);
        return bytes;
    }
    static AnswerOrNone Decode(const ByteList& bytes) {
        const auto message = GigEVision::DecodeAcknowledge(bytes);
        if (!message) {
            return std::nullopt;
        }
        return Answer{
            message->status, message->acknowledge, message->id, {message->payload.begin(), message->payload.end()}};
    }

    /// What is answered to it at once, if one datagram is.
    AnswerOrNone Send(const ByteList& datagram, const CEndpoint& from = kHost, bool isBroadcast = false) {
        const std::size_t before = host.answers.size();
        device.OnDatagram(datagram, {from, isBroadcast, now});
        return host.answers.size() == before + 1 ? Decode(host.answers.back().bytes) : std::nullopt;
    }
    AnswerOrNone Ask(Command command, const ByteList& payload, const CEndpoint& from = kHost, std::uint8_t flags = 1) {
        return Send(Datagram(static_cast<std::uint16_t>(command), payload, ++id, flags), from);
    }
    /// Its status; LocalProblem, which no camera says, stands for silence.
    Status StatusOf(Command command, const ByteList& payload, const CEndpoint& from = kHost) {
        const AnswerOrNone answer = Ask(command, payload, from);
        return answer ? answer->status : Status::LocalProblem;
    }
    Status Write(std::uint32_t address, std::uint32_t value, const CEndpoint& from = kHost) {
        return StatusOf(Command::WriteReg, Words({address, value}), from);
    }
    Status WriteMemory(std::uint32_t address, const ByteList& data) {
        return StatusOf(Command::WriteMem, Concat(Words({address}), data));
    }
    std::uint32_t Read(std::uint32_t address, const CEndpoint& from = kHost) {
        const AnswerOrNone answer = Ask(Command::ReadReg, Words({address}), from);
        return answer && answer->status == Status::Success ? answer->Word() : 0xBADBAD;
    }
    ByteList ReadMemory(std::uint32_t address, std::uint32_t count) {
        const AnswerOrNone answer = Ask(Command::ReadMem, Words({address, count}));
        return answer && answer->status == Status::Success
                   ? ByteList(answer->payload.begin() + 4, answer->payload.end())
                   : ByteList();
    }
    std::string ReadText(std::uint32_t address, std::uint32_t count) {
        const ByteList bytes = ReadMemory(address, count);
        return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    }

    void TakeControl(std::uint32_t privilege = 2) { ASSERT_EQ(Write(Register::kCcp, privilege), Status::Success); }
    void OpenStream() {
        ASSERT_EQ(Write(Register::kStreamChannel + Register::kScda, kHost.address), Status::Success);
        ASSERT_EQ(Write(Register::kStreamChannel + Register::kScp, 60000), Status::Success);
    }
    Status Execute(std::uint32_t cameraRegister) { return Write(Address::kCamera + cameraRegister, 1); }
    /// Time passes, and the device does what is due.
    void Pass(std::int64_t ms) {
        now += ms * kMs;
        device.OnTime(now);
    }
    void Make(EFault fault, std::uint32_t parameter = 0, std::uint32_t times = 0) {
        CFaultSetting setting;
        setting.rate = 1;
        setting.parameter = parameter;
        setting.left = times;
        faults.Set(fault, setting);
    }

    CamEmu::CCamera camera{7};
    FakeStream stream{camera};
    FakeHost host;
    CServingFaults faults;
    CTicks ticks;
    CDevice device{camera, stream, faults, ticks, host, {"PK zipped!", "<Xml/>", "Camera"}, Settings()};
    std::int64_t now = 1'000'000 * kMs;
    std::uint16_t id = 100;
};

} // namespace Serving
