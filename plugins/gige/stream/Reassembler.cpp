// SPDX-License-Identifier: Apache-2.0
#include "Reassembler.h"

#include "BlockIds.h"
#include "OpenBlock.h"
#include "ResendPlanner.h"

#include <algorithm>
#include <array>
#include <deque>
#include <utility>
#include <vector>

namespace Gige {

using namespace GigEVision;
typedef COpenBlock::ETaken ETaken;

namespace {

// A queue in a room of fixed size.
template <class T>
class CRing {
public:
    explicit CRing(std::size_t room) : m_items(room) {}
    std::size_t Size() const { return m_size; }
    bool IsFull() const { return m_size == m_items.size(); }
    void Push(const T& item) { m_items[(m_first + m_size++) % m_items.size()] = item; }
    T Pop() {
        const T item = m_items[m_first];
        m_first = (m_first + 1) % m_items.size();
        --m_size;
        return item;
    }

private:
    std::vector<T> m_items;
    std::size_t m_first = 0, m_size = 0;
};

// More packets than a buffer can take are none of its block. Ones that carry offsets have less data, and each part of a
// block may end with a short one.
std::uint32_t PacketRoom(const CStreamFormat& format) {
    constexpr std::uint32_t kHeaders = 64, kLeastData = 64, kParts = 256, kLeaderAndTrailer = 4;
    const std::uint32_t data = std::max(format.packetSize, kHeaders + kLeastData) - kHeaders;
    return format.maxBufferBytes / data + kParts + kLeaderAndTrailer;
}

// The file's name is not needed, and would take memory.
std::optional<Leader> DecodeLeaderInPlace(const PacketHeader& header, Bytes content) {
    constexpr std::size_t kFileBytes = 20;
    std::array<std::uint8_t, kFileBytes + 1> file = {};
    if (content.size() > kFileBytes && GetBigEndian<std::uint16_t>(content.data() + 2) != 0 &&
        PayloadType::BaseOf(GetBigEndian<std::uint16_t>(content.data() + 2)) == PayloadType::kFile) {
        std::copy_n(content.begin(), kFileBytes, file.begin());
        return DecodeLeader(header, file);
    }
    return DecodeLeader(header, content);
}

bool IsPayload(const PacketHeader& header) {
    return header.format == static_cast<std::uint8_t>(PacketFormat::Generic) ||
           (header.format >= static_cast<std::uint8_t>(PacketFormat::H264) &&
            header.format <= static_cast<std::uint8_t>(PacketFormat::GenDc));
}

} // namespace

struct CReassembler::CState {
    CState(const CStreamFormat& given, const CResendSettings& resends);

    void OnPacket(const StreamPacket& packet);
    void OnError(const PacketHeader& header);
    void OnData(const StreamPacket& packet, const Leader* leader, const AllIn* allIn);
    COpenBlock* Find(std::uint64_t idOnWire);
    bool BeginsAnew(const COpenBlock& block, const PacketHeader& header, std::uint64_t timestamp) const;
    bool MayBeAwaited(const COpenBlock& block) const;
    COpenBlock* OpenFor(const PacketHeader& header, std::optional<std::uint64_t> timestamp, bool isAnew);
    void NoteTaken(COpenBlock& block, const PacketHeader& header, ETaken taken, std::uint32_t formerEnd);
    void End(COpenBlock& block, EBlockEnd end, EBlockFault fault);
    void FailOldest(EBlockFault fault);
    void FailAll();
    void HandOut(COpenBlock& block);
    void HandOutEnded();
    void EndOverdue();
    std::int64_t DeadlineNs(const COpenBlock& block) const;
    std::size_t Window() const;

    const CStreamFormat format;
    CResendSettings settings;
    CResendPlanner planner;
    CBlockIds ids;
    CMultiPartOffsets offsets;
    CRing<CFreeBuffer> free;
    CRing<CFinishedBlock> finished;
    std::deque<COpenBlock> blocks; // all there are
    std::vector<COpenBlock*> idle; // of these
    std::vector<COpenBlock*> open; // oldest first; the first one has not ended
    COpenBlock* current = nullptr; // that the last packet was of
    std::int64_t nowNs = 0, restartedNs = 0;
    bool marksRepeated = false;             // the device: a packet was marked as sent again
    std::optional<std::uint64_t> overrunId; // on the wire: the device has told it of a block that is not open
    std::uint32_t droppedTotal = 0;
    std::uint32_t freshDrops = 0; // just before the next datagram
    bool areCommandsTaken = false;
    CStreamCounts counts;
};

CReassembler::CState::CState(const CStreamFormat& given, const CResendSettings& resends)
    : format(given), settings(resends), planner(given, resends), free(std::max(1u, given.maxBuffers)),
      finished(std::max(1u, given.maxBuffers)) {
    const std::uint32_t room = PacketRoom(format);
    open.reserve(std::max(1u, format.maxOpenBlocks));
    for (std::uint32_t i = 0; i < std::max(1u, format.maxOpenBlocks); ++i) {
        idle.push_back(&blocks.emplace_back(room));
    }
}

void CReassembler::CState::OnPacket(const StreamPacket& packet) {
    const PacketHeader& header = packet.header;
    if (IsError(header.status)) {
        ++counts.errorPackets;
        OnError(header);
    } else if (header.Is(PacketFormat::Leader)) {
        const auto leader = DecodeLeaderInPlace(header, packet.content);
        leader&& header.packetId == 0 ? OnData(packet, &*leader, nullptr) : void(++counts.ignoredPackets);
    } else if (header.Is(PacketFormat::AllIn)) {
        const auto allIn = format.acceptsAllIn ? DecodeAllIn(header, packet.content) : std::nullopt;
        allIn&& header.packetId == 0 ? OnData(packet, &allIn->leader, &*allIn) : void(++counts.ignoredPackets);
    } else if (header.packetId != 0 && (IsPayload(header) || header.Is(PacketFormat::Trailer))) {
        OnData(packet, nullptr, nullptr);
    } else {
        ++counts.ignoredPackets;
    }
}

// What will never come fails a block at once. But of what the device has not sent yet, behind all that came of the
// newest block, some say the same; and of packets that the block does not have, as it is smaller than was expected.
void CReassembler::CState::OnError(const PacketHeader& header) {
    COpenBlock* const block = Find(header.blockId);
    if (!block) {
        overrunId = header.status == Status::DataOverrun ? std::optional(header.blockId) : overrunId;
        return;
    }
    if (block->HasEnded()) {
        return;
    }
    if (header.status == Status::DataOverrun) {
        block->NoteStatus(header.status);
        return End(*block, EBlockEnd::Failed, EBlockFault::DataOverrun);
    }
    const CPacketMap& map = block->Map();
    const bool isNotYet = header.status == Status::PacketNotYetAvailable ||
                          header.status == Status::PacketTemporarilyUnavailable ||
                          (block->laterSeenNs == kNever && !block->HasTrailer() && header.packetId >= map.End());
    const std::uint32_t highest = map.End() - (block->HasTrailer() ? 1 : 0); // that the block has for sure
    const std::uint32_t first = header.status == Status::PacketAndPreviousRemoved ? 0 : header.packetId;
    const std::uint32_t end = std::min(header.packetId, highest) + 1;
    if (isNotYet) {
        planner.OnNotYet(*block, header.packetId, nowNs);
    } else if (first < end && map.NextMissing(first, end) < end) {
        block->NoteStatus(header.status);
        End(*block, EBlockEnd::Failed, EBlockFault::PacketsGone);
    }
}

void CReassembler::CState::OnData(const StreamPacket& packet, const Leader* leader, const AllIn* allIn) {
    const PacketHeader& header = packet.header;
    COpenBlock* block = Find(header.blockId);
    const auto timestamp = leader ? std::optional(leader->timestamp) : std::nullopt;
    marksRepeated = marksRepeated || header.IsRepeated();
    const bool isAnew = block && leader && BeginsAnew(*block, header, *timestamp);
    if (block && block->HasEnded() && !isAnew) {
        ++(block->Map().Has(header.packetId) ? counts.doubledPackets : counts.ignoredPackets);
        return;
    }
    const bool mayOpen = !header.IsRepeated(); // it was asked for, so its block is open, or was
    if ((!block || isAnew) && !(block = mayOpen ? OpenFor(header, timestamp, isAnew) : nullptr)) {
        ++counts.ignoredPackets;
        return;
    }
    const std::uint32_t formerEnd = block->Map().End();
    ETaken taken = ETaken::Ignored;
    if (allIn) {
        taken = block->TakeAllIn(*allIn, format);
    } else if (leader) {
        taken = block->TakeLeader(*leader, format, header.packetId);
    } else if (header.Is(PacketFormat::Trailer)) {
        taken = block->TakeTrailer(packet.content, format, header.packetId);
    } else {
        taken = block->TakePayload(packet, format, offsets);
    }
    if (leader && taken == ETaken::New) {
        ids.NoteLeader(block->Id(), leader->timestamp);
    }
    NoteTaken(*block, header, taken, formerEnd);
}

void CReassembler::CState::NoteTaken(COpenBlock& block, const PacketHeader& header, ETaken taken,
                                     std::uint32_t formerEnd) {
    switch (taken) {
    case ETaken::New:
        ++counts.packets;
        block.lastNewNs = nowNs;
        block.NoteStatus(header.status);
        if (header.packetId != formerEnd || block.resends.tailOpen != 0) {
            counts.resentPackets += planner.OnPacket(block, header.packetId, formerEnd, nowNs);
        }
        if (block.IsComplete()) {
            End(block, EBlockEnd::Complete, EBlockFault::None);
        } else if (block.Fault() != EBlockFault::None) {
            End(block, EBlockEnd::Failed, block.Fault());
        }
        break;
    case ETaken::Doubled:
        ++counts.doubledPackets;
        break;
    case ETaken::Ignored:
        ++counts.ignoredPackets;
        break;
    case ETaken::Faulty:
        ++counts.ignoredPackets;
        End(block, EBlockEnd::Failed, block.Fault());
        break;
    }
}

// Few are open, and packets come in runs.
COpenBlock* CReassembler::CState::Find(std::uint64_t idOnWire) {
    if (current && current->IdOnWire() == idOnWire) {
        return current;
    }
    const auto found = std::find_if(open.rbegin(), open.rend(),
                                    [&](const COpenBlock* block) { return block->IdOnWire() == idOnWire; });
    return found == open.rend() ? nullptr : current = *found;
}

// A leader that nobody asked for, and that comes long after the rest, is not of the block that lacks one, nor is a
// second one with another time: the device counts anew, and has come to the same id.
bool CReassembler::CState::BeginsAnew(const COpenBlock& block, const PacketHeader& header,
                                      std::uint64_t timestamp) const {
    const CPacketMap& map = block.Map();
    const bool isOther = map.Has(0) ? block.Result().timestamp != timestamp : !MayBeAwaited(block);
    return isOther && !header.IsRepeated() && nowNs - block.lastNewNs > settings.packetTimeoutNs &&
           (&block == open.back() || ids.IsNewer(timestamp));
}

// Whether a leader that is not marked as sent again may be the one that was asked for, alone or with all the rest.
bool CReassembler::CState::MayBeAwaited(const COpenBlock& block) const {
    const auto& askedNs = block.resends.leaderAskedNs;
    return askedNs && nowNs - *askedNs < settings.frameRetentionNs && !marksRepeated;
}

// The block that a packet of none that is open begins; none when it is not new, or there is no buffer for it.
COpenBlock* CReassembler::CState::OpenFor(const PacketHeader& header, std::optional<std::uint64_t> timestamp,
                                          bool isAnew) {
    if (nowNs - restartedNs >= settings.frameRetentionNs) {
        ids.ForgetFormer();
    }
    const CBlockIds::CVerdict verdict = isAnew ? ids.BeginAnew(header, *timestamp) : ids.Judge(header, timestamp);
    if (verdict.kind == CBlockIds::EKind::Behind) {
        return nullptr;
    }
    counts.lostBlocks += verdict.lost;
    counts.lastBlockId = verdict.id;
    if (verdict.kind == CBlockIds::EKind::Restarted) {
        ++counts.resynchronizations;
        restartedNs = nowNs;
        FailAll();
    }
    for (COpenBlock* const block : open) {
        block->laterSeenNs = std::min(block->laterSeenNs, nowNs);
    }
    while (open.size() >= Window()) {
        FailOldest(EBlockFault::WindowFull);
    }
    if (free.Size() == 0) {
        ++counts.underruns;
        return nullptr;
    }
    COpenBlock* const block = idle.back();
    idle.pop_back();
    open.push_back(block);
    block->Open(verdict.id, header, free.Pop(), nowNs);
    block->droppedByHost = freshDrops;
    if (std::exchange(overrunId, std::nullopt) == header.blockId) {
        block->NoteStatus(Status::DataOverrun);
        End(*block, EBlockEnd::Failed, EBlockFault::DataOverrun);
        return nullptr;
    }
    return current = block;
}

void CReassembler::CState::End(COpenBlock& block, EBlockEnd end, EBlockFault fault) {
    block.End(end, fault, format);
    planner.Forget(block);
    HandOutEnded();
}

void CReassembler::CState::FailOldest(EBlockFault fault) {
    COpenBlock& block = *open.front();
    const bool isLeaderMissing = fault == EBlockFault::PacketsMissing && !block.Map().Has(0);
    End(block, EBlockEnd::Failed, isLeaderMissing ? EBlockFault::LeaderMissing : fault);
}

// The device has begun anew, and has nothing more of what it sent before.
void CReassembler::CState::FailAll() {
    while (!open.empty()) {
        FailOldest(EBlockFault::PacketsMissing);
    }
}

void CReassembler::CState::HandOut(COpenBlock& block) {
    const CFinishedBlock& result = block.Result();
    counts.complete += result.end == EBlockEnd::Complete;
    counts.failed += result.end == EBlockEnd::Failed;
    counts.missingPackets += result.missing;
    finished.Push(result);
    idle.push_back(&block);
    current = nullptr;
}

void CReassembler::CState::HandOutEnded() {
    std::size_t ended = 0;
    while (ended < open.size() && open[ended]->HasEnded()) {
        HandOut(*open[ended++]);
    }
    open.erase(open.begin(), open.begin() + static_cast<std::ptrdiff_t>(ended));
}

std::int64_t CReassembler::CState::DeadlineNs(const COpenBlock& block) const {
    if (block.HasEnded()) {
        return kNever;
    }
    if (block.laterSeenNs != kNever) {
        // whole ones behind it hold buffers, and nothing but a packet that was overtaken can still come
        const bool isHeldInVain = !settings.isEnabled && free.Size() == 0;
        return std::max(block.lastNewNs, block.laterSeenNs) +
               (isHeldInVain ? std::min(settings.timeoutNs, settings.frameRetentionNs) : settings.frameRetentionNs);
    }
    return block.HasOnlyLeader() ? kNever : block.lastNewNs + settings.newestRetentionNs;
}

void CReassembler::CState::EndOverdue() {
    for (std::size_t i = 0; i < open.size();) {
        COpenBlock& block = *open[i];
        if (DeadlineNs(block) > nowNs) {
            ++i;
            continue;
        }
        block.End(EBlockEnd::Failed, block.Map().Has(0) ? EBlockFault::PacketsMissing : EBlockFault::LeaderMissing,
                  format);
        planner.Forget(block);
    }
    HandOutEnded();
}

// Whole blocks behind one that is not hold the buffers, so there are no more of them than buffers. But a single buffer
// stays with its block for as long as an answer to a request may take: the next block is lost either way.
std::size_t CReassembler::CState::Window() const {
    const bool isSingleAwaited = format.maxBuffers == 1 && settings.isEnabled && !open.empty() &&
                                 nowNs - open.front()->laterSeenNs < settings.responseTimeoutNs;
    const std::uint32_t most = isSingleAwaited ? 2 : format.maxBuffers;
    return std::clamp<std::size_t>(std::min(settings.window, most), 1, blocks.size());
}

CReassembler::CReassembler(const CStreamFormat& format, const CResendSettings& settings)
    : m_state(std::make_unique<CState>(format, settings)) {}

CReassembler::~CReassembler() = default;

void CReassembler::Change(const CResendSettings& settings) {
    m_state->settings = settings;
    m_state->planner.Change(settings);
}

bool CReassembler::AddBuffer(const CFreeBuffer& buffer) {
    if (Buffers() >= m_state->format.maxBuffers) {
        return false;
    }
    m_state->free.Push(buffer);
    return true;
}

void CReassembler::OnDatagram(Bytes datagram, std::int64_t nowNs) {
    m_state->nowNs = nowNs;
    if (const auto packet = DecodePacket(datagram)) {
        m_state->OnPacket(*packet);
    } else {
        ++m_state->counts.ignoredPackets;
    }
    m_state->freshDrops = 0;
}

void CReassembler::OnForeign() noexcept {
    ++m_state->counts.ignoredPackets;
}

void CReassembler::OnDroppedByHost(std::uint32_t total) {
    const std::uint32_t more = total - m_state->droppedTotal; // the kernel's count goes round
    if (more == 0) {
        return;
    }
    m_state->droppedTotal = total;
    m_state->counts.droppedByHost += more;
    m_state->freshDrops += more;
    for (COpenBlock* const block : m_state->open) {
        block->droppedByHost += more;
    }
    m_state->planner.OnDroppedByHost(m_state->nowNs);
}

void CReassembler::OnTick(std::int64_t nowNs) {
    m_state->nowNs = nowNs;
    m_state->EndOverdue();
    if (std::exchange(m_state->areCommandsTaken, false)) {
        m_state->planner.ClearCommands();
    }
    m_state->planner.Plan(m_state->open, nowNs);
}

std::int64_t CReassembler::NextTickNs() const {
    std::int64_t next = m_state->planner.NextNs(m_state->open);
    for (const COpenBlock* const block : m_state->open) {
        next = std::min(next, m_state->DeadlineNs(*block));
    }
    return next;
}

std::span<const CResendCommand> CReassembler::TakeResends() {
    if (m_state->areCommandsTaken) {
        return {};
    }
    m_state->areCommandsTaken = true;
    m_state->counts.resendCommands += m_state->planner.Commands().size();
    m_state->counts.resendPackets += m_state->planner.CommandedPackets();
    return m_state->planner.Commands();
}

bool CReassembler::TakeFinished(CFinishedBlock& block) {
    if (m_state->finished.Size() == 0) {
        return false;
    }
    block = m_state->finished.Pop();
    return true;
}

void CReassembler::CancelAll() {
    CState& state = *m_state;
    for (const bool isEnded : {true, false}) {
        for (COpenBlock* const block : state.open) {
            if (block->HasEnded() == isEnded) {
                if (!isEnded) {
                    ++state.counts.canceled;
                    block->End(EBlockEnd::Canceled, EBlockFault::None, state.format);
                    state.planner.Forget(*block);
                }
                state.HandOut(*block);
            }
        }
    }
    state.open.clear();
    while (state.free.Size() > 0) {
        const CFreeBuffer buffer = state.free.Pop();
        CFinishedBlock canceled;
        canceled.token = buffer.token;
        canceled.bufferBytes = buffer.memory.size();
        state.finished.Push(canceled);
    }
}

std::size_t CReassembler::Buffers() const {
    return m_state->free.Size() + m_state->open.size() + m_state->finished.Size();
}

const CStreamCounts& CReassembler::Counts() const {
    return m_state->counts;
}

} // namespace Gige
