// SPDX-License-Identifier: Apache-2.0
//
// Seeded histories of a stream, played to the reassembler and to a reference that is too plain to be wrong. Both must
// come to the same blocks, ends and counts, and each buffer holds what the block's packets brought and nothing else.
//   ZELMO_TEST_HISTORIES=10000000   so many, instead of what a test run can wait for
//   ZELMO_TEST_FIRST_SEED=17        from this one on
#include "Reference.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <set>
#include <sstream>
#include <string>

using namespace Gige;
using namespace GigEVision;

namespace {

constexpr std::uint8_t kUntouched = 0xEE;
constexpr std::size_t kBufferBytes = 640;
constexpr std::int64_t kUs = 1'000, kMs = 1'000'000;

class CDice {
public:
    explicit CDice(std::uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15 + 1) {}
    std::uint64_t Roll(std::uint64_t sides) {
        m_state += 0x9E3779B97F4A7C15;
        std::uint64_t word = (m_state ^ m_state >> 30) * 0xBF58476D1CE4E5B9;
        word = (word ^ word >> 27) * 0x94D049BB133111EB;
        return (word ^ word >> 31) % sides;
    }
    bool Happens(std::uint64_t perMille) { return Roll(1000) < perMille; }
    template <class T, std::size_t n>
    T OneOf(const T (&choices)[n]) {
        return choices[Roll(n)];
    }

private:
    std::uint64_t m_state;
};

/// What a history is made of; rates in per mille.
struct CScene {
    explicit CScene(CDice& dice)
        : isExtended(dice.Happens(400)), type(isExtended ? dice.OneOf(kExtendedTypes) : dice.OneOf(kTypes)),
          countsFromPart(dice.Happens(500)), blocks(3 + dice.Roll(12)),
          restartAt(dice.Happens(250) ? 2 + dice.Roll(blocks) : ~std::uint64_t{0}),
          clock(type == PayloadType::kH264 ? 2 : dice.Roll(3)), loss(dice.OneOf(kRates)),
          answerLoss(dice.OneOf(kRates)), lateness(dice.OneOf(kRates)), doubles(dice.OneOf(kRates)),
          pauses(type != PayloadType::kMultiPart && dice.Happens(200) ? 30 : 0), refusals(dice.Happens(200) ? 300 : 0),
          packetGapNs(dice.OneOf({20 * kUs, 20 * kUs, 200 * kUs, 10 * kMs})),
          blockGapNs(dice.OneOf({20 * kUs, 2 * kMs, 40 * kMs, 300 * kMs})), buffers(2 + dice.Roll(12)),
          holdNs(dice.OneOf({std::int64_t{0}, std::int64_t{0}, 5 * kMs, 300 * kMs})) {
        static constexpr std::uint64_t kFirst16[] = {1, 1, 7, 65525, 65535, 40000};
        static constexpr std::uint64_t kFirst64[] = {1, 70000, 0xFFFFFFFA, 0xFFFFFFFFFFFFFFF8};
        firstId = isExtended ? dice.OneOf(kFirst64) : dice.OneOf(kFirst16);
        if (restartAt <= blocks) { // not where ids alone cannot tell it from a wrap; the tables have restarts after few
            firstId = dice.OneOf({std::uint64_t{200}, std::uint64_t{20'000}, std::uint64_t{50'000}});
        }
    }

    /// Offsets that count from the part are nothing without it.
    bool NeedsLeader() const { return type == PayloadType::kMultiPart && countsFromPart; }

    static constexpr std::uint16_t kTypes[] = {1, 1, 1, 2, 3, 4, 5, 0x4001, 6, 8, 9, 0x33};
    static constexpr std::uint16_t kExtendedTypes[] = {1, 1, 2, 4, 0x4001, 9, 0xA, 0xA, 0xB};
    static constexpr std::uint64_t kRates[] = {0, 10, 50, 200};

    bool isExtended;
    std::uint16_t type;
    bool countsFromPart;
    std::uint64_t blocks, restartAt, clock; // 0: goes on at a restart, 1: begins anew, 2: there is none
    std::uint64_t loss, answerLoss, lateness, doubles, pauses, refusals;
    std::int64_t packetGapNs, blockGapNs;
    std::uint64_t buffers;
    std::int64_t holdNs;
    std::uint64_t firstId = 1;
};

/// A datagram on its way, a request on its way to the device, or a buffer on its way back.
struct CEvent {
    std::int64_t atNs = 0;
    std::uint64_t order = 0;
    enum class EKind : std::uint8_t { Datagram, Request, Buffer } kind = EKind::Datagram;
    std::uint64_t block = 0; // place in m_sent
    std::uint32_t packetId = 0, lastId = 0;
    std::uint16_t status = 0;
    std::uint8_t* buffer = nullptr;

    bool operator<(const CEvent& other) const { // the earliest is the greatest
        return atNs != other.atNs ? atNs > other.atNs : order > other.order;
    }
};

class CHistory {
public:
    explicit CHistory(std::uint64_t seed)
        : m_dice(seed), m_scene(m_dice), m_settings(Settings()), m_reference(m_settings, m_scene.buffers),
          m_reassembler(Format(), m_settings), m_memory(m_scene.buffers * kBufferBytes, kUntouched) {
        for (std::uint64_t i = 0; i < m_scene.buffers; ++i) {
            m_held.insert(&m_memory[i * kBufferBytes]);
            Return(&m_memory[i * kBufferBytes]);
        }
        SendBlocks();
    }

    std::string Describe() const {
        std::ostringstream text;
        text << (m_scene.isExtended ? "extended" : "standard") << " ids from " << m_scene.firstId << ", type 0x"
             << std::hex << m_scene.type << std::dec << ", " << m_scene.blocks << " blocks, restart at "
             << m_scene.restartAt << ", clock " << m_scene.clock;
        return text.str();
    }
    void Play() {
        while (!testing::Test::HasFailure()) {
            const std::int64_t tickNs = m_reassembler.NextTickNs();
            if (!m_events.empty() && m_events.front().atNs < tickNs) {
                std::pop_heap(m_events.begin(), m_events.end());
                const CEvent event = m_events.back();
                m_events.pop_back();
                m_nowNs = std::max(m_nowNs, event.atNs);
                Take(event);
            } else if (tickNs != std::numeric_limits<std::int64_t>::max()) {
                ASSERT_GT(tickNs, m_lastTickNs) << "ticks must go on";
                m_lastTickNs = m_nowNs = std::max(m_nowNs, tickNs);
                Tick();
            } else {
                break;
            }
            Settle();
        }
        CheckEnd();
    }

private:
    CResendSettings Settings() {
        CResendSettings settings;
        settings.isEnabled = m_dice.Happens(800);
        settings.window = 1 + static_cast<std::uint32_t>(m_dice.Roll(6));
        settings.threshold = static_cast<std::uint32_t>(m_dice.Roll(4));
        settings.batching = static_cast<std::uint32_t>(m_dice.Roll(3));
        settings.maxRequests = static_cast<std::uint32_t>(m_dice.Roll(7));
        return settings;
    }
    CStreamFormat Format() const {
        return {.packetSize = kPacketSize,
                .payloadBytes = m_scene.blocks % 2 ? kMostBytes : 0,
                .channel = 0,
                .maxOpenBlocks = 6,
                .maxBuffers = static_cast<std::uint32_t>(m_scene.buffers),
                .maxBufferBytes = kBufferBytes};
    }

    void SendBlocks() {
        m_sent.reserve(m_scene.blocks);
        std::int64_t nowNs = 1000 * kMs;
        std::uint64_t id = m_scene.firstId;
        for (std::uint64_t i = 0; i < m_scene.blocks; ++i) {
            if (i + 1 == m_scene.restartAt) {
                BeginAnew(i, id);
                id = 1;
                nowNs += 300 * kMs; // nothing of before is on its way then
                m_restartNs = nowNs;
            }
            m_sent.emplace_back(Shape(i, id));
            id = BlockId::Next(id, m_scene.isExtended);
            Send(i, nowNs);
            nowNs += m_scene.blockGapNs;
        }
    }
    // Without a clock that goes on it takes a second leader, unless the ids leave no doubt.
    void BeginAnew(std::uint64_t place, std::uint64_t formerNext) {
        const bool isJump = !m_scene.isExtended && formerNext - 1 > 32768 + 1;
        m_reference.BeginEpochAt(place + 1, place + (m_scene.clock == 0 || isJump ? 1 : 2));
    }
    CBlockShape Shape(std::uint64_t place, std::uint64_t id) {
        CBlockShape shape{.idOnWire = id, .isExtended = m_scene.isExtended, .type = m_scene.type};
        shape.packetSize = kPacketSize;
        shape.bytes = CSentBlock::kLineBytes * static_cast<std::uint32_t>(2 + m_dice.Roll(kMostBytes / 20 - 1));
        shape.seed = place + 1;
        const std::uint64_t ticks = 1000 * (place + 1);
        shape.timestamp = m_scene.clock == 2                                     ? 0
                          : m_scene.clock == 1 && place + 1 >= m_scene.restartAt ? ticks
                                                                                 : ticks + 500'000;
        shape.firstPartBytes =
            CSentBlock::kLineBytes * static_cast<std::uint32_t>(1 + m_dice.Roll(shape.bytes / 20 - 1));
        shape.countsFromPart = m_scene.countsFromPart;
        return shape;
    }
    // A mix of blocks that nobody could tell, as their ids are equal and the leader is lost, is not played: the first
    // blocks behind a restart arrive. So do the first one of all and the last, for the account to close.
    void Send(std::uint64_t place, std::int64_t& nowNs) {
        const bool isSafe =
            place == 0 || place + 1 == m_scene.blocks || place + 1 == m_scene.restartAt || place == m_scene.restartAt;
        const bool isLost = !isSafe && m_dice.Happens(m_scene.loss / 2);
        for (std::uint32_t id = 0; id <= m_sent[place].trailerId; ++id) {
            m_sentNs.resize(place + 1);
            m_sentNs[place].push_back(nowNs);
            const bool arrives = isSafe || (id == 0 && m_scene.NeedsLeader());
            if (!isLost && (arrives || !m_dice.Happens(m_scene.loss))) {
                const bool isLate = !arrives && m_dice.Happens(m_scene.lateness);
                Add({.atNs = nowNs + (isLate ? 1 + DelayNs(id, m_dice.Roll(6)) : 0), .block = place, .packetId = id});
            }
            if (m_dice.Happens(m_scene.doubles) && !isLost) {
                Add({.atNs = nowNs + DelayNs(id, 1 + m_dice.Roll(8)), .block = place, .packetId = id});
            }
            nowNs += m_scene.packetGapNs;
            if (m_dice.Happens(m_scene.pauses)) {
                nowNs += m_dice.OneOf({30 * kMs, 2000 * kMs, 5500 * kMs});
            }
        }
    }
    // On the way. A leader that comes later, and was not asked for, is of a device that counts anew.
    std::int64_t DelayNs(std::uint32_t packetId, std::uint64_t packets) const {
        const std::int64_t delayNs = static_cast<std::int64_t>(packets) * m_scene.packetGapNs;
        return packetId == 0 ? std::min(delayNs, m_settings.packetTimeoutNs / 2) : delayNs;
    }
    void Add(CEvent event) {
        event.order = m_order++;
        m_events.push_back(event);
        std::push_heap(m_events.begin(), m_events.end());
    }

    void Take(const CEvent& event) {
        switch (event.kind) {
        case CEvent::EKind::Datagram: {
            std::array<std::uint8_t, 512> room;
            const CSentBlock& sent = m_sent[event.block];
            m_reassembler.OnDatagram(sent.Packet(event.packetId, room, event.status), m_nowNs);
            if (!IsError(Status{event.status})) {
                m_reference.OnPacket(event.block + 1, sent, event.packetId, m_nowNs);
            } else if (++m_reference.counts.errorPackets; event.status != 0x8010) {
                m_reference.OnGone(event.block + 1, event.packetId, event.status == 0x8011);
            }
            Tick();
            break;
        }
        case CEvent::EKind::Request:
            Answer(event);
            break;
        case CEvent::EKind::Buffer:
            Return(event.buffer);
            break;
        }
    }
    // The device: answers with packets, or with the reason why there are none.
    void Answer(const CEvent& request) {
        const bool isRefused = m_dice.Happens(m_scene.refusals);
        for (std::uint32_t id = request.packetId; id <= std::min(request.lastId, m_sent[request.block].trailerId);
             ++id) {
            CEvent answer{.atNs = m_nowNs + 200 * kUs, .block = request.block, .packetId = id, .status = 0x0100};
            if (m_sentNs[request.block][id] > m_nowNs) {
                answer.status = m_dice.OneOf(kNotYet);
            } else if (isRefused) {
                answer.status = m_dice.OneOf(kGone);
            }
            if (!m_dice.Happens(m_scene.answerLoss)) {
                Add(answer);
            }
        }
    }
    void Return(std::uint8_t* buffer) {
        ASSERT_EQ(m_held.erase(buffer), 1u);
        std::memset(buffer, kUntouched, kBufferBytes);
        ASSERT_TRUE(m_reassembler.AddBuffer({buffer, {buffer, kBufferBytes}}));
        ++m_reference.freeBuffers;
    }

    void Tick() {
        m_reassembler.OnTick(m_nowNs);
        m_reference.OnTick(m_nowNs);
    }
    // What both have to tell.
    void Settle() {
        for (const CResendCommand& command : m_reassembler.TakeResends()) {
            TakeRequest(command.request);
        }
        for (CFinishedBlock result; m_reassembler.TakeFinished(result);) {
            CheckResult(result);
            auto* const buffer = static_cast<std::uint8_t*>(result.token);
            ASSERT_TRUE(m_held.insert(buffer).second) << "a buffer came back twice";
            if (!m_isOver) {
                Add({.atNs = m_nowNs + m_scene.holdNs, .kind = CEvent::EKind::Buffer, .buffer = buffer});
            }
        }
        ASSERT_EQ(m_reference.Finished(), nullptr) << "a block has ended, and was not handed out";
    }
    void TakeRequest(const ResendRequest& request) {
        ++m_requests;
        ASSERT_LE(request.first, request.last);
        for (const auto& [number, block] : m_reference.open) {
            if (block.sent->shape.idOnWire == request.blockId) {
                ASSERT_FALSE(block.hasEnded);
                ASSERT_FALSE(request.first < block.got.size() && block.got[request.first]) << "it is there already";
                if (!m_dice.Happens(m_scene.answerLoss) &&
                    (m_restartNs == 0 || m_nowNs < m_restartNs - 10 * kMs || number >= m_scene.restartAt)) {
                    Add({.atNs = m_nowNs + 200 * kUs,
                         .kind = CEvent::EKind::Request,
                         .block = number - 1,
                         .packetId = request.first,
                         .lastId = request.last});
                }
                return;
            }
        }
        FAIL() << "asked for packets of a block that is not open";
    }

    void CheckResult(const CFinishedBlock& result) {
        const auto* const expected = m_reference.Finished();
        ASSERT_NE(expected, nullptr) << Explain(result);
        const auto& [number, block] = *expected;
        const CSentBlock& sent = *block.sent;
        ASSERT_EQ(result.end, block.end) << Explain(result);
        ASSERT_EQ(result.fault, block.fault) << Explain(result);
        const auto* const memory = static_cast<const std::uint8_t*>(result.token);
        if (result.end == EBlockEnd::Complete) {
            ASSERT_EQ(result.payloadBytes, sent.shape.bytes);
            ASSERT_EQ(result.timestamp, sent.Timestamp());
            ASSERT_TRUE(sent.IsIn(memory, 0, sent.shape.bytes)) << "bytes of something else";
            ASSERT_TRUE(IsUntouched(memory, sent.shape.bytes, kBufferBytes));
        } else {
            for (std::uint32_t id = 1; id < sent.trailerId; ++id) {
                ASSERT_TRUE(block.got[id] ? sent.IsIn(memory, sent.Offset(id), sent.End(id))
                                          : IsUntouched(memory, sent.Offset(id), sent.End(id)));
            }
            if (block.IsLengthKnown()) {
                ASSERT_EQ(result.missing, block.Missing()) << Explain(result);
            }
            m_isMissingKnown = m_isMissingKnown && block.IsLengthKnown();
        }
        m_reference.DropFinished();
    }
    static bool IsUntouched(const std::uint8_t* memory, std::size_t begin, std::size_t end) {
        return std::all_of(memory + begin, memory + end, [](std::uint8_t byte) { return byte == kUntouched; });
    }

    void CheckEnd() {
        const CStreamCounts& counts = m_reassembler.Counts();
        const CStreamCounts& expected = m_reference.counts;
        ASSERT_EQ(counts.lostBlocks, expected.lostBlocks);
        ASSERT_EQ(counts.underruns, expected.underruns);
        ASSERT_EQ(counts.errorPackets, expected.errorPackets);
        ASSERT_EQ(counts.resynchronizations, expected.resynchronizations);
        ASSERT_EQ(counts.resendCommands, m_requests);
        ASSERT_EQ(counts.complete, expected.complete);
        ASSERT_EQ(counts.packets, expected.packets);
        ASSERT_EQ(counts.doubledPackets, expected.doubledPackets);
        ASSERT_EQ(counts.ignoredPackets, expected.ignoredPackets);
        if (m_isMissingKnown) {
            ASSERT_EQ(counts.missingPackets, expected.missingPackets);
        }
        if (m_restartNs == 0) {
            ASSERT_EQ(m_scene.blocks, counts.complete + counts.failed + counts.lostBlocks + counts.underruns);
        }
        m_isOver = true;
        m_reassembler.CancelAll();
        for (CFinishedBlock result; m_reassembler.TakeFinished(result);) {
            ASSERT_EQ(result.end, EBlockEnd::Canceled);
            ASSERT_TRUE(m_held.insert(static_cast<std::uint8_t*>(result.token)).second);
        }
        ASSERT_EQ(m_held.size(), m_scene.buffers);
    }

    static constexpr std::uint32_t kPacketSize = 160;
    static constexpr std::uint32_t kMostBytes = 600;
    static constexpr std::uint16_t kGone[] = {0x800C, 0x8011, 0x8012};
    static constexpr std::uint16_t kNotYet[] = {0x8010, 0x800C};

    CDice m_dice;
    const CScene m_scene;
    const CResendSettings m_settings;
    CReference m_reference;
    CReassembler m_reassembler;
    std::vector<std::uint8_t> m_memory;
    std::set<std::uint8_t*> m_held; // by the application
    std::vector<CSentBlock> m_sent;
    std::vector<std::vector<std::int64_t>> m_sentNs; // each packet's
    std::int64_t m_restartNs = 0;
    std::vector<CEvent> m_events; // a heap
    std::uint64_t m_order = 0, m_requests = 0;
    std::int64_t m_nowNs = 0, m_lastTickNs = 0;
    bool m_isMissingKnown = true, m_isOver = false;
};

std::uint64_t FromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* const text = std::getenv(name);
    return text ? std::stoull(text) : otherwise;
}

TEST(ReassemblerPropertyTest, EachHistoryEndsAsTheReferenceSays) {
    const std::uint64_t first = FromEnvironment("ZELMO_TEST_FIRST_SEED", 1);
    const std::uint64_t histories = FromEnvironment("ZELMO_TEST_HISTORIES", 20'000);
    for (std::uint64_t seed = first; seed < first + histories; ++seed) {
        CHistory history(seed);
        history.Play();
        ASSERT_FALSE(HasFailure()) << "ZELMO_TEST_FIRST_SEED=" << seed << ": " << history.Describe();
    }
}

} // namespace
