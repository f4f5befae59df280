// SPDX-License-Identifier: Apache-2.0

// The control side of a served camera, over a row of datagrams. Of each, the input tells who sends it, when, and
// whether it is built from a command's fields or arbitrary bytes.

#include "Fuzz.h"
#include <core/Camera.h>
#include <gigevision/Gvcp.h>
#include <gigevision/Registers.h>
#include <serving/AddressMap.h>
#include <serving/Device.h>
#include <serving/Faults.h>
#include <serving/Stream.h>
#include <serving/Ticks.h>

#include <algorithm>
#include <utility>
#include <vector>

using namespace Serving;
using Fuzz::Require;
using GigEVision::Bytes;
using GigEVision::Command;

namespace {

constexpr CEndpoint kSources[] = {{0x0A000001, 50000}, {0x0A000001, 50001}, {0x0A000003, 50000}, {0xC0A80001, 1}};
constexpr std::uint16_t kCommands[] = {0x0002, 0x0004, 0x0040, 0x0080, 0x0082, 0x0084, 0x0086, 0x0088, 0x00C0, 0x0100};
// Where something is, or ends.
constexpr std::uint32_t kAddresses[] = {0x0000,
                                        0x00E8,
                                        0x0200,
                                        0x0600,
                                        0x0900,
                                        0x092C,
                                        0x0938,
                                        0x0944,
                                        0x0954,
                                        0x0958,
                                        0x0960,
                                        0x0A00,
                                        0x0B00,
                                        0x0B10,
                                        0x0D00,
                                        0x0D04,
                                        0x0D18,
                                        0x0D24,
                                        0x9800,
                                        0x9FFC,
                                        Address::kCamera,
                                        Address::kCamera + 0x01C0,
                                        Address::kCamera + 0x0300,
                                        Address::kCamera + 0x0408,
                                        Address::kCamera + 0x040C,
                                        Address::kCamera + 0x0780,
                                        Address::kFaultSelector,
                                        Address::kFault,
                                        Address::kFault + kFaults* Address::kFaultStride - 8,
                                        Address::kRemoval,
                                        Address::kZippedDescription,
                                        Address::kTextDescription,
                                        0xFFFFFFFC};
constexpr std::size_t kMostAnswers = 4; // by unicast and by broadcast, both twice where a fault doubles them

/// Takes what it is told; its channel is open and takes frames as it was told last.
class Stream final : public IStream {
public:
    std::uint16_t Open(const CStreamSettings& settings) override {
        Apply(settings);
        m_isOpen = true;
        return 40000;
    }
    void Apply(const CStreamSettings& settings) override {
        Require(settings.packetSize >= 576 && settings.packetSize <= 9000 && settings.packetSize % 4 == 0,
                "packet size");
        m_destination = settings.destination.address;
    }
    void Close() noexcept override { m_isOpen = m_takesFrames = false; }
    bool IsOpen() const override { return m_isOpen; }
    void StartFrames() override { m_takesFrames = true; }
    void StopFrames() noexcept override { m_takesFrames = false; }
    bool TakesFrames() const override { return m_takesFrames; }
    std::uint64_t BlockIdOf(std::uint64_t frame) const override { return frame + 1; }
    void Resend(const GigEVision::ResendRequest&, const CEndpoint&) override {
        Require(m_isOpen, "resend while closed");
    }
    void SendTestPacket(std::uint32_t, bool) override { Require(m_isOpen && !m_takesFrames, "test packet while busy"); }
    void Mute(bool) override {}
    CStreamCounts Counts() const override { return {}; }

    std::uint32_t Destination() const { return m_isOpen ? m_destination : 0; }

private:
    bool m_isOpen = false, m_takesFrames = false;
    std::uint32_t m_destination = 0;
};

/// Looks at what is sent.
class Host final : public IDeviceHost {
public:
    void Answer(const CEndpoint& to, Bytes datagram, ERecipient, std::int64_t delayNs) override {
        const auto message = GigEVision::DecodeAcknowledge(datagram);
        Require(message && datagram.size() <= sizeof(GigEVision::GvcpBuffer), "an answer that is no acknowledge");
        Require(delayNs >= 0 && delayNs <= 61'000'000'000, "delay of an answer");
        ++answers;
        lastTo = to;
    }
    void AnswerByBroadcast(std::uint16_t, Bytes, std::int64_t) override { ++answers; }
    std::uint16_t OpenMessages() override {
        Require(!std::exchange(hasMessages, true), "messages opened twice");
        return 41000;
    }
    void CloseMessages() noexcept override { hasMessages = false; }
    void SendMessage(const CEndpoint& to, Bytes datagram) override {
        Require(hasMessages && to.port != 0 && GigEVision::DecodeCommand(datagram).has_value(), "message");
        lastMessage = datagram[6] << 8 | datagram[7];
    }
    bool ChangeAddress(const CAddressing& wanted) override { return wanted.address != 0x0A000066; }
    void RestoreAddress() override {}
    void Wake() noexcept override {}

    std::size_t answers = 0;
    CEndpoint lastTo;
    bool hasMessages = false;
    int lastMessage = 0;
};

std::uint32_t SomeAddress(Fuzz::Choices& choices) {
    const std::uint32_t offset = choices.ConsumeBool() ? choices.ConsumeIntegralInRange<std::uint32_t>(0, 64) : 0;
    return choices.PickValueInArray(kAddresses) + offset;
}

void PutWord(std::vector<std::uint8_t>& bytes, std::uint32_t word) {
    bytes.resize(bytes.size() + 4);
    GigEVision::PutBigEndian(&bytes[bytes.size() - 4], word);
}

std::vector<std::uint8_t> SomePayload(Fuzz::Choices& choices, std::uint16_t command, std::uint64_t mac) {
    std::vector<std::uint8_t> bytes;
    if (command == static_cast<std::uint16_t>(Command::ForceIp) && choices.ConsumeBool()) {
        bytes.resize(56);
        GigEVision::PutBigEndian(&bytes[0], mac);
        GigEVision::PutBigEndian(&bytes[20], 0x0A000060 + choices.ConsumeIntegral<std::uint8_t>() % 8u);
        return bytes;
    }
    const auto words = choices.ConsumeIntegralInRange<int>(0, 6);
    for (int word = 0; word < words; ++word) {
        PutWord(bytes, word % 2 == 0           ? SomeAddress(choices)
                       : choices.ConsumeBool() ? choices.ConsumeIntegral<std::uint8_t>()
                                               : choices.ConsumeIntegral<std::uint32_t>());
    }
    return bytes;
}

std::vector<std::uint8_t> SomeDatagram(Fuzz::Choices& choices, std::uint64_t mac) {
    if (choices.ConsumeIntegralInRange<int>(0, 7) == 0) {
        return choices.ConsumeBytes<std::uint8_t>(choices.ConsumeIntegralInRange<std::size_t>(0, 600));
    }
    const std::uint16_t command = choices.PickValueInArray(kCommands);
    const std::vector<std::uint8_t> payload = SomePayload(choices, command, mac);
    std::vector<std::uint8_t> bytes(GigEVision::kGvcpHeaderBytes + payload.size());
    const auto id = choices.ConsumeIntegralInRange<std::uint16_t>(1, 5); // repetitions are likely
    GigEVision::EncodeCommand({choices.ConsumeIntegral<std::uint8_t>(), command, id, payload}, bytes);
    return bytes;
}

/// A camera, and the clock that the input moves on.
class Served {
public:
    void Command(Fuzz::Choices& choices) {
        const CArrival arrival{choices.PickValueInArray(kSources), choices.ConsumeIntegralInRange<int>(0, 7) == 0,
                               m_now};
        const std::vector<std::uint8_t> datagram = SomeDatagram(choices, m_device.MacAddress());
        const auto command = GigEVision::DecodeCommand(datagram);
        const std::uint64_t before = m_device.Counts().commands;
        m_host.answers = 0;
        m_device.OnDatagram(datagram, arrival);
        Require(m_host.answers <= kMostAnswers, "number of answers");
        if (m_host.answers > 0) {
            Require(command.has_value() && m_device.Counts().commands == before + 1, "an answer to no command");
            Require(command->Has(GigEVision::Flag::kAcknowledge) || command->Is(GigEVision::Command::Discovery),
                    "an acknowledge that nobody wants");
            Require(m_host.lastTo == arrival.from, "an answer to somebody else");
        }
        Look();
    }

    void Acknowledge() {
        const std::uint8_t bytes[] = {0,
                                      0,
                                      0,
                                      0xC1,
                                      0,
                                      0,
                                      static_cast<std::uint8_t>(m_host.lastMessage >> 8),
                                      static_cast<std::uint8_t>(m_host.lastMessage)};
        m_device.OnMessageDatagram(bytes, {kSources[0], false, m_now});
    }

    void Pass(std::int64_t ms) {
        m_now += ms * 1'000'000;
        m_device.OnTime(m_now);
        Require(m_device.NextDueNs() > m_now, "what was due was not done");
        Look();
    }

private:
    void Look() {
        const CEndpoint primary = m_device.Primary();
        const bool isControlled = primary.port != 0;
        Require(!isControlled || std::count(std::begin(kSources), std::end(kSources), primary) == 1, "primary");
        Require(isControlled || (!m_stream.IsOpen() && !m_host.hasMessages), "channels without a primary");
        Require(isControlled || !m_camera.Stream().IsAcquiring(), "acquisition without a primary");
        const std::uint32_t to = m_stream.Destination();
        Require(to == 0 || to == primary.address || IsMulticast(to), "a stream to somebody else");
    }

    CamEmu::CCamera m_camera{0};
    Stream m_stream;
    Host m_host;
    CServingFaults m_faults;
    CTicks m_ticks;
    CDevice m_device{m_camera,  m_stream, m_faults, m_ticks, m_host, {std::string(1000, 'z'), "<Xml/>", "Camera"},
                     Settings()};
    std::int64_t m_now = 1'000'000'000;

    static CDeviceSettings Settings() {
        CDeviceSettings settings;
        settings.addressing = {0x0A000002, 0xFFFFFF00, 0};
        settings.largestPacket = 9000;
        settings.discoveryDelayMs = 1000;
        return settings;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Choices choices(data, size);
    Served served;
    while (choices.remaining_bytes() > 0) {
        switch (choices.ConsumeIntegralInRange<int>(0, 7)) {
        case 0:
            served.Pass(choices.ConsumeIntegralInRange<std::int64_t>(0, 4000));
            break;
        case 1:
            served.Acknowledge();
            break;
        default:
            served.Command(choices);
        }
    }
    return 0;
}
