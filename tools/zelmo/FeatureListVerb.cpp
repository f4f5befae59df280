// SPDX-License-Identifier: Apache-2.0
#include "FeatureListVerb.h"

#include "Camera.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Errors.h"
#include "Output.h"

namespace tool {

void FeatureListVerb::Define(CLI::App& command) {
    command.add_option("FEATURE", m_features, "Names of features")->type_name("")->required();
    DefineDeviceOptions(command, m_device);
}

ExitCode FeatureListVerb::Run(Library& library, Output& output) {
    Camera camera(SelectDevice(library, m_device.device), output);
    GenApi::INodeMap& nodeMap = camera.GetNodeMap(m_device);
    Json list = Json::array();
    ExitCode result = ExitCode::Done;
    for (const std::string& name : m_features) {
        try {
            list.push_back(Tell(nodeMap, name, camera.GetName(), output));
        } catch (const ToolError& error) {
            output.Error(error);
            result = result == ExitCode::Done ? error.GetExitCode() : result;
        }
    }
    output.Document({{"device", camera.GetName()}, {"features", list}});
    return result;
}

} // namespace tool
