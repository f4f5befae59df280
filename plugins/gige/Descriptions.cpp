// SPDX-License-Identifier: Apache-2.0
#include "Descriptions.h"

#include "DescriptionTable.h"

#include <string_view>

namespace Gige {

namespace {

GenApi::CNodeMapFactory MakeFactory(std::string_view name) {
    for (const Zelmo::BuiltinDocument& document : Zelmo::kBuiltinDocuments) {
        if (document.name == name) {
            return {GenApi::ContentType_Xml, document.text.data(), document.text.size()};
        }
    }
    return {};
}

} // namespace

PluginKit::NodeMapPtr MakeConnectionNodeMap(GenApi::IPort& port) {
    static GenApi::CNodeMapFactory factory = MakeFactory("GigEConnection");
    return PluginKit::MakeNodeMap(factory, port);
}

PluginKit::NodeMapPtr MakeEventNodeMap(GenApi::IPort& port) {
    static GenApi::CNodeMapFactory factory = MakeFactory("GigEEvents");
    return PluginKit::MakeNodeMap(factory, port);
}

} // namespace Gige
