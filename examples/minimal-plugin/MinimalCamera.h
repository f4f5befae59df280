// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RemovalNotice.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>

namespace Minimal {

/// The camera: a few registers and a cable. A real plug-in has its driver here.
/// Threads: any.
class MinimalCamera {
public:
    /// Where the registers are, each of 4 bytes; the description in MinimalDevice.cpp says the same.
    enum Register : std::int64_t {
        kAcquisitionStart = 0x00, ///< writing 1 starts it
        kAcquisitionStop = 0x04,
        kParamsLocked = 0x08,
        kBrightness = 0x0C,
        kSimulateRemoval = 0x10,
        kChunkModeActive = 0x14,
        kEventNotification = 0x18,
        kTestEventGenerate = 0x1C
    };

    /// @throws GenICam::RuntimeException where there is no register, and while the cable is pulled.
    std::uint32_t Read(std::int64_t address) const;
    void Write(std::int64_t address, std::uint32_t value);

    bool TakeControl() { return !m_isControlled.exchange(true); } ///< @return false when somebody has it.
    void ReleaseControl() { m_isAcquiring = m_isControlled = false; }
    bool IsControlled() const { return m_isControlled; }

    void LockParams() { ++m_locks; } ///< From PrepareGrab to FinishGrab.
    void UnlockParams() { --m_locks; }
    bool IsAcquiring() const { return m_isAcquiring && m_isPluggedIn; }
    std::uint32_t Brightness() const { return m_brightness; }
    bool SendsChunks() const { return m_sendsChunks; }
    static std::uint64_t GetTicks(); ///< The camera's clock, in nanoseconds.

    /// Gets the ticks of each event, on the thread that raises it. There is one receiver at a time.
    using EventReceiver = std::function<void(std::uint64_t ticks)>;
    bool SendEventsTo(EventReceiver receiver); ///< @return false when they go elsewhere.
    void SendEventsNowhere();                  ///< None comes any more when it returns.

    void Enter() { ++m_holders; } ///< Somebody opens a device on it.
    void Leave() { --m_holders; }
    bool IsPluggedIn() const { return m_isPluggedIn; }
    bool Answers(); ///< Whether it can be found. One that nobody holds any more is plugged in again, to be tried anew.
    RemovalNotice& Removal() { return m_removal; }

private:
    void RaiseTestEvent();

    std::atomic<bool> m_isPluggedIn{true};
    std::atomic<bool> m_isControlled{false};
    std::atomic<bool> m_isAcquiring{false};
    std::atomic<int> m_locks{0};
    std::atomic<int> m_holders{0};
    std::atomic<std::uint32_t> m_brightness{0};
    std::atomic<bool> m_sendsChunks{false};
    std::atomic<bool> m_sendsEvents{false};
    std::mutex m_eventMutex; // held while the receiver is called
    EventReceiver m_eventReceiver;
    RemovalNotice m_removal;
};

} // namespace Minimal
