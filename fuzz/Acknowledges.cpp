// SPDX-License-Identifier: Apache-2.0

// Datagrams that come while a command waits for its answer. The input tells the command; of each datagram, whether it
// is built from an acknowledge's fields or arbitrary bytes.

#include "Fuzz.h"

#include <control/AnswerMatch.h>
#include <vector>

using Fuzz::Require;
using GigEVision::Command;

namespace {

constexpr Command kCommands[] = {Command::ReadReg, Command::WriteReg, Command::ReadMem, Command::WriteMem};
constexpr std::uint16_t kCodes[] = {0x0081, 0x0083, 0x0085, 0x0087, 0x0089, 0x0003};

std::vector<std::uint8_t> SomeDatagram(Fuzz::Choices& choices, const Gige::CExpectedAnswer& expected) {
    const auto payload = choices.ConsumeBytes<std::uint8_t>(choices.ConsumeIntegralInRange<std::size_t>(0, 544));
    if (payload.size() > GigEVision::kMaxGvcpPayload || choices.ConsumeIntegralInRange<int>(0, 3) == 0) {
        return payload;
    }
    std::vector<std::uint8_t> bytes(GigEVision::kGvcpHeaderBytes + payload.size());
    const auto status = static_cast<GigEVision::Status>(choices.ConsumeIntegral<std::uint16_t>());
    const auto id = static_cast<std::uint16_t>(expected.id + choices.ConsumeIntegralInRange<int>(0, 2) / 2);
    GigEVision::EncodeAcknowledge({status, choices.PickValueInArray(kCodes), id, payload}, bytes);
    return bytes;
}

void Judge(const std::vector<std::uint8_t>& datagram, const Gige::CExpectedAnswer& expected) {
    const Gige::CJudgedAnswer judged = Gige::JudgeAnswer(datagram, expected);
    if (judged.meaning != Gige::EMeaning::Answer) {
        return;
    }
    Require(judged.message.id == expected.id, "an answer to another command");
    const bool isDone = !GigEVision::IsError(judged.message.status);
    const bool isMemory = expected.command == Command::ReadMem;
    Require(judged.data.size() == (isDone && isMemory ? expected.bytes : 0u), "as many bytes as were asked for");
    Require(judged.data.empty() || (judged.data.data() >= datagram.data() &&
                                    judged.data.data() + judged.data.size() <= datagram.data() + datagram.size()),
            "bytes of the datagram");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Choices choices(data, size);
    Gige::CExpectedAnswer expected;
    expected.command = choices.PickValueInArray(kCommands);
    expected.id = choices.ConsumeIntegralInRange<std::uint16_t>(1, 0xFFFF);
    expected.bytes = static_cast<std::uint16_t>(4 * choices.ConsumeIntegralInRange<int>(1, 134));
    while (choices.remaining_bytes() > 0) {
        Judge(SomeDatagram(choices, expected), expected);
    }
    return 0;
}
