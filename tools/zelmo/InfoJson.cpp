// SPDX-License-Identifier: Apache-2.0
#include "InfoJson.h"

#include "Output.h"

namespace tool {

std::string GetProperty(const Zelmo::CInfoBase& info, const char* key) {
    Zelmo::String_t value;
    return info.GetPropertyValue(key, value) ? Printable(value.c_str()) : "";
}

Json MakeInfoJson(const Zelmo::CInfoBase& info) {
    Json json = Json::object();
    Zelmo::StringList_t names;
    info.GetPropertyNames(names);
    for (const auto& name : names) {
        Zelmo::String_t value;
        info.GetPropertyValue(name, value);
        json[name.c_str()] = value.c_str();
    }
    return json;
}

Json MakeDeviceJson(const Zelmo::CDeviceInfo& info, std::size_t index) {
    static const char* const kFields[][2] = {
        {"serial_number", "SerialNumber"}, {"model_name", "ModelName"},     {"user_defined_name", "UserDefinedName"},
        {"vendor_name", "VendorName"},     {"device_class", "DeviceClass"}, {"full_name", "FullName"},
    };
    Json json = {{"index", index}};
    for (const auto& [name, key] : kFields) {
        json[name] = GetProperty(info, key);
    }
    json["properties"] = MakeInfoJson(info);
    return json;
}

} // namespace tool
