// SPDX-License-Identifier: Apache-2.0
#include "EventLane.h"

#include "core/FrameRecord.h"

#include <algorithm>
#include <chrono>
#include <span>
#include <stdexcept>
#include <thread>

namespace soak {
namespace {

constexpr int kBuffers = 10;
constexpr std::uint64_t kEventQueue = 64;
constexpr std::uint64_t kBurst = 100; // does not fit
constexpr std::chrono::seconds kPatience{30};

std::int64_t Chunk(const Zelmo::CGrabResultPtr& result, const char* name) {
    return GenApi::CIntegerPtr(result->GetChunkDataNodeMap(), name)->GetValue();
}

/// Whether the chunks are those of this image.
bool AreChunksRight(const Zelmo::CGrabResultPtr& result) {
    return result->IsChunkDataAvailable() && result->HasCRC() && result->CheckCRC() &&
           Chunk(result, "ChunkFramecounter") == static_cast<std::int64_t>(result->GetBlockID()) &&
           Chunk(result, "ChunkTimestamp") == static_cast<std::int64_t>(result->GetTimeStamp()) &&
           Chunk(result, "ChunkWidth") == 64;
}

} // namespace

EventLane::Nodes::Nodes(Zelmo::CInstantCamera& camera)
    : frameOfEvent(camera.GetNodeMap(), "EventExposureEndFrameID"),
      begun(camera.GetStreamGrabberNodeMap(), "StreamStartedFrameCount"),
      raised(camera.GetEventGrabberNodeMap(), "Statistic_Total_Event_Count"),
      dropped(camera.GetEventGrabberNodeMap(), "Statistic_Failed_Event_Count") {}

EventLane::EventLane(const std::string& serialNumber, Zelmo::EGrabLoop loop, bool pool, std::uint64_t removals)
    : m_loop(loop), m_lives(removals) {
    Zelmo::CDeviceInfo info;
    info.SetSerialNumber(serialNumber);
    m_camera.Attach(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(info));
    m_removal = Zelmo::OnRemoved(m_camera, [this] {
        if (m_isCutOff) {
            m_camera.StopGrabbing();
        }
        m_isRemoved = true;
    });
    if (loop == Zelmo::GrabLoop_ProvidedByInstantCamera) {
        m_images = Zelmo::OnImage(m_camera, [this](const Zelmo::CGrabResultPtr& result) { Audit(result); });
    }
    m_exposures = Zelmo::OnEvent(m_camera, "EventExposureEnd", [this] { NoteExposure(); });
    m_heat = Zelmo::OnEvent(m_camera, "EventCriticalTemperature", [this] { ++m_delivered; });
    m_losses = Zelmo::OnEvent(m_camera, "EventOverrun", [this] { ++m_overruns; });
    m_camera.MaxNumBuffer.SetValue(kBuffers);
    m_camera.StaticChunkNodeMapPoolSize.SetValue(pool ? kBuffers + 2 : 0); // the last image of a life is held
    m_camera.GrabCameraEvents.SetValue(true);
    m_camera.Open();
    Set("Width", "64");
    Set("Height", "4");
    Set("TestImageSelector", "FrameCounter");
    Set("AcquisitionFrameRateEnable", "0");
    Set("ChunkModeActive", "1");
    for (const char* chunk : {"Timestamp", "Framecounter", "ExposureTime", "Gain", "OffsetX", "OffsetY", "Width",
                              "Height", "PixelFormat", "Stride", "LineStatusAll", "PayloadCRC16"}) {
        Set("ChunkSelector", chunk);
        Set("ChunkEnable", "1");
    }
    for (const char* event : {"ExposureEnd", "EventOverrun", "CriticalTemperature"}) {
        Set("EventSelector", event);
        Set("EventNotification", "On");
    }
    Set("SimulateEventsCount", std::to_string(kBurst).c_str());
}

void EventLane::Set(const char* name, const char* value) {
    GenApi::CValuePtr(m_camera.GetNodeMap(), name)->FromString(value);
}

void EventLane::Execute(const char* command) {
    GenApi::CCommandPtr(m_camera.GetNodeMap(), command)->Execute();
}

void EventLane::Run(std::uint64_t frames) {
    const Zelmo::CDeviceInfo info = m_camera.GetDeviceInfo();
    while (m_removals < m_lives) {
        const std::uint64_t done = m_frames;
        const std::uint64_t left = frames > done ? frames - done : 0;
        const Zelmo::String_t settings = Zelmo::SaveSettings(m_camera);
        Live(left / (m_lives - m_removals) + 1, m_removals % 2 == 0 ? EEnd::Drained : EEnd::CutOff);
        Return(info, settings);
        ++m_removals;
    }
    m_last.Release();
}

/// From a start of the camera to its removal.
void EventLane::Live(std::uint64_t frames, EEnd end) {
    Nodes nodes(m_camera);
    m_nodes = &nodes;
    m_isCutOff = end == EEnd::CutOff;
    m_taken = m_delivered = m_overruns = m_nextEvent = 0;
    if (end == EEnd::Drained) {
        Set("SimulateRemovalDelay", std::to_string(frames).c_str());
        Execute("SimulateRemoval");
    } else {
        Set("SimulateRemovalDelay", "0");
    }
    Set("EventSelector", "CriticalTemperature");
    m_camera.StartGrabbing(Zelmo::GrabStrategy_OneByOne, m_loop);
    Execute("SimulateEvents");
    Await("all images", [&] { return m_taken >= frames; });
    if (end == EEnd::CutOff) {
        Execute("SimulateRemoval");
    }
    Await("the removal", [this] { return m_isRemoved.load(); });
    if (end == EEnd::Drained) {
        const auto raised = static_cast<std::uint64_t>(nodes.raised->GetValue());
        Await("all events",
              [&] { return m_delivered + static_cast<std::uint64_t>(nodes.dropped->GetValue()) == raised; });
    }
    m_camera.StopGrabbing();
    m_camera.GetExtensionInterface().JoinGrabLoopThread();
    CloseAccounts(frames, end);
    m_nodes = nullptr;
}

void EventLane::Return(const Zelmo::CDeviceInfo& info, const Zelmo::String_t& settings) {
    const Zelmo::CReopenReport report = Zelmo::Reopen(m_camera, info, settings, kPatience);
    if (!report.notRestored.empty()) {
        throw std::runtime_error(std::string("Not restored: ") + report.notRestored.front().c_str());
    }
    m_isRemoved = false;
}

/// Grabs, or lets the loop of the camera object grab, until @p holds.
template <class Condition>
void EventLane::Await(const char* what, Condition holds) {
    Zelmo::CGrabResultPtr result;
    for (const auto due = std::chrono::steady_clock::now() + kPatience; !holds();) {
        if (std::chrono::steady_clock::now() > due) {
            throw std::runtime_error(std::string("Not there after 30 s: ") + what);
        }
        if (m_loop == Zelmo::GrabLoop_ProvidedByUser && m_camera.IsGrabbing()) {
            if (m_camera.RetrieveResult(5, result, Zelmo::TimeoutHandling_Return)) {
                Audit(result);
            }
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(1)); // another thread works
        }
    }
}

void EventLane::Audit(const Zelmo::CGrabResultPtr& result) {
    CamEmu::CFrameRecord record;
    const std::span image(static_cast<const std::uint8_t*>(result->GetBuffer()), result->GetPayloadSize());
    if (!result->GrabSucceeded()) {
        ++m_account.failed;
    } else if (CamEmu::CheckFrame(image, record) != CamEmu::EFrameCheck::Intact ||
               record.blockId != result->GetBlockID() || !AreChunksRight(result)) {
        ++m_account.torn;
    } else {
        ++m_account.good;
        const std::uint64_t due = m_taken;
        m_account.doubled += record.blockId < due ? 1 : 0;
        m_account.unaccounted += record.blockId > due ? 1 : 0; // a gap: none was lost by the camera
    }
    if (m_taken == 0 && m_last.IsValid()) { // of the life before
        m_account.torn += AreChunksRight(m_last) ? 0 : 1;
    }
    m_last = result;
    ++m_frames;
    ++m_taken; // the lane may go on with it
}

void EventLane::NoteExposure() {
    const auto frame = static_cast<std::uint64_t>(m_nodes->frameOfEvent->GetValue());
    m_events.disordered += frame < m_nextEvent ? 1 : 0;
    m_nextEvent = frame + 1;
    ++m_delivered;
}

void EventLane::CloseAccounts(std::uint64_t frames, EEnd end) {
    const auto begun = static_cast<std::uint64_t>(m_nodes->begun->GetValue());
    const std::uint64_t taken = m_taken;
    const std::uint64_t lost = begun - std::min(begun, taken);
    ++m_account.sessions;
    m_account.begun += begun;
    m_account.lost += lost;
    const bool areImagesRight = end == EEnd::Drained ? lost == 0 && begun == frames : lost <= kBuffers;
    m_account.unaccounted += areImagesRight ? 0 : 1;

    const auto raised = static_cast<std::uint64_t>(m_nodes->raised->GetValue());
    const auto dropped = static_cast<std::uint64_t>(m_nodes->dropped->GetValue());
    const std::uint64_t pending = raised - std::min(raised, m_delivered + dropped);
    m_events.raised += raised;
    m_events.delivered += m_delivered;
    m_events.dropped += dropped;
    m_events.pending += pending;
    m_events.overruns += m_overruns;
    const std::uint64_t expected = begun + kBurst;
    const bool areEventsRight = end == EEnd::Drained
                                    ? raised == expected && pending == 0 && (dropped != 0) == (m_overruns != 0)
                                    : raised == expected && pending <= kEventQueue;
    m_events.unaccounted += areEventsRight ? 0 : 1;
}

} // namespace soak
