// SPDX-License-Identifier: Apache-2.0
#include "control/AnswerMatch.h"

namespace Gige {

namespace {

using GigEVision::Command;

constexpr std::uint16_t AcknowledgeOf(Command command) {
    return GigEVision::AcknowledgeOf(static_cast<std::uint16_t>(command));
}

CJudgedAnswer JudgePending(const GigEVision::AcknowledgeMessage& message) {
    const std::optional<std::uint16_t> promised = GigEVision::DecodePending(message.payload);
    return {promised ? EMeaning::Pending : EMeaning::Malformed, promised.value_or(0), message, 0, {}};
}

CJudgedAnswer JudgeContent(const GigEVision::AcknowledgeMessage& message, const CExpectedAnswer& expected) {
    CJudgedAnswer judged{EMeaning::Answer, 0, message, 0, {}};
    if (GigEVision::IsError(message.status)) {
        return judged;
    }
    if (expected.command == Command::ReadReg) {
        const auto values = GigEVision::DecodeReadRegAck(message, 1);
        judged.meaning = values ? EMeaning::Answer : EMeaning::Malformed;
        judged.value = values ? values->words[0] : 0;
    } else if (expected.command == Command::ReadMem) {
        const auto memory = GigEVision::DecodeReadMemAck(message, expected.bytes);
        judged.meaning = memory ? EMeaning::Answer : EMeaning::Malformed;
        judged.data = memory ? memory->data : GigEVision::Bytes{};
    }
    return judged;
}

} // namespace

CJudgedAnswer JudgeAnswer(GigEVision::Bytes datagram, const CExpectedAnswer& expected) {
    const auto message = GigEVision::DecodeAcknowledge(datagram);
    if (!message) {
        return {EMeaning::Malformed, 0, {}, 0, {}};
    }
    if (message->id != expected.id) {
        return {};
    }
    if (message->acknowledge == AcknowledgeOf(Command::Pending)) {
        return JudgePending(*message);
    }
    return message->acknowledge == AcknowledgeOf(expected.command) ? JudgeContent(*message, expected) : CJudgedAnswer{};
}

} // namespace Gige
