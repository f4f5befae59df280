// SPDX-License-Identifier: Apache-2.0
#include "EventReport.h"

#include "Camera.h"
#include "Errors.h"
#include "Output.h"

#include <GenApi/GenApi.h>

#include <algorithm>
#include <pthread.h>

namespace tool {
namespace {

bool StartsWithEvent(const std::string& text) {
    return text.rfind("Event", 0) == 0;
}

/// The feature of an event by the standard of features: "EventExposureEnd" of "ExposureEnd".
std::string GetFeatureName(const std::string& event) {
    return StartsWithEvent(event) ? event : "Event" + event;
}

/// The features that an event fills, with its own one in front.
struct EventNodes {
    std::string watched; ///< Category, or feature, that changes with the event; empty without one.
    std::vector<std::string> features;
};

EventNodes FindEventNodes(GenApi::INodeMap& nodeMap, const std::string& event) {
    const std::string feature = GetFeatureName(event);
    EventNodes nodes;
    for (const std::string& category : {feature + "Data", event + "EventData"}) { // the latter by older standards
        for (GenApi::INode* node : FindValuesOf(nodeMap, category)) {
            nodes.watched = category;
            nodes.features.emplace_back(node->GetName().c_str());
        }
        if (!nodes.watched.empty()) {
            return nodes;
        }
    }
    for (const char* part : {"", "Timestamp", "FrameID"}) {
        if (nodeMap.GetNode((feature + part).c_str()) != nullptr) {
            nodes.watched = nodes.watched.empty() ? feature + part : nodes.watched;
            nodes.features.push_back(feature + part);
        }
    }
    return nodes;
}

} // namespace

EventReport::EventReport(Camera& camera, const std::vector<std::string>& wanted, Output& output)
    : m_settings(camera.GetObject(), camera.GetName()), m_camera(camera.GetName()), m_output(output) {
    GenApi::INodeMap& nodeMap = camera.GetNodeMap("device");
    const EntrySource source{"--events", "event", "EventSelector", [&](const auto& entry, const auto& name) {
                                 const auto features = FindEventNodes(nodeMap, entry).features;
                                 return name == GetFeatureName(entry) ||
                                        std::find(features.begin(), features.end(), name) != features.end();
                             }};
    const std::vector<ChosenEntry> events = ChooseEntries(camera, source, wanted);
    if (events.empty()) {
        throw FeatureError("EventSelector", "no_events", "--events: camera " + m_camera + " has none");
    }
    for (const ChosenEntry& event : events) {
        SwitchOn(camera, event);
    }
    m_thread = std::jthread([this](const std::stop_token& stop) { Run(stop); });
    pthread_setname_np(m_thread.native_handle(), "zelmo-events");
}

void EventReport::SwitchOn(Camera& camera, const ChosenEntry& event) {
    GenApi::INodeMap& nodeMap = camera.GetNodeMap("device");
    const EventNodes nodes = FindEventNodes(nodeMap, event.name);
    try {
        if (nodes.watched.empty()) {
            throw FeatureError("EventSelector", "no_event_nodes",
                               "--events: camera " + m_camera + " has no feature that tells of its event '" +
                                   event.name + "', such as '" + GetFeatureName(event.name) + "'");
        }
        m_settings.Set("EventSelector", event.name);
        m_settings.Set("EventNotification", "On");
    } catch (const ToolError&) {
        if (event.isNamed) {
            throw;
        }
        return;
    }
    m_registrations.push_back(OnEvent(camera.GetObject(), nodes.watched.c_str(),
                                      [this, name = event.name, features = nodes.features](GenApi::INode* node) {
                                          Take(name, features, *node->GetNodeMap());
                                      }));
}

/// In RetrieveResult, with the camera lock held.
void EventReport::Take(const std::string& event, const std::vector<std::string>& features, GenApi::INodeMap& nodeMap) {
    constexpr std::size_t most = 10'000; // that wait for a reader of standard output
    Arrival arrival{event, m_nextFrame, {}};
    for (const std::string& name : features) {
        GenApi::INode* const node = nodeMap.GetNode(name.c_str());
        if (node == nullptr || !arrival.values.AddIfReadable(*node)) {
            arrival.values.AddMissing(name);
        }
    }
    {
        const std::lock_guard lock(m_lock);
        if (m_arrivals.size() >= most) {
            ++m_dropped;
            return;
        }
        m_arrivals.push_back(std::move(arrival));
    }
    m_arrived.notify_one();
}

void EventReport::OnImage(std::uint64_t number) {
    TellArrivals();
    m_nextFrame = number + 1;
}

void EventReport::Finish() {
    TellArrivals();
    const std::lock_guard lock(m_lock);
    if (m_dropped > 0) {
        m_output.Note(std::to_string(m_dropped) + " events of camera " + m_camera +
                      " were left out, as they came faster than they were read");
        m_dropped = 0;
    }
}

void EventReport::Run(const std::stop_token& stop) {
    std::unique_lock lock(m_lock);
    while (m_arrived.wait(lock, stop, [this] { return !m_arrivals.empty(); })) {
        lock.unlock();
        try {
            TellArrivals();
        } catch (const std::exception&) { // out of memory: these are lost
        }
        lock.lock();
    }
}

void EventReport::TellArrivals() {
    const std::lock_guard turn(m_turn);
    std::vector<Arrival> arrivals;
    {
        const std::lock_guard lock(m_lock);
        arrivals.swap(m_arrivals);
    }
    for (const Arrival& one : arrivals) {
        m_output.Event("event", {{"device", m_camera},
                                 {"event", one.event},
                                 {"before_frame", one.beforeFrame},
                                 {"data", one.values.GetJson()}});
        m_output.StreamLine(one.values.MakeRow({"event", m_camera, std::to_string(one.beforeFrame), one.event}));
    }
}

} // namespace tool
