// SPDX-License-Identifier: Apache-2.0
#include "GrabRun.h"

#include "GigECamera.h"
#include "GrabOptions.h"
#include "GrabReport.h"
#include "LossReport.h"
#include "Output.h"
#include "SessionRetrieval.h"

#include <algorithm>

namespace tool {
namespace {

constexpr int kProgressIntervalMs = 100;

void CheckNumber(std::size_t cameras) {
    constexpr std::size_t most = 341; // that an array starts
    if (cameras > most) {
        throw UsageError("There are " + std::to_string(cameras) + " cameras, of which at most " + std::to_string(most) +
                         " can grab together. -d chooses some; with --reconnect each has a session of its own");
    }
}

} // namespace

GrabRun::GrabRun(const std::vector<Zelmo::CDeviceInfo>& infos, const GrabOptions& options, Output& output)
    : m_infos(infos), m_options(options), m_output(output) {
    for (const auto& info : infos) {
        CheckStrategy(info, options.strategy);
    }
    if (infos.size() > 1 && !options.reconnect.isWanted) {
        CheckNumber(infos.size());
        m_array.emplace(infos.size());
    }
    for (const auto& info : infos) {
        ImageCamera* const object = m_array ? &m_array->GetCamera(m_cameras.size()) : nullptr;
        m_cameras.push_back(std::make_unique<CameraGrab>(info, options, m_signals, object));
        m_cameras.back()->Configure(options.setup);
    }
    MakeThreads();
}

void GrabRun::MakeThreads() {
    if (m_array) {
        auto retrieval = std::make_unique<ArrayRetrieval>(*m_array, m_cameras, m_options, m_signals);
        m_threads.push_back(std::make_unique<GrabThread>(std::move(retrieval)));
        return;
    }
    for (const auto& camera : m_cameras) {
        auto retrieval = std::make_unique<SessionRetrieval>(*camera, m_options, m_signals, m_output);
        m_threads.push_back(std::make_unique<GrabThread>(std::move(retrieval)));
    }
}

void GrabRun::WatchReader(int fd, const std::string& name) {
    m_readers.push_back({fd, 0, 0});
    m_readerNames.push_back(name);
}

void GrabRun::Run() {
    WatchReader(m_output.GetDataFd(), "standard output");
    for (const auto& thread : m_threads) {
        thread->Start();
    }
    while (std::any_of(m_threads.begin(), m_threads.end(), [](const auto& one) { return one->IsRunning(); })) {
        ShowProgress();
        WatchOver();
    }
    for (const auto& thread : m_threads) {
        thread->Join();
    }
    ShowProgress();
    m_output.EndProgress();
}

void GrabRun::ShowProgress() {
    m_output.ShowProgress(MakeProgressLine(m_cameras, m_options), MakeProgressJson(m_cameras, m_options));
}

/// Waits for a pause between two progress lines, or less when something happens.
void GrabRun::WatchOver() {
    std::vector<pollfd> events = m_readers;
    // -1 stands for what has happened and would end every wait.
    events.push_back({m_signals.StopRequested() ? -1 : m_signals.GetFd(), POLLIN, 0});
    for (const auto& thread : m_threads) {
        events.push_back({thread->IsRunning() ? thread->GetEndFd() : -1, POLLIN, 0});
    }
    poll(events.data(), events.size(), kProgressIntervalMs);
    LookAfterReaders(events);
    for (const auto& thread : m_threads) {
        thread->StopIfOver();
    }
}

/// @param polled has the readers in front.
void GrabRun::LookAfterReaders(const std::vector<pollfd>& polled) {
    for (std::size_t i = 0; i < m_readers.size(); ++i) {
        if (!HasHungUp(polled[i])) {
            continue;
        }
        if (polled[i].fd == m_output.GetDataFd()) {
            m_output.DropData();
        }
        m_goneReader = m_readerNames[i];
        m_readers.clear(); // it would end every wait from now on
        m_signals.RequestStop();
    }
}

ExitCode GrabRun::Conclude() {
    const ExitCode code = TellFailures();
    TellLosses();
    return code;
}

void GrabRun::TellLosses() {
    for (const auto& camera : m_cameras) {
        for (const std::string& line :
             ExplainLosses(camera->GetName(), camera->GetCounts(), camera->GetLossClues(), m_options)) {
            m_output.Note(line);
        }
    }
    for (const std::string& line : ExplainLinks(CollectLinkUses(), ReadHostInterfaces())) {
        m_output.Note(line);
    }
}

std::vector<LinkUse> GrabRun::CollectLinkUses() const {
    std::vector<LinkUse> uses;
    for (std::size_t i = 0; i < m_cameras.size(); ++i) {
        const LossClues& clues = m_cameras[i]->GetLossClues();
        if (!clues.stream.HavePackets()) {
            continue;
        }
        const GrabCounts counts = m_cameras[i]->GetCounts();
        uses.push_back({m_cameras[i]->GetName(), GetGigEPlace(m_infos[i]).interface,
                        counts.GetMegabytesPerSecond() * 1e6, clues.packetBytes, clues.ticksPerSecond,
                        clues.stream.requests.value_or(0) + clues.stream.missing.value_or(0) > 0});
    }
    return uses;
}

ExitCode GrabRun::TellFailures() {
    std::optional<ExitCode> failure;
    for (const auto& camera : m_cameras) {
        if (const auto& error = camera->GetError()) {
            m_output.Error(*error);
            failure = failure.value_or(error->GetExitCode());
        }
    }
    if (!m_goneReader.empty() && !failure) { // else whoever wrote to it has told already
        m_output.Error(NobodyReads(m_goneReader));
        failure = ExitCode::Failed;
    }
    if (failure) {
        return *failure;
    }
    const bool tooMany = TooManyMissing();
    if (m_signals.GetExitCode() != ExitCode::Done) {
        return m_signals.GetExitCode();
    }
    return tooMany ? ExitCode::Quality : ExitCode::Done;
}

bool GrabRun::TooManyMissing() {
    const GrabCounts sum = Sum(m_cameras);
    const std::uint64_t missing = sum.lost + sum.skipped + sum.failed;
    if (!m_options.maxLost || missing <= *m_options.maxLost) {
        return false;
    }
    m_output.Error({ExitCode::Quality, "quality",
                    std::to_string(missing) + " images were lost (" + std::to_string(sum.lost) + "), skipped (" +
                        std::to_string(sum.skipped) + ") or failed (" + std::to_string(sum.failed) + "), but at most " +
                        std::to_string(*m_options.maxLost) +
                        " were permitted (--max-lost). More --buffers, a lower frame rate or a faster disk may help"});
    return true;
}

} // namespace tool
