// SPDX-License-Identifier: Apache-2.0
#include "control/Connection.h"

#include "fakes/Within.h"
#include "gige/control/ScriptedDevice.h"

#include <gmock/gmock.h>

#include <numeric>

namespace Gige {
namespace {

using GigEVision::GvcpCapability::kPrimaryApplication;
using GigEVision::GvcpCapability::kWriteMem;
using std::chrono::milliseconds;
using testing::HasSubstr;
using CRequest = CScriptedDevice::CRequest;
using CRegisters = std::map<std::uint32_t, std::uint32_t>;

const Zelmo::AccessModeSet kControlled = Zelmo::Control;
constexpr std::uint32_t kMakers = 0xA000; // registers

/// Gives control to anybody, as the register memory does.
std::unique_ptr<CScriptedDevice> MakeDevice(CScriptedDevice::CScript script = {}, CRegisters registers = {}) {
    registers.insert({{Register::kGvcpCapability, kWriteMem | kPrimaryApplication}, {Register::kStreamChannels, 1}});
    return std::make_unique<CScriptedDevice>(std::move(script), registers);
}

/// Another application has control, until it is gone.
CScriptedDevice::CScript HeldUntil(const std::atomic<bool>& isGone, bool isSilent = false) {
    return [&isGone, isSilent](CScriptedDevice& device, const CRequest& request) {
        if (isGone && device.Get(Register::kPrimaryPort) != 0) {
            device.Set(Register::kPrimaryPort, 0);
            device.Set(Register::kCcp, 0);
        }
        if (isGone || request.command != Command::WriteReg) {
            return false;
        }
        if (!isSilent) {
            device.Answer(request, {0, 0, 0, 0}, Status::AccessDenied);
        }
        return true;
    };
}
const CRegisters kHeld = {{Register::kCcp, 2},
                          {Register::kPrimaryPort, 4711},
                          {Register::kPrimaryIp, 0x0A000007},
                          {Register::kHeartbeatTimeout, 500}};

TEST(ConnectionTest, OpeningTakesControlAndSwitchesOnWhatIsOfferedAndClosingGivesItBack) {
    using namespace GigEVision::GvcpCapability;
    const auto device = MakeDevice({}, {{Register::kGvcpCapability, kPending | kStatusCodes11 | kStatusCodes20},
                                        {Register::kGvcpConfiguration, 0x80009},
                                        {Register::kMessageChannels, 1},
                                        {Register::kTickFrequencyLow, 1000}});
    CHost host;
    host.settings.heartbeatTimeoutMs = 4000;
    host.connection.Open(device->Route(), kControlled);
    EXPECT_TRUE(host.connection.IsOpen() && host.connection.HasControl());
    EXPECT_EQ(host.connection.Capabilities().tickFrequency, 1000u);
    EXPECT_EQ(host.connection.ReadRegister(Register::kCcp), 2u);
    EXPECT_EQ(host.connection.ReadRegister(Register::kHeartbeatTimeout), 4000u);
    EXPECT_EQ(host.connection.ReadRegister(Register::kGvcpConfiguration), 0xC000Eu)
        << "others' bits stay, but for the heartbeat's switch";
    EXPECT_LT(host.connection.NextBeatNs() - MonotonicNs(), 4 * kSecond / 3);
    host.settings.heartbeatTimeoutMs = 1000; // while it is open
    EXPECT_TRUE(host.connection.Beat());
    EXPECT_EQ(host.connection.ReadRegister(Register::kHeartbeatTimeout), 1000u);

    const std::size_t before = device->Requests().size();
    host.connection.Close();
    EXPECT_EQ(device->Told(before), "wr d00 wr b00 wr a00");
    EXPECT_THROW(host.connection.ReadRegister(Register::kCcp), GenICam::RuntimeException);
    EXPECT_EQ(host.connection.NextBeatNs(), INT64_MAX);

    host.connection.Open(device->Route(), Zelmo::Exclusive);
    EXPECT_EQ(host.connection.ReadRegister(Register::kCcp), 1u);
}

TEST(ConnectionTest, WhoOnlyReadsWritesNothing) {
    const auto device = MakeDevice({}, kHeld);
    CHost host;
    host.connection.Open(device->Route(), {});
    EXPECT_FALSE(host.connection.HasControl());
    EXPECT_TRUE(host.connection.Beat());
    host.connection.Close();
    EXPECT_THAT(device->Told(), testing::Not(HasSubstr("w")));

    for (const std::uint32_t exclusive : {1u, 3u}) { // there are devices that let others read it
        const auto taken = MakeDevice({}, {{Register::kCcp, exclusive}, {Register::kGvcpCapability, kWriteMem}});
        EXPECT_THAT(FailureOf<GenICam::AccessException>([&] { host.connection.Open(taken->Route(), {}); }),
                    HasSubstr("does not name"));
        EXPECT_THAT(taken->Told(), testing::Not(HasSubstr("rr a04"))) << "it has no such register";
    }
}

TEST(ConnectionTest, ControlThatMayHaveBeenGivenIsGivenBack) {
    std::atomic<bool> isLost{true};
    const auto device = MakeDevice([&](CScriptedDevice&, const CRequest& request) {
        return isLost && request.address == Register::kCcp && request.payload.back() == 2;
    });
    CHost host;
    host.settings.writeTimeoutMs = 100;
    FailureOf<GenICam::RuntimeException>([&] { host.connection.Open(device->Route(), kControlled); });
    EXPECT_THAT(device->Told(), testing::EndsWith("wr a00 wr a00"));
    EXPECT_EQ(device->Requests().back().payload.back(), 0u);
    isLost = false;
    host.connection.Open(device->Route(), kControlled);
    const auto requests = device->Requests();
    EXPECT_EQ(requests.back().from, requests.front().from);
}

TEST(ConnectionTest, SomebodyElsesControlIsWaitedForUntilHisHeartbeatMustHaveEnded) {
    for (const bool isSilent : {false, true}) { // there are devices that do not answer others' writes
        std::atomic<bool> isGone{false};
        const auto device = MakeDevice(HeldUntil(isGone, isSilent), kHeld);
        CHost host;
        const std::int64_t beginNs = MonotonicNs();
        EXPECT_THAT(FailureOf<GenICam::AccessException>([&] { host.connection.Open(device->Route(), kControlled); }),
                    HasSubstr("10.0.0.7:4711"));
        EXPECT_GE(MonotonicNs() - beginNs, 1500 * kMs);
        EXPECT_FALSE(host.connection.IsOpen());

        std::thread other([&] {
            std::this_thread::sleep_for(milliseconds(300));
            isGone = true;
        });
        host.connection.Open(device->Route(), kControlled);
        other.join();
        EXPECT_TRUE(host.connection.HasControl());
    }
}

TEST(ConnectionTest, OpeningThatFailsSaysWhy) {
    using CScript = CScriptedDevice::CScript;
    const CScript silence = [](CScriptedDevice&, const CRequest&) { return true; };
    const CScript promises = [](CScriptedDevice& device, const CRequest& request) {
        device.Pend(request, 0xFFFF);
        return true;
    };
    const CScript noControl = [](CScriptedDevice& device, const CRequest& request) {
        return request.command == Command::WriteReg && (device.Answer(request, {}, Status::InvalidParameter), true);
    };
    const CScript gone = [](CScriptedDevice&, const CRequest& request) { // after its first answer
        return request.address != Register::kCcp || request.command == Command::WriteReg;
    };
    const CScript noOptional = [](CScriptedDevice& device, const CRequest& request) {
        return request.address == Register::kStreamChannels && (device.Answer(request, {}, Status::Busy), true);
    };
    const CScript laterSilence = [](CScriptedDevice&, const CRequest& request) {
        return request.address == Register::kTickFrequencyLow;
    };
    const struct {
        CScript script;
        const char* text;
        milliseconds limit;
        CRegisters registers = {};
    } rows[] = {
        {silence, "does not answer", milliseconds(2000)},
        {promises, "asked for more time", milliseconds(5100)},
        {noControl, "INVALID_PARAMETER (0x8002)", milliseconds(100)},
        {laterSilence, "0x00000940", milliseconds(2600)},
        {gone, "does not answer any more", milliseconds(2000), {{Register::kCcp, 2}}},
        {noOptional, "BUSY", milliseconds(600)},
    };
    std::vector<std::jthread> openings;
    for (const auto& row : rows) {
        openings.emplace_back([&row] {
            const auto device = MakeDevice(row.script, row.registers);
            const auto open = [&] {
                CHost host;
                const std::string text =
                    FailureOf<GenICam::RuntimeException>([&] { host.connection.Open(device->Route(), kControlled); });
                EXPECT_THAT(text, HasSubstr(row.text));
                EXPECT_THAT(text, HasSubstr(PluginKit::AddressText(device->Address().address)));
            };
            SCOPED_TRACE(row.text);
            Fakes::ExpectWithin(row.limit, open, 5);
        });
    }
}

TEST(ConnectionTest, RefusalsAreExceptionsWithAddressAndStatus) {
    std::atomic<Status> status{Status::Success};
    const auto device = MakeDevice([&](CScriptedDevice& own, const CRequest& request) {
        return request.address == kMakers && (own.Answer(request, {}, status), true);
    });
    CHost host;
    host.connection.Open(device->Route(), kControlled);
    const auto read = [&] { host.connection.ReadRegister(kMakers); };
    status = Status::WriteProtect;
    EXPECT_THAT(FailureOf<GenICam::AccessException>(read), HasSubstr("WRITE_PROTECT (0x8004)"));
    status = static_cast<Status>(0xC123);
    const std::string text = FailureOf<GenICam::RuntimeException>(read);
    EXPECT_THAT(text, HasSubstr("0x0000A000"));
    EXPECT_THAT(text, HasSubstr("status 0xC123"));
    EXPECT_EQ(host.counts.failedReads, 2u);
    EXPECT_FALSE(host.connection.TryWriteRegister(kMakers, 1));
    EXPECT_EQ(host.counts.failedWrites, 1u);
}

TEST(ConnectionTest, ARefusedWriteTellsWhetherControlIsGone) {
    const struct {
        CRegisters after;
        const char* loss; // empty: it is not
    } rows[] = {
        {{}, ""},
        {{{Register::kCcp, 0}}, "let go of its control"},
        {{{Register::kPrimaryPort, 99}, {Register::kPrimaryIp, 0x0A000007}}, "10.0.0.7:99 has control"},
    };
    for (const auto& row : rows) {
        const auto device = MakeDevice([&](CScriptedDevice& own, const CRequest& request) {
            if (request.address != kMakers) {
                return false;
            }
            for (const auto& [address, value] : row.after) {
                own.Set(address, value);
            }
            own.Answer(request, {}, Status::AccessDenied);
            return true;
        });
        CHost host;
        int losses = 0;
        host.connection.OnLoss([&] { ++losses; });
        host.connection.Open(device->Route(), kControlled);
        const auto write = [&] { host.connection.WriteRegister(kMakers, 1); };
        if (*row.loss == '\0') {
            EXPECT_THAT(FailureOf<GenICam::AccessException>(write), HasSubstr("ACCESS_DENIED"));
            EXPECT_TRUE(host.connection.Beat());
            continue;
        }
        EXPECT_THAT(FailureOf<GenICam::RuntimeException>(write), HasSubstr(row.loss));
        EXPECT_EQ(losses, 1);
        EXPECT_TRUE(host.connection.IsLost());
        EXPECT_THAT(host.connection.LossText(), HasSubstr(row.loss));
        EXPECT_FALSE(host.connection.Beat());
        const std::size_t before = device->Requests().size();
        EXPECT_THROW(host.connection.ReadRegister(kMakers), GenICam::RuntimeException);
        host.connection.Close();
        EXPECT_EQ(device->Requests().size(), before) << "all is over at once";
    }
}

TEST(ConnectionTest, SilenceForLessThanTheTimeoutIsNoLossAndForLongerItIs) {
    std::atomic<std::int64_t> silentUntilNs{0};
    const auto device =
        MakeDevice([&](CScriptedDevice&, const CRequest& request) { return request.atNs < silentUntilNs; });
    CHost host;
    host.settings.heartbeatTimeoutMs = 2000;
    host.connection.Open(device->Route(), kControlled);
    silentUntilNs = MonotonicNs() + 700 * kMs;
    for (int beats = 0; MonotonicNs() < silentUntilNs; ++beats) {
        ASSERT_TRUE(host.connection.Beat()) << beats;
        EXPECT_LE(host.connection.NextBeatNs(), MonotonicNs() + kSecond);
    }
    while (host.connection.NextBeatNs() <= MonotonicNs()) {
        ASSERT_TRUE(host.connection.Beat()) << "the link came back in time";
    }
    silentUntilNs = INT64_MAX;
    const std::int64_t beginNs = MonotonicNs();
    while (host.connection.Beat()) {
        ASSERT_LT(MonotonicNs() - beginNs, 60 * kSecond);
    }
    EXPECT_GE(MonotonicNs() - beginNs, 1300 * kMs) << "a link may flap";
    EXPECT_THAT(host.connection.LossText(), HasSubstr("2000 ms"));
    EXPECT_THROW(host.connection.WriteMemory(kMakers, ByteList(8)), GenICam::RuntimeException);
}

TEST(ConnectionTest, ADeadLineDoesNotHoldUpWhoCloses) {
    std::atomic<bool> isDead{false};
    const auto device = MakeDevice([&](CScriptedDevice&, const CRequest&) { return isDead.load(); });
    CHost host;
    host.settings.readTimeoutMs = 60'000;
    host.connection.Open(device->Route(), kControlled);
    isDead = true;
    const auto readInVain = [&] { EXPECT_THROW(host.connection.ReadRegister(kMakers), GenICam::GenericException); };
    std::thread inCommand(readInVain), inTurn(readInVain);
    std::this_thread::sleep_for(milliseconds(100)); // either order is right
    const std::int64_t beginNs = MonotonicNs();
    host.connection.Close();
    EXPECT_LT(MonotonicNs() - beginNs, 10 * kSecond);
    inCommand.join();
    inTurn.join();
    EXPECT_FALSE(host.connection.IsOpen());
}

TEST(ConnectionTest, WhileACameraIsSilentCommandsHaveTheirTurnBetweenHeartbeats) {
    std::atomic<bool> isDead{false};
    const auto device = MakeDevice([&](CScriptedDevice&, const CRequest&) { return isDead.load(); });
    CHost host;
    host.settings.heartbeatTimeoutMs = 60'000;
    host.connection.Open(device->Route(), kControlled);
    const std::size_t before = device->Requests().size();
    isDead = true;
    std::thread service([&] {
        while (host.connection.IsOpen()) {
            host.connection.Beat();
        }
    });
    while (device->Requests().size() < before + 2) {
        std::this_thread::yield();
    }
    const std::int64_t beginNs = MonotonicNs();
    EXPECT_THROW(host.connection.ReadRegister(kMakers), GenICam::TimeoutException);
    EXPECT_LT(MonotonicNs() - beginNs, 30 * kSecond) << "it need not wait until the camera counts as lost";
    host.connection.Close();
    service.join();
}

TEST(ConnectionTest, AHeartbeatThatIsPutOffEndsWithTheTimeOfWhoWaits) {
    const auto slow = MakeDevice([](CScriptedDevice& own, const CRequest& request) {
        return own.Get(kMakers) != 0 && (own.Pend(request, 60'000), true);
    });
    CHost host;
    host.settings.heartbeatTimeoutMs = 60'000;
    host.connection.Open(slow->Route(), kControlled);
    host.connection.WriteRegister(kMakers, 1);
    host.connection.LimitUntil(MonotonicNs() + 100 * kMs);
    const std::int64_t beginNs = MonotonicNs();
    EXPECT_TRUE(host.connection.Beat());
    EXPECT_LT(MonotonicNs() - beginNs, 30 * kSecond);
    host.connection.PrepareClose();
    host.connection.Close();
}

TEST(ConnectionTest, OnlyWhoWantsControlTakesThePortOfTheSessionBefore) {
    const auto device = MakeDevice();
    CHost host;
    const auto portOf = [&](Zelmo::AccessModeSet modes) {
        host.connection.Open(device->Route(), modes);
        host.connection.Close();
        return device->Requests().back().from.port;
    };
    const std::uint16_t port = portOf(kControlled);
    EXPECT_NE(portOf({}), port) << "for the camera it would be the one that has control";
    EXPECT_EQ(portOf(kControlled), port);
}

const CRegisters kTwoInterfaces = {{Register::kMacHigh, 0x0011},
                                   {Register::kMacLow, 1},
                                   {Register::kInterfaces, 2},
                                   {Register::kOtherInterfaces, 0x0011},
                                   {Register::kOtherInterfaces + 4, 2},
                                   {Register::kOtherInterfaces + Register::kInterfaceStride, 0x0011},
                                   {Register::kOtherInterfaces + Register::kInterfaceStride + 4, 3}};

TEST(ConnectionTest, ChannelsSendFromTheInterfaceThatAnswered) {
    const auto device = MakeDevice({}, kTwoInterfaces);
    CHost host;
    const auto portOfInterface = [&](std::uint64_t mac) {
        host.connection.Open(device->Route(), kControlled, mac);
        const std::uint32_t port = host.connection.ChannelPort(5000);
        host.connection.Close();
        return port;
    };
    EXPECT_EQ(portOfInterface(0x001100000002), 0x10000u + 5000);
    EXPECT_EQ(portOfInterface(0x001100000001), 5000u);
}

TEST(ConnectionTest, AnotherCameraIsNotTouched) {
    CRegisters registers = kTwoInterfaces;
    registers[Register::kStreamChannel + Register::kScp] = 5000; // it sends, to whom its own user wants
    const auto device = MakeDevice({}, registers);
    CHost host;
    EXPECT_THAT(FailureOf<GenICam::RuntimeException>(
                    [&] { host.connection.Open(device->Route(), kControlled, 0x001100000003); }),
                HasSubstr("another one answers there, of the MAC address 001100000001"))
        << "it has two";
    EXPECT_THAT(device->Told(), testing::Not(HasSubstr("w")));

    // Who is held says nothing until it is given.
    registers[Register::kCcp] = 1;
    const auto held = MakeDevice(
        [](CScriptedDevice& own, const CRequest& request) {
            const bool isRefused = request.command == Command::ReadReg && own.Get(Register::kCcp) == 1;
            return isRefused && (own.Answer(request, {0, 0, 0, 0}, Status::AccessDenied), true);
        },
        registers);
    FailureOf<GenICam::RuntimeException>([&] { host.connection.Open(held->Route(), kControlled, 0x001100000003); });
    std::uint32_t writes = 0;
    for (const CRequest& request : held->Requests()) {
        writes += request.command == Command::WriteReg;
        EXPECT_TRUE(request.command == Command::ReadReg || request.address == Register::kCcp) << request.address;
    }
    EXPECT_EQ(writes, 2u) << "taken and given back";
}

TEST(ConnectionTest, NeitherALastWriteNorTheEndWaitsForAPromise) {
    const auto device = MakeDevice([](CScriptedDevice& own, const CRequest& request) {
        return request.address == kMakers && (own.Pend(request, 60'000), true);
    });
    CHost host;
    host.connection.Open(device->Route(), kControlled);
    std::thread reader([&] { EXPECT_THROW(host.connection.ReadRegister(kMakers), GenICam::RuntimeException); });
    while (device->Requests().back().address != kMakers) {
        std::this_thread::yield();
    }
    const std::int64_t beginNs = MonotonicNs();
    const auto writeLast = [&] { return host.connection.TryWriteRegister(kMakers + 4, 1); };
    EXPECT_FALSE(writeLast()) << "the turn is another's";
    host.connection.PrepareClose();
    reader.join();
    while (!writeLast()) { // a busy machine may take longer
        ASSERT_LT(MonotonicNs() - beginNs, 30 * kSecond) << "who gave up is not waited for";
    }
    const std::size_t before = device->Requests().size();
    EXPECT_TRUE(host.connection.Beat());
    EXPECT_EQ(device->Requests().size(), before);
    host.connection.Close();
    EXPECT_LT(MonotonicNs() - beginNs, 30 * kSecond);
    host.connection.Open(device->Route(), kControlled);
    EXPECT_TRUE(host.connection.Beat());
    EXPECT_LT(host.connection.NextBeatNs(), INT64_MAX);
}

TEST(ConnectionTest, ALostAnswerDoesNotCostTheHeartbeat) {
    std::atomic<int> lost{0};
    const auto device = MakeDevice(
        [&](CScriptedDevice&, const CRequest& request) { return request.address == kMakers && lost++ == 0; });
    CHost host;
    host.settings.heartbeatTimeoutMs = 500;
    host.settings.readTimeoutMs = 60'000;
    host.connection.Open(device->Route(), kControlled);
    const std::int64_t beginNs = MonotonicNs();
    host.connection.ReadRegister(kMakers);
    EXPECT_GE(lost, 2);
    EXPECT_LT(MonotonicNs() - beginNs, 30 * kSecond);
}

// Who stops a grab does not wait for all of a silent camera's tries; who starts one, or has a camera that did not tell
// how soon it answers, does.
TEST(ConnectionTest, ACameraThatSendsImagesAndPromisesOwesAWordSoon) {
    using GigEVision::GvcpCapability::kPending;
    struct {
        std::uint32_t capability, pendingTimeoutMs;
        bool isStreaming;
        std::uint32_t tries;
        std::int64_t waitedMs;
    } const rows[] = {{kPending, 100, true, 3, 400},   {kPending, 250, true, 3, 550},  {kPending, 0, true, 3, 900},
                      {kPending, 900, true, 3, 900},   {kPending, 100, false, 3, 900}, {kWriteMem, 100, true, 3, 900},
                      {kWriteMem, 1400, true, 5, 1500}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        std::atomic<std::int64_t> busyUntilNs{0};
        const auto device = MakeDevice(
            [&busyUntilNs](CScriptedDevice& own, const CRequest& request) {
                const bool isBusy = request.atNs < busyUntilNs;
                if (isBusy && request.address == kMakers + 4) {
                    own.Answer(request, {0, 0, 0, 0}, Status::Busy);
                }
                return isBusy || request.address == kMakers;
            },
            {{Register::kGvcpCapability, row.capability},
             {Register::kVersion, Register::kVersion20},
             {Register::kPendingTimeout, row.pendingTimeoutMs}});
        CHost host;
        host.settings.writeTimeoutMs = 300;
        host.settings.maxRetriesWrite = 2;
        host.connection.AskForStream([&row] { return row.isStreaming; });
        std::int64_t waitedNs = INT64_MAX;
        for (int attempts = 0; attempts < 20 && waitedNs >= (row.waitedMs + 100) * kMs;
             ++attempts) { // on a busy machine
            host.connection.Close();
            host.connection.Open(device->Route(), kControlled);
            busyUntilNs = MonotonicNs() + 100 * kMs;
            EXPECT_NO_THROW(host.connection.WriteRegister(kMakers + 4, 1)) << "it is busy for less than the time-out";
            const std::size_t before = device->Requests().size();
            const std::int64_t beginNs = MonotonicNs();
            EXPECT_THROW(host.connection.WriteRegister(kMakers, 1), GenICam::TimeoutException);
            waitedNs = MonotonicNs() - beginNs;
            EXPECT_EQ(device->Requests().size() - before, row.tries);
            EXPECT_GE(waitedNs, row.waitedMs * kMs);
        }
        EXPECT_LT(waitedNs, (row.waitedMs + 100) * kMs);
    }
}

TEST(ConnectionTest, MemoryIsReachedByTheCommandsThatTheDeviceHas) {
    const auto device = MakeDevice();
    CHost host;
    CConnection& connection = host.connection;
    connection.Open(device->Route(), kControlled);
    ByteList bytes(2000);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    const auto read = [&](std::uint32_t address, std::size_t count) {
        ByteList got(count);
        connection.ReadMemory(address, got);
        return got;
    };
    connection.WriteMemory(kMakers, bytes);
    EXPECT_EQ(read(kMakers, 2000), bytes);

    const auto first = [&](std::size_t count) { return GigEVision::Bytes(bytes).first(count); };
    const struct {
        const char* what;
        std::function<void()> access;
        const char* told;
    } rows[] = {
        {"a block of a single command", [&] { read(kMakers, 536); }, "rm a000+536"},
        {"more", [&] { read(kMakers, 540); }, "rm a000+512 rm a200+28"},
        {"bytes within words", [&] { EXPECT_EQ(read(kMakers + 3, 6)[5], 9); }, "rm a000+12"},
        {"nothing", [&] { read(kMakers, 0); }, ""},
        {"a number of the protocol", [&] { read(Register::kScps + Register::kStreamChannel, 4); }, "rr d04"},
        {"a long one", [&] { read(Register::kTickFrequencyHigh, 8); }, "rr 93c rr 940"},
        {"a text", [&] { read(Register::kUserName, 16); }, "rm e8+16"},
        {"part of a text", [&] { read(Register::kUserName, 4); }, "rm e8+4"},
        {"a write", [&] { connection.WriteMemory(kMakers, first(1024)); }, "wm a000+512 wm a200+512"},
        {"a text's", [&] { connection.WriteMemory(Register::kUserName, first(16)); }, "wm e8+16"},
        {"a number's", [&] { connection.WriteMemory(Register::kScpd + Register::kStreamChannel, first(4)); }, "wr d08"},
        {"within words", [&] { connection.WriteMemory(kMakers + 2, first(3)); }, "wm a002+3"},
    };
    for (const auto& row : rows) {
        const std::size_t before = device->Requests().size();
        row.access();
        EXPECT_EQ(device->Told(before), row.told) << row.what;
    }
    EXPECT_THROW(read(0xFFFFFFFC, 8), GenICam::OutOfRangeException);
}

TEST(ConnectionTest, WritesThatADeviceDoesNotTakeAreMergedWithWhatIsThere) {
    const auto refusesOddBytes = [](CScriptedDevice& device, const CRequest& request) {
        if (request.command == Command::WriteMem && (request.address % 4 != 0 || request.payload.size() % 4 != 0)) {
            device.Answer(request, {}, Status::BadAlignment);
            return true;
        }
        return false;
    };
    const struct {
        std::uint32_t capability;
        const char* told;
    } rows[] = {
        {kWriteMem, "wm a003+6 rm a000+4 wm a000+4 wm a004+4 rm a008+4 wm a008+4"},
        {0, "rm a000+4 wr a000 wr a004 rm a008+4 wr a008"},
    };
    for (const auto& row : rows) {
        const auto device = MakeDevice(refusesOddBytes, {{Register::kGvcpCapability, row.capability},
                                                         {kMakers, 0xA0A1A2A3},
                                                         {kMakers + 4, 0xA4A5A6A7},
                                                         {kMakers + 8, 0xA8A9AAAB}});
        CHost host;
        host.connection.Open(device->Route(), kControlled);
        const std::size_t before = device->Requests().size();
        host.connection.WriteMemory(kMakers + 3, ByteList{1, 2, 3, 4, 5, 6});
        EXPECT_EQ(device->Told(before), row.told);
        ByteList now(12);
        host.connection.ReadMemory(kMakers, now);
        EXPECT_EQ(now, (ByteList{0xA0, 0xA1, 0xA2, 1, 2, 3, 4, 5, 6, 0xA9, 0xAA, 0xAB}));
    }
}

// A thread that reads in a loop, and even many of them, must not keep the heartbeat waiting.
// ZELMO_TEST_HEARTBEAT_SECONDS makes it last longer.
TEST(ConnectionTest, TheHeartbeatGoesNextWhileThreadsHammerRegisters) {
    const char* const wanted = std::getenv("ZELMO_TEST_HEARTBEAT_SECONDS");
    const std::int64_t endNs = MonotonicNs() + (wanted != nullptr ? std::atoi(wanted) : 4) * kSecond;
    const auto device = MakeDevice([](CScriptedDevice&, const CRequest& request) {
        std::this_thread::sleep_for(milliseconds(request.address == kMakers ? 200 : 0));
        return false;
    });
    CHost host;
    host.settings.heartbeatTimeoutMs = 3000;
    host.settings.readTimeoutMs = 60'000;
    host.connection.Open(device->Route(), kControlled);
    std::vector<std::thread> threads;
    for (int i = 0; i < 12; ++i) { // a queue of 2.4 s
        threads.emplace_back([&] {
            while (MonotonicNs() < endNs) {
                host.connection.ReadRegister(kMakers);
            }
        });
    }
    while (MonotonicNs() < endNs) {
        std::this_thread::sleep_for(std::chrono::nanoseconds(host.connection.NextBeatNs() - MonotonicNs()));
        ASSERT_TRUE(host.connection.Beat());
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::int64_t lastNs = 0, longestNs = 0;
    for (const CRequest& request : device->Requests()) {
        if (request.command == Command::ReadReg && request.address == Register::kCcp) {
            longestNs = std::max(longestNs, lastNs == 0 ? 0 : request.atNs - lastNs);
            lastNs = request.atNs;
        }
    }
    EXPECT_LE(longestNs, 2 * kSecond);
    EXPECT_GT(longestNs, 0);
}

} // namespace
} // namespace Gige
