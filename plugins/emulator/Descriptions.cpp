// SPDX-License-Identifier: Apache-2.0
#include "Descriptions.h"

#include "DescriptionTable.h"

namespace CamEmu {

namespace {

GenApi::CNodeMapFactory MakeFactory(std::string_view name) {
    const std::string_view text = DescriptionText(name);
    return {GenApi::ContentType_Xml, text.data(), text.size()};
}

} // namespace

GenApi::CNodeMapFactory MakeCameraFactory() {
    return MakeFactory(kCameraDescription);
}

std::string_view DescriptionText(std::string_view name) {
    for (const Zelmo::BuiltinDocument& document : Zelmo::kBuiltinDocuments) {
        if (document.name == name) {
            return document.text;
        }
    }
    return {};
}

GenApi::CNodeMapFactory SharedCameraFactory() {
    static const GenApi::CNodeMapFactory kFactory = MakeCameraFactory();
    return kFactory;
}

PluginKit::NodeMapPtr MakeStreamNodeMap(GenApi::IPort& port) {
    static GenApi::CNodeMapFactory factory = MakeFactory(kStreamDescription);
    return PluginKit::MakeNodeMap(factory, port);
}

PluginKit::NodeMapPtr MakeEventNodeMap(GenApi::IPort& port) {
    static GenApi::CNodeMapFactory factory = MakeFactory(kEventDescription);
    return PluginKit::MakeNodeMap(factory, port);
}

PluginKit::NodeMapPtr MakeConnectionNodeMap(GenApi::IPort& port) {
    static GenApi::CNodeMapFactory factory = MakeFactory(kConnectionDescription);
    return PluginKit::MakeNodeMap(factory, port);
}

} // namespace CamEmu
