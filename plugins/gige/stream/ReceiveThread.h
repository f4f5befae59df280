// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Descriptor.h"
#include "stream/DatagramSlots.h"
#include "stream/Reassembler.h"
#include "stream/StreamGrabber.h"
#include "stream/StreamSocket.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <thread>

namespace Gige {

/// The stream grabber's end of the receive thread.
class IReceiveClient {
public:
    /// Before the datagrams of a batch: adds what was queued. Takes no lock.
    virtual void BringBuffers(CReassembler& reassembler) noexcept = 0;
    /// After them, and whenever it was woken: takes what is finished, under the grabber's lock.
    /// @p costs: but locks and signals, which the client counts.
    virtual void FetchResults(CReassembler& reassembler, const CReceiveCosts& costs) noexcept = 0;

protected:
    ~IReceiveClient() = default;
};

struct CReceiveSetup {
    PluginKit::CEndpoint device;     ///< its control port, where resend commands go
    std::uint16_t sourcePort = 0;    ///< where its packets come from; 0: where the first one comes from
    std::uint32_t packetSize = 1500; ///< bytes, with the headers of IP and UDP
    bool isMerging = false;          ///< the kernel may put packets together
    std::optional<int> priority;     ///< of real time
    bool tellsOfSilence = true;      ///< logs when a second has passed without a packet
};

/// Takes datagrams off the socket, batch by batch, and brings them to the reassembler; sends what that asks for.
/// Owns:    the thread; the memory of a batch.
/// Borrows: socket, reassembler and client, which are the thread's from Start until Stop.
/// Threads: construction, Start, Stop and the destructor one at a time; Wake any.
class CReceiveThread {
public:
    /// @throws std::system_error without a descriptor left
    CReceiveThread(CStreamSocket& socket, CReassembler& reassembler, IReceiveClient& client,
                   const CReceiveSetup& setup);
    ~CReceiveThread() { Stop(); }
    CReceiveThread(const CReceiveThread&) = delete;
    CReceiveThread& operator=(const CReceiveThread&) = delete;

    void Start();         ///< Once. @throws std::system_error without a thread left
    void Stop() noexcept; ///< Waits until the thread has ended: within its batch.
    void Wake() noexcept; ///< The client has news: FetchResults comes soon.
    bool HasToldOfSilence() const { return m_hasToldOfSilence; }

private:
    void Run() noexcept;
    void Wait(std::int64_t nowNs) noexcept;
    bool Process(std::int64_t nowNs) noexcept;
    void TakeBatch(std::size_t count, std::int64_t nowNs) noexcept;
    void NoteDropped(std::uint32_t total) noexcept;
    void TakeDatagram(std::size_t index, std::int64_t nowNs) noexcept;
    bool IsFromDevice(std::size_t index) noexcept;
    void SendResends() noexcept;
    void KeepPathOpen(std::int64_t nowNs) noexcept;
    void LookForSilence(std::int64_t nowNs) noexcept;
    void TakePriority() noexcept;

    CStreamSocket& m_socket;
    CReassembler& m_reassembler;
    IReceiveClient& m_client;
    CReceiveSetup m_setup;
    CDatagramSlots m_slots;
    const PluginKit::CDescriptor m_wake;
    const std::uint32_t m_droppedBefore; // by the socket, ahead of this stream
    std::uint32_t m_droppedTotal;        // with those
    std::uint16_t m_requestId;
    bool m_isFull = false;             // the last batch: more waits, in all likelihood
    std::int64_t m_backlogSinceNs = 0; // when the first of full batches in a row came, or the last tick among them
    std::int64_t m_nextKeepAliveNs = 0;
    bool m_hasHeardDevice = false;
    std::int64_t m_silentSinceNs = 0; // 0: no buffer was there yet
    std::atomic<bool> m_isEnding{false}, m_hasToldOfSilence{false};
    CReceiveCosts m_costs;
    std::thread m_thread; // last: it touches all of the above
};

} // namespace Gige
