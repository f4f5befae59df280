// SPDX-License-Identifier: Apache-2.0
#include "StreamSource.h"

#include "net/UdpSocket.h"

#include <core/RegisterMap.h>

#include <algorithm>
#include <ctime>
#include <sys/prctl.h>

namespace gige_bench {

namespace {

void SleepUntil(std::int64_t timeNs) {
    constexpr std::int64_t kSecondNs = 1'000'000'000;
    const timespec time = {timeNs / kSecondNs, timeNs % kSecondNs};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) != 0) {
    }
}

} // namespace

CStreamSource::CStreamSource(std::uint32_t address, std::uint32_t side, std::uint32_t packetSize, std::size_t burst)
    : m_side(side), m_packetSize(packetSize), m_burst(std::min(burst, Serving::CDatagramBatch::kMaxDatagrams)),
      m_socket(address), m_block(std::size_t{side} * side) {
    std::uint8_t value = 0;
    std::ranges::generate(m_block.Memory(), [&] { return value = static_cast<std::uint8_t>(value * 5 + 1); });
    PrepareBlock();
}

void CStreamSource::Begin(const PluginKit::CEndpoint& destination) {
    m_batch.Clear();
    m_batch.SendTo({destination.address, destination.port}, false);
    m_number = 1;
    m_nextPacket = 0;
    PrepareBlock();
}

void CStreamSource::PrepareBlock() {
    CamEmu::CFrame frame;
    frame.status = CamEmu::EFrameStatus::Complete;
    frame.region = {m_side, m_side, 0, 0, &CamEmu::PixelFormats()[0]};
    frame.payloadSize = m_block.MemoryBytes();
    frame.timestampNs = static_cast<std::int64_t>(m_number);
    m_block.Prepare(frame, {.number = m_number, .sent = m_number}, {.packetSize = m_packetSize});
}

std::size_t CStreamSource::SendBurst() {
    m_batch.Clear();
    std::size_t imageBytes = 0;
    while (m_batch.Count() < m_burst && m_nextPacket <= m_block.TrailerId()) {
        imageBytes += m_block.Slice(m_nextPacket).size();
        m_batch.AddPacket(m_block, m_nextPacket++, {}, Serving::CDatagramBatch::EKind::New);
    }
    const bool isLast = m_nextPacket > m_block.TrailerId();
    if (isLast) {
        m_sentNs[m_number % kStamps].store(Gige::MonotonicNs(), std::memory_order_release);
    }
    for (std::size_t sent = 0; sent < m_batch.Count();) {
        const auto messages = m_batch.From(sent);
        const int count = sendmmsg(m_socket.Number(), messages.data(), static_cast<unsigned>(messages.size()), 0);
        sent += count > 0 ? static_cast<std::size_t>(count) : 1; // refused: lost
    }
    if (isLast) {
        m_nextPacket = 0;
        ++m_number;
        PrepareBlock();
    }
    return imageBytes;
}

CPacer::CPacer(std::span<CStreamSource* const> sources, double bytesPerSecond) : m_bytesPerSecond(bytesPerSecond) {
    for (CStreamSource* const source : sources) {
        m_dues.push_back({source});
    }
}

double CPacer::Send(std::uint64_t blocks) {
    constexpr std::int64_t kApartNs = 100'000; // cameras do not send at the same moment
    prctl(PR_SET_TIMERSLACK, 1);
    const std::int64_t startNs = Gige::MonotonicNs();
    for (std::size_t i = 0; i < m_dues.size(); ++i) {
        m_dues[i].startNs = m_dues[i].timeNs = startNs + static_cast<std::int64_t>(i) * kApartNs;
    }
    const auto cameras = static_cast<double>(m_dues.size());
    while (!m_dues.empty()) {
        SendNext(blocks);
    }
    return 1e9 * static_cast<double>(m_bytes) / static_cast<double>(Gige::MonotonicNs() - startNs) / cameras;
}

void CPacer::SendNext(std::uint64_t blocks) {
    const auto next = std::ranges::min_element(m_dues, {}, &CDue::timeNs);
    if (next->timeNs > Gige::MonotonicNs()) {
        SleepUntil(next->timeNs);
    }
    const std::size_t bytes = next->source->SendBurst();
    next->bytes += bytes;
    m_bytes += bytes;
    if (m_bytesPerSecond > 0) {
        const double seconds = static_cast<double>(next->bytes) / m_bytesPerSecond;
        next->timeNs = next->startNs + static_cast<std::int64_t>(1e9 * seconds);
    }
    if (next->source->Blocks() >= blocks) {
        m_dues.erase(next);
    }
}

} // namespace gige_bench
