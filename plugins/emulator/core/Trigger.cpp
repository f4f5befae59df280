// SPDX-License-Identifier: Apache-2.0
#include "Trigger.h"

#include <algorithm>
#include <limits>

namespace CamEmu {

namespace {

bool IsActivatedBy(ETriggerActivation activation, bool level) {
    switch (activation) {
    case ETriggerActivation::RisingEdge:
        return level;
    case ETriggerActivation::FallingEdge:
        return !level;
    default:
        return true;
    }
}

ETriggerSource Behind(ETriggerSource first, std::size_t steps) {
    return static_cast<ETriggerSource>(static_cast<std::size_t>(first) + steps);
}

} // namespace

void CTriggers::Apply(const CTriggerSettings& settings) {
    for (std::size_t trigger = 0; trigger < kTriggers; ++trigger) {
        if (m_isOn[trigger] != settings.triggers[trigger].isOn) {
            Forget(trigger);
        }
        m_isOn[trigger] = settings.triggers[trigger].isOn;
    }
    m_settings = settings;
}

void CTriggers::Arm() {
    Disarm();
    m_isArmed = true;
    m_missed = m_missedFrames = 0;
}

void CTriggers::Disarm() {
    m_isArmed = false;
    for (std::size_t trigger = 0; trigger < kTriggers; ++trigger) {
        Forget(trigger);
    }
}

void CTriggers::FireSoftware(ETrigger trigger, std::int64_t nowNs) {
    if (m_isArmed && m_settings.IsOn(trigger) && m_settings.Of(trigger).source == ETriggerSource::Software) {
        TakeOrMiss(trigger, nowNs);
    }
}

void CTriggers::SetLine(std::size_t line, bool level, std::int64_t nowNs) {
    if (m_levels[line] == level) {
        return;
    }
    m_levels[line] = level;
    TakeEach(nowNs, [&](const CTriggerSetting& setting) {
        return setting.source == Behind(ETriggerSource::Line1, line) && IsActivatedBy(setting.activation, level);
    });
}

void CTriggers::FireAction(std::size_t action, std::int64_t nowNs) {
    TakeEach(nowNs,
             [&](const CTriggerSetting& setting) { return setting.source == Behind(ETriggerSource::Action1, action); });
}

template <class Condition>
void CTriggers::TakeEach(std::int64_t nowNs, Condition isMeant) {
    if (!m_isArmed) {
        return;
    }
    // From the inside out: what this signal makes the camera ready for, waits for the next one.
    for (const ETrigger trigger : {ETrigger::FrameStart, ETrigger::FrameBurstStart, ETrigger::AcquisitionStart}) {
        if (m_settings.IsOn(trigger) && isMeant(m_settings.Of(trigger))) {
            TakeOrMiss(trigger, nowNs);
        }
    }
}

void CTriggers::TakeOrMiss(ETrigger trigger, std::int64_t nowNs) {
    if (IsReadyFor(trigger)) {
        Take(trigger, nowNs);
    } else {
        ++m_missed;
        m_missedFrames += trigger == ETrigger::FrameStart ? 1 : 0;
    }
}

bool CTriggers::IsReadyFor(ETrigger trigger) const {
    if (!m_isArmed || !m_settings.IsOn(trigger)) {
        return false;
    }
    switch (trigger) {
    case ETrigger::AcquisitionStart:
        return !m_hasAcquisition;
    case ETrigger::FrameBurstStart:
        return HasAcquisition() && m_burstLeft == 0;
    default:
        return HasAcquisition() && HasBurst() && !m_hasFrame;
    }
}

std::uint64_t CTriggers::FramesToTrigger() const {
    if (m_isOn[kFrame]) {
        return 1;
    }
    return m_isOn[kBurst] ? m_burstLeft : std::numeric_limits<std::uint64_t>::max();
}

void CTriggers::CountFrames(std::uint64_t frames) {
    m_hasFrame = false;
    m_burstLeft -= static_cast<std::uint32_t>(std::min<std::uint64_t>(frames, m_burstLeft));
}

void CTriggers::Take(ETrigger trigger, std::int64_t nowNs) {
    switch (trigger) {
    case ETrigger::AcquisitionStart:
        m_hasAcquisition = true;
        break;
    case ETrigger::FrameBurstStart:
        m_burstLeft = m_settings.burstFrames;
        break;
    default:
        m_hasFrame = true;
        m_frameNs = nowNs;
    }
}

void CTriggers::Forget(std::size_t trigger) {
    switch (trigger) {
    case kAcquisition:
        m_hasAcquisition = false;
        break;
    case kBurst:
        m_burstLeft = 0;
        break;
    default:
        m_hasFrame = false;
    }
}

} // namespace CamEmu
