// SPDX-License-Identifier: Apache-2.0
#include "Receiver.h"

#include "control/Connection.h"
#include "stream/StreamGrabber.h"

#include <GenApi/Pointer.h>
#include <zelmo/WaitObject.h>

#include <atomic>
#include <filesystem>
#include <set>
#include <string>

namespace gige_bench {

namespace {

std::set<pid_t> Threads() {
    std::set<pid_t> threads;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        threads.insert(std::stoi(task.path().filename()));
    }
    return threads;
}

class CGrabberReceiver final : public IReceiver {
public:
    explicit CGrabberReceiver(CCamera& camera);
    ~CGrabberReceiver() override;

    CReceived Received() override;
    const std::vector<double>& LatenciesNs() override { return m_latenciesNs; }

private:
    GenApi::CIntegerPtr Integer(const char* name) { return m_grabber.GetNodeMap()->GetNode(name); }
    void StartStream();
    void Take();
    void TakeResult(const Zelmo::GrabResult& result);

    CCamera& m_camera;
    Gige::CConnectionSettings m_settings;
    Gige::CConnectionCounts m_counts;
    Gige::CConnection m_connection{m_settings, m_counts};
    Gige::CStreamGrabber m_grabber{m_connection, {}};
    clockid_t m_clock = {};
    std::vector<double> m_latenciesNs;
    std::atomic<std::uint64_t> m_images{0}, m_incomplete{0};
    std::atomic<bool> m_isEnding{false};
    std::thread m_application;
};

CGrabberReceiver::CGrabberReceiver(CCamera& camera) : m_camera(camera) {
    m_latenciesNs.reserve(1 << 20);
    m_connection.Open(camera.device.Route(), Zelmo::AccessModeSet().set(Zelmo::Control).set(Zelmo::Stream));
    m_grabber.Permit(Zelmo::AccessModeSet().set(Zelmo::Control).set(Zelmo::Stream));
    m_grabber.Open();
    Integer("MaxBufferSize")->SetValue(static_cast<std::int64_t>(camera.memory.ImageBytes()));
    Integer("MaxNumBuffer")->SetValue(kBuffers);
    GenApi::CBooleanPtr(m_grabber.GetNodeMap()->GetNode("AutoPacketSize"))->SetValue(false);
    m_grabber.PrepareGrab();
    StartStream();
    for (std::size_t i = 0; i < kBuffers; ++i) {
        m_grabber.QueueBuffer(m_grabber.RegisterBuffer(camera.memory.Image(i), camera.memory.ImageBytes()), nullptr);
    }
    camera.grantedBytes = static_cast<std::uint64_t>(Integer("SocketBufferSizeGranted")->GetValue()) * 1024;
    camera.source.Begin(camera.device.StreamDestination());
    m_application = std::thread([this] { Take(); });
}

void CGrabberReceiver::StartStream() {
    const std::set<pid_t> before = Threads();
    m_grabber.StartStreaming();
    for (const pid_t thread : Threads()) {
        if (!before.contains(thread)) {
            m_clock = ClockOf(thread);
        }
    }
}

CGrabberReceiver::~CGrabberReceiver() {
    m_isEnding = true;
    m_application.join();
    m_grabber.Close();
    m_grabber.Permit({});
    m_connection.Close();
}

CReceived CGrabberReceiver::Received() {
    const Gige::CReceiveCosts costs = m_grabber.Costs();
    CReceived received;
    received.images = m_images;
    received.incomplete = m_incomplete;
    received.datagrams = costs.datagrams;
    received.batches = costs.batches;
    received.systemCalls = costs.waits + costs.receives + costs.sends;
    received.signals = costs.signals;
    received.locks = costs.locks;
    received.resendCommands = static_cast<std::uint64_t>(Integer("Statistic_Resend_Request_Count")->GetValue());
    received.cpuSeconds = CpuSeconds(m_clock);
    return received;
}

void CGrabberReceiver::Take() {
    while (!m_isEnding) {
        if (!m_grabber.GetWaitObject().Wait(100)) {
            continue;
        }
        Zelmo::GrabResult result;
        while (m_grabber.RetrieveResult(result)) {
            TakeResult(result);
            m_grabber.QueueBuffer(result.handle, nullptr);
        }
    }
}

void CGrabberReceiver::TakeResult(const Zelmo::GrabResult& result) {
    if (result.status == Zelmo::GrabStatus_Grabbed) {
        m_latenciesNs.push_back(static_cast<double>(Gige::MonotonicNs() - m_camera.source.SentNs(result.blockId)));
        ++m_images;
    } else {
        ++m_incomplete;
    }
}

} // namespace

std::unique_ptr<IReceiver> StartGrabber(CCamera& camera) {
    return std::make_unique<CGrabberReceiver>(camera);
}

} // namespace gige_bench
