// SPDX-License-Identifier: Apache-2.0
#include "Camera.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Output.h"
#include "PartialFiles.h"
#include "Settings.h"
#include "Verb.h"

namespace tool {
namespace {

class SaveVerb : public Verb {
public:
    std::string GetName() const override { return "save"; }
    std::string GetSummary() const override { return "Save a camera's settings to a file"; }
    std::string GetDetails() const override {
        return "Saves all features that the camera's description marks as streamable and that can be read and written; "
               "what selectors select, for each of their positions. FILE is replaced. A feature that fails is told, "
               "the others are saved all the same, and the exit code is 7. Nothing is written when the camera is gone.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo save line3.txt", "The settings of the only camera"},
            {"zelmo save left.txt -d left", "Of the camera that is named left"},
        };
    }

    void Define(CLI::App& command) override {
        command.add_option("FILE", m_file, "File to write")->type_name("")->required();
        DefineDeviceOptions(command, m_device);
    }

    ExitCode Run(Library& library, Output& output) override {
        Camera camera(SelectDevice(library, m_device.device), "saving sets selectors, so it needs control");
        GenApi::CFeatureBag bag;
        bag.SetInfo(("Settings of camera " + Printable(camera.GetName())).c_str());
        GenApi::gcstring_vector errors;
        const std::int64_t lines = bag.StoreToBag(&camera.GetNodeMap(m_device), -1, nullptr, &errors);
        const auto failures = ToFailures(errors);
        const ExitCode result = ReportFailures(failures, "saved", camera, output);
        if (result == ExitCode::Removed || (lines == 0 && !failures.empty())) {
            output.Note("'" + m_file + "' was not written"); // part of the settings must not replace all of them
            return result;
        }
        if (lines == 0) {
            throw FeatureError("", "nothing_to_save",
                               "Camera " + camera.GetName() + " has no settings to save: no feature of its node map '" +
                                   m_device.nodeMap + "' is streamable and accessible. '" + m_file +
                                   "' was not written; 'zelmo features --values' shows what there is");
        }
        const auto text = bag.ToString();
        WriteFileWhole(m_file, reinterpret_cast<const std::uint8_t*>(text.c_str()), text.size());
        output.Document(
            {{"device", camera.GetName()}, {"file", m_file}, {"lines", lines}, {"failures", ToJson(failures)}});
        output.Note(std::to_string(lines) + " lines saved to '" + m_file + "'; 'zelmo load' sets them again");
        return result;
    }

private:
    DeviceOptions m_device;
    std::string m_file;
};

} // namespace

std::unique_ptr<Verb> MakeSaveVerb() {
    return std::make_unique<SaveVerb>();
}

} // namespace tool
