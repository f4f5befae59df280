// SPDX-License-Identifier: Apache-2.0

// What the other side may send besides well-formed messages: each decoder answers nothing, or what the bytes hold.

#include "gigevision/Golden.h"
#include "gigevision/RoundTrip.h"

#include <gigevision/Gvcp.h>
#include <gigevision/Gvsp.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>

using namespace GigEVision;

namespace {

const char* const kNothing = nullptr;

typedef std::vector<std::uint8_t> Datagram;

// With each end in a block of memory of its own, so that an address sanitizer sees what is read behind it.
void ExpectSurvivalOfAllCuts(const Datagram& whole, const char* (*roundTrip)(Bytes), bool isControl) {
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        SCOPED_TRACE(length);
        Datagram cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(roundTrip(cut), kNothing);
        if (isControl && length >= kGvcpHeaderBytes) { // and with a length that is right
            PutBigEndian(cut.data() + 4, static_cast<std::uint16_t>(length - kGvcpHeaderBytes));
            EXPECT_EQ(roundTrip(cut), kNothing);
        }
    }
}

TEST(HostileTest, EveryMessageMayBeCutAnywhere) {
    for (const Golden::Case& block : Golden::ReadCases("gvcp.txt")) {
        SCOPED_TRACE(block.kind + " " + block.title);
        ExpectSurvivalOfAllCuts(block.bytes, RoundTrip::OfControl, true);
        if (block.verb.empty()) {
            const auto shorter = Bytes(block.bytes).first(block.bytes.size() - 1);
            EXPECT_FALSE(DecodeCommand(shorter) || DecodeAcknowledge(shorter));
        }
    }
}

TEST(HostileTest, EveryPacketMayBeCutAnywhere) {
    for (const Golden::Case& block : Golden::ReadCases("gvsp.txt")) {
        SCOPED_TRACE(block.kind + " " + block.title);
        ExpectSurvivalOfAllCuts(block.bytes, RoundTrip::OfStream, false);
        if (block.verb.empty() && (block.kind.starts_with("leader_") || block.kind.starts_with("trailer_"))) {
            const auto packet = DecodePacket(Bytes(block.bytes).first(block.bytes.size() - 1));
            ASSERT_TRUE(packet);
            EXPECT_FALSE(packet->header.Is(PacketFormat::Leader) && DecodeLeader(packet->header, packet->content));
            EXPECT_FALSE(packet->header.Is(PacketFormat::Trailer) && DecodeTrailer(packet->content));
        }
    }
}

TEST(HostileTest, MessageWithRequestIdZeroIsNone) {
    const Datagram datagram = {0x42, 0x01, 0, 0x02, 0, 0, 0, 0};
    EXPECT_FALSE(DecodeCommand(datagram));
}

TEST(HostileTest, ReadingOfEventsStopsWhereTheyEnd) {
    const Datagram lies = {0, 17, 0x90, 0x01, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1};
    EventItems items(lies, false, false);
    EXPECT_FALSE(items.Next() || items.Next());
    EXPECT_FALSE(items.IsAtEnd());
}

// The leader tells the parts of the trailer, which must all be there.
TEST(HostileTest, BlockInOnePacketMayBeCutAnywhere) {
    const Datagram leaderParts(2 * kLeaderPartBytes, 0x11), trailerParts(2 * kTrailerPartBytes, 0x22);
    Leader leader;
    leader.payloadType = PayloadType::kMultiPart;
    leader.parts = leaderParts;
    Trailer trailer;
    trailer.payloadType = PayloadType::kMultiPart;
    trailer.parts = trailerParts;
    PacketHeader header;
    header.isExtended = true;
    header.format = static_cast<std::uint8_t>(PacketFormat::AllIn);
    header.parts = 2;
    Datagram content(LeaderBytes(leader) + TrailerBytes(trailer));
    EncodeLeader(leader, content);
    EncodeTrailer(trailer, MutableBytes(content).subspan(LeaderBytes(leader)));
    for (std::size_t length = 0; length < content.size(); ++length) {
        const Datagram cut(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_FALSE(DecodeAllIn(header, cut)) << length;
    }
    const Datagram data = {1, 2, 3};
    content.insert(content.end(), data.begin(), data.end());
    const auto all = DecodeAllIn(header, content);
    ASSERT_TRUE(all);
    EXPECT_EQ(all->trailer.PartCount(), 2u);
    EXPECT_EQ(Datagram(all->data.begin(), all->data.end()), data);
    Datagram types(20 + 4); // a leader and a trailer, which tell their types alone
    types[3] = PayloadType::kRawData;
    types[20 + 3] = PayloadType::kJpeg;
    EXPECT_FALSE(DecodeAllIn(header, types));
}

TEST(HostileTest, TextsBeyondTheirFieldAreCut) {
    DiscoveryInfo info;
    info.userName = std::string(40, 'x');
    GvcpBuffer buffer = {};
    const auto read = DecodeDiscoveryAck(EncodeDiscoveryAck(info, buffer));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->userName, std::string(16, 'x'));
}

} // namespace
