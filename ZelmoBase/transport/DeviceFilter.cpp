// SPDX-License-Identifier: Apache-2.0
#include <zelmo/DeviceFilter.h>

#include "ZelmoBase/transport/GlobalDeviceFilter.h"
#include "ZelmoBase/transport/TlFactoryLog.h"
#include <zelmo/Utilities.h>
#include <zelmo/internal/InterfaceBase.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <string_view>

namespace Zelmo {
namespace {

std::atomic<const DeviceInfoList*> globalFilter{nullptr}; // owned; set by the factory

unsigned long InterfaceCatId() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.base.interface");
    return kId;
}

/// Cuts the text up to @p separator, or all of it, off @p rest; the separator goes too.
std::string_view CutPiece(std::string_view& rest, std::string_view separator) {
    const std::size_t end = rest.find(separator);
    const std::string_view piece = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + separator.size());
    return piece;
}

/// Sets the properties that the conditions of one pattern name. @return how many that were. Conditions are cut off one
/// by one, since getKeyAndValueFromString begins anew for each index and would take forever for a long text.
int ParsePattern(std::string_view text, CDeviceInfo& pattern) {
    int conditions = 0;
    String_t key;
    String_t value;
    while (!text.empty()) {
        std::string condition(CutPiece(text, "&"));
        if (condition.empty()) {
            continue;
        }
        condition += '&'; // a list of this one condition: a text of one byte would not count as a list
        if (!getKeyAndValueFromString(condition.c_str(), "&&", 0, &key, &value)) {
            break; // what cannot be read hides what follows it
        }
        if (key.empty() || value.empty()) {
            continue;
        }
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
    for (std::string_view rest = text.view(); !rest.empty();) {
        CDeviceInfo pattern;
        if (const int count = ParsePattern(CutPiece(rest, "||"), pattern)) {
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
