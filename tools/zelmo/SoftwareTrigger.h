// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"
#include "TemporarySettings.h"

#include <zelmo/InstantCamera.h>

#include <string>
#include <thread>

namespace tool {

/// Triggers a camera's images by software: sets that up, triggers as asked for, and puts the settings back at its end.
/// Borrows the camera. Threads: one, and with a rate one of its own that only triggers.
class SoftwareTrigger {
public:
    /// @throws ToolError: exit code 7 for a camera without "TriggerSoftware", and what setting it up is refused for.
    SoftwareTrigger(Zelmo::CInstantCamera& camera, std::string name, const TriggerOptions& options);
    ~SoftwareTrigger() { Stop(); } ///< The camera no longer grabs by then.
    SoftwareTrigger(const SoftwareTrigger&) = delete;
    SoftwareTrigger& operator=(const SoftwareTrigger&) = delete;

    void Start(); ///< With a rate: triggers from here on, whether the camera is ready or not.
    void Stop() noexcept;
    /// Without a rate: waits until the camera is ready, at most @p timeoutMs, and triggers it, unless it is stopped
    /// meanwhile. @return false when it does not get ready.
    bool TriggerNext(unsigned timeoutMs);

private:
    void Run(const std::stop_token& stop) noexcept;

    Zelmo::CInstantCamera& m_camera;
    const std::string m_name;
    const TriggerOptions m_options;
    TemporarySettings m_settings;
    std::jthread m_thread;
};

} // namespace tool
