// SPDX-License-Identifier: Apache-2.0

// What a device says of the place of its description.

#include "Fuzz.h"
#include <GenApi/DescriptionUrl.h>

#include <control/DeviceUrl.h>
#include <string>

using Fuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Try([&] {
        const Gige::CDeviceUrl url = Gige::ParseDeviceUrl(std::string(data, data + size));
        if (url.fileName.empty()) {
            Require(url.bytes >= 1 && url.bytes <= GenApi::CDescriptionUrl::MaxBytes, "length");
            Require(std::uint64_t{url.address} + url.bytes <= std::uint64_t{1} << 32, "a place in the device's memory");
        } else {
            Require(url.fileName.find_first_of(std::string("/\\\0", 3)) == std::string::npos, "a name, not a path");
            Require(url.fileName != "." && url.fileName != "..", "a name of a file");
        }
    });
    return 0;
}
