// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/FrameRecord.h"
#include "fakes/transport/StreamDevice.h"

#include <zelmo/InstantCamera.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace soak {

/// What became of the frames of one engine.
struct Account {
    std::uint64_t begun = 0;
    std::uint64_t lost = 0; // by the camera, for want of a buffer, or behind a removal
    std::uint64_t good = 0;
    std::uint64_t failed = 0;
    std::uint64_t canceled = 0; // buffers, not frames
    std::uint64_t skipped = 0;  // failed ones among them
    std::uint64_t sessions = 0;
    // must stay 0
    std::uint64_t doubled = 0;
    std::uint64_t torn = 0;
    std::uint64_t unaccounted = 0;

    bool IsClean() const { return doubled + torn + unaccounted == 0 && begun == lost + good + failed + skipped; }
};

/// One engine with its camera and the thread that retrieves: session after session, each drained before it stops, with
/// frames that fail, come late or are preceded by a gap, and with results held over the stop.
class Lane final {
public:
    /// @p drop takes results, on a thread of its own, to let go of them there.
    Lane(std::uint32_t number, std::vector<Zelmo::EGrabStrategy> strategies, std::uint64_t seed,
         std::function<void(const Zelmo::CGrabResultPtr&)> drop);

    /// Runs until @p frames were begun. @throws what grabbing throws, std::runtime_error when no image comes.
    void Run(std::uint64_t frames);

    std::uint64_t GetFrames() const noexcept { return m_frames; } ///< Begun so far; any thread.
    const Account& GetAccount() const noexcept { return m_account; }
    std::vector<std::string> GetViolations() const { return m_grabber.Violations(); }

private:
    void RunSession(std::uint64_t frames, Zelmo::EGrabStrategy strategy);
    std::string MakeScript(std::uint64_t frames, Zelmo::EGrabStrategy strategy);
    std::uint64_t TakeResult();
    void Audit(const Zelmo::CGrabResultPtr& result);
    void Hold(const Zelmo::CGrabResultPtr& result);

    const std::uint32_t m_number;
    const std::vector<Zelmo::EGrabStrategy> m_strategies;
    const std::function<void(const Zelmo::CGrabResultPtr&)> m_drop;
    std::mt19937_64 m_random;
    Account m_account;
    std::atomic<std::uint64_t> m_frames{0};
    std::uint64_t m_firstId = 0; // of the session
    std::vector<bool> m_seen;    // by block id, from the first one of the session on
    std::deque<Zelmo::CGrabResultPtr> m_held;
    Fakes::CScriptedDevice m_device;
    Fakes::CScriptedStreamGrabber& m_grabber = m_device.Grabber();
    Zelmo::CInstantCamera m_camera;
};

} // namespace soak
