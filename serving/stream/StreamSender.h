// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "BlockHistory.h"
#include "DatagramBatch.h"
#include "PacketPlan.h"
#include "RateBudgets.h"
#include "ResendPlanner.h"
#include "StreamSocket.h"
#include "WakeUp.h"

#include <common/Mutex.h>

#include <boost/circular_buffer.hpp>

#include <atomic>
#include <cstdint>
#include <optional>
#include <thread>

namespace Serving {

/// What senders of a camera have done; outlives them.
struct CSenderCounts {
    std::atomic<std::uint64_t> blocks = 0, packets = 0, bytes = 0, resendRequests = 0, resentPackets = 0,
                               refusedPackets = 0, sendErrors = 0, oversized = 0;
};

/// Whose the blocks are. Called on the sender's thread, and on that which ends it, without a lock of the sender's.
class IBlockHome {
public:
    virtual void OnSent(CBlock& block) noexcept = 0;     ///< The history keeps it for a while.
    virtual void OnReleased(CBlock& block) noexcept = 0; ///< It may be drawn again.

protected:
    ~IBlockHome() = default;
};

struct CTestPacket {
    std::uint32_t packetSize = 0;
    bool doNotFragment = false;
};

/// Sends the blocks of an open channel, and packets again that were asked for, at the rate that is permitted.
/// Owns:    its thread, sockets and history.
/// Borrows: all that it is made with, and blocks until they are released.
/// Threads: Send, Ask, Test and Apply any; the rest is its thread's.
/// Locks:   m_lock, around what waits for the thread; not held while sending, sleeping or calling the home.
class CStreamSender {
public:
    static constexpr std::size_t kMaxWaiting = 128; ///< blocks
    static constexpr std::size_t kMaxRequests = 256;
    static constexpr std::size_t kMaxTests = 16;

    /// @p isMuted drops all that would be sent while it is set. @throws std::system_error.
    CStreamSender(std::uint32_t address, const CStreamSettings& settings, CServingFaults& faults, CRateBudgets& budgets,
                  CSenderCounts& counts, const std::atomic<bool>& isMuted, IBlockHome& home);
    ~CStreamSender(); ///< Drops what is not sent; releases all blocks.
    CStreamSender(const CStreamSender&) = delete;
    CStreamSender& operator=(const CStreamSender&) = delete;

    std::uint16_t Port() const { return m_socket.Port(); }
    void Apply(const CStreamSettings& settings);
    bool Send(CBlock& block); ///< @return false when too many wait; then it is not taken.
    bool IsIdle();            ///< No block waits or is being sent.
    void Ask(const GigEVision::ResendRequest& request, const CEndpoint& requester);
    void Test(const CTestPacket& test);

private:
    struct CAskedFor {
        GigEVision::ResendRequest request;
        CEndpoint requester;
        std::uint64_t turn = 0;
    };

    void Run() noexcept;
    bool WaitForWork();
    bool WaitUntil(std::int64_t dueNs, int socket = -1);
    bool HasWork();
    void AnswerRequests();
    void Answer(const CAskedFor& asked, const CStreamSettings& settings, std::uint64_t newestKnown);
    void AddTests();
    void AddAnswers();
    void AddAnswer(const CResendAnswer& answer);
    void AddPackets();
    bool NextPacket();
    bool BeginBlock();
    void ReleaseExpired();
    void EndBlock();
    bool HasRoom(const CEndpoint& destination, bool isFromOtherPort);
    std::size_t BurstDatagrams() const;
    void SendBatch();
    void TransmitBatch();
    void Count(std::size_t first, std::size_t count);
    template <typename T>
    bool TakeFirst(boost::circular_buffer<T> CStreamSender::*queue, T& taken);

    CServingFaults& m_faults;
    CRateBudgets& m_budgets;
    CSenderCounts& m_counts;
    const std::atomic<bool>& m_isMuted;
    IBlockHome& m_home;
    std::atomic<bool> m_isStopping = false;

    PluginKit::CMutex m_lock;
    CStreamSettings m_settings PLUGIN_GUARDED_BY(m_lock);
    boost::circular_buffer<CBlock*> m_waiting PLUGIN_GUARDED_BY(m_lock);
    boost::circular_buffer<CAskedFor> m_requests PLUGIN_GUARDED_BY(m_lock);
    boost::circular_buffer<CTestPacket> m_tests PLUGIN_GUARDED_BY(m_lock);
    std::uint64_t m_requestCount PLUGIN_GUARDED_BY(m_lock) = 0;
    std::uint64_t m_newestKnown PLUGIN_GUARDED_BY(m_lock) = 0; // block id
    bool m_isSending PLUGIN_GUARDED_BY(m_lock) = false;

    // The thread's.
    CStreamSocket m_socket, m_otherSocket;
    CWakeUp m_wakeUp;
    CBlockHistory m_history;
    CResendPlanner m_resends{m_history};
    CPacketPlan m_plan;
    CDatagramBatch m_batch;
    CBlock* m_block = nullptr;            // that is being sent
    std::optional<CPlannedPacket> m_next; // of it
    bool m_isBlockDone = false;           // all of it is in the batch
    std::uint64_t m_newestSent = 0;       // block id
    std::int64_t m_holdUntilNs = 0;       // no new packets before
    std::int64_t m_gapEndNs = 0;          // of the pauses between packets
    std::size_t m_packetBytes = 0;        // SCPS of the last block that was begun, as the next
    std::uint64_t m_packetDelayNs = 0;
    std::thread m_thread; // last: it touches all of the above
};

} // namespace Serving
