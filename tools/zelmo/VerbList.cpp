// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "DeviceWatch.h"
#include "GigECamera.h"
#include "InfoJson.h"
#include "Output.h"
#include "Verb.h"

#include <algorithm>

namespace tool {
namespace {

class ListVerb : public Verb {
public:
    std::string GetName() const override { return "list"; }
    std::string GetSummary() const override { return "List the cameras that can be reached"; }
    std::string GetDetails() const override {
        return "Each camera stands in one line: the index by which other verbs take it, serial number, model, "
               "user-defined "
               "name and device class; of cameras on Ethernet also address and interface, and with -v the MAC address. "
               "What keeps one of these from being opened stands below.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo list", "All cameras"},
            {"zelmo list --tls", "The kinds of connections for which a plug-in is loaded"},
            {"zelmo list --filter 'DeviceClass=HarlixGigE || SerialNumber=0815'", "Only those that pass the filter"},
            {"zelmo list --watch --json", "Arrivals and departures, one JSON object a line, until Ctrl-C"},
        };
    }

    void Define(CLI::App& command) override {
        auto* layers = command.add_flag("--tls", m_options.transportLayers, "List transport layers instead");
        auto* watch = command.add_flag("--watch", m_options.watch, "Print arrivals and departures until stopped");
        watch->excludes(layers);
        DefineMilliseconds(command, "--interval", m_options.intervalMs, "Time between two looks of --watch")
            ->needs(watch);
        command.add_option("--count", m_options.count, "End --watch after N arrivals and departures")
            ->type_name("N")
            ->check(WholeNumber(1, 4'000'000'000))
            ->needs(watch);
        DefineSeconds(command, "--duration", m_options.durationSeconds, "End --watch after that time")->needs(watch);
    }

    ExitCode Run(Library& library, Output& output) override {
        if (m_options.watch) {
            return DeviceWatch(library, output, m_options).Run();
        }
        if (m_options.transportLayers) {
            ListTransportLayers(library, output);
        } else {
            ListDevices(library, output);
        }
        return ExitCode::Done;
    }

private:
    static void ListDevices(Library& library, Output& output) {
        const Zelmo::DeviceInfoList devices = library.FindDevices();
        Json list = Json::array();
        std::vector<std::vector<std::string>> rows{{"INDEX", "SERIAL", "MODEL", "NAME", "CLASS"}};
        const bool anyGigE = std::any_of(devices.begin(), devices.end(), IsGigECamera);
        if (anyGigE) {
            AddCells(rows.back(), {"ADDRESS", "INTERFACE"}, "MAC", output);
        }
        for (std::size_t i = 0; i < devices.size(); ++i) {
            list.push_back({{"index", i}});
            list.back().update(MakeDeviceJson(devices[i]));
            rows.push_back({std::to_string(i), GetProperty(devices[i], "SerialNumber"),
                            GetProperty(devices[i], "ModelName"), GetProperty(devices[i], "UserDefinedName"),
                            GetProperty(devices[i], "DeviceClass")});
            if (anyGigE) {
                const GigEPlace place = GetGigEPlace(devices[i]);
                AddCells(rows.back(), {place.GetAddress(), place.interface}, place.mac, output);
            }
        }
        output.Document({{"devices", list}});
        if (devices.empty()) {
            output.Note("No camera found.\n" + ExplainNoCamera(library));
        } else {
            PrintTable(output, rows);
            TellVerdicts(devices, output);
        }
    }

    static void AddCells(std::vector<std::string>& row, const std::vector<std::string>& cells, const std::string& mac,
                         const Output& output) {
        row.insert(row.end(), cells.begin(), cells.end());
        if (output.IsVerbose()) {
            row.push_back(mac);
        }
    }

    static void ListTransportLayers(Library& library, Output& output) {
        Json list = Json::array();
        std::vector<std::vector<std::string>> rows{{"CLASS", "NAME", "VERSION", "FILE"}};
        const Zelmo::TlInfoList layers = library.FindTransportLayers();
        for (const Zelmo::CTlInfo& info : layers) {
            list.push_back(MakeTransportLayerJson(info));
            rows.push_back({GetProperty(info, "DeviceClass"), GetProperty(info, "ModelName"),
                            GetProperty(info, "Version"), GetProperty(info, "FileName")});
        }
        output.Document({{"transport_layers", list}});
        if (layers.empty()) {
            output.Note("No transport layer found. Plug-ins were looked for in " + GetPluginPath() +
                        "; 'zelmo doctor' tells more.");
        } else {
            PrintTable(output, rows);
        }
    }

    static void PrintTable(Output& output, const std::vector<std::vector<std::string>>& rows) {
        for (const std::string& line : FormatTable(rows)) {
            output.Line(line);
        }
    }

    ListOptions m_options;
};

} // namespace

std::unique_ptr<Verb> MakeListVerb() {
    return std::make_unique<ListVerb>();
}

} // namespace tool
