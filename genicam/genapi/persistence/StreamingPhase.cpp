#include "genicam/genapi/persistence/StreamingPhase.h"

#include "genicam/genapi/map/LoadLog.h"

#include <Base/GCException.h>

#include <GenApi/ICommand.h>

#include <chrono>
#include <string>
#include <thread>

namespace GenApi {

namespace {

constexpr auto timeout = std::chrono::seconds(5);

ICommand* FindCommand(const INodeMap& nodeMap, const std::string& name) {
    return dynamic_cast<ICommand*>(nodeMap.GetNode(gcstring(name)));
}

void Run(ICommand& command) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    command.Execute();
    while (!command.IsDone()) {
        if (std::chrono::steady_clock::now() >= end) {
            throw TIMEOUT_EXCEPTION("The device was not done with the command within 5 seconds.");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace

StreamingPhase::StreamingPhase(INodeMap& nodeMap, const char* name)
    : m_start(FindCommand(nodeMap, std::string(name) + "Start")),
      m_end(FindCommand(nodeMap, std::string(name) + "End")) {}

StreamingPhase::~StreamingPhase() {
    try {
        End();
    } catch (const std::exception& failure) {
        LogLoadWarning(std::string("The streaming of settings could not be ended: ") + failure.what());
    }
}

void StreamingPhase::Start() {
    if (IsWritable(m_start)) {
        m_isOpen = true; // from here on End is due, also when Start fails halfway
        Run(*m_start);
    }
}

void StreamingPhase::End() {
    const bool isDue = m_isOpen;
    m_isOpen = false;
    if (isDue && IsWritable(m_end)) {
        Run(*m_end);
    }
}

} // namespace GenApi
