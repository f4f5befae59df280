// SPDX-License-Identifier: Apache-2.0
#include "discovery/AddressCommands.h"
#include "discovery/ControlQuery.h"
#include "discovery/Discovery.h"
#include "fakes/Within.h"
#include "serving/OwnAddress.h"

#include <Base/GCException.h>
#include <gigevision/Gvcp.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <stop_token>
#include <thread>

namespace Gige {
namespace {

using namespace std::chrono_literals;
using Fakes::ExpectWithin;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint16_t kDiscovery = static_cast<std::uint16_t>(GigEVision::Command::Discovery);

MacAddress Mac(std::uint16_t number) {
    return {0x02, 0, 0, 0, static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
}

GigEVision::DiscoveryInfo Camera(std::uint16_t number) {
    GigEVision::DiscoveryInfo info;
    info.mac = Mac(number);
    info.serialNumber = std::to_string(number);
    return info;
}

// Hears what is sent to one address of this process alone, and answers as the test says.
class Responder {
public:
    using Script = std::function<void(Responder&, int round)>; ///< Called for each command, counted from 0.

    explicit Responder(Script script) : m_script(std::move(script)) {
        m_thread = std::jthread([this](const std::stop_token& stop) { Run(stop); });
    }

    void Answer(const GigEVision::DiscoveryInfo& info, std::uint16_t idOffset = 0) {
        std::array<std::uint8_t, GigEVision::kDiscoveryBytes> payload;
        AnswerBytes(GigEVision::EncodeDiscoveryAck(info, payload), idOffset);
    }
    void AnswerBytes(GigEVision::Bytes payload, std::uint16_t idOffset = 0, std::uint16_t command = kDiscovery,
                     GigEVision::Status status = GigEVision::Status::Success) {
        GigEVision::GvcpBuffer buffer;
        m_socket.SendTo(m_from, GigEVision::EncodeAcknowledge({status, GigEVision::AcknowledgeOf(command),
                                                               static_cast<std::uint16_t>(m_id + idOffset), payload},
                                                              buffer));
    }
    void Sent() { ++m_sent; }
    void WaitUntilSent(int count) {
        while (m_sent < count) {
            std::this_thread::sleep_for(1ms);
        }
    }

    static CNetworkChoice Choice() { return ParseNetworkChoice(Serving::OwnAddressText(7).c_str()); }

private:
    void Run(const std::stop_token& stop) {
        GigEVision::GvcpBuffer buffer;
        for (int round = 0; !stop.stop_requested();) {
            const auto received = m_socket.Receive(buffer, MonotonicNs() + 20'000'000);
            const auto command = received ? GigEVision::DecodeCommand(received->bytes) : std::nullopt;
            if (command && command->command == kDiscovery) {
                EXPECT_TRUE(command->Has(GigEVision::Flag::kAcknowledge));
                m_from = received->from;
                m_id = command->requestId;
                m_script(*this, round++);
            }
        }
    }

    CUdpSocket m_socket =
        CUdpSocket::ForDevice({{}, Serving::OwnAddress(7), 0xFF000000, "lo", 1, 65536, true}, GigEVision::kGvcpPort);
    const Script m_script;
    PluginKit::CEndpoint m_from;
    std::uint16_t m_id = 0;
    std::atomic<int> m_sent = 0;
    std::jthread m_thread;
};

TEST(SearchTest, OnlyWholeAnswersToWhatWasAskedCount) {
    Responder responder([](Responder& self, int) {
        std::array<std::uint8_t, GigEVision::kDiscoveryBytes + 4> payload{};
        GigEVision::EncodeDiscoveryAck(Camera(1), payload);
        const GigEVision::Bytes whole = GigEVision::Bytes(payload).first(GigEVision::kDiscoveryBytes);
        self.AnswerBytes(whole.first(247));
        self.AnswerBytes(whole, 1000);
        self.AnswerBytes(whole, 0, static_cast<std::uint16_t>(GigEVision::Command::ForceIp));
        self.AnswerBytes(whole, 0, kDiscovery, GigEVision::Status::Busy);
        GigEVision::DiscoveryInfo full = Camera(2);
        full.userName = "0123456789\xFF\n2345";
        full.manufacturer = std::string(32, 'M');
        GigEVision::EncodeDiscoveryAck(full, payload);
        self.AnswerBytes(payload); // longer than need be
        self.AnswerBytes(whole);   // the same again
        self.Answer(Camera(3));
    });
    const auto found = CDiscovery(Responder::Choice()).Look();
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].info.mac, Mac(2));
    EXPECT_EQ(found[0].info.userName, "0123456789\xEF\xBF\xBD\xEF\xBF\xBD"
                                      "2345");
    EXPECT_EQ(found[0].info.manufacturer, std::string(32, 'M'));
    EXPECT_EQ(found[0].route.device.address, Serving::OwnAddress(7)); // as it was asked, whatever it tells
    EXPECT_EQ(found[0].route.interface, "lo");
    EXPECT_EQ(found[1].info.mac, Mac(3));
}

TEST(SearchTest, NoMoreThan256OfANetworkAreListed) {
    Responder responder([](Responder& self, int round) { // by halves: the socket holds no more
        for (std::uint16_t i = 0; i < 150; ++i) {
            self.Answer(Camera(static_cast<std::uint16_t>(round * 150 + i)));
        }
    });
    EXPECT_THAT(CDiscovery(Responder::Choice()).Look(), SizeIs(256));
}

TEST(SearchTest, WhatIsLookedForIsFoundAmongAnyNumberOfOthers) {
    Responder responder([](Responder& self, int round) {
        for (std::uint16_t i = 0; i < 150; ++i) {
            self.Answer(Camera(static_cast<std::uint16_t>(round % 2 * 150 + i)));
        }
    });
    for (const CSearch& search : {CSearch{Mac(299), {}, {}}, CSearch{{}, {}, "299"}}) {
        const auto found = CDiscovery(Responder::Choice()).Look(search);
        EXPECT_TRUE(
            std::any_of(found.begin(), found.end(), [](const CFoundCamera& one) { return one.info.mac == Mac(299); }));
        EXPECT_LE(found.size(), 257u);
    }
}

TEST(SearchTest, CamerasWithOneAddressAreListedWithBothNames) {
    Responder responder([](Responder& self, int) {
        self.Answer(Camera(1));
        self.Answer(Camera(2));
    });
    CDiscovery discovery(Responder::Choice());
    const auto expectBoth = [](const std::vector<CFoundCamera>& found) {
        ASSERT_THAT(found, SizeIs(2));
        for (const CFoundCamera& camera : found) {
            EXPECT_THAT(camera.subnetVerdict, HasSubstr("02:00:00:00:00:01"));
            EXPECT_THAT(camera.subnetVerdict, HasSubstr("02:00:00:00:00:02"));
        }
    };
    expectBoth(discovery.Look());
    expectBoth(discovery.Look({Mac(1), {}, {}})); // nor does looking for one of them hide the other
}

TEST(SearchTest, EndsWithTheAnswerThatWasWanted) {
    Responder responder([](Responder& self, int) { self.Answer(Camera(5)); });
    CDiscovery discovery(Responder::Choice());
    const auto expect = [&](const CSearch& search, std::chrono::milliseconds least) {
        const auto took = ExpectWithin(least + 100ms, [&] { EXPECT_THAT(discovery.Look(search), SizeIs(1)); });
        EXPECT_GE(took, least);
    };
    expect({Mac(5), {}, {}}, 0ms);
    expect({{}, Serving::OwnAddress(7), {}}, 0ms);
    expect({{}, {}, "5"}, 200ms); // another maker's may have it, too
    expect({Mac(6), {}, {}}, 1100ms);
    expect({}, 1100ms);
}

// Of whoever asks it for more than to be found.
TEST(SearchTest, ACameraThatFallsSilentIsNotWaitedForWithoutEnd) {
    std::atomic<bool> isFound{true};
    Responder responder([&](Responder& self, int) {
        if (isFound.exchange(false)) {
            self.Answer(Camera(1));
        }
    });
    CDiscovery discovery(Responder::Choice());
    const CRoute route = discovery.Look({Mac(1), {}, {}}).at(0).route;
    ExpectWithin(700ms, [&] { EXPECT_EQ(AskForControlState(route), EControlState::Silent); });
    const auto force = [&] { return ForceAddress(discovery, Mac(1), {Serving::OwnAddress(8), 0xFF000000, 0}); };
    ExpectWithin(1200ms, [&] { EXPECT_THROW(force(), GenICam::RuntimeException); });
    ExpectWithin(5600ms, [&] { // of 6.7 s, as it is found at once
        isFound = true;
        EXPECT_FALSE(force());
    });
}

TEST(SearchTest, LateAnswersCountForTheNextSearch) {
    Responder responder([](Responder& self, int round) {
        if (round == 0) {
            std::this_thread::sleep_for(1500ms);
            self.Answer(Camera(9));
            self.Sent();
        }
    });
    CDiscovery discovery(Responder::Choice());
    EXPECT_THAT(discovery.Look(), IsEmpty());
    responder.WaitUntilSent(1);
    EXPECT_THAT(discovery.Look(), SizeIs(1));
    EXPECT_THAT(discovery.Look(), IsEmpty());
}

TEST(SearchTest, DoublesOfTheWantedAnswerDoNotOutliveIt) {
    Responder responder([](Responder& self, int round) {
        if (round == 0) {
            self.Answer(Camera(9));
            std::this_thread::sleep_for(400ms); // the search is over
            self.Answer(Camera(9));
            self.Sent();
        }
    });
    CDiscovery discovery(Responder::Choice());
    EXPECT_THAT(discovery.Look({Mac(9), {}, {}}), SizeIs(1));
    responder.WaitUntilSent(1);
    EXPECT_THAT(discovery.Look(), IsEmpty()); // it is gone since
}

TEST(SearchTest, NothingIsLookedForWhenItIsOff) {
    Responder responder([](Responder&, int) { ADD_FAILURE() << "something was sent"; });
    EXPECT_THAT(CDiscovery(ParseNetworkChoice("off")).Look({{}, Serving::OwnAddress(7), {}}), IsEmpty());
    EXPECT_THAT(CDiscovery(ParseNetworkChoice("no-such-interface")).Look({{}, Serving::OwnAddress(7), {}}), IsEmpty());
}

} // namespace
} // namespace Gige
