// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace CamEmu {

/// What a trigger lets begin: values of TriggerSelector.
enum class ETrigger : std::uint32_t { FrameStart, FrameBurstStart, AcquisitionStart, Count_ };

/// Values of TriggerSource: the lines in their order, then the action signals that a network brings.
enum class ETriggerSource : std::uint32_t { Software, Line1, Line2, Action1, Action2, Count_ };

/// Values of TriggerActivation: which change of its line is a trigger.
enum class ETriggerActivation : std::uint32_t { RisingEdge, FallingEdge, AnyEdge, Count_ };

inline constexpr std::size_t kTriggers = static_cast<std::size_t>(ETrigger::Count_);
inline constexpr std::size_t kLines = 2;
inline constexpr std::size_t kActions = 2;

struct CTriggerSetting {
    bool isOn = false;
    ETriggerSource source = ETriggerSource::Software;
    ETriggerActivation activation = ETriggerActivation::RisingEdge;
};

/// All that is set of the triggers.
struct CTriggerSettings {
    const CTriggerSetting& Of(ETrigger trigger) const { return triggers[static_cast<std::size_t>(trigger)]; }
    bool IsOn(ETrigger trigger) const { return Of(trigger).isOn; }

    std::array<CTriggerSetting, kTriggers> triggers;
    std::uint32_t burstFrames = 1; ///< that one FrameBurstStart lets begin
};

/// Decides which frames of an acquisition may begin. A frame begins when no trigger that is on is missing:
/// AcquisitionStart once in an acquisition, FrameBurstStart before each burst, FrameStart before each frame. A trigger
/// inside another one is taken only after that; one that comes while the camera is not ready for it is passed over.
/// Times are nanoseconds of CLOCK_MONOTONIC.
/// Threads: one at a time.
class CTriggers {
public:
    void Apply(const CTriggerSettings& settings); ///< A trigger that was switched on is missing from then on.
    void Arm();                                   ///< The acquisition was started; all triggers are missing.
    void Disarm();                                ///< It has ended: no trigger is taken, and those taken are forgotten.

    void FireSoftware(ETrigger trigger, std::int64_t nowNs); ///< Means nothing to a trigger with another source.
    /// Each trigger that has this line, from 0, as its source sees the change; none becomes ready by what it does to
    /// another one.
    void SetLine(std::size_t line, bool level, std::int64_t nowNs);
    bool Level(std::size_t line) const { return m_levels[line]; }
    void FireAction(std::size_t action, std::int64_t nowNs); ///< From 0; else as a change of a line.

    bool MayFrameBegin() const { return HasAcquisition() && HasBurst() && HasFrame(); }
    bool IsReadyFor(ETrigger trigger) const; ///< Whether it would be taken now.
    /// Whether a frame trigger was taken whose frame has not begun to be read out; then when it came.
    bool IsExposing() const { return m_isOn[kFrame] && m_hasFrame; }
    std::int64_t ExposedSinceNs() const { return m_frameNs; }
    /// Whether frames that need no further trigger are missing of a frame or burst that was triggered.
    bool IsServing() const { return IsExposing() || (!m_isOn[kFrame] && m_isOn[kBurst] && m_burstLeft > 0); }

    std::uint64_t FramesToTrigger() const; ///< How many frames may begin at most before a trigger is needed.
    void CountFrames(std::uint64_t frames);
    std::uint64_t Missed() const { return m_missed; } ///< Triggers passed over since the acquisition was started.
    std::uint64_t MissedFrames() const { return m_missedFrames; } ///< Of them, FrameStart triggers.

private:
    static constexpr auto kFrame = static_cast<std::size_t>(ETrigger::FrameStart);
    static constexpr auto kBurst = static_cast<std::size_t>(ETrigger::FrameBurstStart);
    static constexpr auto kAcquisition = static_cast<std::size_t>(ETrigger::AcquisitionStart);

    bool HasAcquisition() const { return !m_isOn[kAcquisition] || m_hasAcquisition; }
    bool HasBurst() const { return !m_isOn[kBurst] || m_burstLeft > 0; }
    bool HasFrame() const { return !m_isOn[kFrame] || m_hasFrame; }
    template <class Condition>
    void TakeEach(std::int64_t nowNs, Condition isMeant);
    void TakeOrMiss(ETrigger trigger, std::int64_t nowNs);
    void Take(ETrigger trigger, std::int64_t nowNs);
    void Forget(std::size_t trigger);

    CTriggerSettings m_settings;
    std::array<bool, kTriggers> m_isOn = {}; // of the settings, for each frame to look at
    std::array<bool, kLines> m_levels = {};
    bool m_isArmed = false;
    bool m_hasAcquisition = false;
    bool m_hasFrame = false;
    std::uint32_t m_burstLeft = 0;
    std::int64_t m_frameNs = 0;
    std::uint64_t m_missed = 0, m_missedFrames = 0;
};

} // namespace CamEmu
