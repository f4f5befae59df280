// SPDX-License-Identifier: Apache-2.0
#include "StreamSender.h"

#include <core/AcquisitionClock.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <pthread.h>
#include <sys/prctl.h>
#include <utility>

namespace Serving {

using namespace GigEVision;

namespace {

// A receiver with the socket buffer that a system grants by default holds so much.
constexpr std::size_t kBurstDatagrams = 16, kBurstBytes = 64u << 10;
// Pauses between packets shorter than that are made up of longer ones between bursts.
constexpr std::uint64_t kFinestPauseNs = 250'000;
constexpr std::int64_t kRetryNs = 1'000'000; // when the kernel has no memory

// Of all sizes that a register of 16 bits holds. Block id 0 makes it a test packet; the rest is arbitrary.
Bytes TestDatagram(std::uint32_t packetSize) {
    static const auto kData = [] {
        std::array<std::uint8_t, 65536> bytes = {};
        std::uint32_t state = 1;
        for (std::size_t i = kGvspHeaderBytes; i < bytes.size(); ++i) {
            state = state * 1664525 + 1013904223;
            bytes[i] = static_cast<std::uint8_t>(state >> 24);
        }
        return bytes;
    }();
    return Bytes(kData).first(std::clamp<std::size_t>(packetSize, kMinPacketSize, kData.size()) - kIpUdpBytes);
}

} // namespace

CStreamSender::CStreamSender(std::uint32_t address, const CStreamSettings& settings, CServingFaults& faults,
                             CRateBudgets& budgets, CSenderCounts& counts, const std::atomic<bool>& isMuted,
                             IBlockHome& home)
    : m_faults(faults), m_budgets(budgets), m_counts(counts), m_isMuted(isMuted), m_home(home), m_settings(settings),
      m_waiting(kMaxWaiting), m_requests(kMaxRequests), m_tests(kMaxTests), m_socket(address), m_otherSocket(address),
      m_plan(faults), m_thread([this] { Run(); }) {
    pthread_setname_np(m_thread.native_handle(), "stream-sender");
}

CStreamSender::~CStreamSender() {
    m_isStopping = true;
    m_wakeUp.Notify();
    m_thread.join();
    while (CBlock* const block = m_history.TakeOldest()) {
        m_home.OnReleased(*block);
    }
    CBlock* block = nullptr;
    while (TakeFirst(&CStreamSender::m_waiting, block)) {
        m_home.OnReleased(*block);
    }
}

void CStreamSender::Apply(const CStreamSettings& settings) {
    const PluginKit::CLockGuard lock(m_lock);
    m_settings = settings;
}

bool CStreamSender::Send(CBlock& block) {
    {
        const PluginKit::CLockGuard lock(m_lock);
        if (m_waiting.full()) {
            return false;
        }
        m_waiting.push_back(&block);
        m_newestKnown = block.Ids().sent != 0 ? block.Ids().sent : m_newestKnown;
    }
    m_wakeUp.Notify();
    return true;
}

bool CStreamSender::IsIdle() {
    const PluginKit::CLockGuard lock(m_lock);
    return m_waiting.empty() && !m_isSending;
}

void CStreamSender::Ask(const ResendRequest& request, const CEndpoint& requester) {
    {
        const PluginKit::CLockGuard lock(m_lock);
        ++m_counts.resendRequests;
        if (m_requests.full()) {
            return; // who asks so often asks again
        }
        m_requests.push_back({request, requester, m_requestCount++});
    }
    m_wakeUp.Notify();
}

void CStreamSender::Test(const CTestPacket& test) {
    {
        const PluginKit::CLockGuard lock(m_lock);
        if (m_tests.full()) {
            return;
        }
        m_tests.push_back(test);
    }
    m_wakeUp.Notify();
}

template <typename T>
bool CStreamSender::TakeFirst(boost::circular_buffer<T> CStreamSender::*queue, T& taken) {
    const PluginKit::CLockGuard lock(m_lock);
    boost::circular_buffer<T>& waiting = this->*queue;
    if (waiting.empty()) {
        return false;
    }
    taken = waiting.front();
    waiting.pop_front();
    return true;
}

void CStreamSender::Run() noexcept {
    prctl(PR_SET_TIMERSLACK, 1000, 0, 0, 0); // bursts lie some 100 µs apart
    while (WaitForWork()) {
        ReleaseExpired(); // before the batch takes packets of any
        AnswerRequests();
        m_batch.Clear();
        AddTests();
        AddAnswers();
        AddPackets();
        if (!m_batch.IsEmpty()) {
            SendBatch();
        }
        if (m_isBlockDone) {
            EndBlock();
        }
    }
}

// Returns true when there is something to send now, or false when the channel is closed.
bool CStreamSender::WaitForWork() {
    while (!m_isStopping) {
        if (HasWork()) {
            return true;
        }
        m_wakeUp.Wait(m_block ? m_holdUntilNs : CWakeUp::kForever);
    }
    return false;
}

bool CStreamSender::HasWork() {
    if (!m_resends.IsEmpty() || (m_block && CamEmu::MonotonicNs() >= m_holdUntilNs)) {
        return true;
    }
    const PluginKit::CLockGuard lock(m_lock);
    return !m_requests.empty() || !m_tests.empty() || (!m_block && !m_waiting.empty());
}

// Answers false when the channel is closed before.
bool CStreamSender::WaitUntil(std::int64_t dueNs, int socket) {
    while (!m_isStopping && CamEmu::MonotonicNs() < dueNs) {
        m_wakeUp.Wait(dueNs, socket);
    }
    return !m_isStopping;
}

void CStreamSender::AnswerRequests() {
    CAskedFor asked;
    while (TakeFirst(&CStreamSender::m_requests, asked)) {
        CStreamSettings settings;
        std::uint64_t newestKnown = 0;
        {
            const PluginKit::CLockGuard lock(m_lock);
            settings = m_settings;
            newestKnown = m_newestKnown;
        }
        Answer(asked, settings, newestKnown);
    }
}

void CStreamSender::Answer(const CAskedFor& asked, const CStreamSettings& settings, std::uint64_t newestKnown) {
    const ResendRequest& request = asked.request;
    if (m_faults.Strikes(EFault::RequestLoss, request.blockId, request.first, asked.turn)) {
        return;
    }
    const CResendRules rules{settings.resendToRequester ? asked.requester : settings.destination,
                             settings.extendedIds,
                             settings.statusCodes11,
                             settings.statusCodes20,
                             m_newestSent,
                             newestKnown};
    if (rules.destination.address == 0) {
        return;
    }
    if (m_faults.Strikes(EFault::ResendRefused, request.blockId, request.first, asked.turn)) {
        m_resends.Refuse(request, rules, static_cast<Status>(m_faults.Parameter(EFault::ResendRefused)));
    } else {
        m_resends.Ask(request, rules);
    }
}

void CStreamSender::AddTests() {
    CTestPacket test;
    if (!TakeFirst(&CStreamSender::m_tests, test)) {
        return;
    }
    m_socket.SetDoNotFragment(test.doNotFragment);
    CEndpoint destination;
    {
        const PluginKit::CLockGuard lock(m_lock);
        destination = m_settings.destination;
    }
    if (destination.address != 0 && HasRoom(destination, false)) {
        m_batch.AddTest(TestDatagram(test.packetSize));
    }
}

void CStreamSender::AddAnswers() {
    while (const CResendAnswer* const answer = m_resends.Front()) {
        if (!HasRoom(answer->destination, false)) {
            return;
        }
        AddAnswer(*answer);
        m_resends.Pop();
    }
}

void CStreamSender::AddAnswer(const CResendAnswer& answer) {
    if (answer.isError) {
        m_batch.AddError(answer.error);
        return;
    }
    CBlock* const block = m_history.Find(answer.serial);
    if (!block) {
        return; // has left the history since; whoever still wants it is told so when asking again
    }
    const std::uint8_t turn = block->TakeQueued(answer.packetId);
    if (m_faults.Strikes(EFault::ResendLoss, block->Ids().number, answer.packetId, turn)) {
        return;
    }
    CPacketMarks marks;
    const PacketHeader header = block->Header(answer.packetId);
    if (answer.isMarked && !IsError(header.status)) {
        marks.status = Status::PacketResend;
    }
    marks.flags = header.isExtended ? PacketFlag::kResent : 0;
    m_batch.AddPacket(*block, answer.packetId, marks, CDatagramBatch::EKind::Resent);
}

void CStreamSender::AddPackets() {
    while (CamEmu::MonotonicNs() >= m_holdUntilNs && NextPacket()) {
        if (m_next->pauseNs > 0 && m_batch.IsEmpty()) {
            m_holdUntilNs = CamEmu::MonotonicNs() + std::exchange(m_next->pauseNs, 0);
        }
        if (m_next->pauseNs > 0 || CamEmu::MonotonicNs() < m_holdUntilNs ||
            !HasRoom(m_block->Settings().destination, m_next->isFromOtherPort)) {
            return;
        }
        m_batch.AddPacket(*m_block, m_next->packetId, m_next->marks, CDatagramBatch::EKind::New);
        m_next.reset();
    }
}

// A batch ends with its block.
bool CStreamSender::NextPacket() {
    if (m_isBlockDone || (!m_block && !BeginBlock())) {
        return false;
    }
    if (!m_next) {
        m_next = m_plan.Next();
        m_block->passedIds = m_plan.PassedIds();
        m_isBlockDone = !m_next;
    }
    return m_next.has_value();
}

bool CStreamSender::BeginBlock() {
    {
        const PluginKit::CLockGuard lock(m_lock);
        if (m_waiting.empty()) {
            return false;
        }
        m_block = m_waiting.front();
        m_waiting.pop_front();
        m_isSending = true;
    }
    m_block->lastSentNs = CamEmu::MonotonicNs();
    m_newestSent = m_block->Ids().sent != 0 ? m_block->Ids().sent : m_newestSent;
    m_history.Add(*m_block);
    m_packetBytes = m_block->Settings().packetSize;
    m_packetDelayNs = m_block->Settings().packetDelayNs;
    m_socket.SetDoNotFragment(m_block->Settings().doNotFragment);
    m_otherSocket.SetDoNotFragment(m_block->Settings().doNotFragment);
    m_plan.Begin(*m_block);
    return true;
}

// Whoever is released is drawn again at once: none may be in the batch.
void CStreamSender::ReleaseExpired() {
    const std::int64_t nowNs = CamEmu::MonotonicNs();
    while (CBlock* const expired = m_history.TakeExpired(nowNs)) {
        m_home.OnReleased(*expired);
    }
}

void CStreamSender::EndBlock() {
    CBlock& block = *std::exchange(m_block, nullptr);
    m_isBlockDone = false;
    block.lastSentNs = CamEmu::MonotonicNs();
    {
        const PluginKit::CLockGuard lock(m_lock);
        m_isSending = false;
    }
    m_home.OnSent(block);
    ++m_counts.blocks; // last: whoever has seen it counted finds the sender idle
}

// The next datagram is not made yet: it counts as large as one of the last block can be.
bool CStreamSender::HasRoom(const CEndpoint& destination, bool isFromOtherPort) {
    if (m_batch.IsEmpty()) {
        m_batch.SendTo(destination, isFromOtherPort);
        return true;
    }
    return m_batch.Count() < BurstDatagrams() && m_batch.Bytes() + m_packetBytes <= kBurstBytes &&
           m_batch.Destination() == destination && m_batch.IsFromOtherPort() == isFromOtherPort;
}

std::size_t CStreamSender::BurstDatagrams() const {
    if (m_packetDelayNs > 0) {
        return std::clamp<std::size_t>(kFinestPauseNs / m_packetDelayNs, 1, kBurstDatagrams);
    }
    return m_budgets.IsLimited() ? kBurstDatagrams : CDatagramBatch::kMaxDatagrams;
}

void CStreamSender::SendBatch() {
    const std::int64_t nowNs = CamEmu::MonotonicNs();
    const std::size_t wireBytes = m_batch.Bytes() + m_batch.Count() * CRateBudgets::kFrameBytes;
    const std::int64_t dueNs = m_budgets.Reserve(m_batch.Destination().address, wireBytes, nowNs);
    if (!WaitUntil(std::max(dueNs, m_gapEndNs))) {
        return;
    }
    m_gapEndNs = CamEmu::MonotonicNs() + static_cast<std::int64_t>(m_packetDelayNs * m_batch.Count());
    if (m_isMuted) {
        Count(0, m_batch.Count());
    } else {
        TransmitBatch();
    }
}

void CStreamSender::TransmitBatch() {
    const int socket = (m_batch.IsFromOtherPort() ? m_otherSocket : m_socket).Number();
    for (std::size_t done = 0; done < m_batch.Count() && !m_isStopping;) {
        const std::span<mmsghdr> rest = m_batch.From(done);
        const int sent = sendmmsg(socket, rest.data(), static_cast<unsigned>(rest.size()), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent > 0) {
            Count(done, static_cast<std::size_t>(sent));
            done += static_cast<std::size_t>(sent);
        } else if (errno == EAGAIN) {
            m_wakeUp.Wait(CWakeUp::kForever, socket);
        } else if (errno == ENOBUFS || errno == ENOMEM) {
            WaitUntil(CamEmu::MonotonicNs() + kRetryNs);
        } else if (errno != EINTR) {
            ++(errno == EMSGSIZE ? m_counts.oversized : m_counts.sendErrors);
            ++done; // this one is lost
        }
    }
}

void CStreamSender::Count(std::size_t first, std::size_t count) {
    for (std::size_t i = first; i < first + count; ++i) {
        switch (m_batch.Kind(i)) {
        case CDatagramBatch::EKind::New:
            ++m_counts.packets;
            m_counts.bytes += m_batch.BytesOf(i);
            break;
        case CDatagramBatch::EKind::Resent:
            ++m_counts.resentPackets;
            break;
        case CDatagramBatch::EKind::Error:
            ++m_counts.refusedPackets;
            break;
        case CDatagramBatch::EKind::Test:
            break;
        }
    }
}

} // namespace Serving
