// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EventSource.h"

#include <boost/circular_buffer.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace CamEmu {

/// Events on their way to the host. When it is full the oldest one is dropped; an EventOverrun, which takes no room,
/// then comes out ahead of what is left, once for all that were dropped since the one before.
/// Threads: one at a time.
class CEventQueue {
public:
    /// @throws std::bad_alloc, with nothing changed.
    void Open(std::size_t capacity); ///< Empty, and counts anew.
    void Clear() noexcept;           ///< Forgets what is pending; the counts stay.

    void Push(const CEvent& event, bool tellsOverrun) noexcept; ///< After Open only. Allocates nothing.
    bool Pop(CEvent& event) noexcept;                           ///< @return false when nothing is pending.

    bool IsEmpty() const { return m_events.empty() && !m_overrun; }
    std::uint64_t Pushed() const { return m_pushed; } ///< Since Open, as Dropped.
    std::uint64_t Dropped() const { return m_dropped; }

private:
    boost::circular_buffer<CEvent> m_events;
    std::optional<CEvent> m_overrun;
    std::uint64_t m_pushed = 0, m_dropped = 0;
};

} // namespace CamEmu
