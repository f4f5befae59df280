// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Device.h>

#include <atomic>
#include <string>

namespace GenApi {
struct INodeMap;
}

namespace tool {

class Output;

/// A camera, open from construction to destruction. Threads: one at a time; IsRemoved any.
class Camera {
public:
    /// Opens it to control it and to get images. @param why that is needed, for the message when somebody else has
    /// control; may be empty.
    /// @throws ToolError: access denied or in use when it cannot be opened for that, else what the library told.
    explicit Camera(const Zelmo::CDeviceInfo& info, const std::string& why = {});

    /// Opens it to look at it: as monitor, which @p output tells, where somebody else has control. @throws likewise.
    Camera(const Zelmo::CDeviceInfo& info, Output& output);
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    const std::string& GetName() const noexcept { return m_name; }
    Zelmo::IZelmoDevice& GetDevice() noexcept { return *m_device; }

    /// "device", "tl", "stream" or "event". @throws ToolError for one that this camera does not have, or not yet.
    GenApi::INodeMap& GetNodeMap(const std::string& name);

    /// Whether it is physically gone. Asks, too: what it tells comes on another thread, behind the failures.
    bool IsRemoved() const { return m_isRemoved || m_device->IsRemoved(); }

private:
    Camera(const Zelmo::CDeviceInfo& info, const std::string& why, Output* looker);
    void Open(const Zelmo::CDeviceInfo& info, const std::string& why, Output* looker);
    bool OpenAsMonitor() noexcept;
    void OnRemoved(Zelmo::IZelmoDevice* device); // on a thread of the plug-in
    void Release() noexcept;

    std::string m_name;
    std::atomic<bool> m_isRemoved{false};
    Zelmo::DeviceCallbackHandle m_removalCallback = 0;
    Zelmo::IZelmoDevice* m_device = nullptr; // goes back to the factory
};

/// The modes in which the tool opens cameras.
Zelmo::AccessModeSet GetWantedAccess();

/// What an access state means, for people; "ok" for one that does not prevent opening.
std::string ExplainAccess(Zelmo::EDeviceAccessiblityInfo access);

} // namespace tool
