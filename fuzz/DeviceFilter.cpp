// SPDX-License-Identifier: Apache-2.0

// The text of ZELMO_DEVICE_FILTER.

#include "Fuzz.h"
#include "ZelmoBase/transport/GlobalDeviceFilter.h"

#include <zelmo/internal/InterfaceBase.h>

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    setenv("ZELMO_DEVICE_FILTER", text.c_str(), 1);
    Zelmo::DeviceInfoList patterns;
    const auto count = static_cast<std::size_t>(Zelmo::ParseDeviceFilter(patterns));
    Fuzz::Require(count == patterns.size(), "each pattern is counted");
    for (const Zelmo::CDeviceInfo& pattern : patterns) {
        Zelmo::StringList_t names;
        pattern.GetPropertyNames(names);
        for (const Zelmo::String_t& name : names) {
            Zelmo::String_t value;
            Fuzz::Require(pattern.GetPropertyValue(name, value), "a property that is listed is there");
        }
    }
    Fuzz::Try([&] { // an address that is none is refused
        Zelmo::DeviceInfoList passed;
        Zelmo::ApplyDeviceFilter(patterns, patterns, passed);
        Fuzz::Require(passed.size() == patterns.size(), "a device passes a filter of its own properties");
    });
    return 0;
}
