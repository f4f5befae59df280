// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/zelmo.h>

#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace soak {

using Json = nlohmann::ordered_json;

struct GigeOptions {
    std::string address;
    std::uint64_t images = 1000;
    double seconds = 0;                                  ///< 0: until so many images have come
    double idleSeconds = 10;                             ///< without an image are a failure,
    double drainSeconds = 0;                             ///< or the end of a session, unless this is 0
    std::vector<std::string> connection, camera, stream; ///< "Name=Value"
    std::int64_t buffers = 64;
    bool isLatestOnly = false;
    std::uint64_t removals = 0; ///< goes on with the camera that returns, so many times
    std::uint64_t starts = 1;   ///< sessions one after the other
    unsigned hammers = 0;       ///< threads that access registers all the time
    bool isFollowing = false;   ///< prints what happens, and does what standard input says
};

struct GigeTally {
    std::uint64_t complete = 0, failed = 0, sessions = 0, removals = 0;
    std::uint64_t torn = 0, doubled = 0, disordered = 0, strange = 0; ///< must stay 0; strange: another image's content
    std::uint64_t toldAgain = 0;                                      ///< the same removal; must stay 0
    std::uint64_t missingByText = 0;                ///< packets, summed up from the texts of failed images
    std::uint64_t withoutText = 0;                  ///< failed images that do not say why
    std::uint64_t accesses = 0, failedAccesses = 0; ///< of the hammers
    std::int64_t socketBuffer = 0;                  ///< KiB that the kernel granted
    double longestOpenMs = 0, longestStopMs = 0, longestCloseMs = 0;
    std::vector<std::string> texts; ///< the first few

    Json ToJson() const;
};

/// Grabs from one camera, and goes on with it when it has returned.
class GigeGrab {
public:
    explicit GigeGrab(const GigeOptions& options);

    void Run();
    void Close();
    const Json& Statistics() const { return m_statistics; } ///< Of the stream grabber, by its node names.
    /// Ends the session, destroys the camera and opens it again. Any thread.
    /// The life that follows so many others is wanted to end; one that has ended meanwhile is not meant.
    void WantRestart(std::uint64_t lives) { m_restartAfter = lives; }
    void WantEnd() { m_isEndWanted = true; } ///< Any thread.
    void TellCount() const;                  ///< Any thread.

    GigeTally tally;
    double seconds = 0;

private:
    using Clock = std::chrono::steady_clock;

    void Connect();
    void Disconnect();
    void Reconnect();
    bool TrySession(); ///< false: it could not be started
    void Session();
    void NoteSocketBuffer();
    void SumUpStatistics();
    bool IsRestartWanted() const { return m_restartAfter == m_livesEnded; }
    bool IsSessionOver(std::uint64_t begun, Clock::time_point last) const;
    void Audit(const Zelmo::CGrabResultPtr& result);
    void AuditFailed(const std::string& text);
    void Hammer(const std::stop_token& stop, unsigned number);
    void Tell(const char* event, Json details = Json::object()) const;

    const GigeOptions& m_options;
    Zelmo::CDeviceInfo m_info;
    std::optional<Zelmo::CInstantCamera> m_camera;
    Zelmo::CHandlerRegistration m_removal;
    Json m_statistics = Json::object();
    std::atomic<std::uint64_t> m_images{0}, m_accesses{0}, m_failedAccesses{0};
    std::atomic<unsigned> m_timesRemoved{0};
    std::atomic<std::uint64_t> m_livesEnded{0}, m_restartAfter{UINT64_MAX};
    std::atomic<bool> m_isEndWanted{false};
    std::optional<std::uint64_t> m_nextId, m_idOfFirstNumber;
    Clock::time_point m_due;
};

} // namespace soak
