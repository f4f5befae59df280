// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Zelmo {
class CInstantCamera;
}

namespace tool {

/// Features of a camera that are set for a while: they get their values of before, the last one first, when this object
/// goes. So a selector that was set in between stands right for what it selects. Borrows the camera, which does not
/// grab then; what cannot be put back stays.
class TemporarySettings {
public:
    TemporarySettings(Zelmo::CInstantCamera& camera, std::string name) : m_camera(camera), m_name(std::move(name)) {}
    ~TemporarySettings() { PutBack(); }
    TemporarySettings(const TemporarySettings&) = delete;
    TemporarySettings& operator=(const TemporarySettings&) = delete;

    /// @throws ToolError when the feature does not exist, or the value is refused.
    void Set(const std::string& feature, const std::string& value);

private:
    void PutBack() noexcept;

    Zelmo::CInstantCamera& m_camera;
    const std::string m_name;
    std::vector<std::pair<std::string, std::string>> m_before; // features and their values, in the order of setting
};

} // namespace tool
