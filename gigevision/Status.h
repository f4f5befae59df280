// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

namespace GigEVision {

/// Status codes of acknowledges and stream packets. A type of its own for what comes from the wire, where any number
/// can stand; the named ones are those of GigE Vision 2.2.
enum class Status : std::uint16_t {
    Success = 0x0000,
    PacketResend = 0x0100,
    NotImplemented = 0x8001,
    InvalidParameter = 0x8002,
    InvalidAddress = 0x8003,
    WriteProtect = 0x8004,
    BadAlignment = 0x8005,
    AccessDenied = 0x8006,
    Busy = 0x8007,
    LocalProblem = 0x8008,
    MessageMismatch = 0x8009,
    InvalidProtocol = 0x800A,
    NoMessage = 0x800B,
    PacketUnavailable = 0x800C,
    DataOverrun = 0x800D,
    InvalidHeader = 0x800E,
    WrongConfig = 0x800F,
    PacketNotYetAvailable = 0x8010,
    PacketAndPreviousRemoved = 0x8011,
    PacketRemoved = 0x8012,
    NoReferenceTime = 0x8013,
    PacketTemporarilyUnavailable = 0x8014,
    Overflow = 0x8015,
    ActionLate = 0x8016,
    LeaderTrailerOverflow = 0x8017,
    Error = 0x8FFF,
};

/// A positive code that is not known is a success with a remark.
constexpr bool IsError(Status status) {
    return (static_cast<std::uint16_t>(status) & 0x8000u) != 0;
}

/// The standard's name, "PACKET_RESEND"; empty for a code that has none.
std::string_view StatusName(Status status);

} // namespace GigEVision
