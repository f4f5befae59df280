// SPDX-License-Identifier: Apache-2.0
#include "GigeGrab.h"

#include "core/FrameRecord.h"

#include <GenApi/GenApi.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <mutex>
#include <regex>
#include <span>
#include <stdexcept>
#include <thread>
#include <utility>

namespace soak {
namespace {

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

void Apply(GenApi::INodeMap& map, const std::vector<std::string>& settings) {
    for (const std::string& setting : settings) {
        const auto equals = setting.find('=');
        GenApi::CValuePtr value(map, setting.substr(0, equals).c_str());
        value->FromString(setting.substr(equals + 1).c_str());
    }
}

} // namespace

Json GigeTally::ToJson() const {
    return {{"complete", complete},
            {"failed", failed},
            {"sessions", sessions},
            {"removals", removals},
            {"torn", torn},
            {"doubled", doubled},
            {"disordered", disordered},
            {"strange", strange},
            {"told_again", toldAgain},
            {"missing_by_text", missingByText},
            {"without_text", withoutText},
            {"socket_buffer", socketBuffer},
            {"accesses", accesses},
            {"failed_accesses", failedAccesses},
            {"longest_open_ms", longestOpenMs},
            {"longest_stop_ms", longestStopMs},
            {"longest_close_ms", longestCloseMs},
            {"texts", texts}};
}

GigeGrab::GigeGrab(const GigeOptions& options) : m_options(options) {
    m_info.SetDeviceClass("HarlixGigE");
    m_info.SetIpAddress(options.address.c_str());
    Connect();
}

void GigeGrab::Run() {
    const Clock::time_point begin = Clock::now();
    m_due = begin + std::chrono::duration_cast<Clock::duration>(
                        std::chrono::duration<double>(m_options.seconds > 0 ? m_options.seconds : 1e6));
    while (!m_isEndWanted &&
           (m_options.isFollowing || tally.sessions < m_options.starts || tally.removals < m_options.removals)) {
        const bool isBroken = !TrySession();
        ++tally.sessions;
        if (isBroken || m_timesRemoved > 0 || IsRestartWanted()) {
            Reconnect();
        }
    }
    seconds = MillisecondsSince(begin) / 1000;
    tally.accesses = m_accesses;
    tally.failedAccesses = m_failedAccesses;
}

void GigeGrab::Close() {
    const Clock::time_point begin = Clock::now();
    m_camera->Close();
    tally.longestCloseMs = std::max(tally.longestCloseMs, MillisecondsSince(begin));
}

// They begin anew with each session.
void GigeGrab::SumUpStatistics() {
    if (m_options.isFollowing || m_timesRemoved > 0) {
        return;
    }
    GenApi::NodeList_t nodes;
    m_camera->GetStreamGrabberNodeMap().GetNodes(nodes);
    for (GenApi::INode* const node : nodes) {
        const GenApi::CIntegerPtr number(node);
        const std::string name = node->GetName().c_str();
        if (name.starts_with("Statistic_") && number && GenApi::IsReadable(number)) {
            m_statistics[name] = m_statistics.value(name, std::int64_t{0}) + number->GetValue();
        }
    }
    m_statistics["GevSCPSPacketSize"] = GenApi::CIntegerPtr(m_camera->GetNodeMap(), "GevSCPSPacketSize")->GetValue();
}

void GigeGrab::TellCount() const {
    Tell("count", {{"images", m_images.load()}});
}

// Times are those of CLOCK_MONOTONIC, which is one for all processes.
void GigeGrab::Tell(const char* event, Json details) const {
    if (m_options.isFollowing) {
        Json line = {{"event", event}, {"time", MillisecondsSince(Clock::time_point()) / 1000}};
        line.update(std::move(details));
        static std::mutex lock;
        const std::lock_guard guard(lock);
        std::puts(line.dump().c_str());
        std::fflush(stdout);
    }
}

void GigeGrab::Connect() {
    m_timesRemoved = 0;
    m_camera.emplace();
    m_camera->Attach(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(m_info));
    m_removal = Zelmo::OnRemoved(*m_camera, [this] { Tell("removed", {{"times", ++m_timesRemoved}}); });
    Apply(m_camera->GetTLNodeMap(), m_options.connection);
    m_camera->Open();
    Apply(m_camera->GetNodeMap(), m_options.camera);
    Apply(m_camera->GetStreamGrabberNodeMap(), m_options.stream);
    GenApi::CIntegerPtr(m_camera->GetInstantCameraNodeMap(), "MaxNumBuffer")->SetValue(m_options.buffers);
}

void GigeGrab::Disconnect() {
    const Clock::time_point begin = Clock::now();
    m_camera->DestroyDevice();
    const double took = MillisecondsSince(begin);
    m_removal.End();
    tally.longestCloseMs = std::max(tally.longestCloseMs, took);
    tally.removals += m_timesRemoved > 0 ? 1 : 0;
    tally.toldAgain += m_timesRemoved > 1 ? 1 : 0;
    ++m_livesEnded;
    Tell("closed", {{"ms", took}});
    m_camera.reset();
}

void GigeGrab::Reconnect() {
    Disconnect();
    for (const Clock::time_point last = Clock::now() + std::chrono::seconds(60);;) {
        const Clock::time_point begin = Clock::now();
        try {
            Connect();
            return;
        } catch (const GenICam::GenericException& e) {
            Tell("vain", {{"why", e.GetDescription()}});
            m_removal.End();
            m_camera.reset();
            tally.longestOpenMs = std::max(tally.longestOpenMs, MillisecondsSince(begin));
            if (Clock::now() > last) {
                throw;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
}

// The network may be cut while it starts.
bool GigeGrab::TrySession() {
    try {
        Session();
        return true;
    } catch (const GenICam::GenericException& e) {
        if (!m_options.isFollowing) {
            throw;
        }
        Tell("broken", {{"why", e.GetDescription()}});
        return false;
    }
}

void GigeGrab::Session() {
    m_nextId.reset();
    m_idOfFirstNumber.reset();
    const std::uint64_t begun = tally.complete + tally.failed;
    m_camera->StartGrabbing(m_options.isLatestOnly ? Zelmo::GrabStrategy_LatestImageOnly
                                                   : Zelmo::GrabStrategy_OneByOne);
    std::vector<std::jthread> hammers;
    for (unsigned number = 0; number < m_options.hammers; ++number) {
        hammers.emplace_back([this, number](const std::stop_token& stop) { Hammer(stop, number); });
    }
    Zelmo::CGrabResultPtr result;
    Clock::time_point last = Clock::now();
    while (!IsSessionOver(begun, last)) {
        if (m_camera->RetrieveResult(100, result, Zelmo::TimeoutHandling_Return)) {
            if (tally.complete + tally.failed == begun) {
                Tell("grabbing");
                NoteSocketBuffer();
            }
            Audit(result);
            last = Clock::now();
        }
    }
    result.Release();
    hammers.clear();
    const Clock::time_point begin = Clock::now();
    m_camera->StopGrabbing();
    const double took = MillisecondsSince(begin);
    tally.longestStopMs = std::max(tally.longestStopMs, took);
    SumUpStatistics();
    Tell("stopped", {{"ms", took}});
}

void GigeGrab::NoteSocketBuffer() {
    if (!m_options.isFollowing) { // else the camera may have gone by now
        const GenApi::CIntegerPtr granted(m_camera->GetStreamGrabberNodeMap(), "SocketBufferSizeGranted");
        tally.socketBuffer = granted->GetValue();
    }
}

bool GigeGrab::IsSessionOver(std::uint64_t begun, Clock::time_point last) const {
    if (m_timesRemoved > 0 || IsRestartWanted() || m_isEndWanted || Clock::now() >= m_due ||
        tally.complete + tally.failed >= begun + m_options.images) {
        return true;
    }
    const double idleSeconds = MillisecondsSince(last) / 1000;
    if (m_options.drainSeconds > 0) {
        return idleSeconds > m_options.drainSeconds;
    }
    if (m_options.removals == 0 && !m_options.isFollowing && idleSeconds > m_options.idleSeconds) {
        throw std::runtime_error("No image came for " + std::to_string(m_options.idleSeconds) + " s.");
    }
    return false;
}

void GigeGrab::Audit(const Zelmo::CGrabResultPtr& result) {
    ++m_images;
    const std::uint64_t id = result->GetBlockID();
    if (m_nextId) {
        tally.disordered += id + 1 < *m_nextId ? 1 : 0;
        tally.doubled += id + 1 == *m_nextId ? 1 : 0;
    }
    m_nextId = id + 1;
    if (!result->GrabSucceeded()) {
        AuditFailed(result->GetErrorDescription().c_str());
        return;
    }
    ++tally.complete;
    CamEmu::CFrameRecord record;
    const std::span image(static_cast<const std::uint8_t*>(result->GetBuffer()), result->GetPayloadSize());
    tally.torn += CamEmu::CheckFrame(image, record) != CamEmu::EFrameCheck::Intact ? 1 : 0;
    const std::uint64_t idOfFirstNumber = id - record.blockId;
    tally.strange += idOfFirstNumber != m_idOfFirstNumber.value_or(idOfFirstNumber) ? 1 : 0;
    m_idOfFirstNumber = idOfFirstNumber;
}

// "Block 17: 12 of 2,867 packets missing (…"; of an unknown number "12 packets at least missing".
void GigeGrab::AuditFailed(const std::string& text) {
    ++tally.failed;
    if (tally.texts.size() < 5) {
        tally.texts.push_back(text);
    }
    tally.withoutText += text.empty() ? 1 : 0;
    static const std::regex kPattern("([0-9,]+)( of [0-9,]+)? packets( at least)? missing");
    if (std::smatch match; std::regex_search(text, match, kPattern)) {
        std::string number = match[1];
        std::erase(number, ',');
        tally.missingByText += std::stoull(number);
    }
}

// Even ones by the node map, odd ones by its port, which other nodes do not hold up.
void GigeGrab::Hammer(const std::stop_token& stop, unsigned number) {
    GenApi::INodeMap& map = m_camera->GetNodeMap();
    const GenApi::CIntegerPtr width(map, "Width");
    const GenApi::CPortPtr port(map, "Device");
    std::array<std::uint8_t, 512> url;
    while (!stop.stop_requested()) {
        try {
            if (number % 2 == 0) {
                (void)width->GetValue(false, true);
            } else {
                port->Read(url.data(), 0x200, url.size());
            }
            ++m_accesses;
        } catch (const GenICam::GenericException&) {
            ++m_failedAccesses;
        }
    }
}

} // namespace soak
