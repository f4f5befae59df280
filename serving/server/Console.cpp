// SPDX-License-Identifier: Apache-2.0
#include "Console.h"

#include "ServedCamera.h"

#include <sstream>
#include <stdexcept>

namespace Serving {
namespace {

std::vector<std::string> WordsOf(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

void NeedWords(const std::vector<std::string>& words, std::size_t least, std::size_t most, const char* usage) {
    if (words.size() < least || words.size() > most) {
        throw UsageError("'" + words[0] + "' is used so: " + usage);
    }
}

} // namespace

void CConsole::OnLine(const std::string& line) {
    const std::vector<std::string> words = WordsOf(line);
    if (words.empty()) {
        return;
    }
    try {
        Do(words);
    } catch (const CServeError& error) {
        if (error.Exit() != EExit::Usage) {
            throw;
        }
        m_report.Error(error);
    }
}

void CConsole::Do(const std::vector<std::string>& words) {
    const std::string& command = words[0];
    if (command == "fault") {
        SetFault(words);
    } else if (command == "reset") {
        Reset(words);
    } else if (command == "faults") {
        NeedWords(words, 1, 1, "faults");
        ReportFaults(m_report, m_cameras);
    } else if (command == "status") {
        NeedWords(words, 1, 1, "status");
        ReportStatus(m_report, m_cameras);
    } else if (command == "quit") {
        NeedWords(words, 1, 1, "quit");
        m_quit();
    } else {
        throw UsageError("There is no command '" + command + "'; there are fault, faults, reset, status and quit");
    }
}

void CConsole::SetFault(const std::vector<std::string>& words) {
    NeedWords(words, 2, 3, "fault [SERIAL] NAME[=RATE[,PARAMETER]][@PLACE...][xTIMES]");
    const auto cameras = Find(words.size() == 3 ? words[1] : "");
    try {
        const CFaultOrder order = ParseFault(words.back());
        for (CServedCamera* camera : cameras) {
            camera->Faults().Set(order.fault, order.setting);
            ReportFault(m_report, *camera, order);
        }
    } catch (const std::invalid_argument& error) {
        throw UsageError(error.what());
    }
}

void CConsole::Reset(const std::vector<std::string>& words) {
    NeedWords(words, 1, 2, "reset [SERIAL]");
    for (CServedCamera* camera : Find(words.size() == 2 ? words[1] : "")) {
        camera->Faults().Reset();
        m_report.Event("reset", {{"device", camera->SerialNumber()}});
        m_report.Table({{camera->SerialNumber(), "all faults off, their counts 0"}});
    }
}

std::vector<CServedCamera*> CConsole::Find(const std::string& serialNumber) const {
    std::vector<CServedCamera*> found;
    std::string known;
    for (const auto& camera : m_cameras) {
        known += (known.empty() ? "" : ", ") + camera->SerialNumber();
        if (serialNumber.empty() || camera->SerialNumber() == serialNumber) {
            found.push_back(camera.get());
        }
    }
    if (found.empty()) {
        throw UsageError("There is no camera '" + serialNumber + "'; there are " + known);
    }
    return found;
}

} // namespace Serving
