// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/StreamingPhase.h"

#include "genicam/genapi/model/LoadLog.h"
#include "genicam/genapi/persistence/Failure.h"
#include "genicam/genapi/persistence/RunToEnd.h"

#include <GenApi/ICommand.h>

namespace GenApi {

namespace {

ICommand* FindCommand(const INodeMap& nodeMap, const std::string& name) {
    return dynamic_cast<ICommand*>(nodeMap.GetNode(gcstring(name)));
}

void Tell(ICommand& command, const std::string& name, std::chrono::milliseconds timeout,
          std::vector<std::string>& errors) {
    if (const auto failure = FailureOf([&] { RunToEnd(command, timeout); })) {
        errors.push_back(name + ": " + *failure);
    }
}

} // namespace

StreamingPhase::StreamingPhase(INodeMap& nodeMap, const char* name, std::chrono::milliseconds timeout)
    : m_name(name), m_start(FindCommand(nodeMap, m_name + "Start")), m_end(FindCommand(nodeMap, m_name + "End")),
      m_timeout(timeout) {}

StreamingPhase::~StreamingPhase() {
    try {
        std::vector<std::string> errors;
        End(errors);
        for (const std::string& error : errors) {
            LogLoadWarning(error);
        }
    } catch (const std::exception& failure) {
        LogLoadWarning(m_name + "End: " + failure.what());
    }
}

void StreamingPhase::Start(std::vector<std::string>& errors) {
    if (IsWritable(m_start)) {
        m_isOpen = true; // from here on End is due, also when Start fails halfway
        Tell(*m_start, m_name + "Start", m_timeout, errors);
    }
}

void StreamingPhase::End(std::vector<std::string>& errors) {
    const bool isDue = m_isOpen;
    m_isOpen = false;
    if (isDue && IsWritable(m_end)) {
        Tell(*m_end, m_name + "End", m_timeout, errors);
    }
}

} // namespace GenApi
