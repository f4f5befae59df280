// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Gvcp.h>

#include <cstdint>
#include <optional>

namespace Gige {

/// The answer that is waited for.
struct CExpectedAnswer {
    GigEVision::Command command = GigEVision::Command::ReadReg;
    std::uint16_t id = 0;
    std::uint16_t bytes = 0; ///< asked for, of reads
};

enum class EMeaning : std::uint8_t {
    Foreign,   ///< of another command: late, doubled, or none of ours
    Malformed, ///< no acknowledge, or one that does not hold what was asked for
    Pending,   ///< the device is not done
    Answer,
};

struct CJudgedAnswer {
    EMeaning meaning = EMeaning::Foreign;
    std::uint16_t pendingMs = 0;            ///< promised time until it is done
    GigEVision::AcknowledgeMessage message; ///< of an answer
    std::uint32_t value = 0;                ///< the register of a READREG that succeeded
    GigEVision::Bytes data;                 ///< of a READMEM that succeeded
};

/// What a datagram of the device is to a command that waits. Writes are judged by their status alone, as devices
/// disagree on the rest.
CJudgedAnswer JudgeAnswer(GigEVision::Bytes datagram, const CExpectedAnswer& expected);

} // namespace Gige
