// SPDX-License-Identifier: Apache-2.0
#include "TemporarySettings.h"

#include "Feature.h"

#include <zelmo/InstantCamera.h>

namespace tool {

void TemporarySettings::Set(const std::string& feature, const std::string& value) {
    Feature found = Feature::Find(m_camera.GetNodeMap(), feature, m_name);
    const std::string before = found.GetText();
    if (before != value) {
        found.SetText(value);
        m_before.emplace_back(feature, before);
    }
}

void TemporarySettings::PutBack() noexcept {
    while (!m_before.empty()) {
        try {
            Feature::Find(m_camera.GetNodeMap(), m_before.back().first, m_name).SetText(m_before.back().second);
        } catch (const std::exception&) { // a camera that is gone, above all
        }
        m_before.pop_back();
    }
}

} // namespace tool
