#include <zelmo/DeviceFilter.h>

#include <algorithm>
#include <atomic>

#include <zelmo/Utilities.h>
#include <zelmo/internal/InterfaceBase.h>

#include "ZelmoBase/transport/GlobalDeviceFilter.h"
#include "ZelmoBase/transport/TlFactoryLog.h"

namespace Zelmo {
namespace {

std::atomic<const DeviceInfoList*> globalFilter{nullptr}; // owned; set by the factory

unsigned long InterfaceCatId() {
    static const unsigned long id = hxlog::LogGetCatID("zelmo.base.interface");
    return id;
}

/// Sets the properties that the conditions of one pattern name. @return how many that were.
int ParsePattern(const String_t& text, CDeviceInfo& pattern) {
    int conditions = 0;
    String_t key;
    String_t value;
    for (std::size_t i = 0; getKeyAndValueFromString(text.c_str(), "&&", i, &key, &value); ++i) {
        if (key.empty() || value.empty())
            continue;
        pattern.SetPropertyValue(key, value);
        ++conditions;
    }
    return conditions;
}

} // namespace

int ParseDeviceFilter(DeviceInfoList& list) {
    String_t text;
    if (!GetValueOfEnvironmentVariable("ZELMO_DEVICE_FILTER", text) || text.empty()) {
        list.clear();
        return 0;
    }
    int patterns = 0;
    int conditions = 0;
    String_t piece;
    for (std::size_t i = 0; extractSubString(piece, text, i, "||"); ++i) {
        CDeviceInfo pattern;
        if (const int count = ParsePattern(piece, pattern)) {
            list.push_back(pattern);
            ++patterns;
            conditions += count;
        }
    }
    hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Notice,
                    "Parsed %i filter device infos containing %i conditions from '%s'", patterns, conditions,
                    text.c_str());
    return patterns;
}

void SetGlobalDeviceFilter(std::unique_ptr<DeviceInfoList> filter) {
    delete globalFilter.exchange(filter.release());
}

const DeviceInfoList* GetGlobalDeviceFilterInstance() {
    return globalFilter;
}

int ApplyDeviceFilter(const DeviceInfoList& source, const DeviceInfoList& filter, DeviceInfoList& target) {
    int count = 0;
    for (const CDeviceInfo& device : source) {
        const auto matches = [&](const CDeviceInfo& pattern) { return device.IsSubset(pattern); };
        if (std::any_of(filter.begin(), filter.end(), matches)) {
            target.push_back(device);
            ++count;
        }
    }
    if (!source.empty()) {
        hxlog::LogTrace(InterfaceCatId(), hxlog::LogLevel_Info,
                        "Filter containing %d items applied to device list, count of devices before filter step = %d, "
                        "after filter step = %d.",
                        static_cast<int>(filter.size()), static_cast<int>(source.size()), count);
    }
    return count;
}

} // namespace Zelmo
