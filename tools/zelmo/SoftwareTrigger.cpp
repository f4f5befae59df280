// SPDX-License-Identifier: Apache-2.0
#include "SoftwareTrigger.h"

#include "Errors.h"
#include "Feature.h"

#include <zelmo/CommandParameter.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tool {

SoftwareTrigger::SoftwareTrigger(Zelmo::CInstantCamera& camera, std::string name, const TriggerOptions& options)
    : m_camera(camera), m_name(std::move(name)), m_options(options) {
    if (!Zelmo::CCommandParameter(m_camera.GetNodeMap(), "TriggerSoftware").IsValid()) {
        throw FeatureError("TriggerSoftware", "no_software_trigger",
                           "--trigger: camera " + m_name + " has no command 'TriggerSoftware'");
    }
    try {
        Set("TriggerSelector", "FrameStart");
        Set("TriggerMode", "On");
        Set("TriggerSource", "Software");
    } catch (...) {
        PutBack();
        throw;
    }
}

SoftwareTrigger::~SoftwareTrigger() {
    Stop();
    PutBack();
}

void SoftwareTrigger::PutBack() noexcept {
    while (!m_before.empty()) { // the last one first
        try {
            Feature::Find(m_camera.GetNodeMap(), m_before.back().first, m_name).SetText(m_before.back().second);
        } catch (const std::exception&) { // a camera that is gone, above all
        }
        m_before.pop_back();
    }
}

void SoftwareTrigger::Set(const char* feature, const char* value) {
    Feature found = Feature::Find(m_camera.GetNodeMap(), feature, m_name);
    const std::string before = found.GetText();
    if (before != value) {
        found.SetText(value);
        m_before.emplace_back(feature, before);
    }
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
