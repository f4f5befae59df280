// SPDX-License-Identifier: Apache-2.0
#include "DeviceWatch.h"

#include "DeviceSelector.h"
#include "InfoJson.h"
#include "Output.h"

#include <algorithm>
#include <iterator>

namespace tool {

DeviceWatch::DeviceWatch(Library& library, Output& output, const ListOptions& options)
    : m_library(library), m_output(output), m_options(options) {}

ExitCode DeviceWatch::Run() {
    pollfd events[] = {{m_signals.GetFd(), POLLIN, 0}, {m_output.GetDataFd(), 0, 0}};
    do {
        Report(Look());
        m_output.Flush(); // ends the watch when it cannot be written
    } while (!IsOver() && poll(events, std::size(events), GetPauseMs()) <= 0);
    if (HasHungUp(events[1])) {
        m_output.DropData();
        throw NobodyReads();
    }
    m_output.Event("summary", {{"arrivals", m_arrivals}, {"departures", m_departures}, {"present", m_known.size()}});
    m_output.Note(std::to_string(m_arrivals) + " arrivals, " + std::to_string(m_departures) + " departures, " +
                  std::to_string(m_known.size()) + " cameras now");
    return m_signals.GetExitCode();
}

DeviceWatch::Devices DeviceWatch::Look() {
    Devices found;
    for (const Zelmo::CDeviceInfo& info : m_library.FindDevices()) {
        found.emplace(std::string(info.GetDeviceClass().c_str()) + '\n' + info.GetFullName().c_str(), info);
    }
    return found;
}

void DeviceWatch::Report(const Devices& now) {
    for (const auto& [key, info] : m_known) {
        if (now.count(key) == 0) {
            ++m_departures;
            Print("departure", info);
        }
    }
    for (const auto& [key, info] : now) {
        if (m_known.count(key) == 0) {
            ++m_arrivals;
            Print("arrival", info);
        }
    }
    m_known = now;
}

void DeviceWatch::Print(const char* type, const Zelmo::CDeviceInfo& info) {
    m_output.Event(type, MakeDeviceJson(info));
    m_output.Line(std::string(type == std::string("arrival") ? "+ " : "- ") + DescribeCamera(info));
}

bool DeviceWatch::IsOver() const {
    const bool counted = m_options.count && m_arrivals + m_departures >= *m_options.count;
    return counted || (m_options.durationSeconds && m_output.SecondsSinceStart() >= *m_options.durationSeconds);
}

int DeviceWatch::GetPauseMs() const {
    double pauseMs = m_options.intervalMs;
    if (m_options.durationSeconds) {
        const double leftMs = (*m_options.durationSeconds - m_output.SecondsSinceStart()) * 1000;
        pauseMs = std::clamp(leftMs + 1, 0.0, pauseMs); // the 1 makes sure that the time is over after the last pause
    }
    return static_cast<int>(pauseMs);
}

} // namespace tool
