// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ImageCamera.h"
#include "Options.h"

#include <zelmo/Device.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/HandlerRegistration.h>
#include <zelmo/Reopen.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>

namespace GenApi {
struct INodeMap;
}

namespace tool {

class Output;

/// The modes in which the tool opens cameras, but for those that look only.
Zelmo::AccessModeSet GetWantedAccess();

/// A camera, open from construction to destruction, in a camera object without configurations: its own settings count.
/// Threads: one at a time; IsRemoved any.
class Camera {
public:
    /// Opens it to control it and to get images. @param why that is needed, for the message when somebody else has
    /// control; may be empty. @param access more than usual: to get events, too. @param object the camera object to
    /// use, which outlives this; null: one of its own.
    /// @throws ToolError: access denied or in use when it cannot be opened for that, else what the library told.
    explicit Camera(const Zelmo::CDeviceInfo& info, const std::string& why = {},
                    Zelmo::AccessModeSet access = GetWantedAccess(), ImageCamera* object = nullptr);

    /// Opens it to look at it: as monitor, which @p output tells, where somebody else has control. @throws likewise.
    Camera(const Zelmo::CDeviceInfo& info, Output& output);
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    const std::string& GetName() const noexcept { return m_name; }
    Zelmo::IZelmoDevice& GetDevice() noexcept { return *m_device; }
    Zelmo::CInstantCamera& GetObject() noexcept { return m_object; }

    /// Why the chunk data of the image that was retrieved last cannot be read; else empty.
    const std::string& GetChunkFault() const noexcept { return m_object.GetChunkFault(); }

    /// Gets it back once it was removed; see Zelmo::Reopen. @throws what that throws; it is no camera any more then.
    Zelmo::CReopenReport Reopen(const Zelmo::String_t& settings, std::chrono::milliseconds limit,
                                const Zelmo::WaitObject& cancel);

    /// "device", "tl", "stream", "event" or "camera". @throws ToolError for one that this camera does not have.
    GenApi::INodeMap& GetNodeMap(const std::string& name);

    /// The one that the user has chosen: "chunk", too, which takes an image and keeps it. @throws likewise, and what
    /// GrabChunkImage throws.
    GenApi::INodeMap& GetNodeMap(const DeviceOptions& options);

    /// Whether it is physically gone. Asks, too: what it tells comes on another thread, behind the failures.
    bool IsRemoved() const;

private:
    Camera(const Zelmo::CDeviceInfo& info, const std::string& why, Zelmo::AccessModeSet access, Output* looker,
           ImageCamera* object);
    void Open(const Zelmo::CDeviceInfo& info, const std::string& why, Zelmo::AccessModeSet access, Output* looker);
    bool OpenAsMonitor() noexcept;

    std::string m_name;
    Zelmo::CDeviceInfo m_info;
    std::atomic<bool> m_isRemoved{false};
    std::unique_ptr<ImageCamera> m_own;
    ImageCamera& m_object;
    Zelmo::CHandlerRegistration m_removal;   // behind the object, which must outlive it
    mutable std::mutex m_lock;               // guards the next where another thread may look
    Zelmo::IZelmoDevice* m_device = nullptr; // the object's; null while there is none
    Zelmo::CGrabResultPtr m_chunkImage;      // whose chunks were asked for
};

/// What an access state means, for people; "ok" for one that does not prevent opening.
std::string ExplainAccess(Zelmo::EDeviceAccessiblityInfo access);

} // namespace tool
