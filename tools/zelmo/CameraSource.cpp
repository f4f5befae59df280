// SPDX-License-Identifier: Apache-2.0
#include "CameraSource.h"

#include "Description.h"
#include "DeviceSelector.h"
#include "Library.h"
#include "NodeFields.h"
#include "Output.h"

#include <GenApi/GenApi.h>

#include <sstream>

namespace tool {
namespace {

/// Runs @p action with the library started; what fails leaves nothing to offer, and nobody to tell.
void WithLibrary(const std::function<void(Library&)>& action) {
    GlobalOptions options;
    options.quiet = true;
    std::ostringstream unread;
    Output silent(options, unread, unread);
    try {
        Library library(options, silent);
        library.Start();
        action(library);
    } catch (const std::exception&) {
    }
}

FeatureChoice MakeChoice(GenApi::INode& node) {
    FeatureChoice choice{node.GetName().c_str(), node.GetPrincipalInterfaceType() == GenApi::intfICommand, {}};
    if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(&node)) {
        choice.values = AllEntries(*enumeration);
    } else if (dynamic_cast<GenApi::IBoolean*>(&node) != nullptr) {
        choice.values = {"true", "false"};
    }
    return choice;
}

} // namespace

std::vector<std::string> CameraSource::GetDevices() {
    std::vector<std::string> names;
    WithLibrary([&](Library& library) {
        for (const Zelmo::CDeviceInfo& info : library.FindDevices()) {
            names.push_back(GetCameraName(info));
            if (info.IsUserDefinedNameAvailable() && !info.GetUserDefinedName().empty()) {
                names.emplace_back(info.GetUserDefinedName().c_str());
            }
        }
    });
    return names;
}

std::vector<FeatureChoice> CameraSource::GetFeatures(const std::string& device) {
    std::vector<FeatureChoice> features;
    WithLibrary([&](Library& library) {
        const std::string bytes = FetchDescription(SelectDevice(library, device)).bytes;
        const NodeMapPtr nodeMap = LoadDescription(bytes);
        GenApi::NodeList_t nodes;
        nodeMap->GetNodes(nodes);
        for (GenApi::INode* node : nodes) {
            if (node->IsFeature() && node->GetPrincipalInterfaceType() != GenApi::intfICategory) {
                features.push_back(MakeChoice(*node));
            }
        }
    });
    return features;
}

} // namespace tool
