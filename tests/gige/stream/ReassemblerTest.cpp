// SPDX-License-Identifier: Apache-2.0
#include "SentBlock.h"
#include "fakes/ScarceMemory.h"

#include "stream/Reassembler.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>

using namespace Gige;
using namespace GigEVision;

namespace {

constexpr std::uint8_t kUntouched = 0xEE;
constexpr std::int64_t kMs = 1'000'000;

class ReassemblerTest : public testing::Test {
protected:
    explicit ReassemblerTest(std::size_t buffers = 32, std::size_t bytes = 2000) { Begin(buffers, bytes); }

    void Begin(std::size_t buffers, std::size_t bytes, std::uint32_t packetSize = 128) {
        format.packetSize = packetSize;
        format.maxBuffers = static_cast<std::uint32_t>(buffers);
        format.maxBufferBytes = static_cast<std::uint32_t>(bytes);
        reassembler = std::make_unique<CReassembler>(format, settings);
        memory.assign(buffers, std::vector<std::uint8_t>(bytes, kUntouched));
        for (auto& each : memory) {
            ASSERT_TRUE(reassembler->AddBuffer({each.data(), each}));
        }
    }

    // The clock goes on by 10 µs with each datagram.
    void Feed(Bytes datagram) { reassembler->OnDatagram(datagram, nowNs += 10'000); }
    void Send(const CSentBlock& block, const std::vector<std::uint32_t>& packetIds, std::uint16_t status = 0) {
        for (const std::uint32_t id : packetIds) {
            std::array<std::uint8_t, 512> room;
            Feed(block.Packet(id, room, status));
        }
    }
    void SendBut(const CSentBlock& block, const std::vector<std::uint32_t>& lost) {
        for (std::uint32_t id = 0; id <= block.trailerId; ++id) {
            if (std::find(lost.begin(), lost.end(), id) == lost.end()) {
                Send(block, {id});
            }
        }
    }

    void SendAll(const CSentBlock& block) { SendBut(block, {}); }

    // Lets the time go by, with a tick whenever one is due.
    void Wait(std::int64_t ns) {
        const std::int64_t until = nowNs + ns;
        do {
            nowNs = std::min(until, std::max(nowNs, reassembler->NextTickNs()));
            reassembler->OnTick(nowNs);
            for (const CResendCommand& command : reassembler->TakeResends()) {
                commands.push_back(command.request);
            }
            ASSERT_GT(reassembler->NextTickNs(), nowNs);
        } while (nowNs < until);
    }

    // What came out, as "1c" (block 1 complete), "2f" (failed), "x" (canceled).
    std::string Results() {
        std::string text;
        CFinishedBlock block;
        while (reassembler->TakeFinished(block)) {
            last = block;
            text += text.empty() ? "" : " ";
            text += block.end == EBlockEnd::Canceled ? "x" : std::to_string(block.blockId);
            text += block.end == EBlockEnd::Complete ? "c" : block.end == EBlockEnd::Failed ? "f" : "";
        }
        return text;
    }
    std::string CountsText() const {
        const CStreamCounts& counts = reassembler->Counts();
        std::string text;
        const auto add = [&](const char* name, std::uint64_t count) {
            text += count == 0 ? "" : (text.empty() ? "" : " ") + (name + std::to_string(count));
        };
        add("canceled=", counts.canceled);
        add("lost=", counts.lostBlocks);
        add("underruns=", counts.underruns);
        add("missing=", counts.missingPackets);
        add("resent=", counts.resentPackets);
        add("doubled=", counts.doubledPackets);
        add("ignored=", counts.ignoredPackets);
        add("error=", counts.errorPackets);
        add("resync=", counts.resynchronizations);
        return text;
    }
    std::string Play(const std::string& steps);
    const std::uint8_t* LastMemory() const { return static_cast<const std::uint8_t*>(last.token); }
    std::string Asked() const {
        std::string text;
        for (const ResendRequest& request : commands) {
            text += (text.empty() ? "" : " ") + std::to_string(request.blockId) + ":" + std::to_string(request.first) +
                    "-" + (request.IsToEnd() ? "end" : std::to_string(request.last));
        }
        return text;
    }

    CStreamFormat format;
    CResendSettings settings;
    std::vector<std::vector<std::uint8_t>> memory;
    std::unique_ptr<CReassembler> reassembler;
    std::vector<ResendRequest> commands;
    CFinishedBlock last;
    std::int64_t nowNs = 0;
};

// 1 (its time stamp is 1000), 1' (of a device that counts anew, its clock goes on), 1~ (its clock was reset, too), 1.
// (without a clock), x1 (extended ids); 300 bytes, so four payload packets and the trailer 5.
CSentBlock Image(const std::string& name, std::uint32_t bytes = 300) {
    const bool isExtended = name[0] == 'x';
    const std::uint64_t id = std::stoull(name.substr(isExtended ? 1 : 0));
    const char kind = name.back();
    const std::uint64_t timestamp = kind == '\'' ? 1'000'000'000 + id : kind == '~' ? id : kind == '.' ? 0 : 1000 * id;
    return CSentBlock({.idOnWire = id, .isExtended = isExtended, .bytes = bytes, .timestamp = timestamp, .seed = id});
}

CSentBlock Image(std::uint64_t id) {
    return Image(std::to_string(id));
}

struct CHistory {
    const char* name;
    // "1*" is all of block 1, "1*-0,2" all but these, "1:0,2" these, "1:2=800C" one with a status, "w5" 5 ms.
    const char* steps;
    const char* results; // "1c" complete, "1f" failed; "|" is a wait
    const char* asked = "";
    const char* counts = "";
    bool isResendEnabled = true;
    std::size_t buffers = 32;

    friend void PrintTo(const CHistory& history, std::ostream* out) { *out << history.name; }
};

const CHistory kHistories[] = {
    {"leader lost, nothing asked for", "1*-0 2* w190 w20", "|1f 2c|", "", "missing=1", false},
    {"trailer of the newest lost", "1*-5 w4990 w20", "|1f|", "", "missing=1", false},
    {"middle and trailer lost", "1*-2,5 w3 1:2 w24 1:5", "||1c", "1:2-2 1:5-end", "resent=2"},
    {"leader lost", "1*-0 w3 1:0", "|1c", "1:0-0", "resent=1"},
    {"tail lost, a later block tells", "1:0,1 2* w3 1:2,3,4,5", "|1c 2c", "1:2-end", "resent=4"},
    {"whole block lost", "1* 3*", "1c 3c", "", "lost=1"},
    {"answers lost", "1*-2 2* w190 w20", "|1f 2c|", "1:2-2 1:2-2 1:2-2 1:2-2 1:2-2 1:2-2", "missing=1"},
    {"packets twice", "1:0,0,1,1,2,3,4,5,5", "1c", "", "doubled=2 ignored=1"},
    {"reordered by one", "1:1,0,3,2,5,4 w30", "1c|"},
    {"reversed", "1:5,4,3,2,1,0 w30", "1c|"},
    {"interleaved", "1:0,1 2:0 1:2 2:1 1:3 2:2,3,4,5 1:4,5 w30", "1c 2c|"},
    {"gone", "1*-2 1:2=800C 2*", "1f 2c", "", "missing=1 error=1"},
    {"removed", "1*-2 1:2=8012 2*", "1f 2c", "", "missing=1 error=1"},
    {"all before removed", "1*-2 1:3=8011 2*", "1f 2c", "", "missing=1 error=1"},
    {"gone, but it came", "1*-4,5 1:2=800C 1:4,5", "1c", "", "error=1"},
    {"not yet there, by code 800C", "1:0,1 w21 1:2=800C w1 1:2,3,4,5", "||1c", "1:2-end", "resent=4 error=1"},
    {"the same of an older block", "1:0,1 2:0 1:2=800C 2:1,2,3,4,5", "1f 2c", "", "missing=4 error=1"},
    {"gone, but there is none behind the trailer", "1*-2 1:6=800C 1:2", "1c", "", "error=1"},
    {"the same of an older block without trailer", "1:0,1,2 2:0 1:6=800C 1:3,4,5", "1c", "", "error=1"},
    {"not yet twice, then there", "1*-2 w2 1:2=8010 w6 1:2=8010 w6 1:2", "|||1c", "1:2-2 1:2-2 1:2-2",
     "resent=1 error=2"},
    {"error of an unknown block, packet of a delivered one", "1* 9:3=800C 1:3 2*", "1c 2c", "", "ignored=1 error=1"},
    {"pause within a block", "1:0,1,2 w2000 1:3,4,5", "|1c", "1:3-end 1:3-end 1:3-end 1:3-end 1:3-end 1:3-end",
     "resent=3"},
    {"leader long before its payload", "1* 2:0 w5500 2:1,2,3,4,5", "1c|2c"},
    {"65535 to 1", "65535* 1*", "65535c 65536c"},
    {"65534 to 2", "65534* 2*", "65534c 65537c", "", "lost=2"},
    {"counted anew, clock goes on", "100* 101* 1'* 2'*", "100c 101c 1c 2c", "", "resync=1"},
    {"counted anew, clock reset", "100* 101* 1~* 2~*", "100c 101c 2c", "", "lost=1 ignored=6 resync=1"},
    {"one of another time comes first", "500:3 1* 2*", "500f 1c 2c", "", "missing=4 resync=1"},
    {"the same with an id not far from it", "30:3 1* 2*", "30f 1c 2c", "", "missing=4 resync=1"},
    {"counted anew after few", "1* 2* 3* 1'* 2'*", "1c 2c 3c 1c 2c", "", "resync=1"},
    {"counted anew without a clock", "100.* 101.* 1.* 2.*", "100c 101c 2c", "", "lost=1 ignored=6 resync=1"},
    {"the same after few: it may be late copies", "1.* 2.* 1.* 2.* 3.*", "1c 2c 3c", "", "ignored=12"},
    {"counted anew after many", "40000* 1'* 2'*", "40000c 1c 2c", "", "resync=1"},
    {"counted anew, extended", "x70000* x1'* x2'*", "70000c 1c 2c", "", "resync=1"},
    {"counted anew within a block", "100:0,1 1'* 100:2,3,4,5 2'*", "100f 1c 2c", "", "missing=4 ignored=4 resync=1"},
    {"counted anew to the same id", "1*-0 w30 1'*", "|1f 1c", "", "missing=1 resync=1", false},
    {"the same, asked for in vain", "1*-0 w300 1'*", "|1f 1c", "1:0-0 1:0-0 1:0-0 1:0-0 1:0-0 1:0-0",
     "missing=1 resync=1"},
    {"the same, of a device that marks what it sends again", "1*-2 w2 1:2=0100 2*-0 w25 2'*", "|1c|2f 2c",
     "1:2-2 2:0-0 2:0-0 2:0-0", "missing=1 resent=1 resync=1"},
    {"leader that comes long after it was asked for", "1*-0 w100 1:0", "|1c", "1:0-0 1:0-0 1:0-0 1:0-0 1:0-0 1:0-0"},
    {"one sent again of a block of before", "1* 1:3=0100 7:0=0100 2*", "1c 2c", "", "ignored=2"},
    {"counted anew to an id that is not whole yet", "1*-2 w30 1'*", "|1f 1c", "", "missing=1 resync=1", false},
    {"counted anew to ids from before the first one", "30* 31* 1'* 2'*", "30c 31c 1c 2c", "", "resync=1"},
    {"counted anew, then a leader lost", "1* 2* 3* 1'* 2'* w210 3'*-0 w3 3':0", "1c 2c 3c 1c 2c||3c", "3:0-0",
     "resent=1 resync=1"},
    {"late copies of leaders", "1* 2* 3* 1:0 2:0 4*", "1c 2c 3c 4c", "", "ignored=2"},
    {"only the clock reset", "5* 6~* 7~*", "5c 6c 7c"},
    {"id 0 before the first block", "0:0,1 1* 0:3 2*", "1c 2c", "", "ignored=3"},
    {"id 0 behind 65535", "65535* 0* 1*", "65535c 65536c 65537c"},
    {"one bad datagram far ahead", "1:0,1 5000:3 1:2,3,4,5 2*", "1c 2c", "", "ignored=1"},
    {"really far ahead", "1* 5000:3 5000:4,0,1,2,3,5", "1c 5000c", "", "lost=4998 ignored=1"},
    {"both kinds of ids", "1* x2* 3*", "1c 2c 3c"},
    {"data lost by the device", "1:0,1,2,3,4 1:5=800D", "1f", "", "error=1"},
    {"data lost by the device before anything came", "1:0=800D 1:1,2,3,4,5 2*", "1f 2c", "", "ignored=5 error=1"},
    {"the same of a block that is over", "1* 1:0=800D 2* 3*", "1c 2c 3c", "", "error=1"},
    {"remark of the device", "1:0,1,2,3,4 1:5=4004", "1c"},
    {"more than the window", "1:0 2:0 3:0 4:0 5*", "1f", "", "missing=5"},
    {"more than the buffers", "1*-2 2* 3* 4*", "1f 2c 3c", "", "underruns=1 missing=1 ignored=6", true, 3},
    {"one buffer, packets asked for", "1*-2 2:0 w3 1:2", "|1c", "1:2-2", "underruns=1 resent=1 ignored=1", true, 1},
    {"one buffer, asked for in vain", "1*-2 2* w30 3:0", "|1f", "1:2-2 1:2-2 1:2-2", "underruns=2 missing=1 ignored=7",
     true, 1},
    {"a whole one took the last buffer, nothing asked for", "1*-2 2* 3* w2 1:2", "1f 2c 3c|", "", "missing=1 ignored=1",
     false, 3},
    {"one buffer, nothing asked for", "1*-2 2:0", "1f", "", "underruns=1 missing=1 ignored=1", false, 1},
};

std::string ReassemblerTest::Play(const std::string& steps) {
    std::istringstream all(steps);
    std::string results;
    for (std::string step; all >> step;) {
        if (step[0] == 'w') {
            Wait(std::stoll(step.substr(1)) * kMs);
            results += Results() + "|";
            continue;
        }
        const std::size_t colon = step.find_first_of(":*"), equals = step.find('=');
        const CSentBlock block = Image(step.substr(0, colon));
        std::vector<std::uint32_t> ids;
        const std::size_t begin = std::min(step.size(), colon + 1 + (step[colon] == '*'));
        std::istringstream list(step.substr(begin, equals - begin));
        for (std::string id; std::getline(list, id, ',');) {
            ids.push_back(static_cast<std::uint32_t>(std::stoul(id)));
        }
        const std::uint16_t status =
            equals == step.npos ? 0 : static_cast<std::uint16_t>(std::stoul(step.substr(equals + 1), nullptr, 16));
        if (step[colon] == '*') {
            SendBut(block, ids);
        } else {
            Send(block, ids, status);
        }
    }
    return results + Results();
}

class HistoryTest : public ReassemblerTest, public testing::WithParamInterface<CHistory> {};
INSTANTIATE_TEST_SUITE_P(All, HistoryTest, testing::ValuesIn(kHistories));

TEST_P(HistoryTest, EndsAsItShould) {
    settings.isEnabled = GetParam().isResendEnabled;
    settings.window = 4;
    Begin(GetParam().buffers, 2000);
    EXPECT_EQ(Play(GetParam().steps), GetParam().results);
    EXPECT_EQ(Asked(), GetParam().asked);
    EXPECT_EQ(CountsText(), GetParam().counts);
}

// What the types are delivered as.
TEST_F(ReassemblerTest, EachPayloadTypeIsPutTogether) {
    struct CCase {
        CBlockShape shape;
        std::uint64_t payloadBytes = 300;
        bool hasChunks = false, isGeometryKnown = false;
        const char* text = "";
    };
    const CCase cases[] = {
        {{.type = 0x0001}, 300, false, true},
        {{.type = 0x0002}},
        {{.type = 0x0003}},
        {{.type = 0x0004, .chunkBytes = 292}, 292, true},
        {{.type = 0x0004, .chunkBytes = 0}, 300, true},
        {{.type = 0x0005, .chunkBytes = 300}, 300, true, true},
        {{.type = 0x4001, .chunkBytes = 296}, 296, true, true},
        {{.type = 0x0006}, 300, false, false, "Block 1: payload type 0x0006, JPEG, as raw data."},
        {{.type = 0x0008}, 300, false, false, "Block 1: payload type 0x0008, H.264, as raw data."},
        {{.type = 0x0009}, 300, false, true, "Block 1: payload type 0x0009, multi-zone image, as raw data."},
        {{.isExtended = true, .type = 0x000A, .firstPartBytes = 150}, 300, false, true},
        {{.isExtended = true, .type = 0x000A, .firstPartBytes = 150, .countsFromPart = true}, 300, false, true},
        {{.isExtended = true, .type = 0x000A, .firstPartBytes = 150, .firstPartType = 0x000A}, // chunks
         300,
         false,
         false,
         "Block 1: payload type 0x000A, multi-part, as raw data."},
        {{.isExtended = true, .type = 0x000A, .toldLines = 8, .firstPartBytes = 150}, // which hold 7
         300,
         false,
         false,
         "Block 1: payload type 0x000A, multi-part, as raw data."},
        {{.isExtended = true, .type = 0x000B}, 300, false, false, "Block 1: payload type 0x000B, GenDC, as raw data."},
        {{.type = 0x0033}, 300, false, false, "Block 1: payload type 0x0033, unknown, as raw data."},
        {{.type = 0x8001}, 300, false, false, "Block 1: payload type 0x8001, unknown, as raw data."},
        {{.type = 0x0001, .bytes = 0}, 0, false, true},
    };
    for (const bool isReversed : {false, true}) {
        for (const CCase& each : cases) {
            SCOPED_TRACE(each.shape.type);
            Begin(1, 2000);
            const CSentBlock block(each.shape);
            std::vector<std::uint32_t> ids(block.trailerId + 1);
            std::iota(ids.begin(), ids.end(), 0u);
            if (isReversed) {
                std::reverse(ids.begin() + 1, ids.end());
            }
            Send(block, ids);
            ASSERT_EQ(Results(), "1c");
            EXPECT_EQ(last.payloadBytes, each.payloadBytes);
            EXPECT_EQ(last.hasChunks, each.hasChunks);
            EXPECT_EQ(last.isGeometryKnown, each.isGeometryKnown);
            EXPECT_EQ(last.payloadType, each.shape.type);
            EXPECT_TRUE(block.IsIn(LastMemory(), 0, block.shape.bytes));
            EXPECT_EQ(LastMemory()[block.shape.bytes], kUntouched);
            EXPECT_EQ(Explain(last), each.text);
        }
    }
}

// The trailer comes where one of a shorter block has it.
TEST_F(ReassemblerTest, WhatIsShorterThanToldIsWholeOnlyIfItCanTellItsLines) {
    const auto play = [this](CBlockShape shape, std::uint32_t sentBytes) {
        const CSentBlock whole(shape);
        shape.bytes = sentBytes;
        shape.firstPartBytes = std::min(shape.firstPartBytes, sentBytes);
        const CSentBlock cut(shape);
        Begin(1, 2000);
        for (std::uint32_t id = 0; id < cut.trailerId; ++id) {
            Send(whole, {id});
        }
        Send(cut, {cut.trailerId});
        return Results();
    };
    EXPECT_EQ(play({.type = PayloadType::kRawData}, 92), "1f");
    EXPECT_EQ(play({.type = PayloadType::kFile}, 92), "1f");
    EXPECT_EQ(play({.type = PayloadType::kChunkData, .chunkBytes = 300}, 92), "1f");
    EXPECT_EQ(play({.type = PayloadType::kJpeg}, 92), "1c") << "its length is known only when it was compressed";
    EXPECT_EQ(play({.type = PayloadType::kImage}, 92), "1c");
    EXPECT_EQ(last.geometry.sizeY, 4u);
    const CSentBlock parts({.isExtended = true, .type = PayloadType::kMultiPart, .firstPartBytes = 150});
    Begin(1, 2000);
    Send(parts, {0, 1, 2, 3});
    std::vector<std::uint8_t> trailer = parts.Packet(parts.trailerId);
    PutBigEndian<std::uint32_t>(&trailer[16], 4); // its packet id
    trailer[trailer.size() - 9] = 150;            // length of the second part
    Feed(trailer);
    EXPECT_EQ(Results(), "1f") << "both lengths are told";
    EXPECT_EQ(play({.isExtended = true, .type = PayloadType::kMultiPart, .firstPartBytes = 300}, 72), "1c");
    EXPECT_TRUE(last.isGeometryKnown);
    EXPECT_EQ(last.geometry.sizeY, 3u);
}

// Datagrams that were changed: of which bytes they are made of, and what becomes of the block.
TEST_F(ReassemblerTest, PacketsThatDoNotFitFailTheirBlock) {
    struct CCase {
        const char* name;
        std::uint32_t packetId;
        int moreBytes = 0;       // cut or added
        std::uint32_t newId = 0; // 0: its own
        EBlockFault fault = EBlockFault::None;
        std::uint64_t payloadBytes = 300;
        bool isLate = false; // behind all others
    };
    const CCase cases[] = {
        {"short in the middle", 2, -1, 0, EBlockFault::Contradictory},
        {"long in the middle", 2, +1, 0, EBlockFault::Contradictory},
        {"long at the end: cut", 4, +100, 0, EBlockFault::None, 4 * 92},
        {"shorter at the end, lines missing", 4, -20, 0, EBlockFault::Contradictory},
        {"without data", 2, -92, 0, EBlockFault::PacketsMissing},
        {"another's id", 3, 0, 2, EBlockFault::Contradictory},
        {"far ahead", 3, 0, 9, EBlockFault::Contradictory},
        {"beyond the trailer", 3, 0, 9, EBlockFault::PacketsMissing, 0, true},
        {"short in the middle, late", 3, -1, 0, EBlockFault::Contradictory, 0, true},
        {"beyond the buffer", 3, 0, 500, EBlockFault::BufferTooSmall},
        {"wrong trailer", 5, 0, 3, EBlockFault::PacketsMissing},
        {"trailer far away", 5, 0, 9, EBlockFault::Contradictory},
        {"trailer beyond the buffer", 5, 0, 0xFFFFFF, EBlockFault::BufferTooSmall},
        {"cut trailer", 5, -6, 0, EBlockFault::PacketsMissing},
        {"cut leader", 0, -6, 0, EBlockFault::LeaderMissing},
    };
    settings.isEnabled = false;
    for (const CCase& each : cases) {
        SCOPED_TRACE(each.name);
        Begin(1, 2000);
        const CSentBlock block = Image("1");
        std::vector<std::uint8_t> changed = block.Packet(each.packetId);
        changed.resize(changed.size() + static_cast<std::size_t>(each.moreBytes));
        if (each.newId != 0) {
            PutBigEndian<std::uint32_t>(&changed[4], std::uint32_t{changed[4]} << 24 | each.newId);
        }
        for (std::uint32_t id = 0; id <= block.trailerId; ++id) {
            if (id != each.packetId) {
                Send(block, {id});
            } else if (!each.isLate) {
                Feed(changed);
            }
        }
        if (each.isLate) {
            Feed(changed);
        }
        Wait(6000 * kMs);
        EXPECT_EQ(Results(), each.fault == EBlockFault::None ? "1c" : "1f");
        EXPECT_EQ(last.fault, each.fault);
        if (each.fault == EBlockFault::None) {
            EXPECT_EQ(last.payloadBytes, each.payloadBytes);
        }
        EXPECT_EQ(LastMemory()[4 * 92], kUntouched);
    }
}

// All packets are there, and yet not all bytes: one was placed where another one belongs.
TEST_F(ReassemblerTest, OffsetsThatLeaveAHoleFailTheirBlock) {
    for (const std::uint16_t type : {0x0009, 0x000A, 0x000B}) {
        Begin(1, 2000);
        const CSentBlock block({.isExtended = true, .type = type, .firstPartBytes = 160});
        const std::size_t offsetLow = type == 0x000B ? 31 : 27; // the last byte of it
        for (std::uint32_t id = 0; id <= block.trailerId; ++id) {
            std::vector<std::uint8_t> packet = block.Packet(id);
            packet[offsetLow] = static_cast<std::uint8_t>(packet[offsetLow] + (id == 2 ? 1 : 0));
            Feed(packet);
        }
        EXPECT_EQ(Results(), "1f");
        EXPECT_EQ(last.fault, EBlockFault::Contradictory);
    }
}

// A descriptor before the data, which does not know all yet, and another one behind it.
TEST_F(ReassemblerTest, TheFinalDescriptorIsTheOneThatStays) {
    constexpr std::size_t kHeader = 36, kOffsetLow = 31, kFlags = 32;
    const CSentBlock told({.isExtended = true, .type = 0x000B, .bytes = 192});
    const CSentBlock block({.isExtended = true, .type = 0x000B, .bytes = 256});
    const auto packetOf = [&](std::uint32_t id) {
        std::vector<std::uint8_t> packet = block.Packet(id);
        packet[kFlags] = id == 1 ? 0x80 : id == 4 ? 0x40 : 0;
        packet[kOffsetLow] = id == 4 ? 0 : packet[kOffsetLow];
        return packet;
    };
    const std::vector<std::uint8_t> final = packetOf(4);
    for (const std::vector<std::uint32_t>& order :
         {std::vector{1u, 2u, 3u, 4u}, {2u, 4u, 1u, 3u}, {4u, 2u, 3u, 1u}, {4u, 1u, 3u, 2u, 1u}}) {
        Begin(1, 2000);
        Feed(told.Packet(0));
        for (const std::uint32_t id : order) {
            Feed(packetOf(id));
        }
        Feed(block.Packet(5));
        ASSERT_EQ(Results(), "1c");
        EXPECT_EQ(last.payloadBytes, 192u);
        EXPECT_EQ(std::memcmp(LastMemory(), &final[kHeader], final.size() - kHeader), 0) << order[0] << order[1];
        EXPECT_TRUE(block.IsIn(LastMemory(), 64, 192));
    }
}

TEST_F(ReassemblerTest, ADescriptorMayComeInPiecesAndInAnyOrder) {
    constexpr std::size_t kOffset = 24, kOffsetLow = kOffset + 7, kFlags = 32; // 64 bytes a packet
    const CSentBlock block({.isExtended = true, .type = 0x000B, .bytes = 256});
    const auto play = [&](const std::vector<std::uint32_t>& order, const std::vector<std::uint32_t>& descriptor,
                          std::uint8_t farOffset = 0, const std::vector<std::uint8_t>& offsets = {0, 64, 128, 192}) {
        Begin(1, 2000);
        for (const std::uint32_t id : order) {
            std::vector<std::uint8_t> packet = block.Packet(id);
            if (id > 0 && id < block.trailerId) {
                packet[kFlags] = std::count(descriptor.begin(), descriptor.end(), id) != 0 ? 0x80 : 0;
                packet[kOffset] = id == 1 ? farOffset : 0;
                packet[kOffsetLow] = offsets[id - 1];
            }
            Feed(packet);
        }
        Wait(5200 * kMs);
        return Results();
    };
    EXPECT_EQ(play({0, 2, 1, 3, 4, 5}, {1, 2}), "1c");
    EXPECT_TRUE(block.IsIn(LastMemory(), 0, 256));
    EXPECT_EQ(play({0, 2, 3, 4, 5, 1}, {1, 2, 3, 4}), "1c") << "nothing but a descriptor";
    EXPECT_EQ(play({0, 2, 3, 4, 1, 5}, {1, 4}, 0, {0, 128, 192, 64}), "1f")
        << "the first piece was taken for an old one";
    EXPECT_EQ(play({0, 2, 4, 3, 1, 5}, {1, 4}, 1, {0, 64, 128, 0}), "1f");
    EXPECT_LE(last.payloadBytes, 2000u);
    EXPECT_EQ(last.fault, EBlockFault::BufferTooSmall);
}

TEST_F(ReassemblerTest, ALeaderThatWasAskedForWithAllTheRestIsNoNewOne) {
    const CSentBlock parts({.isExtended = true, .type = PayloadType::kMultiPart, .firstPartBytes = 150});
    Send(parts, {parts.trailerId - 1}); // of the second part, whose place only the leader tells
    Wait(21 * kMs);
    EXPECT_EQ(Asked(), "1:0-end");
    SendAll(parts);
    EXPECT_EQ(Results(), "1c");
    EXPECT_EQ(reassembler->Counts().resynchronizations, 0u);
}

TEST_F(ReassemblerTest, NoByteIsWrittenBeyondABufferTooSmall) {
    Begin(1, 200);
    SendAll(Image("1"));
    EXPECT_EQ(Results(), "1f");
    EXPECT_EQ(LastMemory()[184], kUntouched); // nor the part of the packet that would fit
    EXPECT_EQ(Explain(last), "Block 1: buffer of 200 bytes, payload needs 300.");
    reassembler->AddBuffer({memory[0].data(), memory[0]});
    SendAll(Image("2", 180));
    EXPECT_EQ(Results(), "2c");
}

// The trailer decides, whatever leader and payload size told.
TEST_F(ReassemblerTest, FewerLinesThanWereToldAreAnImage) {
    format.payloadBytes = 1000;
    Begin(1, 2000);
    SendAll(CSentBlock({.toldLines = 50}));
    EXPECT_EQ(Results(), "1c");
    EXPECT_EQ(last.geometry.sizeY, 15u);
}

TEST_F(ReassemblerTest, LineScanIsWaitedFor) {
    Begin(1, 100'000);
    const CSentBlock block = Image("1", 91'908);
    for (std::uint32_t id = 0; id <= block.trailerId; ++id) { // 1,000 packets at 100 Hz
        Send(block, {id});
        Wait(10 * kMs);
    }
    EXPECT_EQ(Results(), "1c");
    EXPECT_EQ(Asked(), "");
}

TEST_F(ReassemblerTest, BlocksWithoutABufferAreCountedOnceAndNoneIsBegunInTheMiddle) {
    Begin(1, 2000);
    SendAll(Image("1"));
    for (std::uint64_t id = 2; id < 12; ++id) {
        SendAll(Image(id));
    }
    EXPECT_EQ(reassembler->Counts().underruns, 10u);
    const CSentBlock next = Image("12");
    Send(next, {0, 1});
    EXPECT_EQ(Results(), "1c");
    ASSERT_TRUE(reassembler->AddBuffer({memory[0].data(), memory[0]}));
    EXPECT_FALSE(reassembler->AddBuffer({memory[0].data(), memory[0]})) << "there is room for one";
    Send(next, {2, 3, 4, 5});
    SendAll(Image("13"));
    EXPECT_EQ(Results(), "13c");
    EXPECT_EQ(reassembler->Counts().underruns, 11u);
}

TEST_F(ReassemblerTest, CanceledBuffersComeBackBehindFinishedOnes) {
    Begin(4, 2000);
    Send(Image("1"), {0, 1, 2});
    SendAll(Image("2"));
    Send(Image("3"), {0});
    reassembler->CancelAll();
    EXPECT_EQ(reassembler->Buffers(), 4u);
    EXPECT_EQ(Results(), "2c x x x");
    EXPECT_EQ(CountsText(), "canceled=2");
    EXPECT_EQ(reassembler->Buffers(), 0u);
    ASSERT_TRUE(reassembler->AddBuffer({memory[0].data(), memory[0]}));
    Send(Image("1"), {3, 4, 5});
    Send(Image("3"), {1, 2, 3, 4, 5});
    EXPECT_EQ(Results(), "") << "packets of before";
    SendAll(Image("4"));
    EXPECT_EQ(Results(), "4c");
}

TEST_F(ReassemblerTest, NoMoreThan64PacketsAreAskedForAtATime) {
    Begin(2, 100'000);
    const CSentBlock block = Image("1", 91'908);
    const auto outstanding = [&] {
        std::uint32_t packets = 0;
        for (const ResendRequest& command : commands) {
            packets += command.last - command.first + 1;
        }
        commands.clear();
        return packets;
    };
    Send(block, {0, 1});
    for (std::uint32_t id = 301; id <= block.trailerId; ++id) {
        Send(block, {id});
    }
    Wait(2 * kMs);
    EXPECT_EQ(Asked(), "1:2-65");
    EXPECT_EQ(outstanding(), 64u);
    reassembler->OnDroppedByHost(7); // full rate would make it worse
    for (std::uint32_t id = 2; id < 66; ++id) {
        Send(block, {id});
    }
    Wait(0);
    EXPECT_EQ(outstanding(), 8u);
    Wait(6000 * kMs);
    EXPECT_EQ(Results(), "1f");
    EXPECT_LE(last.requested, 500u) << "half of the block's packets";
    EXPECT_EQ(Explain(last), "Block 1: 235 of 1,001 packets missing (first 66, last 300), 112 asked for, 6 tries; "
                             "7 dropped by this host.");
}

TEST_F(ReassemblerTest, WhatEndedBlocksHadAskedForLeavesRoomForOthers) {
    for (std::uint64_t id = 1; id <= 70; ++id) {
        Send(Image(id), {0, 1});
        Wait(25 * kMs);
        reassembler->CancelAll();
        ASSERT_EQ(Results().front(), 'x');
        ASSERT_TRUE(reassembler->AddBuffer({memory[0].data(), memory[0]}));
    }
    commands.clear();
    SendBut(Image(71), {2});
    Wait(2 * kMs);
    EXPECT_EQ(Asked(), "71:2-2");
}

TEST_F(ReassemblerTest, DropsCountForTheBlocksAroundThemAlone) {
    Send(Image(1), {0, 1});
    reassembler->OnDroppedByHost(5);
    Send(Image(2), {2, 3});
    reassembler->OnDroppedByHost(5);
    Send(Image(3), {0, 1});
    Wait(6000 * kMs);
    std::vector<std::uint64_t> dropped;
    for (CFinishedBlock block; reassembler->TakeFinished(block);) {
        dropped.push_back(block.droppedByHost);
    }
    EXPECT_EQ(dropped, (std::vector<std::uint64_t>{5, 5, 0}));
}

TEST_F(ReassemblerTest, GapsCloseToEachOtherAreAskedForByOneCommand) {
    settings.batching = 1;
    reassembler->Change(settings);
    SendBut(Image("1"), {1, 3});
    Wait(2 * kMs);
    EXPECT_EQ(Asked(), "1:1-3");
    EXPECT_EQ(reassembler->Counts().resendPackets, 3u);
}

TEST_F(ReassemblerTest, WholeBlocksInOnePacketAreTakenWhereTheyWereWished) {
    std::array<std::uint8_t, 200> packet;
    Leader leader;
    leader.payloadType = PayloadType::kRawData;
    Trailer trailer;
    trailer.payloadType = PayloadType::kRawData;
    std::size_t bytes = EncodeHeader({.format = 4, .blockId = 1}, packet).size();
    bytes += EncodeLeader(leader, MutableBytes(packet).subspan(bytes)).size();
    bytes += EncodeTrailer(trailer, MutableBytes(packet).subspan(bytes)).size();
    for (const bool isWished : {false, true}) {
        format.acceptsAllIn = isWished;
        Begin(1, 100);
        Feed(Bytes(packet).first(bytes + 40));
        EXPECT_EQ(Results(), isWished ? "1c" : "");
    }
    EXPECT_EQ(last.payloadBytes, 40u);
}

TEST_F(ReassemblerTest, WhatIsNoPacketIsIgnored) {
    for (std::size_t bytes = 0; bytes < 8; ++bytes) {
        Feed(Bytes(memory[0]).first(bytes));
    }
    std::vector<std::uint8_t> packet = Image("1").Packet(1);
    for (const std::uint8_t number : {0, 9, 15}) {
        packet[4] = number;
        Feed(packet);
    }
    EXPECT_EQ(CountsText(), "ignored=11");
    EXPECT_EQ(reassembler->NextTickNs(), std::numeric_limits<std::int64_t>::max());
}

// 64 x 16 Mono8 as a device of another make sent it.
TEST_F(ReassemblerTest, StreamOfAStrangerIsAnImage) {
    Begin(1, 1024, 576);
    const std::vector<std::uint8_t> leader = {0x00, 0x00, 0xFF, 0x79, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                              0x01, 0x18, 0xEA, 0x3F, 0x43, 0x2D, 0xC1, 0xAC, 0x70, 0x01, 0x08,
                                              0x00, 0x01, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00, 0x00, 0x10, 0x00,
                                              0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
    const std::vector<std::uint8_t> trailer = {0x00, 0x00, 0xFF, 0x79, 0x02, 0x00, 0x00, 0x03,
                                               0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x10};
    Feed(leader);
    for (const std::uint8_t id : {1, 2}) {
        std::vector<std::uint8_t> payload(id == 1 ? 548 : 492, id);
        std::copy_n(std::initializer_list<std::uint8_t>{0x00, 0x00, 0xFF, 0x79, 0x03, 0x00, 0x00, id}.begin(), 8,
                    payload.begin());
        Feed(payload);
    }
    Feed(trailer);
    EXPECT_EQ(Results(), "65401c");
    EXPECT_EQ(last.payloadBytes, 1024u);
    EXPECT_EQ(last.timestamp, 0x18EA3F432DC1AC70u);
    EXPECT_EQ(last.geometry.sizeX, 64u);
    EXPECT_EQ(last.geometry.sizeY, 16u);
    EXPECT_EQ(LastMemory()[539], 1);
    EXPECT_EQ(LastMemory()[540], 2);
}

TEST_F(ReassemblerTest, NothingIsAllocatedForAnImage) {
    Begin(4, 100'000);
    std::vector<CSentBlock> blocks;
    for (std::uint16_t id = 1; id <= 50; ++id) {
        blocks.emplace_back(CBlockShape{.idOnWire = id, .type = static_cast<std::uint16_t>(id % 5), .bytes = 30'000});
    }
    std::array<std::uint8_t, 512> room;
    CFinishedBlock finished;
    const std::size_t before = ScarceMemory::Allocations();
    for (const CSentBlock& block : blocks) {
        for (std::uint32_t packetId = 0; packetId <= block.trailerId; ++packetId) {
            if (packetId % 7 != 3) {
                reassembler->OnDatagram(block.Packet(packetId, room), nowNs += 100'000);
                reassembler->OnTick(nowNs);
                reassembler->TakeResends();
            }
        }
        while (reassembler->TakeFinished(finished)) {
            reassembler->AddBuffer({finished.token, memory[0]});
        }
    }
    reassembler->CancelAll();
    EXPECT_EQ(ScarceMemory::Allocations(), before);
    EXPECT_GT(reassembler->Counts().resendPackets, 1000u);
    EXPECT_GT(reassembler->Counts().failed, 10u);
}

} // namespace
