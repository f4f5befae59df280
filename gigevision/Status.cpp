// SPDX-License-Identifier: Apache-2.0
#include "Status.h"

#include <algorithm>
#include <iterator>

namespace GigEVision {

namespace {

struct Name {
    Status status;
    std::string_view text;
};
constexpr Name kNames[] = {
    {Status::Success, "SUCCESS"},
    {Status::PacketResend, "PACKET_RESEND"},
    {Status::NotImplemented, "NOT_IMPLEMENTED"},
    {Status::InvalidParameter, "INVALID_PARAMETER"},
    {Status::InvalidAddress, "INVALID_ADDRESS"},
    {Status::WriteProtect, "WRITE_PROTECT"},
    {Status::BadAlignment, "BAD_ALIGNMENT"},
    {Status::AccessDenied, "ACCESS_DENIED"},
    {Status::Busy, "BUSY"},
    {Status::LocalProblem, "LOCAL_PROBLEM"},
    {Status::MessageMismatch, "MSG_MISMATCH"},
    {Status::InvalidProtocol, "INVALID_PROTOCOL"},
    {Status::NoMessage, "NO_MSG"},
    {Status::PacketUnavailable, "PACKET_UNAVAILABLE"},
    {Status::DataOverrun, "DATA_OVERRUN"},
    {Status::InvalidHeader, "INVALID_HEADER"},
    {Status::WrongConfig, "WRONG_CONFIG"},
    {Status::PacketNotYetAvailable, "PACKET_NOT_YET_AVAILABLE"},
    {Status::PacketAndPreviousRemoved, "PACKET_AND_PREV_REMOVED_FROM_MEMORY"},
    {Status::PacketRemoved, "PACKET_REMOVED_FROM_MEMORY"},
    {Status::NoReferenceTime, "NO_REF_TIME"},
    {Status::PacketTemporarilyUnavailable, "PACKET_TEMPORARILY_UNAVAILABLE"},
    {Status::Overflow, "OVERFLOW"},
    {Status::ActionLate, "ACTION_LATE"},
    {Status::LeaderTrailerOverflow, "LEADER_TRAILER_OVERFLOW"},
    {Status::Error, "ERROR"},
};

} // namespace

std::string_view StatusName(Status status) {
    const auto* const found = std::ranges::find(kNames, status, &Name::status);
    return found == std::end(kNames) ? std::string_view{} : found->text;
}

} // namespace GigEVision
