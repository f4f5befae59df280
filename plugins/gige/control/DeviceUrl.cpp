// SPDX-License-Identifier: Apache-2.0
#include "control/DeviceUrl.h"

#include <Base/GCException.h>
#include <GenApi/DescriptionUrl.h>

#include <algorithm>

namespace Gige {

namespace {

std::string BaseName(const std::string& path) {
    const std::string name = path.substr(path.find_last_of("/\\") + 1); // npos + 1 is 0
    const bool isText = std::all_of(name.begin(), name.end(), [](char one) { return one >= ' ' && one <= '~'; });
    if (!isText || name.empty() || name == "." || name == "..") {
        throw RUNTIME_EXCEPTION("It names no file.");
    }
    return name;
}

} // namespace

CDeviceUrl ParseDeviceUrl(const std::string& text) {
    const GenApi::CDescriptionUrl url(text.c_str());
    if (url.GetScheme() == GenApi::CDescriptionUrl::Scheme_Http) {
        throw RUNTIME_EXCEPTION("Nothing is fetched from the network; download it, and let a binding rule name the "
                                "file.");
    }
    if (url.GetScheme() == GenApi::CDescriptionUrl::Scheme_File) {
        return {BaseName(url.GetFileName().str()), 0, 0};
    }
    if (url.GetAddress() > UINT32_MAX || url.GetLength() - 1 > UINT32_MAX - url.GetAddress()) {
        throw RUNTIME_EXCEPTION("It lies beyond the device's last address, 0xFFFFFFFF.");
    }
    return {{}, static_cast<std::uint32_t>(url.GetAddress()), static_cast<std::size_t>(url.GetLength())};
}

} // namespace Gige
