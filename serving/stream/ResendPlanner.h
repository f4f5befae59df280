// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "BlockHistory.h"

#include <gigevision/Gvcp.h>

#include <cstdint>

namespace Serving {

/// What an answer to a resend request depends on beside the history.
struct CResendRules {
    CEndpoint destination;   ///< of the answer
    bool isExtended = false; ///< ids of errors about blocks that are gone
    bool statusCodes11 = false, statusCodes20 = false;
    std::uint64_t newestSent = 0;  ///< block id of 64 bits, begun to be sent
    std::uint64_t newestKnown = 0; ///< and made, but perhaps not begun
};

/// A packet that answers a request: one of a block again, or the header of an error.
struct CResendAnswer {
    CEndpoint destination;
    std::uint64_t serial = 0; ///< of the block in the history; not of an error
    std::uint32_t packetId = 0;
    bool isMarked = false; ///< by a status
    bool isError = false;
    GigEVision::PacketHeader error;
};

/// Answers resend requests out of the history: a queue of packets, none of them twice. What a request tells is bounded
/// by the packets of its block before anything is done for it.
/// Borrows: the history.
/// Threads: one at a time.
class CResendPlanner {
public:
    static constexpr std::size_t kMaxPackets = 4096;
    static constexpr std::size_t kMaxErrors = 256;

    explicit CResendPlanner(const CBlockHistory& history)
        : m_history(history), m_packets(kMaxPackets), m_errors(kMaxErrors) {}

    void Ask(const GigEVision::ResendRequest& request, const CResendRules& rules);
    /// Answers by an error, whatever there is.
    void Refuse(const GigEVision::ResendRequest& request, const CResendRules& rules, GigEVision::Status status);

    const CResendAnswer* Front() const; ///< Null when there is none; errors first.
    void Pop();
    bool IsEmpty() const { return m_packets.empty() && m_errors.empty(); }

private:
    void AskForKnown(const GigEVision::ResendRequest& request, const CResendRules& rules,
                     const CBlockHistory::CFound& found);
    void AskForGone(const GigEVision::ResendRequest& request, const CResendRules& rules);
    void PutError(const CResendRules& rules, const GigEVision::PacketHeader& header);

    const CBlockHistory& m_history;
    boost::circular_buffer<CResendAnswer> m_packets, m_errors;
};

} // namespace Serving
