// SPDX-License-Identifier: Apache-2.0

// Grabs for a long time with two or four cameras in one process and looks for what only time shows: images or events
// lost, doubled or torn, and memory, descriptors, threads or mappings that grow.

#include "CameraLane.h"
#include "EventLane.h"
#include "ProcessUse.h"
#include "SoakLane.h"

#include <CLI/CLI.hpp>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace soak {
namespace {

/// Lets go of results on a thread of its own, of so many at a time that buffers and records are left to grab with.
class Dropper {
public:
    Dropper() : m_thread([this] { Run(); }) {}
    ~Dropper() {
        Take(Zelmo::CGrabResultPtr()); // ends the thread
        m_thread.join();
    }

    void Take(const Zelmo::CGrabResultPtr& result) {
        const std::lock_guard lock(m_lock);
        if (m_results.size() < kMaxResults || !result.IsValid()) {
            m_results.push_back(result);
            m_changed.notify_one();
        }
    }

private:
    static constexpr std::size_t kMaxResults = 2;

    void Run() {
        for (bool running = true; running;) {
            std::unique_lock lock(m_lock);
            m_changed.wait(lock, [this] { return !m_results.empty(); });
            const Zelmo::CGrabResultPtr result = m_results.front();
            m_results.pop_front();
            running = result.IsValid();
        }
    }

    std::mutex m_lock; // guards the two below
    std::condition_variable m_changed;
    std::deque<Zelmo::CGrabResultPtr> m_results;
    std::thread m_thread;
};

/// Most growth over a run, however long, that counts as none, in the order of ProcessUse::names.
constexpr std::array<double, 4> kAllowedGrowth{512, 0.5, 0.5, 2};

bool ReportGrowth(std::vector<ProcessUse> samples) {
    samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 5)); // warming up
    const double millions = (samples.back().frames - samples.front().frames) / 1e6;
    bool flat = true;
    for (std::size_t i = 0; i < ProcessUse::kNames.size(); ++i) {
        const double growth = GrowthPerMillion(samples, i);
        const bool isFlat = growth * millions <= kAllowedGrowth[i];
        std::printf("%-12s first %8.0f  last %8.0f  slope %+9.3f per million frames%s\n", ProcessUse::kNames[i],
                    samples.front().values[i], samples.back().values[i], growth, isFlat ? "" : "  GROWS");
        flat = flat && isFlat;
    }
    return flat;
}

bool Report(const Account& account, std::size_t number) {
    std::printf("camera %zu: %llu sessions, %llu frames begun = %llu lost + %llu good + %llu failed + %llu skipped; "
                "%llu doubled, %llu torn, %llu of other sessions%s\n",
                number, static_cast<unsigned long long>(account.sessions),
                static_cast<unsigned long long>(account.begun), static_cast<unsigned long long>(account.lost),
                static_cast<unsigned long long>(account.good), static_cast<unsigned long long>(account.failed),
                static_cast<unsigned long long>(account.skipped), static_cast<unsigned long long>(account.doubled),
                static_cast<unsigned long long>(account.torn), static_cast<unsigned long long>(account.unaccounted),
                account.IsClean() ? "" : "  WRONG");
    return account.IsClean();
}

bool ReportViolations(const Lane& lane, std::size_t number) {
    for (const std::string& violation : lane.GetViolations()) {
        std::printf("camera %zu: %s\n", number, violation.c_str());
    }
    return lane.GetViolations().empty();
}

bool Report(const EventAccount& account, std::size_t number) {
    std::printf("camera %zu: %llu events raised = %llu delivered + %llu dropped + %llu pending at a removal; "
                "%llu overruns, %llu disordered, %llu lives whose sums do not match%s\n",
                number, static_cast<unsigned long long>(account.raised),
                static_cast<unsigned long long>(account.delivered), static_cast<unsigned long long>(account.dropped),
                static_cast<unsigned long long>(account.pending), static_cast<unsigned long long>(account.overruns),
                static_cast<unsigned long long>(account.disordered),
                static_cast<unsigned long long>(account.unaccounted), account.IsClean() ? "" : "  WRONG");
    return account.IsClean();
}

/// Runs the lanes, each on a thread, and samples what the process uses meanwhile. @throws what a lane throws.
template <class AnyLane, std::size_t count>
std::vector<ProcessUse> RunAll(std::array<std::unique_ptr<AnyLane>, count>& lanes, std::uint64_t frames) {
    std::array<std::exception_ptr, count> failures;
    std::vector<ProcessUse> samples;
    std::atomic<std::size_t> running{count};
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < lanes.size(); ++i) {
            threads.emplace_back([&, i] {
                try {
                    lanes[i]->Run(frames / lanes.size());
                } catch (...) {
                    failures[i] = std::current_exception();
                }
                --running;
            });
        }
        do { // while all run, so that all samples mean the same
            std::uint64_t done = 0;
            for (const auto& lane : lanes) {
                done += lane->GetFrames();
            }
            samples.push_back(ProcessUse::Now(done));
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        } while (running == count);
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure != nullptr) {
            std::rethrow_exception(failure);
        }
    }
    return samples;
}

/// Scripted cameras, which fail and come late, under all strategies.
bool SoakScripted(std::uint64_t frames, std::uint64_t seed) {
    using Zelmo::EGrabStrategy;
    Dropper dropper;
    const auto drop = [&dropper](const Zelmo::CGrabResultPtr& result) { dropper.Take(result); };
    std::array<std::unique_ptr<Lane>, 2> lanes{
        std::make_unique<Lane>(0, std::vector<EGrabStrategy>{Zelmo::GrabStrategy_OneByOne}, seed, drop),
        std::make_unique<Lane>(
            1,
            std::vector<EGrabStrategy>{Zelmo::GrabStrategy_LatestImages, Zelmo::GrabStrategy_OneByOne,
                                       Zelmo::GrabStrategy_LatestImageOnly, Zelmo::GrabStrategy_UpcomingImage},
            seed + 1, drop)};
    std::vector<ProcessUse> samples = RunAll(lanes, frames);
    bool isRight = true;
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        isRight = Report(lanes[i]->GetAccount(), i) && isRight;
        isRight = ReportViolations(*lanes[i], i) && isRight;
    }
    return ReportGrowth(std::move(samples)) && isRight;
}

/// Emulated cameras that are removed and come back, one grabbed from by the application's loop, one by its own.
bool SoakEmulated(std::uint64_t frames) {
    setenv("ZELMO_CAMEMU", "2", 1);
    const Zelmo::ZelmoScope zelmo;
    hxlog::LogEnable(false); // what fails behind a removal
    std::array<std::unique_ptr<CameraLane>, 2> lanes{
        std::make_unique<CameraLane>("0815-0000", Zelmo::GrabLoop_ProvidedByUser),
        std::make_unique<CameraLane>("0815-0001", Zelmo::GrabLoop_ProvidedByInstantCamera)};
    std::vector<ProcessUse> samples = RunAll(lanes, frames);
    bool isRight = true;
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        std::printf("camera %zu: removed and found again %llu times\n", i,
                    static_cast<unsigned long long>(lanes[i]->GetRemovals()));
        isRight = Report(lanes[i]->GetAccount(), i) && lanes[i]->GetAccount().lost == 0 && isRight;
    }
    return ReportGrowth(std::move(samples)) && isRight;
}

/// Whether all that the cameras took is back.
bool ReportLeft(const ProcessUse& before) {
    const ProcessUse now = ProcessUse::Now(0);
    bool isBack = true;
    for (const std::size_t i : {1, 2}) { // memory is kept by the heap
        const bool isSame = now.values[i] == before.values[i];
        std::printf("%-12s without cameras: before %.0f, after %.0f%s\n", ProcessUse::kNames[i], before.values[i],
                    now.values[i], isSame ? "" : "  LEFT");
        isBack = isBack && isSame;
    }
    return isBack;
}

/// Emulated cameras with chunks and events that are removed and come back, two grabbed from by loops of the application
/// and two by their own, one of each kind with a pool of parsers.
bool SoakEvents(std::uint64_t frames, std::uint64_t removals) {
    setenv("ZELMO_CAMEMU", "4", 1);
    const Zelmo::ZelmoScope zelmo;
    hxlog::LogEnable(false); // what fails behind a removal
    const ProcessUse before = ProcessUse::Now(0);
    std::array<std::unique_ptr<EventLane>, 4> lanes;
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        lanes[i] = std::make_unique<EventLane>("0815-000" + std::to_string(i),
                                               i < 2 ? Zelmo::GrabLoop_ProvidedByUser
                                                     : Zelmo::GrabLoop_ProvidedByInstantCamera,
                                               i % 2 == 1, (removals + i) / lanes.size());
    }
    std::vector<ProcessUse> samples = RunAll(lanes, frames);
    bool isRight = true;
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        std::printf("camera %zu: removed and found again %llu times\n", i,
                    static_cast<unsigned long long>(lanes[i]->GetRemovals()));
        isRight = Report(lanes[i]->GetAccount(), i) && isRight;
        isRight = Report(lanes[i]->GetEventAccount(), i) && isRight;
        lanes[i].reset();
    }
    isRight = ReportLeft(before) && isRight;
    return ReportGrowth(std::move(samples)) && isRight;
}

} // namespace
} // namespace soak

int main(int argc, char** argv) {
    CLI::App app{"Grabs with several cameras in one process and watches images, events and resources."};
    bool isScripted = false;
    bool hasEvents = false;
    std::optional<std::uint64_t> frames;
    std::uint64_t removals = 10000;
    std::uint64_t seed = 1;
    app.add_option("--frames", frames, "frames of all cameras together; a million, or two with --events");
    CLI::Option* const events =
        app.add_flag("--events", hasEvents, "four emulated cameras with chunks and events in place of two without");
    app.add_option("--removals", removals, "of all cameras together")
        ->needs(events)
        ->check(CLI::Range(4, 1000000000))
        ->capture_default_str();
    app.add_option("--seed", seed, "of what goes wrong on the way")->capture_default_str();
    app.add_flag("--scripted", isScripted, "with cameras that fail as they are told, in place of emulated ones")
        ->excludes(events);
    CLI11_PARSE(app, argc, argv);
    try {
        const bool isRight = isScripted  ? soak::SoakScripted(frames.value_or(1000000), seed)
                             : hasEvents ? soak::SoakEvents(frames.value_or(2000000), removals)
                                         : soak::SoakEmulated(frames.value_or(1000000));
        return isRight ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "soak: %s\n", e.what());
        return 1;
    }
}
