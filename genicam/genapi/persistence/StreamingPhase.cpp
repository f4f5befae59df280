#include "genicam/genapi/persistence/StreamingPhase.h"

#include "genicam/genapi/map/LoadLog.h"
#include "genicam/genapi/persistence/RunToEnd.h"

#include <GenApi/ICommand.h>

#include <string>

namespace GenApi {

namespace {

constexpr auto timeout = std::chrono::seconds(5);

ICommand* FindCommand(const INodeMap& nodeMap, const std::string& name) {
    return dynamic_cast<ICommand*>(nodeMap.GetNode(gcstring(name)));
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
        RunToEnd(*m_start, timeout);
    }
}

void StreamingPhase::End() {
    const bool isDue = m_isOpen;
    m_isOpen = false;
    if (isDue && IsWritable(m_end)) {
        RunToEnd(*m_end, timeout);
    }
}

} // namespace GenApi
