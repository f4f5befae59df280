// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraGrab.h"
#include "GrabThread.h"

#include <zelmo/InstantCameraArray.h>

#include <atomic>
#include <chrono>
#include <span>
#include <vector>

namespace tool {

/// An array whose cameras each start as their CameraGrab says, and that knows which one fails.
/// Threads: as that of the library, but Connect before the grab, and the rest on the thread that retrieves.
class CameraArray : public Zelmo::CInstantCameraArray {
public:
    explicit CameraArray(std::size_t size) { Initialize(size); }
    ~CameraArray() override { Initialize(0); }

    ImageCamera& GetCamera(std::size_t index);
    void Connect(std::size_t index, CameraGrab& camera); ///< Which outlives every grab.

    /// Whatever @p action throws is the failure of @p camera, as what the array throws from inside one of its cameras.
    template <class Action>
    bool WorkOn(CameraGrab& camera, const Action& action) {
        m_current = &camera;
        const bool result = action();
        m_current = nullptr;
        return result;
    }
    CameraGrab* GetFailed() const noexcept { return m_current; } ///< Behind an exception; null: no camera by itself.

    Zelmo::CInstantCamera* CreateInstantCamera() override;

private:
    class Member;

    CameraGrab* m_current = nullptr; // that something is done with
};

/// Retrieves the images of several cameras through an array, on one thread. They grab together: the failure or removal
/// of one of them ends it for all. One that has all its images sends no more, and the others go on; it stays in the
/// array, since one that stopped would end the grab of all. Borrows all that it is given.
class ArrayRetrieval : public Retrieval {
public:
    /// @param cameras in the order of the array
    ArrayRetrieval(CameraArray& array, const CameraGrabs& cameras, const GrabOptions& options,
                   const StopSignals& signals);

    void Grab() noexcept override;
    void StopIfOver() override;

private:
    using Clock = CameraGrab::Clock;

    struct Member {
        CameraGrab* camera;
        Clock::time_point since;  // when the wait for the next image, or for the camera's getting ready, began
        bool isTriggered = false; // or needs none
        bool isRetired = false;   // it has all its images
    };

    void Start();
    bool TakeNext();
    void WaitForRoom();
    void Retire(Clock::time_point now);
    bool IsOver() const;
    std::span<Member> GetAsked();
    void TriggerAsked(Clock::time_point now);
    unsigned GetWaitMs(Clock::time_point now);
    Clock::duration GetLimit(const Member& member, Clock::time_point now) const;
    void Take(const Zelmo::CGrabResultData& result);
    void CheckForSilence(Clock::time_point now);
    void EndTurn();

    CameraArray& m_array;
    std::vector<Member> m_members;
    const GrabOptions& m_options;
    const StopSignals& m_signals;
    const std::chrono::milliseconds m_timeout;
    const bool m_takesTurns; // the strategy waits for one camera a call
    std::size_t m_turn = 0;  // whose turn it is then
    std::atomic<bool> m_stops{false};
};

} // namespace tool
