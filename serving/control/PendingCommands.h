// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceHost.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace Serving {

/// A command that is told to take its time.
struct CPendingCommand {
    CArrival arrival;
    std::vector<std::uint8_t> datagram;
    std::int64_t dueNs = 0;  ///< when it is executed; kNever: it is not
    std::int64_t tellNs = 0; ///< when the host is to hear of it again; kNever: the last promise holds

    bool IsEndless() const;
};

/// The commands that are pending, of all sources together; bounded.
/// Threads: the control thread.
class CPendingCommands {
public:
    static constexpr std::size_t kMost = 16;
    static constexpr std::int64_t kTellEveryNs = 1'000'000'000; ///< of those without end

    bool IsFull() const { return m_commands.size() >= kMost; }
    /// @p durationNs 0: without end.
    const CPendingCommand& Add(GigEVision::Bytes datagram, const CArrival& arrival, std::int64_t durationNs);
    const CPendingCommand* Find(GigEVision::Bytes datagram, const CEndpoint& from) const;
    bool HasOf(const CEndpoint& from) const;
    void GiveUp(const CEndpoint& from); ///< Its source sent another one: those without end are forgotten.
    void Clear() { m_commands.clear(); }

    std::optional<CPendingCommand> TakeDue(std::int64_t nowNs); ///< One that is to be executed now.
    /// One whose host is to hear of it now; it is due again later. Null for none.
    const CPendingCommand* NextToTell(std::int64_t nowNs);
    std::int64_t DueNs() const;

private:
    std::vector<CPendingCommand> m_commands;
};

} // namespace Serving
