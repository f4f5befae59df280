// SPDX-License-Identifier: Apache-2.0
#include "StreamChannel.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace Serving {

using CamEmu::CFrame;
using EPlace = CBlock::EPlace;

namespace {

// Between camera and sender: what the camera makes while the sender does not get to run.
constexpr std::size_t kInFlightBytes = 16u << 20, kMinInFlight = 4, kMaxInFlight = 64;
static_assert(kMaxInFlight <= CStreamSender::kMaxWaiting);

} // namespace

// A block is in one place at a time: free → camera (queued, or drawn into) → sender (waits, or is sent) → history
// → free. OnFrame moves it on from the camera, OnSent from the sender, OnReleased from there or the history.

CStreamChannel::CStreamChannel(CamEmu::CCamera& camera, CServingFaults& faults, CRateBudgets& budgets,
                               std::uint32_t address)
    : m_camera(camera), m_faults(faults), m_budgets(budgets), m_address(address) {}

std::uint16_t CStreamChannel::Open(const CStreamSettings& settings) {
    TakeSender().reset();
    IBlockHome& home = *this;
    const PluginKit::CLockGuard lock(m_lock);
    m_sender = std::make_unique<CStreamSender>(m_address, settings, m_faults, m_budgets, m_counts, m_isMuted, home);
    m_settings = settings;
    m_base = m_takesFrames ? -static_cast<std::int64_t>(m_camera.Stream().Counters().begun) : 0;
    m_lastId = 0;
    m_layoutId = 0;
    m_layoutBytes = 0;
    return m_sender->Port();
}

void CStreamChannel::Apply(const CStreamSettings& settings) {
    const PluginKit::CLockGuard lock(m_lock);
    m_settings = settings;
    if (m_sender) {
        m_sender->Apply(settings);
    }
}

void CStreamChannel::Close() noexcept {
    const bool tookFrames = m_takesFrames;
    StopFrames();
    if (tookFrames) {
        m_camera.Stream().StopAcquisition();
    }
    TakeSender().reset();
    const PluginKit::CLockGuard lock(m_lock);
    m_free.clear();
    m_blocks.clear();
}

// Ended without the lock, which its thread takes.
std::unique_ptr<CStreamSender> CStreamChannel::TakeSender() {
    const PluginKit::CLockGuard lock(m_lock);
    return std::move(m_sender);
}

bool CStreamChannel::IsOpen() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_sender != nullptr;
}

bool CStreamChannel::TakesFrames() const {
    return m_takesFrames;
}

void CStreamChannel::StartFrames() {
    if (m_takesFrames) {
        return;
    }
    if (m_camera.Faults().FailsStart()) {
        throw std::system_error(std::make_error_code(std::errc::io_error), "Cannot start the stream of camera " +
                                                                               std::to_string(m_camera.Number()) +
                                                                               ": ForceFailedStart was executed");
    }
    const CamEmu::CLockedFormat locked = m_camera.LockFormat();
    try {
        Prepare(locked.payloadSize);
        m_camera.Stream().Start(locked.format, *this);
    } catch (...) {
        EndFeeding();
        m_camera.Stream().DropQueued();
        TakeBackFromCamera();
        m_camera.UnlockFormat();
        throw;
    }
}

// Blocks are with the camera before it begins: the first frame must not be lost for want of one.
void CStreamChannel::Prepare(std::size_t payloadBytes) {
    const PluginKit::CLockGuard lock(m_lock);
    MakeBlocks(payloadBytes);
    m_camera.Stream().Reserve(m_maxInFlight);
    m_takesFrames = true;
    FeedCamera();
}

// The sender may still hold blocks of another size: they are freed when they come back.
void CStreamChannel::MakeBlocks(std::size_t payloadBytes) {
    m_payloadBytes = payloadBytes;
    m_free.clear();
    std::erase_if(m_blocks, [&](const auto& block) {
        return block->place == EPlace::Free && block->MemoryBytes() != payloadBytes;
    });
    m_maxInFlight = std::clamp(kInFlightBytes / payloadBytes, kMinInFlight, kMaxInFlight);
    const std::size_t needed = CHistoryLimits().BlocksOf(payloadBytes) + m_maxInFlight;
    std::size_t usable = 0;
    for (const std::unique_ptr<CBlock>& block : m_blocks) {
        usable += block->MemoryBytes() == payloadBytes ? 1 : 0;
    }
    for (; usable < needed; ++usable) {
        m_blocks.push_back(std::make_unique<CBlock>(payloadBytes));
    }
    m_free.reserve(m_blocks.size());
    for (const std::unique_ptr<CBlock>& block : m_blocks) {
        if (block->place == EPlace::Free) {
            m_free.push_back(block.get());
        }
    }
}

// With the lock, so that nobody is about to queue a block: it would lie in the camera's queue for the next start.
bool CStreamChannel::EndFeeding() noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    return m_takesFrames.exchange(false);
}

void CStreamChannel::StopFrames() noexcept {
    if (!EndFeeding()) {
        return;
    }
    m_camera.Stream().Stop();
    m_camera.Stream().DropQueued();
    TakeBackFromCamera();
    {
        const PluginKit::CLockGuard lock(m_lock);
        const CamEmu::CStreamCounters counters = m_camera.Stream().Counters();
        m_base += static_cast<std::int64_t>(counters.begun);
        m_lost += counters.lost;
    }
    m_camera.UnlockFormat();
}

void CStreamChannel::TakeBackFromCamera() noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    for (const std::unique_ptr<CBlock>& block : m_blocks) {
        if (block->place == EPlace::Camera) {
            Move(*block, EPlace::Free);
            m_free.push_back(block.get());
        }
    }
}

std::uint64_t CStreamChannel::BlockIdOf(std::uint64_t frame) const {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(0, m_base + static_cast<std::int64_t>(frame) + 1));
}

void CStreamChannel::Resend(const GigEVision::ResendRequest& request, const CEndpoint& requester) {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_sender && request.channel == 0 && !m_isMuted) {
        m_sender->Ask(request, requester);
    }
}

void CStreamChannel::SendTestPacket(std::uint32_t packetSize, bool doNotFragment) {
    const PluginKit::CLockGuard lock(m_lock);
    if (m_sender && !m_takesFrames && m_settings.destination.address != 0 && m_sender->IsIdle()) {
        m_sender->Test({packetSize, doNotFragment});
    }
}

CStreamCounts CStreamChannel::Counts() const {
    const PluginKit::CLockGuard lock(m_lock);
    CStreamCounts counts;
    counts.blocks = m_counts.blocks;
    counts.packets = m_counts.packets;
    counts.bytes = m_counts.bytes;
    counts.resendRequests = m_counts.resendRequests;
    counts.resentPackets = m_counts.resentPackets;
    counts.refusedPackets = m_counts.refusedPackets;
    counts.lostBlocks = m_lost + (m_takesFrames ? m_camera.Stream().Counters().lost : 0);
    counts.unsentBlocks = m_unsent;
    counts.sendErrors = m_counts.sendErrors;
    counts.oversized = m_counts.oversized;
    return counts;
}

void CStreamChannel::SetAddress(std::uint32_t address) {
    const PluginKit::CLockGuard lock(m_lock);
    m_address = address;
}

void CStreamChannel::OnFrame(const CFrame& frame) noexcept {
    CBlock& block = *static_cast<CBlock*>(frame.buffer.context);
    const PluginKit::CLockGuard lock(m_lock);
    if (!SendFrame(block, frame)) {
        ++m_unsent;
        Free(block);
    }
    FeedCamera();
}

// Answers false when there is nobody to send it to. A frame that had begun before the channel was opened has no id.
bool CStreamChannel::SendFrame(CBlock& block, const CFrame& frame) {
    const std::uint64_t id = BlockIdOf(frame.blockId);
    if (!m_sender || id == 0 || m_settings.destination.address == 0) {
        return false;
    }
    block.Prepare(frame, NextIds(frame, id), m_settings);
    Move(block, EPlace::Sender);
    return m_sender->Send(block);
}

CBlockIds CStreamChannel::NextIds(const CFrame& frame, std::uint64_t id) {
    CBlockIds ids;
    if (id != 1 && m_faults.Strikes(EFault::BlockIdRestart, id)) {
        m_base -= static_cast<std::int64_t>(id - 1);
        m_lastId = 0;
        id = 1;
    }
    ids.number = id;
    ids.isPreviousDropped = id != m_lastId + 1;
    m_lastId = id;
    ids.sent = m_faults.Strikes(EFault::BlockIdZero, id) ? 0 : id;
    if (frame.hasChunks) {
        ids.layoutId = LayoutIdOf(frame);
    } else if (frame.payloadSize != 0 && m_faults.Strikes(EFault::PayloadSize, id)) {
        ids.droppedLines = m_faults.Parameter(EFault::PayloadSize);
    }
    return ids;
}

// Chunks lie where they lay before if there are the same ones behind an image of the same size.
std::uint32_t CStreamChannel::LayoutIdOf(const CFrame& frame) {
    const std::size_t imageBytes = frame.region.PayloadSize();
    if (imageBytes != m_layoutBytes || frame.chunks != m_layoutChunks) {
        m_layoutBytes = imageBytes;
        m_layoutChunks = frame.chunks;
        ++m_layoutId;
    }
    return m_layoutId;
}

void CStreamChannel::OnSent(CBlock& block) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    Move(block, EPlace::History);
    FeedCamera();
}

void CStreamChannel::OnReleased(CBlock& block) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    Free(block);
    FeedCamera();
}

void CStreamChannel::Free(CBlock& block) noexcept {
    Move(block, EPlace::Free);
    if (block.MemoryBytes() == m_payloadBytes) {
        m_free.push_back(&block);
    } else {
        std::erase_if(m_blocks, [&](const auto& owned) { return owned.get() == &block; });
    }
}

void CStreamChannel::Move(CBlock& block, EPlace place) {
    const auto isInFlight = [](EPlace at) { return at == EPlace::Camera || at == EPlace::Sender; };
    m_blocksInFlight += isInFlight(place) ? 1 : 0;
    m_blocksInFlight -= isInFlight(block.place) ? 1 : 0;
    block.place = place;
}

void CStreamChannel::FeedCamera() noexcept {
    while (m_takesFrames && !m_free.empty() && m_blocksInFlight < m_maxInFlight) {
        CBlock& block = *m_free.back();
        m_free.pop_back();
        Move(block, EPlace::Camera);
        m_camera.Stream().Queue({block.Memory(), &block});
    }
}

} // namespace Serving
