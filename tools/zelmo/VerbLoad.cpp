// SPDX-License-Identifier: Apache-2.0
#include "Camera.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Output.h"
#include "Settings.h"
#include "Verb.h"

namespace tool {
namespace {

class LoadVerb : public Verb {
public:
    std::string GetName() const override { return "load"; }
    std::string GetSummary() const override { return "Set a camera's features as a file of 'save' says"; }
    std::string GetDetails() const override {
        return "Sets the features in the order of the file; what fails is tried twice more, as features depend on each "
               "other. What cannot be set, or with --verify reads differently afterwards, is told one line each; the "
               "others are set all the same, and the exit code is 7.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo load line3.txt", "Set the only camera up as it was when line3.txt was saved"},
            {"zelmo load line3.txt --verify -d left", "Likewise the camera named left, and read all back"},
        };
    }

    void Define(CLI::App& command) override {
        command.add_option("FILE", m_file, "File that 'save' wrote")->type_name("")->required();
        DefineDeviceOptions(command, m_device);
        command.add_flag("--verify", m_verify, "Read all back afterwards and compare");
    }

    ExitCode Run(Library& library, Output& output) override {
        const GenApi::CFeatureBag bag = ReadSettings(m_file);
        Camera camera(SelectDevice(library, m_device.device));
        GenApi::gcstring_vector errors;
        bag.LoadFromBag(&camera.GetNodeMap(m_device), m_verify, &errors);
        const auto failures = ToFailures(errors);
        const ExitCode result = ReportFailures(failures, "set", camera, output);
        const std::size_t lines = bag.GetEntries().size();
        output.Document({{"device", camera.GetName()},
                         {"file", m_file},
                         {"lines", lines},
                         {"verified", m_verify},
                         {"failures", ToJson(failures)}});
        if (result == ExitCode::Removed) {
            return result;
        }
        output.Note(failures.empty() ? "All " + std::to_string(lines) + " lines of '" + m_file + "' are set"
                                     : "The other lines are set; 'zelmo diff " + m_file +
                                           "' shows what differs, 'zelmo features NAME --values' what is permitted");
        return result;
    }

private:
    DeviceOptions m_device;
    std::string m_file;
    bool m_verify = false;
};

} // namespace

std::unique_ptr<Verb> MakeLoadVerb() {
    return std::make_unique<LoadVerb>();
}

} // namespace tool
