// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/DeviceInfo.h>

#include <string>

/// What tests of binding rules and settings share: documents and devices.
namespace Binding {

inline std::string Repeated(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

/// Of the class "TestClass".
inline std::string RuleDocument(const std::string& rules, const std::string& type = "custom") {
    return "<BindingRules type='" + type + "'><TransportLayer name='TestClass'>" + rules +
           "</TransportLayer></BindingRules>";
}

inline std::string Rule(const std::string& elements, const std::string& priority = "0") {
    return "<Rule priority='" + priority + "'>" + elements + "</Rule>";
}

/// A rule whose file, in the folder ".", tells it from others.
inline std::string FileRule(const std::string& name, const std::string& priority = "0") {
    return Rule("<File>./" + name + "</File>", priority);
}

inline Zelmo::CDeviceInfo Device(const char* model = "Model", const char* deviceClass = "TestClass",
                                 const char* vendor = "Vendor") {
    Zelmo::CDeviceInfo device;
    device.SetDeviceClass(deviceClass).SetVendorName(vendor).SetModelName(model).SetSerialNumber("0815");
    return device;
}

} // namespace Binding
