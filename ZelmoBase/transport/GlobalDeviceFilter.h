// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/DeviceInfo.h>

#include <memory>

namespace Zelmo {

/// Reads ZELMO_DEVICE_FILTER into @p list. @return how many patterns were added.
int ParseDeviceFilter(DeviceInfoList& list);

/// Replaces what GetGlobalDeviceFilterInstance returns; null for no filter. Threads: the caller sees to it that nobody
/// reads meanwhile.
void SetGlobalDeviceFilter(std::unique_ptr<DeviceInfoList> filter);

} // namespace Zelmo
