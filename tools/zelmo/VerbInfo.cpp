// SPDX-License-Identifier: Apache-2.0
#include "Camera.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "GigECamera.h"
#include "InfoJson.h"
#include "Output.h"
#include "Verb.h"

#include <zelmo/TlFactory.h>

namespace tool {
namespace {

struct Access {
    bool accessible;
    bool asMonitor; // to look only
    std::string why;
    std::string word;
};

Access LookUpAccess(const Zelmo::CDeviceInfo& info) {
    static const char* const kWords[] = {"unknown", "ok", "in_use", "wrong_subnet", "no_permission", "not_reachable"};
    Zelmo::EDeviceAccessiblityInfo state = Zelmo::DeviceAccessibility_Unknown;
    Zelmo::CTlFactory& factory = Zelmo::CTlFactory::GetInstance();
    if (factory.IsDeviceAccessible(info, GetWantedAccess(), &state)) {
        return {true, true, "", "ok"};
    }
    const bool asMonitor = factory.IsDeviceAccessible(info, Zelmo::AccessModeSet());
    const auto position = static_cast<std::size_t>(state);
    const std::string verdict = GetSubnetVerdict(info);
    return {false, asMonitor, verdict.empty() ? ExplainAccess(state) : verdict,
            position < std::size(kWords) ? kWords[position] : "unknown"};
}

class InfoVerb : public Verb {
public:
    std::string GetName() const override { return "info"; }
    std::string GetSummary() const override { return "Tell all about one camera, and whether it can be opened"; }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo info", "The only camera"},
            {"zelmo info 0815-0000", "The camera with that serial number"},
            {"zelmo info UserDefinedName=left --json", "By a property that 'info' shows"},
        };
    }

    void Define(CLI::App& command) override { DefineDeviceArgument(command, m_device); }

    ExitCode Run(Library& library, Output& output) override {
        const Zelmo::CDeviceInfo info = SelectDevice(library, m_device);
        const Access access = LookUpAccess(info);
        Json json = MakeDeviceJson(info);
        json.update({{"accessible", access.accessible},
                     {"monitor_accessible", access.asMonitor},
                     {"access_state", access.word}});
        if (!access.accessible) {
            json["reason"] = access.why;
        }
        output.Document(json);
        std::vector<std::vector<std::string>> rows;
        for (const auto& [key, value] : json["properties"].items()) {
            rows.push_back({key, Printable(value.get<std::string>())});
        }
        rows.push_back({"Access", (access.accessible  ? "can be opened"
                                   : access.asMonitor ? "can be looked at only: "
                                                      : "cannot be opened: ") +
                                      access.why});
        for (const std::string& line : FormatTable(rows)) {
            output.Line(line);
        }
        return ExitCode::Done;
    }

private:
    std::string m_device;
};

} // namespace

std::unique_ptr<Verb> MakeInfoVerb() {
    return std::make_unique<InfoVerb>();
}

} // namespace tool
