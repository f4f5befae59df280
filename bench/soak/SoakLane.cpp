// SPDX-License-Identifier: Apache-2.0
#include "SoakLane.h"

#include <algorithm>
#include <chrono>
#include <span>
#include <stdexcept>
#include <thread>
#include <utility>

namespace soak {
namespace {

constexpr std::uint64_t kFramesPerSession = 5000;
constexpr std::size_t kHeld = 4; // results that the application keeps, also over a stop
constexpr unsigned kTimeoutMs = 10000;

} // namespace

Lane::Lane(std::uint32_t number, std::vector<Zelmo::EGrabStrategy> strategies, std::uint64_t seed,
           std::function<void(const Zelmo::CGrabResultPtr&)> drop)
    : m_number(number), m_strategies(std::move(strategies)), m_drop(std::move(drop)), m_random(seed),
      m_seen(2 * kFramesPerSession), m_device({}, number) {
    m_camera.Attach(&m_device, Zelmo::Cleanup_None);
    m_camera.Open();
}

void Lane::Run(std::uint64_t frames) {
    while (m_account.begun < frames) {
        RunSession(std::min(kFramesPerSession, frames - m_account.begun),
                   m_strategies[m_account.sessions % m_strategies.size()]);
    }
    m_held.clear();
}

void Lane::RunSession(std::uint64_t frames, Zelmo::EGrabStrategy strategy) {
    m_grabber.SetScript(MakeScript(frames, strategy));
    const Fakes::CFrameAccount before = m_grabber.Account();
    m_firstId = before.begun;
    std::fill(m_seen.begin(), m_seen.end(), false);
    m_camera.StartGrabbing(strategy);
    std::uint64_t done = 0;
    while (done < frames) { // a gap's lost frames come on top
        done += TakeResult();
    }
    m_camera.StopGrabbing();
    const Fakes::CFrameAccount after = m_grabber.Account();
    m_account.begun += after.begun - before.begun;
    m_account.lost += after.lost - before.lost;
    ++m_account.sessions;
}

/// Frames that fail, follow a gap, or come behind the next one, at random places but the last, which has no next one.
std::string Lane::MakeScript(std::uint64_t frames, Zelmo::EGrabStrategy strategy) {
    std::string script = "source=free;frames=" + std::to_string(frames);
    const auto add = [&](const char* fault) {
        script += ";Frame:" + std::to_string(1 + m_random() % (kFramesPerSession - 1)) + ":" + fault;
    };
    add("fail");
    add("fail");
    add("gap");
    if (strategy != Zelmo::GrabStrategy_UpcomingImage) { // there the next frame waits for this one
        add("late");
    }
    return script;
}

/// @return the frames that one retrieval accounts for.
std::uint64_t Lane::TakeResult() {
    Zelmo::CGrabResultPtr result;
    if (!m_camera.RetrieveResult(kTimeoutMs, result, Zelmo::TimeoutHandling_Return)) {
        throw std::runtime_error("No image came for 10 s");
    }
    const auto skipped = static_cast<std::uint64_t>(result->GetNumberOfSkippedImages());
    m_account.skipped += skipped;
    m_frames = m_account.begun + static_cast<std::uint64_t>(result->GetImageNumber());
    if (!result->GrabSucceeded()) {
        ++m_account.failed;
    } else {
        ++m_account.good;
        Audit(result);
    }
    Hold(result);
    return 1 + skipped;
}

void Lane::Audit(const Zelmo::CGrabResultPtr& result) {
    CamEmu::CFrameRecord record;
    const std::span image(static_cast<const std::uint8_t*>(result->GetBuffer()), result->GetPayloadSize());
    if (CamEmu::CheckFrame(image, record) != CamEmu::EFrameCheck::Intact || record.cameraNumber != m_number) {
        ++m_account.torn;
        return;
    }
    const std::uint64_t index = record.blockId - m_firstId;
    if (index >= m_seen.size()) {
        ++m_account.unaccounted; // of another session
    } else if (m_seen[index]) {
        ++m_account.doubled;
    } else {
        m_seen[index] = true;
    }
}

/// An application that keeps some, lets another thread drop others, and takes its time now and then.
void Lane::Hold(const Zelmo::CGrabResultPtr& result) {
    const std::uint64_t dice = m_random() % 1024;
    if (dice % 4 == 0) {
        m_drop(result);
    } else if (dice % 4 == 1) {
        m_held.push_back(result);
        if (m_held.size() > kHeld) {
            m_held.pop_front();
        }
    }
    if (dice < 4) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1)); // the load of a real application, no meeting point
    }
}

} // namespace soak
