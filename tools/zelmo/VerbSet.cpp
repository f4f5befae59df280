// SPDX-License-Identifier: Apache-2.0
#include "Assignments.h"
#include "Camera.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Escape.h"
#include "Feature.h"
#include "Output.h"
#include "Verb.h"

namespace tool {
namespace {

class SetVerb : public Verb {
public:
    std::string GetName() const override { return "set"; }
    std::string GetSummary() const override { return "Set features, in the order given; each is reported"; }
    std::string GetDetails() const override {
        return "Prints each feature as it then reads, as a camera may round a value. One that is refused does not keep "
               "the others from being set; the exit code then tells of the first refusal. VALUE is written as 'get' "
               "prints it: \\\\ for a backslash, \\n, \\r, \\t and \\xHH for line end, carriage return, tab and any "
               "byte. The settings of emulated cameras live as long as one process: 'grab' and 'bench' set them with "
               "--set "
               "and --exec.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo set Width=640 Height=480", "Two features of the only camera"},
            {"zelmo set PixelFormat=Mono8 ExposureTime=2500 -d 0815-0000", "Of the camera with that serial number"},
            {"zelmo set 'DeviceUserID=left camera'", "A text with a blank"},
        };
    }

    void Define(CLI::App& command) override {
        command.add_option("NAME=VALUE", m_texts, "What to set")->type_name("")->required();
        DefineDeviceOptions(command, m_device);
    }

    ExitCode Run(Library& library, Output& output) override {
        const auto assignments = ParseAssignments(m_texts);
        Camera camera(SelectDevice(library, m_device.device));
        GenApi::INodeMap& nodeMap = camera.GetNodeMap(m_device);
        Json list = Json::array();
        ExitCode result = ExitCode::Done;
        for (const Assignment& one : assignments) {
            Json json = {{"name", one.feature}, {"requested", one.value}};
            const ExitCode code = Apply(one, nodeMap, camera, output, json);
            result = result == ExitCode::Done ? code : result;
            list.push_back(json);
        }
        output.Document({{"device", camera.GetName()}, {"settings", list}});
        return result;
    }

private:
    static ExitCode Apply(const Assignment& one, GenApi::INodeMap& nodeMap, const Camera& camera, Output& output,
                          Json& json) {
        try {
            Feature feature = Feature::Find(nodeMap, one.feature, camera.GetName());
            json["requested"] = feature.ToJson(one.value);
            feature.SetText(one.value);
            json["ok"] = true;
            const bool readable = feature.IsReadable();
            if (readable) {
                json["value"] = feature.GetValue();
            }
            output.Line(one.feature + "=" + Escape(readable ? feature.GetText() : one.value));
            return ExitCode::Done;
        } catch (const ToolError& error) {
            json["ok"] = false;
            json["error"] = MakeCauseJson(error);
            output.Error(error);
            return error.GetExitCode();
        }
    }

    DeviceOptions m_device;
    std::vector<std::string> m_texts;
};

} // namespace

std::unique_ptr<Verb> MakeSetVerb() {
    return std::make_unique<SetVerb>();
}

} // namespace tool
