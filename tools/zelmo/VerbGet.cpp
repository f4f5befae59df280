#include "Camera.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Feature.h"
#include "Output.h"
#include "Verb.h"

namespace tool {
namespace {

class GetVerb : public Verb {
public:
    std::string GetName() const override { return "get"; }
    std::string GetSummary() const override { return "Print features as NAME=VALUE, as 'set' takes them"; }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo get Width Height PixelFormat", "Three features of the only camera, in this order"},
            {"zelmo get ExposureTime -d left --json", "With type, unit and limits, of the camera that is named left"},
        };
    }

    void Define(CLI::App& command) override {
        command.add_option("FEATURE", m_features, "Names of features")->type_name("")->required();
        DefineDeviceOptions(command, m_device);
    }

    ExitCode Run(Library& library, Output& output) override {
        Camera camera(SelectDevice(library, m_device.device));
        GenApi::INodeMap& nodeMap = camera.GetNodeMap(m_device.nodeMap);
        Json list = Json::array();
        ExitCode result = ExitCode::Done;
        for (const std::string& name : m_features) {
            try {
                const Feature feature = Feature::Find(nodeMap, name, camera.GetName());
                const std::string text = feature.GetText();
                list.push_back(feature.GetDescription(true));
                output.Line(name + "=" + text);
            } catch (const ToolError& error) { // the others are told all the same
                output.Error(error);
                result = result == ExitCode::Done ? error.GetExitCode() : result;
            }
        }
        output.Document({{"device", camera.GetName()}, {"features", list}});
        return result;
    }

private:
    DeviceOptions m_device;
    std::vector<std::string> m_features;
};

} // namespace

std::unique_ptr<Verb> MakeGetVerb() {
    return std::make_unique<GetVerb>();
}

} // namespace tool
