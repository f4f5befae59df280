// SPDX-License-Identifier: Apache-2.0
#include "Descriptions.h"

#include "DescriptionTable.h"

#include <Base/GCException.h>
#include <GenApi/IDestroy.h>

namespace CamEmu {

namespace {

GenApi::CNodeMapFactory MakeFactory(std::string_view name) {
    const std::string_view text = DescriptionText(name);
    return {GenApi::ContentType_Xml, text.data(), text.size()};
}

} // namespace

NodeMapPtr MakeNodeMap(GenApi::CNodeMapFactory& factory, GenApi::IPort& port) {
    NodeMapPtr nodeMap(factory.CreateNodeMap("Device"));
    if (!nodeMap->Connect(&port, "Device")) {
        throw RUNTIME_EXCEPTION("The description has no port 'Device'.");
    }
    return nodeMap;
}

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

void CNodeMapDeleter::operator()(GenApi::INodeMap* nodeMap) const {
    if (auto* const destroyable = dynamic_cast<GenApi::IDestroy*>(nodeMap)) {
        destroyable->Destroy();
    }
}

GenApi::CNodeMapFactory SharedCameraFactory() {
    static const GenApi::CNodeMapFactory kFactory = MakeCameraFactory();
    return kFactory;
}

NodeMapPtr MakeStreamNodeMap(GenApi::IPort& port) {
    static GenApi::CNodeMapFactory factory = MakeFactory(kStreamDescription);
    return MakeNodeMap(factory, port);
}

NodeMapPtr MakeEventNodeMap(GenApi::IPort& port) {
    static GenApi::CNodeMapFactory factory = MakeFactory(kEventDescription);
    return MakeNodeMap(factory, port);
}

NodeMapPtr MakeConnectionNodeMap(GenApi::IPort& port) {
    static GenApi::CNodeMapFactory factory = MakeFactory(kConnectionDescription);
    return MakeNodeMap(factory, port);
}

} // namespace CamEmu
