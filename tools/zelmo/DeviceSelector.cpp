// SPDX-License-Identifier: Apache-2.0
#include "DeviceSelector.h"

#include "Errors.h"
#include "Output.h"

#include <Base/GCException.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <functional>
#include <optional>

namespace tool {
namespace {

using Zelmo::CDeviceInfo;
using Zelmo::DeviceInfoList;
using Indices = std::vector<std::size_t>;

Indices Where(const DeviceInfoList& devices, const std::function<bool(const CDeviceInfo&)>& test) {
    Indices found;
    for (std::size_t i = 0; i < devices.size(); ++i) {
        if (test(devices[i])) {
            found.push_back(i);
        }
    }
    return found;
}

Indices WithProperty(const DeviceInfoList& devices, const char* key, const std::string& wanted) {
    return Where(devices, [&](const CDeviceInfo& info) {
        Zelmo::String_t value;
        return info.GetPropertyValue(key, value) && wanted == value.c_str();
    });
}

/// Nothing unless the whole text is made of KEY=VAL parts.
std::optional<CDeviceInfo> ParsePattern(const std::string& text) {
    CDeviceInfo pattern;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const std::string part = text.substr(begin, end - begin);
        const std::size_t equals = part.find('=');
        if (equals == std::string::npos || equals == 0) {
            return std::nullopt;
        }
        pattern.SetPropertyValue(part.substr(0, equals).c_str(), part.substr(equals + 1).c_str());
        begin = end + 1;
    }
    return pattern;
}

Indices WithPattern(const DeviceInfoList& devices, const std::string& wanted) {
    const auto pattern = ParsePattern(wanted);
    if (!pattern) {
        return {};
    }
    try {
        return Where(devices, [&](const CDeviceInfo& info) { return info.IsSubset(*pattern); });
    } catch (const GenICam::GenericException& error) {
        throw UsageError("The camera '" + wanted + "' cannot be looked for: " + error.GetDescription());
    }
}

Indices WithIndex(const DeviceInfoList& devices, const std::string& wanted) {
    std::size_t index = 0;
    const char* end = wanted.data() + wanted.size();
    const auto result = std::from_chars(wanted.data(), end, index);
    return result.ec == std::errc() && result.ptr == end && index < devices.size() ? Indices{index} : Indices{};
}

std::string ListCandidates(const DeviceInfoList& devices, const Indices& which) {
    std::string text;
    for (const std::size_t i : which) {
        text += "\n  " + std::to_string(i) + ": " + DescribeCamera(devices[i]);
    }
    return text;
}

Indices All(const DeviceInfoList& devices) {
    return Where(devices, [](const CDeviceInfo&) { return true; });
}

ToolError NoDevice(const std::string& code, const std::string& message) {
    return {ExitCode::NoDevice, code, message};
}

std::size_t SelectIndex(Library& library, const DeviceInfoList& devices, const std::string& wanted) {
    if (devices.empty()) {
        throw NoDevice("no_device", "No camera found" + (wanted.empty() ? "" : " (wanted: '" + wanted + "')") + ".\n" +
                                        ExplainNoCamera(library));
    }
    const Indices found = wanted.empty() ? All(devices) : MatchDevices(devices, wanted);
    if (found.empty()) {
        throw NoDevice("no_device",
                       "No camera matches '" + wanted +
                           "' by serial number, user-defined name, full name, KEY=VALUE or index. There are:" +
                           ListCandidates(devices, All(devices)));
    }
    if (found.size() > 1) {
        const std::string which = wanted.empty() ? "" : " match '" + wanted + "'";
        throw NoDevice("ambiguous_device", std::to_string(found.size()) + " cameras" +
                                               (wanted.empty() ? " are there" : which) +
                                               "; choose one by its serial number:" + ListCandidates(devices, found));
    }
    return found.front();
}

} // namespace

std::string GetCameraName(const CDeviceInfo& info) {
    const bool numbered = info.IsSerialNumberAvailable() && !info.GetSerialNumber().empty();
    return Printable((numbered ? info.GetSerialNumber() : info.GetFullName()).c_str());
}

std::string DescribeCamera(const CDeviceInfo& info) {
    std::string text = GetCameraName(info);
    if (info.IsModelNameAvailable()) {
        text += "  " + Printable(info.GetModelName().c_str());
    }
    if (info.IsUserDefinedNameAvailable() && !info.GetUserDefinedName().empty()) {
        text += "  '" + Printable(info.GetUserDefinedName().c_str()) + "'";
    }
    return text + "  (" + Printable(info.GetDeviceClass().c_str()) + ")";
}

std::vector<std::size_t> MatchDevices(const DeviceInfoList& devices, const std::string& wanted) {
    for (const char* key : {"SerialNumber", "UserDefinedName", "FullName"}) {
        const Indices found = WithProperty(devices, key, wanted);
        if (!found.empty()) {
            return found;
        }
    }
    const Indices found = WithPattern(devices, wanted);
    return found.empty() ? WithIndex(devices, wanted) : found;
}

CDeviceInfo SelectDevice(Library& library, const std::string& wanted) {
    return SelectDevice(library, library.FindDevices(), wanted);
}

CDeviceInfo SelectDevice(Library& library, const DeviceInfoList& devices, const std::string& wanted) {
    return devices[SelectIndex(library, devices, wanted)];
}

std::vector<CDeviceInfo> SelectDevices(Library& library, const std::vector<std::string>& wanted, bool all) {
    if (!all && wanted.size() < 2) {
        return {SelectDevice(library, wanted.empty() ? "" : wanted.front())};
    }
    const DeviceInfoList devices = library.FindDevices();
    Indices chosen = All(devices);
    if (!all || devices.empty()) {
        chosen.clear();
        for (const std::string& one : all ? std::vector<std::string>{""} : wanted) {
            const std::size_t index = SelectIndex(library, devices, one);
            if (std::find(chosen.begin(), chosen.end(), index) != chosen.end()) {
                throw UsageError("The camera " + GetCameraName(devices[index]) +
                                 " was chosen twice, the second time by '" + one + "'");
            }
            chosen.push_back(index);
        }
    }
    std::vector<CDeviceInfo> infos;
    for (const std::size_t index : chosen) {
        infos.push_back(devices[index]);
    }
    return infos;
}

std::string ExplainNoCamera(Library& library) {
    std::string text = "Plug-ins were looked for in " + GetPluginPath() + "; ";
    const Zelmo::TlInfoList layers = library.FindTransportLayers();
    if (layers.empty()) {
        text += "none was found (ZELMO_TL_PATH names other folders).";
    } else {
        text += "these kinds of cameras are known:";
        for (const Zelmo::CTlInfo& layer : layers) {
            text += std::string(" ") + Printable(layer.GetDeviceClass().c_str());
        }
        text += ".";
    }
    for (const PluginFailure& failure : library.GetPluginFailures()) {
        text += "\nThe plug-in " + Printable(failure.plugin) + " cannot be used: " + Printable(failure.reason) + ".";
    }
    if (const char* filter = std::getenv("ZELMO_DEVICE_FILTER"); filter != nullptr && *filter != '\0') {
        text +=
            "\nOnly cameras that pass the filter '" + Printable(filter) + "' count (ZELMO_DEVICE_FILTER or --filter).";
    }
    const char* network = std::getenv("ZELMO_GIGE");
    if (network != nullptr && *network != '\0') {
        text += std::string(network) == "off"
                    ? "\nCameras on Ethernet are not looked for, as ZELMO_GIGE is 'off'."
                    : "\nCameras on Ethernet are looked for on '" + Printable(network) + "' only (ZELMO_GIGE).";
    }
    const char* emulated = std::getenv("ZELMO_CAMEMU");
    if (emulated == nullptr || *emulated == '\0' || std::string(emulated) == "0") {
        text += "\nFor emulated cameras, set ZELMO_CAMEMU to their number; 'zelmo doctor' checks the rest.";
    }
    return text;
}

} // namespace tool
