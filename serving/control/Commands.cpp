// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"

#include "Actions.h"
#include "Bootstrap.h"
#include "DeviceState.h"
#include "FaultRegisters.h"
#include "RegisterSpace.h"
#include "Session.h"
#include <serving/AddressMap.h>
#include <serving/Faults.h>
#include <serving/Stream.h>

#include <algorithm>

namespace Serving {

namespace Register = GigEVision::Register;
namespace Flag = GigEVision::Flag;
using GigEVision::Bytes;
using GigEVision::Command;
using GigEVision::CommandMessage;
using GigEVision::Status;

namespace {

// Added to what a PENDING acknowledge promises, as the way to the host takes time too.
constexpr std::int64_t kPromiseNs = 100 * kNsPerMs;
constexpr std::uint16_t kPendingAcknowledge = GigEVision::AcknowledgeOf(static_cast<std::uint16_t>(Command::Pending));

bool IsWrite(const CommandMessage& command) {
    return command.Is(Command::WriteReg) || command.Is(Command::WriteMem);
}

bool IsAccess(const CommandMessage& command) {
    return IsWrite(command) || command.Is(Command::ReadReg) || command.Is(Command::ReadMem);
}

// What several cameras may be told at once.
bool MayBeBroadcast(const CommandMessage& command) {
    return command.Is(Command::Discovery) || command.Is(Command::ForceIp) || command.Is(Command::Action);
}

// Executing these twice changes nothing, and their answers change.
bool IsRepeatable(const CommandMessage& command) {
    return command.Is(Command::Discovery) || command.Is(Command::ReadReg) || command.Is(Command::ReadMem);
}

// What switches faults off again is neither refused nor kept waiting by them.
bool IsOfFaults(const CommandMessage& command) {
    return command.payload.size() >= 4 &&
           GigEVision::GetBigEndian<std::uint32_t>(command.payload.data()) - Address::kFaultSelector <
               CFaultRegisters::Size();
}

bool IsAligned(std::uint64_t number) {
    return number % 4 == 0;
}

} // namespace

CCommands::CCommands(CDeviceState& state, CServingFaults& faults, CSession& session, CRegisterSpace& space,
                     CBootstrap& bootstrap, CActions& actions, IStream& stream, IDeviceHost& host)
    : m_state(state), m_faults(faults), m_session(session), m_space(space), m_bootstrap(bootstrap), m_actions(actions),
      m_stream(stream), m_host(host),
      m_random(state.settings.seed + static_cast<std::uint32_t>(bootstrap.MacAddress())) {}

void CCommands::OnDatagram(Bytes datagram, const CArrival& arrival) {
    const auto command = GigEVision::DecodeCommand(datagram);
    if (!command || command->payload.size() > GigEVision::kMaxGvcpPayload || arrival.from.port == 0 ||
        (arrival.isBroadcast && !MayBeBroadcast(*command))) {
        ++m_state.counts.dropped;
        return;
    }
    ++m_state.counts.commands;
    datagram = datagram.first(GigEVision::kGvcpHeaderBytes + command->payload.size());
    if (const Bytes known = m_cache.Find(arrival.from, datagram, arrival.atNs); !known.empty()) {
        ++m_state.counts.repeated;
        m_session.OnSignOfLife(arrival.from, arrival.atNs);
        Send(known, arrival.from, 0, false);
        return;
    }
    if (const CPendingCommand* const pending = m_pending.Find(datagram, arrival.from)) {
        SendPending(*pending, arrival.atNs);
        return;
    }
    m_pending.GiveUp(arrival.from);
    if (!Pends(*command, datagram, arrival)) {
        Execute(*command, datagram, arrival);
    }
    PauseHeartbeat(arrival.atNs);
}

void CCommands::OnTime(std::int64_t nowNs) {
    while (std::optional<CPendingCommand> pending = m_pending.TakeDue(nowNs)) {
        pending->arrival.atNs = nowNs;
        if (const auto command = GigEVision::DecodeCommand(pending->datagram)) {
            Execute(*command, pending->datagram, pending->arrival);
        }
    }
    while (const CPendingCommand* const pending = m_pending.NextToTell(nowNs)) {
        SendPending(*pending, nowNs);
    }
    PauseHeartbeat(nowNs);
}

void CCommands::GiveUpPending(std::int64_t nowNs) {
    m_pending.Clear();
    PauseHeartbeat(nowNs);
}

// A primary that waits for its command is not silent.
void CCommands::PauseHeartbeat(std::int64_t nowNs) {
    m_state.control.Pause(m_state.control.HasPrimary() && m_pending.HasOf(m_state.control.Primary()), nowNs);
}

bool CCommands::Pends(const CommandMessage& command, Bytes datagram, const CArrival& arrival) {
    if (!command.Has(Flag::kAcknowledge) || !IsAccess(command) || IsOfFaults(command) || m_pending.IsFull() ||
        !m_faults.StrikesNext(EFault::Pending)) {
        return false;
    }
    const std::int64_t durationNs = m_faults.Parameter(EFault::Pending) * kNsPerMs;
    SendPending(m_pending.Add(datagram, arrival, durationNs), arrival.atNs);
    return true;
}

void CCommands::SendPending(const CPendingCommand& pending, std::int64_t nowNs) {
    const auto command = GigEVision::DecodeCommand(pending.datagram);
    if (!command || !m_state.IsConfigured(GigEVision::GvcpConfiguration::kPending)) {
        return;
    }
    const std::int64_t leftNs =
        pending.IsEndless() ? CPendingCommands::kTellEveryNs : std::max<std::int64_t>(pending.dueNs - nowNs, 0);
    std::array<std::uint8_t, 4> payload;
    GigEVision::AcknowledgeMessage message{Status::Success, kPendingAcknowledge, command->requestId, {}};
    message.payload = GigEVision::EncodePending(static_cast<std::uint16_t>((leftNs + kPromiseNs) / kNsPerMs), payload);
    GigEVision::GvcpBuffer buffer;
    const CEndpoint& to = pending.arrival.from;
    m_host.Answer(to, GigEVision::EncodeAcknowledge(message, buffer), RecipientAt(to), 0);
}

void CCommands::Execute(const CommandMessage& command, Bytes datagram, const CArrival& arrival) {
    const CResult result = Dispatch(command, arrival);
    if (result.status != Status::InvalidHeader && result.status != Status::NotImplemented) {
        m_session.OnSignOfLife(arrival.from, arrival.atNs);
    }
    if (result.isSilent) {
        return;
    }
    m_state.counts.refused += GigEVision::IsError(result.status) ? 1 : 0;
    if (command.Has(Flag::kAcknowledge) || command.Is(Command::Discovery)) {
        Acknowledge(command, datagram, result, arrival);
    }
}

CCommands::CResult CCommands::Dispatch(const CommandMessage& command, const CArrival& arrival) {
    switch (static_cast<Command>(command.command)) {
    case Command::Discovery:
        return Discover(command);
    case Command::ForceIp:
        return ForceAddress(command);
    case Command::PacketResend:
        return Resend(command, arrival.from);
    case Command::Action:
        return Act(command);
    case Command::ReadReg:
    case Command::WriteReg:
    case Command::ReadMem:
    case Command::WriteMem:
        return AccessOrRefuse(command, arrival);
    default:
        return {Status::NotImplemented};
    }
}

CCommands::CResult CCommands::DropSilently() {
    ++m_state.counts.dropped;
    return Unanswered();
}

CCommands::CResult CCommands::Unanswered() {
    CResult result;
    result.isSilent = true;
    return result;
}

CCommands::CResult CCommands::Discover(const CommandMessage& command) {
    if (!command.payload.empty()) {
        return DropSilently();
    }
    const GigEVision::MutableBytes payload = GigEVision::MutableBytes(m_payload).first(GigEVision::kDiscoveryBytes);
    m_bootstrap.Read(0, payload);
    return {Status::Success, payload};
}

CCommands::CResult CCommands::ForceAddress(const CommandMessage& command) {
    const auto force = GigEVision::DecodeForceIp(command.payload);
    if (!force || m_state.control.HasPrimary()) {
        return DropSilently();
    }
    std::uint64_t mac = 0;
    for (const std::uint8_t byte : force->mac) {
        mac = mac << 8 | byte;
    }
    if (mac != m_bootstrap.MacAddress()) {
        return Unanswered(); // meant for another one
    }
    if (force->address == 0) {
        ConfigureAddress();
        return Unanswered();
    }
    return ChangeAddress({force->address, force->mask, force->gateway}) ? CResult{} : DropSilently();
}

bool CCommands::ChangeAddress(const CAddressing& wanted) {
    if (!m_host.ChangeAddress(wanted)) {
        return false;
    }
    m_state.addressing = wanted;
    return true;
}

// As when it is switched on.
void CCommands::ConfigureAddress() {
    const CAddressing persistent = m_bootstrap.PersistentAddressing();
    if (persistent.address == 0 || !ChangeAddress(persistent)) {
        m_host.RestoreAddress();
        m_state.addressing = m_state.settings.addressing;
    }
}

// The stream's socket asks, which has another port than the primary's.
CCommands::CResult CCommands::Resend(const CommandMessage& command, const CEndpoint& from) {
    const auto request = GigEVision::DecodePacketResend(command.payload, command.Has(Flag::kExtendedIds));
    const bool isPrimary = m_state.control.HasPrimary() && from.address == m_state.control.Primary().address;
    if (!request || !isPrimary || request->channel != 0 || !m_stream.IsOpen()) {
        return DropSilently();
    }
    m_stream.Resend(*request, from);
    return Unanswered();
}

CCommands::CResult CCommands::Act(const CommandMessage& command) {
    const bool isScheduled = command.Has(Flag::kScheduled);
    const auto action = GigEVision::DecodeAction(command.payload, isScheduled);
    if (!action) {
        return DropSilently();
    }
    if (!m_state.control.HasPrimary() || !m_actions.IsMeant(*action)) {
        return Unanswered();
    }
    if (isScheduled) { // no clock that others share
        const bool hasCode = m_state.IsConfigured(GigEVision::GvcpConfiguration::kStatusCodes20);
        return {hasCode ? Status::NoReferenceTime : Status::Error};
    }
    ++m_state.counts.actions;
    m_actions.Fire(*action);
    return {};
}

CCommands::CResult CCommands::AccessOrRefuse(const CommandMessage& command, const CArrival& arrival) {
    if (IsOfFaults(command) || !m_faults.StrikesNext(EFault::CommandStatus)) {
        return Access(command, arrival);
    }
    const auto status = static_cast<Status>(m_faults.Parameter(EFault::CommandStatus));
    if (GigEVision::IsError(status)) {
        return {status, IsWrite(command) ? GigEVision::EncodeWriteAck(0, m_payload) : Bytes()};
    }
    CResult result = Access(command, arrival);
    if (!GigEVision::IsError(result.status)) {
        result.status = status; // a remark
    }
    return result;
}

CCommands::CResult CCommands::Access(const CommandMessage& command, const CArrival& arrival) {
    switch (static_cast<Command>(command.command)) {
    case Command::ReadReg:
        return ReadRegisters(command, arrival.from);
    case Command::WriteReg:
        return WriteRegisters(command, arrival);
    case Command::ReadMem:
        return ReadMemory(command, arrival.from);
    default:
        return WriteMemory(command, arrival);
    }
}

CCommands::CResult CCommands::ReadRegisters(const CommandMessage& command, const CEndpoint& from) {
    const auto addresses = GigEVision::DecodeReadReg(command.payload);
    if (!addresses) {
        return {Status::InvalidHeader};
    }
    if (!m_state.control.MayRead(from)) {
        return {Status::AccessDenied};
    }
    GigEVision::RegisterList values;
    for (; values.count < addresses->count; ++values.count) {
        const std::uint32_t address = addresses->words[values.count];
        std::array<std::uint8_t, 4> word;
        const Status status = IsAligned(address) ? m_space.Read(address, word) : Status::BadAlignment;
        if (GigEVision::IsError(status)) {
            return {status, GigEVision::EncodeReadRegAck(values, m_payload)};
        }
        values.words[values.count] = GigEVision::GetBigEndian<std::uint32_t>(word.data());
    }
    return {Status::Success, GigEVision::EncodeReadRegAck(values, m_payload)};
}

CCommands::CResult CCommands::WriteRegisters(const CommandMessage& command, const CArrival& arrival) {
    const auto list = GigEVision::DecodeWriteReg(command.payload);
    if (!list) {
        return {Status::InvalidHeader};
    }
    std::uint16_t done = 0;
    Status status = Status::Success;
    while (done < list->count && !GigEVision::IsError(status)) {
        status = WriteRegister(list->writes[done], arrival);
        done = static_cast<std::uint16_t>(done + (GigEVision::IsError(status) ? 0 : 1));
    }
    return {status, GigEVision::EncodeWriteAck(done, m_payload)};
}

Status CCommands::WriteRegister(const GigEVision::RegisterWrite& write, const CArrival& arrival) {
    if (!IsAligned(write.address)) {
        return Status::BadAlignment;
    }
    if (write.address == Register::kCcp) {
        return m_session.WritePrivilege(arrival.from, write.value, arrival.atNs);
    }
    if (!m_state.control.IsPrimary(arrival.from)) {
        return Status::AccessDenied;
    }
    std::array<std::uint8_t, 4> word;
    GigEVision::PutBigEndian(word.data(), write.value);
    return m_space.Write(write.address, word).status;
}

CCommands::CResult CCommands::ReadMemory(const CommandMessage& command, const CEndpoint& from) {
    const auto read = GigEVision::DecodeReadMem(command.payload);
    if (!read) {
        return {command.payload.size() == 8 ? Status::InvalidParameter : Status::InvalidHeader};
    }
    if (!IsAligned(read->address) || !IsAligned(read->count)) {
        return {Status::BadAlignment};
    }
    if (!m_state.control.MayRead(from)) {
        return {Status::AccessDenied};
    }
    std::array<std::uint8_t, GigEVision::kMaxMemoryBytes> memory;
    const GigEVision::MutableBytes data(memory.data(), read->count);
    const Status status = m_space.Read(read->address, data);
    if (GigEVision::IsError(status)) {
        return {status};
    }
    return {Status::Success, GigEVision::EncodeMemory({read->address, data}, m_payload)};
}

CCommands::CResult CCommands::WriteMemory(const CommandMessage& command, const CArrival& arrival) {
    const auto memory = GigEVision::DecodeMemory(command.payload);
    if (!memory) {
        return {Status::InvalidHeader};
    }
    CRegisterSpace::CWritten written{Status::BadAlignment, 0};
    if (!IsAligned(memory->address) || !IsAligned(memory->data.size())) {
        written.status = Status::BadAlignment;
    } else if (memory->data.size() == 4) {
        const auto value = GigEVision::GetBigEndian<std::uint32_t>(memory->data.data());
        written.status = WriteRegister({memory->address, value}, arrival);
        written.bytes = GigEVision::IsError(written.status) ? 0 : 4;
    } else if (!m_state.control.IsPrimary(arrival.from)) {
        written.status = Status::AccessDenied;
    } else {
        written = m_space.Write(memory->address, memory->data);
    }
    return {written.status, GigEVision::EncodeWriteAck(static_cast<std::uint16_t>(written.bytes), m_payload)};
}

// An acknowledge that is not one of a write done is made anew each time: so is that of one that was not done for now.
void CCommands::Acknowledge(const CommandMessage& command, Bytes datagram, const CResult& result,
                            const CArrival& arrival) {
    GigEVision::GvcpBuffer buffer;
    const Bytes acknowledge = GigEVision::EncodeAcknowledge(
        {result.status, GigEVision::AcknowledgeOf(command.command), command.requestId, result.payload}, buffer);
    if (!IsRepeatable(command) && result.status != Status::Busy) {
        m_cache.Put(arrival.from, datagram, acknowledge, arrival.atNs, m_state.control.Primary());
    }
    const bool mayBroadcast =
        (command.Is(Command::Discovery) || command.Is(Command::ForceIp)) && command.Has(Flag::kBroadcastAcknowledge);
    const std::int64_t delayNs = command.Is(Command::Discovery) ? DiscoveryDelayNs(arrival) : 0;
    Send(acknowledge, arrival.from, delayNs, mayBroadcast && IsForeign(arrival.from.address));
}

// So that the cameras of a network do not all answer at once.
std::int64_t CCommands::DiscoveryDelayNs(const CArrival& arrival) {
    std::uniform_int_distribution<std::int64_t> delayMs(0, m_state.settings.discoveryDelayMs & 0xFFFF);
    return arrival.isBroadcast ? delayMs(m_random) * kNsPerMs : 0;
}

bool CCommands::IsForeign(std::uint32_t address) const {
    return ((address ^ m_state.addressing.address) & m_state.addressing.mask) != 0;
}

ERecipient CCommands::RecipientAt(const CEndpoint& to) const {
    return m_state.control.IsPrimary(to) ? ERecipient::Primary : ERecipient::Other;
}

void CCommands::Send(Bytes acknowledge, const CEndpoint& to, std::int64_t delayNs, bool isBroadcastToo) {
    if (m_faults.StrikesNext(EFault::AckLoss)) {
        return;
    }
    GigEVision::GvcpBuffer copy;
    std::copy(acknowledge.begin(), acknowledge.end(), copy.begin());
    const Bytes sent(copy.data(), acknowledge.size());
    if (m_faults.StrikesNext(EFault::AckWrongId)) {
        std::uint8_t* const id = &copy[6];
        const std::uint32_t wrong =
            GigEVision::GetBigEndian<std::uint16_t>(id) + m_faults.Parameter(EFault::AckWrongId);
        GigEVision::PutBigEndian(id, static_cast<std::uint16_t>(wrong));
    }
    if (m_faults.StrikesNext(EFault::AckDelay)) {
        delayNs += m_faults.Parameter(EFault::AckDelay) * kNsPerMs;
    }
    const int times = m_faults.StrikesNext(EFault::AckDuplicate) ? 2 : 1;
    for (int time = 0; time < times; ++time) {
        m_host.Answer(to, sent, RecipientAt(to), delayNs);
        if (isBroadcastToo) {
            m_host.AnswerByBroadcast(to.port, sent, delayNs);
        }
    }
}

} // namespace Serving
