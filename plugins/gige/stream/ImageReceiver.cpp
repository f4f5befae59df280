// SPDX-License-Identifier: Apache-2.0
#include "stream/ImageReceiver.h"

#include "stream/GrabResults.h"

#include <Base/GCException.h>

#include <algorithm>

namespace Gige {

using PluginKit::CRegisteredBuffer;

void CImageReceiver::Prepare(std::size_t maxBufferBytes, std::size_t maxBuffers) {
    auto queue = std::make_unique<boost::lockfree::spsc_queue<CRegisteredBuffer*>>(maxBuffers);
    const PluginKit::CLockGuard lock(m_lock);
    m_queue = std::move(queue);
    m_maxBufferBytes = maxBufferBytes;
    m_buffers.Limit(maxBufferBytes, maxBuffers);
}

// From the moment that the thread is there, nobody else takes out what is queued.
void CImageReceiver::Start(CStreamSocket& socket, const CStreamFormat& format, const CResendSettings& settings,
                           const CReceiveSetup& setup) {
    m_reassembler.emplace(format, settings);
    auto thread = std::make_unique<CReceiveThread>(socket, *m_reassembler, static_cast<IReceiveClient&>(*this), setup);
    const PluginKit::CLockGuard lock(m_lock);
    m_counts = {};
    m_lastFailed = {};
    m_costs = {};
    m_newSettings.reset();
    thread->Start();
    m_thread = std::move(thread);
}

bool CImageReceiver::Stop() noexcept {
    if (!m_thread) { // only this thread sets and ends it
        return false;
    }
    m_thread->Stop();
    const bool hasToldOfSilence = m_thread->HasToldOfSilence();
    const PluginKit::CLockGuard lock(m_lock);
    TakeBack(*m_reassembler);
    m_thread.reset();
    m_reassembler.reset();
    if (m_flushesAsked != m_flushesDone) { // the thread has ended before it saw that
        CancelQueued();
        m_flushesDone = m_flushesAsked;
        m_flushed.notify_all();
    }
    return hasToldOfSilence;
}

// What is whole or failed is delivered; the rest stays queued, in its order.
void CImageReceiver::TakeBack(CReassembler& reassembler) {
    BringBuffers(reassembler);
    reassembler.CancelAll();
    CFinishedBlock block;
    while (reassembler.TakeFinished(block)) {
        if (block.end == EBlockEnd::Canceled) {
            m_queue->push(static_cast<CRegisteredBuffer*>(block.token));
        } else {
            Deliver(block);
        }
    }
    m_counts = reassembler.Counts();
}

void CImageReceiver::Unregister() noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    m_queue.reset();
    m_results.clear();
    m_wait.Reset();
    m_buffers.Clear();
}

Zelmo::StreamBufferHandle CImageReceiver::Register(void* buffer, std::size_t sizeBytes) {
    const PluginKit::CLockGuard lock(m_lock);
    m_buffers.RequireRoom(buffer, sizeBytes);
    if (m_results.capacity() <= m_buffers.Count()) {
        m_results.set_capacity(m_buffers.Count() * 2 + 8);
    }
    return m_buffers.Add(buffer, sizeBytes).handle;
}

void* CImageReceiver::Deregister(Zelmo::StreamBufferHandle handle) {
    const PluginKit::CLockGuard lock(m_lock);
    return m_buffers.Remove(handle);
}

void CImageReceiver::Queue(Zelmo::StreamBufferHandle handle, void* context) {
    const PluginKit::CLockGuard lock(m_lock);
    m_queue->push(&m_buffers.Queue(handle, context)); // there is room for all that can be registered
}

void CImageReceiver::Flush() {
    const PluginKit::CLockGuard lock(m_lock);
    if (!m_thread) {
        CancelQueued();
        return;
    }
    const std::uint64_t asked = ++m_flushesAsked;
    m_thread->Wake();
    while (m_flushesDone < asked) {
        m_lock.WaitFor(m_flushed);
    }
}

// Where no receive thread is there to do it.
void CImageReceiver::CancelQueued() {
    CFinishedBlock block; // canceled, as it stands
    for (CRegisteredBuffer* buffer = nullptr; m_queue && m_queue->pop(buffer);) {
        block.token = buffer;
        Deliver(block);
    }
}

bool CImageReceiver::Retrieve(Zelmo::GrabResult& result) {
    CFinishedBlock block;
    {
        const PluginKit::CLockGuard lock(m_lock);
        if (m_results.empty()) {
            return false;
        }
        block = m_results.front();
        m_results.pop_front();
        if (m_results.empty()) {
            m_wait.Reset();
        }
        auto& buffer = *static_cast<CRegisteredBuffer*>(block.token);
        m_buffers.Retrieve(buffer);
        result = {};
        result.context = buffer.context;
        result.handle = buffer.handle;
        result.buffer = buffer.memory.data();
        result.bufferSize = buffer.memory.size();
    }
    Describe(block, result);
    return true;
}

void CImageReceiver::Change(const CResendSettings& settings) {
    const PluginKit::CLockGuard lock(m_lock);
    m_newSettings = settings;
    if (m_thread) {
        m_thread->Wake(); // in silence it sleeps for seconds
    }
}

CImageReceiver::CStatistics CImageReceiver::Statistics() const {
    const PluginKit::CLockGuard lock(m_lock);
    return {m_buffers.Count(), m_buffers.Away(), m_results.size(), m_counts, m_lastFailed, m_costs};
}

bool CImageReceiver::HasReceived() const {
    const PluginKit::CLockGuard lock(m_lock);
    return m_thread && m_counts.packets > 0;
}

void CImageReceiver::BringBuffers(CReassembler& reassembler) noexcept {
    for (CRegisteredBuffer* buffer = nullptr; m_queue->pop(buffer);) {
        reassembler.AddBuffer({buffer, buffer->memory.first(m_maxBufferBytes)});
    }
}

void CImageReceiver::FetchResults(CReassembler& reassembler, const CReceiveCosts& costs) noexcept {
    const PluginKit::CLockGuard lock(m_lock);
    const bool isFlushing = m_flushesAsked != m_flushesDone;
    if (isFlushing) {
        BringBuffers(reassembler);
        reassembler.CancelAll();
    }
    CFinishedBlock block;
    while (reassembler.TakeFinished(block)) {
        Deliver(block);
    }
    m_counts = reassembler.Counts();
    CountCosts(costs);
    if (isFlushing) {
        m_flushesDone = m_flushesAsked;
        m_flushed.notify_all();
    }
    if (m_newSettings) {
        reassembler.Change(*m_newSettings);
        m_newSettings.reset();
    }
}

void CImageReceiver::Deliver(const CFinishedBlock& block) {
    static_cast<CRegisteredBuffer*>(block.token)->state = CRegisteredBuffer::EState::Ready;
    if (block.end == EBlockEnd::Failed) {
        m_lastFailed = block;
    }
    m_results.push_back(block);
    if (m_results.size() == 1) {
        m_wait.Signal();
        ++m_costs.signals;
    }
}

void CImageReceiver::CountCosts(const CReceiveCosts& costs) {
    const std::uint64_t locks = m_costs.locks + 1, signals = m_costs.signals;
    m_costs = costs;
    m_costs.locks = locks;
    m_costs.signals = signals;
}

} // namespace Gige
