// SPDX-License-Identifier: Apache-2.0
#include "InfoJson.h"

#include "DeviceSelector.h"
#include "GigECamera.h"
#include "Output.h"

namespace tool {
namespace {

/// Some properties under other names, and all of them under "properties".
Json MakeInfoJson(const Zelmo::CInfoBase& info, const std::vector<std::pair<const char*, const char*>>& fields) {
    Json json;
    for (const auto& [name, key] : fields) {
        Zelmo::String_t value;
        info.GetPropertyValue(key, value);
        json[name] = value.c_str();
    }
    json["properties"] = Json::object();
    Zelmo::StringList_t names;
    info.GetPropertyNames(names);
    for (const auto& name : names) {
        Zelmo::String_t value;
        info.GetPropertyValue(name, value);
        json["properties"][name.c_str()] = value.c_str();
    }
    return json;
}

} // namespace

std::string GetProperty(const Zelmo::CInfoBase& info, const char* key) {
    Zelmo::String_t value;
    return info.GetPropertyValue(key, value) ? Printable(value.c_str()) : "";
}

Json MakeDeviceJson(const Zelmo::CDeviceInfo& info) {
    Json json = {{"device", GetCameraName(info)}};
    json.update(MakeInfoJson(info, {{"serial_number", "SerialNumber"},
                                    {"model_name", "ModelName"},
                                    {"user_defined_name", "UserDefinedName"},
                                    {"vendor_name", "VendorName"},
                                    {"device_class", "DeviceClass"},
                                    {"full_name", "FullName"}}));
    if (IsGigECamera(info)) {
        json.update(GetGigEPlace(info).ToJson());
    }
    return json;
}

Json MakeTransportLayerJson(const Zelmo::CInfoBase& info) {
    return MakeInfoJson(info, {{"device_class", "DeviceClass"},
                               {"model_name", "ModelName"},
                               {"full_name", "FullName"},
                               {"version", "Version"},
                               {"file_name", "FileName"}});
}

} // namespace tool
