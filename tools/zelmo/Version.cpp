// SPDX-License-Identifier: Apache-2.0
#include "Version.h"

#include "InfoJson.h"
#include "Library.h"
#include "Output.h"

#include <zelmo/Lifecycle.h>

namespace tool {

void PrintVersion(Library& library, Output& output) {
    const std::string version = Zelmo::GetZelmoVersionString();
    Json layers = Json::array();
    output.Line("zelmo " + version + " (commit " ZELMO_COMMIT ")");
    for (const Zelmo::CTlInfo& info : library.FindTransportLayers()) {
        layers.push_back(MakeTransportLayerJson(info));
        const std::string own = GetProperty(info, "Version");
        output.Line("plug-in " + GetProperty(info, "DeviceClass") + " " + (own.empty() ? "(no version)" : own) + "  " +
                    GetProperty(info, "FileName"));
    }
    output.Document({{"version", version}, {"commit", ZELMO_COMMIT}, {"transport_layers", layers}});
}

} // namespace tool
