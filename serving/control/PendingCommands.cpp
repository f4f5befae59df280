// SPDX-License-Identifier: Apache-2.0
#include "PendingCommands.h"

#include "ControlState.h"

#include <algorithm>
#include <utility>

namespace Serving {

bool CPendingCommand::IsEndless() const {
    return dueNs == kNever;
}

const CPendingCommand& CPendingCommands::Add(GigEVision::Bytes datagram, const CArrival& arrival,
                                             std::int64_t durationNs) {
    CPendingCommand command{arrival, {datagram.begin(), datagram.end()}};
    command.dueNs = durationNs == 0 ? kNever : arrival.atNs + durationNs;
    command.tellNs = durationNs == 0 ? arrival.atNs + kTellEveryNs : kNever;
    return m_commands.emplace_back(std::move(command));
}

const CPendingCommand* CPendingCommands::Find(GigEVision::Bytes datagram, const CEndpoint& from) const {
    const auto found = std::find_if(m_commands.begin(), m_commands.end(), [&](const CPendingCommand& command) {
        return command.arrival.from == from &&
               std::equal(datagram.begin(), datagram.end(), command.datagram.begin(), command.datagram.end());
    });
    return found == m_commands.end() ? nullptr : &*found;
}

bool CPendingCommands::HasOf(const CEndpoint& from) const {
    return std::any_of(m_commands.begin(), m_commands.end(),
                       [&](const CPendingCommand& command) { return command.arrival.from == from; });
}

void CPendingCommands::GiveUp(const CEndpoint& from) {
    std::erase_if(m_commands,
                  [&](const CPendingCommand& command) { return command.arrival.from == from && command.IsEndless(); });
}

std::optional<CPendingCommand> CPendingCommands::TakeDue(std::int64_t nowNs) {
    const auto found = std::min_element(m_commands.begin(), m_commands.end(),
                                        [](const auto& a, const auto& b) { return a.dueNs < b.dueNs; });
    if (found == m_commands.end() || found->dueNs > nowNs) {
        return std::nullopt;
    }
    CPendingCommand command = std::move(*found);
    m_commands.erase(found);
    return command;
}

const CPendingCommand* CPendingCommands::NextToTell(std::int64_t nowNs) {
    const auto found = std::find_if(m_commands.begin(), m_commands.end(),
                                    [nowNs](const CPendingCommand& command) { return command.tellNs <= nowNs; });
    if (found == m_commands.end()) {
        return nullptr;
    }
    found->tellNs = nowNs + kTellEveryNs;
    return &*found;
}

std::int64_t CPendingCommands::DueNs() const {
    std::int64_t due = kNever;
    for (const CPendingCommand& command : m_commands) {
        due = std::min({due, command.dueNs, command.tellNs});
    }
    return due;
}

} // namespace Serving
