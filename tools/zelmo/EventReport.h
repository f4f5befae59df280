// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EntryChoice.h"
#include "NodeValues.h"
#include "TemporarySettings.h"

#include <zelmo/HandlerRegistration.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tool {

class Camera;
class Output;

/// The events of a camera: switched on as long as this object lives, and told as they come, with the number of the
/// image that they came before. The camera must have been opened for events.
/// Borrows camera and output. The camera does not grab when this object is made and when it goes.
/// Threads: events arrive on the one that retrieves, which only reads their nodes; a thread of its own tells them. The
/// operations: one at a time.
class EventReport {
public:
    /// @param wanted entries of EventSelector, the features "Event<entry>" or others of the event's category; "all" is
    /// every event. @throws ToolError that names what there is; what switching one on is refused for. All is put back
    /// then.
    EventReport(Camera& camera, const std::vector<std::string>& wanted, Output& output);
    EventReport(const EventReport&) = delete;
    EventReport& operator=(const EventReport&) = delete;

    /// An image came, the @p number -th: what came before it has been told when this returns.
    void OnImage(std::uint64_t number);

    /// After the grab: tells what is left.
    void Finish();

private:
    /// An event that arrived.
    struct Arrival {
        std::string event;
        std::uint64_t beforeFrame;
        NodeValues values;
    };

    void SwitchOn(Camera& camera, const ChosenEntry& event);
    void Take(const std::string& event, const std::vector<std::string>& features, GenApi::INodeMap& nodeMap);
    void Run(const std::stop_token& stop);
    void TellArrivals();

    TemporarySettings m_settings;
    const std::string m_camera;
    Output& m_output;
    std::atomic<std::uint64_t> m_nextFrame{1};

    std::mutex m_turn; // held while arrivals are told, ahead of m_lock: that keeps their order
    std::mutex m_lock; // guards the next two
    std::vector<Arrival> m_arrivals;
    std::uint64_t m_dropped = 0;
    std::condition_variable_any m_arrived;
    std::jthread m_thread;
    std::vector<Zelmo::CHandlerRegistration> m_registrations; // last: they touch all of the above
};

} // namespace tool
