// SPDX-License-Identifier: Apache-2.0
#include "SoftwareTrigger.h"

#include "Errors.h"

#include <zelmo/CommandParameter.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tool {

SoftwareTrigger::SoftwareTrigger(Zelmo::CInstantCamera& camera, std::string name, const TriggerOptions& options)
    : m_camera(camera), m_name(std::move(name)), m_options(options), m_settings(camera, m_name) {
    if (!Zelmo::CCommandParameter(m_camera.GetNodeMap(), "TriggerSoftware").IsValid()) {
        throw FeatureError("TriggerSoftware", "no_software_trigger",
                           "--trigger: camera " + m_name + " has no command 'TriggerSoftware'");
    }
    m_settings.Set("TriggerSelector", "FrameStart");
    m_settings.Set("TriggerMode", "On");
    m_settings.Set("TriggerSource", "Software");
}

void SoftwareTrigger::Start() {
    if (m_options.hertz) {
        m_thread = std::jthread([this](const std::stop_token& stop) { Run(stop); });
        pthread_setname_np(m_thread.native_handle(), "zelmo-trigger");
    }
}

void SoftwareTrigger::Stop() noexcept {
    m_thread = std::jthread();
}

bool SoftwareTrigger::TriggerNext(unsigned timeoutMs) {
    if (m_options.hertz) {
        return true;
    }
    constexpr unsigned stepMs = 50; // the camera is locked for others meanwhile: who stops it needs a chance
    while (!m_camera.WaitForFrameTriggerReady(std::min(timeoutMs, stepMs), Zelmo::TimeoutHandling_Return)) {
        if (timeoutMs <= stepMs) {
            return false;
        }
        timeoutMs -= stepMs;
        Zelmo::WaitObject::Sleep(1);
        if (!m_camera.IsGrabbing()) {
            return true;
        }
    }
    m_camera.ExecuteSoftwareTrigger();
    return true;
}

/// At even times, so that a trigger that takes long does not shift those behind it.
void SoftwareTrigger::Run(const std::stop_token& stop) noexcept {
    using Clock = std::chrono::steady_clock;
    const auto period =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1 / *m_options.hertz));
    std::mutex lock; // of nothing but the pause
    std::condition_variable_any pause;
    for (auto next = Clock::now(); !stop.stop_requested(); next += period) {
        std::unique_lock held(lock);
        pause.wait_until(held, stop, next, [] { return false; });
        if (stop.stop_requested()) {
            return;
        }
        try {
            m_camera.ExecuteSoftwareTrigger();
        } catch (const std::exception&) { // the session is over, or the camera gone: the thread that retrieves tells
        }
    }
}

} // namespace tool
