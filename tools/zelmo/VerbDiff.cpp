// SPDX-License-Identifier: Apache-2.0
#include "Camera.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Escape.h"
#include "Feature.h"
#include "Output.h"
#include "Settings.h"
#include "Verb.h"

namespace tool {
namespace {

class DiffVerb : public Verb {
public:
    std::string GetName() const override { return "diff"; }
    std::string GetSummary() const override { return "Compare a camera's features with a file of 'save'"; }
    std::string GetDetails() const override {
        return "Prints feature, value in the file and value of the camera where they differ; a selected feature with "
               "the positions of its selectors, as in Gain[GainSelector=Red]. Nothing is set but selectors, which are "
               "put back. The exit code is 0 when all are equal, 1 when some differ, and 7 when some could not be "
               "compared, which is told one line each.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo diff line3.txt", "What has changed on the only camera since line3.txt was saved"},
            {"zelmo diff line3.txt -d left --json", "The same of the camera named left, for a program"},
        };
    }

    void Define(CLI::App& command) override {
        command.add_option("FILE", m_file, "File that 'save' wrote")->type_name("")->required();
        DefineDeviceOptions(command, m_device);
    }

    ExitCode Run(Library& library, Output& output) override {
        const GenApi::CFeatureBag bag = ReadSettings(m_file);
        Camera camera(SelectDevice(library, m_device.device), "comparing sets selectors, so it needs control");
        std::vector<SettingFailure> failures;
        GenApi::INodeMap& nodeMap = camera.GetNodeMap(m_device);
        for (const GenApi::CBagDifference& one : bag.Compare(&nodeMap)) {
            if (one.Problem.empty()) {
                Add(one, Feature::Find(nodeMap, one.Name.c_str(), camera.GetName()));
            } else {
                failures.push_back({GetTitle(one), one.Problem.c_str()});
            }
        }
        const ExitCode result = ReportFailures(failures, "compared", camera, output);
        for (const std::string& line : FormatTable(m_rows)) {
            output.Line(line);
        }
        output.Document({{"device", camera.GetName()},
                         {"file", m_file},
                         {"lines", bag.GetEntries().size()},
                         {"equal", m_rows.empty() && failures.empty()},
                         {"differences", m_json},
                         {"failures", ToJson(failures)}});
        return result == ExitCode::Done && !m_rows.empty() ? ExitCode::Failed : result;
    }

private:
    static std::string GetTitle(const GenApi::CBagDifference& one) {
        const std::string name = one.Name.c_str();
        return one.Selectors.empty() ? name : name + "[" + one.Selectors.c_str() + "]";
    }

    static std::string GetCell(const GenApi::gcstring& value) { return value.empty() ? "''" : Escape(value.view()); }

    void Add(const GenApi::CBagDifference& one, const Feature& feature) {
        m_rows.push_back({GetTitle(one), GetCell(one.InBag), GetCell(one.InNodeMap)});
        m_json.push_back({{"name", one.Name.c_str()},
                          {"selectors", one.Selectors.c_str()},
                          {"file_value", feature.ToJson(one.InBag.c_str())},
                          {"device_value", feature.ToJson(one.InNodeMap.c_str())}});
    }

    DeviceOptions m_device;
    std::string m_file;
    std::vector<std::vector<std::string>> m_rows;
    Json m_json = Json::array();
};

} // namespace

std::unique_ptr<Verb> MakeDiffVerb() {
    return std::make_unique<DiffVerb>();
}

} // namespace tool
