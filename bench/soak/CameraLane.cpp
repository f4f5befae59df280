// SPDX-License-Identifier: Apache-2.0
#include "CameraLane.h"

#include "core/FrameRecord.h"

#include <algorithm>
#include <chrono>
#include <span>
#include <stdexcept>
#include <thread>

namespace soak {
namespace {

constexpr std::uint64_t kFramesPerLife = 50000; // fewer in a short run, so that it has twenty lives, too
constexpr unsigned kSilenceMs = 100;            // behind a removal: nothing is on its way any more
constexpr unsigned kTimeoutMs = 10000;

} // namespace

CameraLane::CameraLane(const std::string& serialNumber, Zelmo::EGrabLoop loop) : m_loop(loop) {
    Zelmo::CDeviceInfo info;
    info.SetSerialNumber(serialNumber);
    m_camera.Attach(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(info));
    m_removal = Zelmo::OnRemoved(m_camera, [this] { m_isRemoved = true; });
    if (loop == Zelmo::GrabLoop_ProvidedByInstantCamera) {
        m_images = Zelmo::OnImage(m_camera, [this](const Zelmo::CGrabResultPtr& result) { Audit(result); });
    }
    m_camera.Open();
    Set("Width", "64");
    Set("Height", "4");
    Set("TestImageSelector", "FrameCounter");
    Set("AcquisitionFrameRateEnable", "0");
    Set("SimulateRemovalDuration", "20");
}

void CameraLane::Set(const char* name, const char* value) {
    GenApi::CValuePtr(m_camera.GetNodeMap(), name)->FromString(value);
}

void CameraLane::Run(std::uint64_t frames) {
    const Zelmo::CDeviceInfo info = m_camera.GetDeviceInfo();
    const std::uint64_t framesPerLife = std::clamp<std::uint64_t>(frames / 20, 1000, kFramesPerLife);
    while (m_frames < frames) {
        const std::uint64_t left = std::min(framesPerLife, frames - m_frames);
        const Zelmo::String_t settings = Zelmo::SaveSettings(m_camera);
        Live(left);
        m_camera.GetExtensionInterface().JoinGrabLoopThread();
        const Zelmo::CReopenReport report =
            Zelmo::Reopen(m_camera, info, settings, std::chrono::milliseconds(kTimeoutMs));
        if (!report.notRestored.empty()) {
            throw std::runtime_error(std::string("Not restored: ") + report.notRestored.front().c_str());
        }
        m_isRemoved = false;
        ++m_removals;
    }
}

/// From a start of the camera to its removal.
void CameraLane::Live(std::uint64_t frames) {
    const std::uint64_t before = m_frames;
    m_isFirst = true;
    Set("SimulateRemovalDelay", std::to_string(frames).c_str());
    GenApi::CCommandPtr(m_camera.GetNodeMap(), "SimulateRemoval")->Execute();
    m_camera.StartGrabbing(Zelmo::GrabStrategy_OneByOne, m_loop);
    if (m_loop == Zelmo::GrabLoop_ProvidedByUser) {
        Take();
    } else {
        AwaitSilence();
    }
    m_camera.StopGrabbing();
    ++m_account.sessions;
    m_account.begun += frames;
    m_account.lost += frames - std::min(frames, m_frames - before);
}

void CameraLane::Take() {
    Zelmo::CGrabResultPtr result;
    for (;;) {
        const bool isRemoved = m_isRemoved;
        if (m_camera.RetrieveResult(isRemoved ? kSilenceMs : kTimeoutMs / 10, result, Zelmo::TimeoutHandling_Return)) {
            Audit(result);
        } else if (isRemoved || !m_camera.IsGrabbing()) {
            return;
        }
    }
}

void CameraLane::AwaitSilence() {
    const auto deadline = [] { return std::chrono::steady_clock::now() + std::chrono::milliseconds(kTimeoutMs); };
    std::uint64_t seen = m_frames;
    for (auto due = deadline(); !m_isRemoved || seen != m_frames;) {
        if (seen != m_frames) {
            due = deadline();
        }
        if (std::chrono::steady_clock::now() > due) {
            throw std::runtime_error("Neither an image nor the removal came for 10 s");
        }
        seen = m_frames;
        std::this_thread::sleep_for(std::chrono::milliseconds(kSilenceMs)); // the silence itself
    }
}

void CameraLane::Audit(const Zelmo::CGrabResultPtr& result) {
    ++m_frames;
    CamEmu::CFrameRecord record;
    const std::span image(static_cast<const std::uint8_t*>(result->GetBuffer()), result->GetPayloadSize());
    if (!result->GrabSucceeded()) {
        ++m_account.failed;
    } else if (CamEmu::CheckFrame(image, record) != CamEmu::EFrameCheck::Intact) {
        ++m_account.torn;
    } else {
        ++m_account.good;
        if (!m_isFirst && record.blockId < m_nextId) {
            ++m_account.doubled;
        } else if (!m_isFirst && record.blockId > m_nextId) {
            ++m_account.unaccounted; // a gap: none was lost by the camera
        }
        m_nextId = record.blockId + 1;
        m_isFirst = false;
    }
}

} // namespace soak
