// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/BufferRegistry.h"
#include "common/Mutex.h"
#include "stream/Reassembler.h"
#include "stream/ReceiveThread.h"

#include <zelmo/StreamGrabber.h>
#include <zelmo/WaitObject.h>

#include <boost/circular_buffer.hpp>
#include <boost/lockfree/spsc_queue.hpp>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <optional>

namespace Gige {

/// The buffers of a stream grabber and where they are: registered, queued, being filled, among the results.
/// Owns:    the registration of buffers, never their memory; reassembler and receive thread, from Start to Stop.
/// Threads: Flush, Change, Statistics, HasReceived and the wait object any; Prepare, Start and Stop one at a time;
///          so do the others, which may come beside those that any may call.
/// Locks:   m_lock, a leaf but for the wait object; the receive thread takes it alone, once a batch. It is not held
///          while the socket is used or that thread is waited for.
///          Queued buffers go to the receive thread past the lock: Queue puts them in under it; the thread takes them
///          out, or, where there is none, whoever holds the lock.
class CImageReceiver final : private IReceiveClient {
public:
    CImageReceiver() : m_wait(Zelmo::WaitObjectEx::Create()) {}
    ~CImageReceiver() { Stop(); }
    CImageReceiver(const CImageReceiver&) = delete;
    CImageReceiver& operator=(const CImageReceiver&) = delete;

    void Prepare(std::size_t maxBufferBytes, std::size_t maxBuffers); ///< @throws std::bad_alloc
    void Start(CStreamSocket& socket, const CStreamFormat& format, const CResendSettings& settings,
               const CReceiveSetup& setup);
    /// Those that are queued stay so, half filled ones included. @return whether silence was told of; false without a
    /// stream.
    bool Stop() noexcept;
    void Unregister() noexcept; ///< All buffers; queued ones and results are dropped.

    Zelmo::StreamBufferHandle Register(void* buffer, std::size_t sizeBytes);
    void* Deregister(Zelmo::StreamBufferHandle handle);
    void Queue(Zelmo::StreamBufferHandle handle, void* context);
    void Flush();
    bool Retrieve(Zelmo::GrabResult& result);
    void Change(const CResendSettings& settings);
    bool HasReceived() const; ///< Whether a packet has come in the stream that runs.
    Zelmo::WaitObject& Signal() const { return m_wait; }

    struct CStatistics {
        std::size_t registered = 0, away = 0, ready = 0; ///< away: queued, or ready and not retrieved
        CStreamCounts counts;
        CFinishedBlock lastFailed; ///< its end tells whether there is one
        CReceiveCosts costs;
    };
    CStatistics Statistics() const;

private:
    void BringBuffers(CReassembler& reassembler) noexcept override;
    void FetchResults(CReassembler& reassembler, const CReceiveCosts& costs) noexcept override;

    void Deliver(const CFinishedBlock& block) PLUGIN_REQUIRES(m_lock);
    void CancelQueued() PLUGIN_REQUIRES(m_lock);
    void TakeBack(CReassembler& reassembler) PLUGIN_REQUIRES(m_lock);
    void CountCosts(const CReceiveCosts& costs) PLUGIN_REQUIRES(m_lock);

    mutable Zelmo::WaitObjectEx m_wait;        // signaled exactly while m_results is not empty
    std::size_t m_maxBufferBytes = 0;          // from Prepare on; more of a buffer is never filled
    std::optional<CReassembler> m_reassembler; // the receive thread's

    mutable PluginKit::CMutex m_lock;
    PluginKit::CBufferRegistry m_buffers PLUGIN_GUARDED_BY(m_lock);
    boost::circular_buffer<CFinishedBlock> m_results PLUGIN_GUARDED_BY(m_lock); // room for every registered buffer
    CStreamCounts m_counts PLUGIN_GUARDED_BY(m_lock);                           // as the next two, of the last stream
    CFinishedBlock m_lastFailed PLUGIN_GUARDED_BY(m_lock);
    CReceiveCosts m_costs PLUGIN_GUARDED_BY(m_lock);
    std::optional<CResendSettings> m_newSettings PLUGIN_GUARDED_BY(m_lock); // not with the reassembler yet
    std::uint64_t m_flushesAsked PLUGIN_GUARDED_BY(m_lock) = 0, m_flushesDone PLUGIN_GUARDED_BY(m_lock) = 0;
    std::condition_variable m_flushed;
    std::unique_ptr<boost::lockfree::spsc_queue<PluginKit::CRegisteredBuffer*>> m_queue; // from the first Prepare on
    std::unique_ptr<CReceiveThread> m_thread; // last: it touches all of the above
};

} // namespace Gige
