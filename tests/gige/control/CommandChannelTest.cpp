// SPDX-License-Identifier: Apache-2.0
#include "control/CommandChannel.h"

#include "gige/control/ScriptedDevice.h"

#include <gmock/gmock.h>

#include <set>

namespace Gige {
namespace {

using std::chrono::milliseconds;
using CRequest = CScriptedDevice::CRequest;

constexpr std::uint32_t kAddress = 0xA004, kValue = 0x12345678;
constexpr CTries kPatient{60'000, 1, 0, UINT32_MAX, INT64_MAX, false}; // where a second try would be a failure
constexpr CTries kShort{30, 3, 0, UINT32_MAX, INT64_MAX, false};
const ByteList kWrong = {0xBA, 0xDB, 0xAD, 0x00};

class CommandChannelTest : public testing::Test {
protected:
    CAnswer ReadWith(CScriptedDevice::CScript script, const CTries& tries) {
        Connect(std::move(script));
        return m_channel->ReadRegister(kAddress, tries);
    }
    void Connect(CScriptedDevice::CScript script) {
        m_device.emplace(std::move(script), std::map<std::uint32_t, std::uint32_t>{{kAddress, kValue}});
        m_channel.emplace(CUdpSocket::ForDevice(m_device->Route()), m_device->Address(), m_isDuplicating, m_timeouts,
                          m_limits);
    }

    std::atomic<bool> m_isDuplicating{false}, m_isSilent{false};
    std::atomic<std::uint64_t> m_timeouts{0};
    CCommandChannel::CLimits m_limits;
    std::optional<CScriptedDevice> m_device;
    std::optional<CCommandChannel> m_channel;
};

TEST_F(CommandChannelTest, WhatIsNotTheAnswerIsDroppedWithoutEndingTheWait) {
    const struct {
        const char* what;
        std::function<void(CScriptedDevice&, const CRequest&)> send;
    } rows[] = {
        {"foreign id",
         [](auto& device, auto& request) {
             device.Send(device.Acknowledge(GigEVision::NextRequestId(request.id), request.command, kWrong), request);
         }},
        {"foreign code",
         [](auto& device, auto& request) {
             device.Send(device.Acknowledge(request.id, Command::WriteReg, kWrong), request);
         }},
        {"foreign port",
         [](auto& device, auto& request) {
             CUdpSocket::ForDevice(RouteTo(0))
                 .SendTo(request.from, device.Acknowledge(request.id, request.command, kWrong));
         }},
        {"length beyond the datagram",
         [](auto& device, auto& request) {
             ByteList cut = device.Acknowledge(request.id, request.command, kWrong);
             cut.pop_back();
             device.Send(cut, request);
         }},
        {"no register", [](auto& device, auto& request) { device.Answer(request, {}); }},
        {"two registers", [](auto& device, auto& request) { device.Answer(request, ByteList(8, 0xBA)); }},
        {"7 bytes", [](auto& device, auto& request) { device.Send(ByteList(7), request); }},
        {"nothing", [](auto& device, auto& request) { device.Send({}, request); }},
        {"a command",
         [](auto& device, auto& request) {
             device.Send({0x42, 1, 0, 0x81, 0, 0, 0, 1}, request);
         }},
        {"pending without a time",
         [](auto& device, auto& request) {
             device.Send(device.Acknowledge(request.id, Command::Pending, {}), request);
         }},
    };
    for (const auto& row : rows) {
        const CAnswer answer = ReadWith(
            [send = row.send](CScriptedDevice& device, const CRequest& request) {
                send(device, request);
                return false;
            },
            kPatient);
        EXPECT_TRUE(answer.IsDone()) << row.what;
        EXPECT_EQ(answer.value, kValue) << row.what;
    }
    EXPECT_EQ(m_timeouts, 0u);
}

TEST_F(CommandChannelTest, LateAndDoubledAnswersAreNotTakenForThoseOfLaterCommands) {
    Connect([late = ByteList()](CScriptedDevice& device, const CRequest& request) mutable {
        const ByteList own = {0, 0, static_cast<std::uint8_t>(request.id >> 8), static_cast<std::uint8_t>(request.id)};
        device.Send(late, request);
        device.Answer(request, own);
        device.Answer(request, own);
        late = device.Acknowledge(request.id, request.command, kWrong);
        return true;
    });
    for (int i = 0; i < 100; ++i) {
        const CAnswer answer = m_channel->ReadRegister(kAddress, kPatient);
        ASSERT_TRUE(answer.IsDone());
        EXPECT_EQ(answer.value, m_device->Requests().back().id);
    }
}

TEST_F(CommandChannelTest, LostAnswersAreAskedForBySameDatagramAndCountedAsTries) {
    for (const bool isDuplicating : {false, true}) {
        m_isDuplicating = isDuplicating;
        m_timeouts = 0;
        const std::size_t lost = isDuplicating ? 4 : 2;
        Connect([lost](CScriptedDevice& device, const CRequest&) { return device.Requests().size() <= lost; });
        const CAnswer answer = m_channel->WriteRegister(kAddress, 7, {200, 100, 0, UINT32_MAX, INT64_MAX, false});
        EXPECT_TRUE(answer.IsDone());
        EXPECT_GE(m_timeouts, 2u);
        std::set<std::pair<std::uint16_t, ByteList>> different;
        for (const CRequest& request : m_device->Requests()) {
            different.insert({request.id, request.payload});
        }
        EXPECT_EQ(different.size(), 1u);
    }
}

TEST_F(CommandChannelTest, EndsAsTheDeviceLetsIt) {
    const auto refuse = [](Status status) {
        return [status](CScriptedDevice& device, const CRequest& request) {
            device.Answer(request, {}, status);
            return true;
        };
    };
    const auto remark = [](CScriptedDevice& device, const CRequest& request) {
        device.Answer(request, ByteList(4), static_cast<Status>(0x4004)); // not known, but no error
        return true;
    };
    const auto silence = [](CScriptedDevice&, const CRequest&) { return true; };
    const auto malformed = [](CScriptedDevice& device, const CRequest& request) {
        device.Answer(request, ByteList(8));
        return true;
    };
    const auto busyTwice = [](CScriptedDevice& device, const CRequest& request) {
        if (device.Requests().size() <= 2) {
            device.Answer(request, {}, Status::Busy);
            return true;
        }
        return false;
    };
    const auto pendingOnce = [](CScriptedDevice& device, const CRequest& request) {
        device.Pend(request, 60'000);
        std::this_thread::sleep_for(milliseconds(300)); // longer than a try
        return false;
    };
    const struct {
        const char* what;
        CScriptedDevice::CScript script;
        CTries tries;
        EOutcome outcome;
        Status status;
        std::uint32_t triesOfLast;
    } rows[] = {
        {"not implemented", refuse(Status::NotImplemented), kPatient, EOutcome::Refused, Status::NotImplemented, 1},
        {"busy for ever", refuse(Status::Busy), {200, 1}, EOutcome::Refused, Status::Busy, 1},
        {"busy twice", busyTwice, {10'000, 1}, EOutcome::Done, Status::Success, 1},
        {"pending", pendingOnce, {250, 1}, EOutcome::Done, Status::Success, 1},
        {"remark", remark, kPatient, EOutcome::Done, static_cast<Status>(0x4004), 1},
        {"silent", silence, kShort, EOutcome::Silent, Status::Success, 3},
        {"silent for long", silence, {30, 1000, 0, 60}, EOutcome::Silent, Status::Success, 0},
        {"malformed", malformed, kShort, EOutcome::Malformed, Status::Success, 3},
    };
    for (const auto& row : rows) {
        const CAnswer answer = ReadWith(row.script, row.tries);
        EXPECT_EQ(answer.outcome, row.outcome) << row.what;
        EXPECT_EQ(answer.status, row.status) << row.what;
        EXPECT_TRUE(answer.tries == row.triesOfLast || row.triesOfLast == 0) << row.what << ' ' << answer.tries;
        EXPECT_LT(answer.tries, 1000u) << row.what;
        std::set<std::uint16_t> ids;
        for (const CRequest& request : m_device->Requests()) {
            ids.insert(request.id);
        }
        const bool isBusy = std::string_view(row.what).starts_with("busy");
        EXPECT_EQ(ids.size(), isBusy ? m_device->Requests().size() : 1u) << row.what;
    }
}

TEST_F(CommandChannelTest, PromisesWithoutEndAndFloodsEndWithTheCommandsTime) {
    m_limits.commandMs = 300;
    const auto promise = [](CScriptedDevice& device, const CRequest& request) {
        for (int i = 0; i < 100; ++i) {
            device.Pend(request, 0xFFFF);
            std::this_thread::sleep_for(milliseconds(5));
        }
        return true;
    };
    const CAnswer pending = ReadWith(promise, {60'000, 5});
    EXPECT_EQ(pending.outcome, EOutcome::Silent);
    EXPECT_TRUE(pending.wasPending);
    EXPECT_LT(pending.waitedNs, 30 * kSecond);

    m_limits = {};
    m_limits.promiseMs = 50; // a promise that is too good
    const CAnswer capped = ReadWith(
        [](CScriptedDevice& device, const CRequest& request) {
            device.Pend(request, 0xFFFF);
            return true;
        },
        {30, 2});
    EXPECT_EQ(capped.outcome, EOutcome::Silent);
    EXPECT_LT(capped.waitedNs, 30 * kSecond);
}

TEST_F(CommandChannelTest, ASilentDeviceIsSuspectUntilItIsHeard) {
    m_isSilent = true;
    Connect([this](CScriptedDevice&, const CRequest&) { return m_isSilent.load(); });
    EXPECT_EQ(m_channel->ReadRegister(kAddress, kShort).tries, 3u);
    const CAnswer cut = m_channel->ReadRegister(kAddress, {60'000, 3});
    EXPECT_EQ(cut.tries, 1u);
    EXPECT_LT(cut.waitedNs, 30 * kSecond);
    m_isSilent = false;
    while (!m_channel->ReadRegister(kAddress, kShort).IsDone()) {
    }
    m_isSilent = true;
    EXPECT_EQ(m_channel->ReadRegister(kAddress, kShort).tries, 3u);
}

TEST_F(CommandChannelTest, NobodyAtThePortIsSilence) {
    const PluginKit::CEndpoint nobody{Serving::OwnAddress(21), 9};
    CCommandChannel channel(CUdpSocket::ForDevice(RouteTo(0)), nobody, m_isDuplicating, m_timeouts, m_limits);
    const CAnswer answer = channel.ReadRegister(kAddress, kShort);
    EXPECT_EQ(answer.outcome, EOutcome::Silent);
    EXPECT_GE(answer.waitedNs, 90 * kMs) << "an ICMP error is not the end of a try";
}

TEST_F(CommandChannelTest, AnInterruptedCommandEndsAtOnce) {
    Connect([](CScriptedDevice&, const CRequest&) { return true; });
    std::thread other([this] {
        while (m_device->Requests().empty()) {
            std::this_thread::yield();
        }
        m_channel->Interrupt();
    });
    EXPECT_EQ(m_channel->ReadRegister(kAddress, kPatient).outcome, EOutcome::Interrupted);
    other.join();
    EXPECT_EQ(m_channel->ReadRegister(kAddress, kPatient).outcome, EOutcome::Interrupted);
}

} // namespace
} // namespace Gige
