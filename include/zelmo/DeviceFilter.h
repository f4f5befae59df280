// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/DeviceInfo.h>
#include <zelmo/Export.h>

namespace Zelmo {

/// The filter that the environment variable ZELMO_DEVICE_FILTER sets for this run of the library: patterns of which a
/// device needs to satisfy one. Null when the variable is unset or holds no condition. Transport layers that limit what
/// they enumerate read it here; CTlFactory does not apply it to devices itself.
///
/// The variable lists patterns separated by "||", each of them conditions KEY=VALUE separated by "&&":
/// `DeviceClass=HarlixGigE && IpAddress=192.168.0.2 || DeviceClass=HarlixUsb`.
/// The list belongs to CTlFactory and lives from ZelmoInitialize to the last ZelmoTerminate; it never changes
/// meanwhile.
ZELMO_API const DeviceInfoList* GetGlobalDeviceFilterInstance();

} // namespace Zelmo
