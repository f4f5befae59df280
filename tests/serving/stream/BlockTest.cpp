// SPDX-License-Identifier: Apache-2.0
#include "Blocks.h"

#include <serving/stream/BlockHistory.h>
#include <serving/stream/RateBudgets.h>

#include <gtest/gtest.h>

#include <algorithm>

using namespace Serving;
using namespace GigEVision;

namespace {

struct CSentBlock {
    PacketHeader leaderHeader, trailerHeader;
    Leader leader;
    Trailer trailer;
    Datagram data;
};

// As a receiver reads it; also that all payload packets but the last one are full.
CSentBlock Receive(const CBlock& block) {
    CSentBlock sent;
    for (std::uint32_t id = 0; id <= block.TrailerId(); ++id) {
        const Datagram datagram = PacketOf(block, id);
        const auto packet = DecodePacket(datagram);
        EXPECT_TRUE(packet) << id;
        EXPECT_EQ(packet->header.packetId, id);
        EXPECT_EQ(packet->header.isExtended, block.Settings().extendedIds);
        if (id == 0) {
            EXPECT_TRUE(packet->header.Is(PacketFormat::Leader));
            sent.leaderHeader = packet->header;
            sent.leader = *DecodeLeader(packet->header, packet->content);
        } else if (id == block.TrailerId()) {
            EXPECT_TRUE(packet->header.Is(PacketFormat::Trailer));
            sent.trailerHeader = packet->header;
            sent.trailer = *DecodeTrailer(packet->content);
        } else {
            EXPECT_TRUE(packet->header.Is(PacketFormat::Generic));
            EXPECT_TRUE(id + 1 == block.TrailerId() || datagram.size() + 28 == block.Settings().packetSize) << id;
            sent.data.insert(sent.data.end(), packet->content.begin(), packet->content.end());
        }
    }
    return sent;
}

class BlockFormTest : public ::testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Ids, BlockFormTest, ::testing::Bool());

TEST_P(BlockFormTest, AnImageArrivesWholeWithItsRegionTimeAndIds) {
    const auto block = MakeBlock(65536, {.packetSize = 1000, .extendedIds = GetParam()});
    const CSentBlock sent = Receive(*block);
    EXPECT_EQ(sent.leaderHeader.blockId, GetParam() ? 65536u : 1u) << "of 16 bits 1 follows 65535";
    EXPECT_EQ(sent.leader.payloadType, PayloadType::kImage);
    EXPECT_EQ(sent.leader.timestamp, 0x1122334455667788u);
    EXPECT_EQ(sent.leader.geometry.sizeX, 64u);
    EXPECT_EQ(sent.leader.geometry.sizeY, 40u);
    EXPECT_EQ(sent.leader.geometry.offsetX, 2u);
    EXPECT_EQ(sent.leader.geometry.offsetY, 4u);
    EXPECT_EQ(sent.trailer.sizeY, 40u);
    EXPECT_TRUE(
        std::equal(sent.data.begin(), sent.data.end(), block->Slice(1).data(), block->Slice(1).data() + kFrameBytes));
}

TEST_P(BlockFormTest, ChunksGoAloneOrBehindAnImageWithItsLeader) {
    CBlock block(kFrameBytes + 8);
    CamEmu::CFrame frame = FrameOf(block);
    frame.hasChunks = true;
    frame.payloadSize += 8;
    block.Prepare(frame, {.number = 1, .sent = 1, .layoutId = 3, .droppedLines = 1}, {.extendedIds = GetParam()});
    CSentBlock sent = Receive(block);
    EXPECT_EQ(sent.leader.payloadType, PayloadType::kChunkData);
    EXPECT_EQ(sent.trailer.dataLength, kFrameBytes + 8);
    EXPECT_EQ(sent.data.size(), kFrameBytes + 8);
    block.Prepare(frame, {.number = 1, .sent = 1, .layoutId = 3}, {.extendedIds = GetParam(), .extendedChunks = true});
    sent = Receive(block);
    EXPECT_EQ(sent.leader.payloadType, PayloadType::kImage | PayloadType::kChunks);
    EXPECT_EQ(sent.leader.geometry.sizeX, 64u);
    EXPECT_EQ(sent.trailer.sizeY, 40u);
    EXPECT_EQ(sent.trailer.dataLength, kFrameBytes + 8);
    EXPECT_EQ(sent.trailer.layoutId, 3u);
}

TEST(BlockTest, AFailedFrameIsALeaderAndATrailerThatSaysSo) {
    CBlock block(kFrameBytes);
    CamEmu::CFrame frame = FrameOf(block);
    frame.status = CamEmu::EFrameStatus::Forced;
    frame.payloadSize = 0;
    block.Prepare(frame, {.number = 5, .sent = 5, .isPreviousDropped = true}, {.extendedIds = true});
    const CSentBlock sent = Receive(block);
    EXPECT_EQ(block.TrailerId(), 1u);
    EXPECT_EQ(sent.trailerHeader.status, Status::DataOverrun);
    EXPECT_EQ(sent.trailer.sizeY, 0u);
    EXPECT_EQ(sent.leaderHeader.status, Status::Success);
    EXPECT_EQ(sent.leaderHeader.flags, PacketFlag::kPreviousDropped);
}

TEST(BlockTest, DroppedLinesAreMissingAtTheEndAndToldByTheTrailer) {
    CBlock block(kFrameBytes);
    block.Prepare(FrameOf(block), {.number = 1, .sent = 1, .droppedLines = 3}, {});
    const CSentBlock sent = Receive(block);
    EXPECT_EQ(sent.leader.geometry.sizeY, 40u);
    EXPECT_EQ(sent.trailer.sizeY, 37u);
    EXPECT_EQ(sent.data.size(), 37u * 64);
}

TEST(BlockTest, MarksChangeOnlyWhatTheyName) {
    const auto block = MakeBlock(9);
    const Datagram original = PacketOf(*block, 2);
    Datagram status = original;
    status[0] = 0x40, status[1] = 0x04;
    EXPECT_EQ(PacketOf(*block, 2, {.status = static_cast<Status>(0x4004)}), status);
    Datagram ids = original;
    ids[3] = 8, ids[5] = 0, ids[7] = 1; // both go round
    EXPECT_EQ(PacketOf(*block, 2, {.packetIdAdded = 0xFFFFFF, .blockIdAdded = 0xFFFF}), ids);
    EXPECT_EQ(PacketOf(*block, 2, {.cutBytes = 500}), Datagram(original.begin(), original.end() - 500));
    EXPECT_EQ(PacketOf(*block, 2, {.cutBytes = 545}), Datagram(original.begin(), original.begin() + 3));
    EXPECT_TRUE(PacketOf(*block, 0, {.cutBytes = 65535}).empty());
}

struct CHistoryCase {
    std::size_t sizeBytes;
    std::int64_t stepNs; // between blocks
    std::size_t kept;
};
class BlockHistoryTest : public ::testing::TestWithParam<CHistoryCase> {};
INSTANTIATE_TEST_SUITE_P(Limits, BlockHistoryTest,
                         ::testing::Values(CHistoryCase{1000, 1'000'000'000, 8}, CHistoryCase{1000, 10'000'000, 51},
                                           CHistoryCase{1000, 1000, 1024}, CHistoryCase{20u << 20, 10'000'000, 3},
                                           CHistoryCase{80u << 20, 10'000'000, 2}));

TEST_P(BlockHistoryTest, KeepsNoMoreAndNoLessThanItsLimits) {
    CBlockHistory history;
    std::vector<std::unique_ptr<CBlock>> blocks;
    std::size_t kept = 0;
    for (std::int64_t i = 0; i < 1100; ++i) {
        if (blocks.size() < kept + 1) { // memory of these is never touched
            blocks.push_back(std::make_unique<CBlock>(GetParam().sizeBytes));
        }
        const std::int64_t nowNs = i * GetParam().stepNs;
        CBlock* block = nullptr;
        for (const auto& candidate : blocks) {
            block = candidate->place == CBlock::EPlace::Free ? candidate.get() : block;
        }
        block->place = CBlock::EPlace::History;
        block->lastSentNs = nowNs;
        const std::uint64_t serial = history.Add(*block);
        ++kept;
        while (CBlock* const expired = history.TakeExpired(nowNs)) {
            expired->place = CBlock::EPlace::Free;
            --kept;
        }
        EXPECT_EQ(history.Find(serial), block);
        EXPECT_EQ(history.Find(serial + 1), nullptr);
        EXPECT_EQ(history.Find(serial - kept), nullptr);
    }
    EXPECT_EQ(kept, GetParam().kept);
    EXPECT_LE(kept, CHistoryLimits().BlocksOf(GetParam().sizeBytes));
}

TEST(RateBudgetsTest, HoldsTheRateForAllThatGoesToOneAddressAndMakesUpForOneBurst) {
    CRateBudgets budgets(1'000'000'000); // a byte a nanosecond
    EXPECT_EQ(budgets.Reserve(1, 1000, 5000), 5000);
    EXPECT_EQ(budgets.Reserve(1, 1000, 5000), 6000) << "of another camera";
    EXPECT_EQ(budgets.Reserve(2, 1000, 5000), 5000) << "another destination";
    EXPECT_EQ(budgets.Reserve(1, 1000, 7600), 7000) << "late by less than a burst";
    EXPECT_EQ(budgets.Reserve(1, 1000, 9000), 9000) << "late by more: not made up for";
    for (std::uint32_t address = 10; address < 2000; ++address) {
        EXPECT_EQ(CRateBudgets(0).Reserve(address, 1000, 1), 1);
        budgets.Reserve(address, 1000, 10000);
    }
    EXPECT_GT(budgets.Reserve(5000, 1, 10000), 15000) << "many addresses are no way around the rate";
}

} // namespace
