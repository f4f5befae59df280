// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Mutex.h"

#include <atomic>
#include <cstdint>

namespace CamEmu {

/// What the camera tells of: values of EventSelector.
enum class EEvent : std::uint32_t {
    ExposureEnd,
    FrameStart,
    FrameStartOvertrigger,
    CriticalTemperature,
    EventOverrun,
    Count_
};
inline constexpr std::uint32_t kEvents = static_cast<std::uint32_t>(EEvent::Count_);

struct CEvent {
    EEvent kind = EEvent::ExposureEnd;
    std::uint64_t frame = 0;      ///< block id
    std::int64_t timestampNs = 0; ///< CLOCK_MONOTONIC
};

/// Takes the events of a camera.
class IEventSink {
public:
    /// Called with locks of the camera held, on any thread, one call at a time.
    virtual void OnEvent(const CEvent& event) noexcept = 0;

protected:
    ~IEventSink() = default;
};

/// Passes on what happens in the camera, where it is wanted and somebody listens. Costs one look where not.
/// Borrows: the sink while it is connected.
/// Threads: any.
/// Locks:   m_lock, inside those of camera and stream; held in the sink.
class CEventSource {
public:
    /// @p wanted: bit n for that EEvent.
    void SetNotifications(std::uint32_t wanted);
    bool IsWanted(EEvent kind) const { return (m_wanted.load(std::memory_order_relaxed) & BitOf(kind)) != 0; }

    bool Connect(IEventSink& sink); ///< @return false, with nothing changed, when another one is connected.
    void Disconnect(const IEventSink& sink) noexcept; ///< Afterwards no event is under way to it.

    void Raise(const CEvent& event) noexcept {
        if (m_isHeard.load(std::memory_order_relaxed) && IsWanted(event.kind)) {
            Send(event);
        }
    }

private:
    static std::uint32_t BitOf(EEvent kind) { return 1u << static_cast<std::uint32_t>(kind); }
    void Send(const CEvent& event) noexcept;

    std::atomic<std::uint32_t> m_wanted = 0;
    std::atomic<bool> m_isHeard = false;
    PluginKit::CMutex m_lock;
    IEventSink* m_sink PLUGIN_GUARDED_BY(m_lock) = nullptr;
};

} // namespace CamEmu
