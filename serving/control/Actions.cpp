// SPDX-License-Identifier: Apache-2.0
#include "Actions.h"

#include <gigevision/Registers.h>

#include "core/Camera.h"

#include <algorithm>

namespace Serving {

namespace Register = GigEVision::Register;

std::uint32_t* CActions::Find(std::uint32_t address) {
    const std::uint32_t offset = address - Register::kActionGroupKey;
    const std::uint32_t place = offset % Register::kActionStride;
    if (address < Register::kActionGroupKey || offset / Register::kActionStride >= m_signals.size() || place > 4) {
        return nullptr;
    }
    CSignal& signal = m_signals[offset / Register::kActionStride];
    return place == 0 ? &signal.groupKey : &signal.groupMask;
}

bool CActions::IsMeant(const GigEVision::ActionCommand& command) const {
    return std::any_of(m_signals.begin(), m_signals.end(),
                       [&](const CSignal& signal) { return IsMeant(command, signal); });
}

bool CActions::IsMeant(const GigEVision::ActionCommand& command, const CSignal& signal) const {
    return command.deviceKey == m_deviceKey && command.groupKey == signal.groupKey &&
           (command.groupMask & signal.groupMask) != 0;
}

void CActions::Fire(const GigEVision::ActionCommand& command) {
    for (std::size_t number = 0; number < m_signals.size(); ++number) {
        if (IsMeant(command, m_signals[number])) {
            m_camera.Stream().FireAction(number);
        }
    }
}

} // namespace Serving
