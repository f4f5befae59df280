// SPDX-License-Identifier: Apache-2.0
#include "SameCamera.h"

#include "discovery/MacAddress.h"

#include <Base/GCException.h>

namespace Gige {

namespace {

std::uint64_t MacNumber(const std::array<std::uint8_t, 6>& mac) {
    std::uint64_t number = 0;
    for (const std::uint8_t byte : mac) {
        number = number << 8 | byte;
    }
    return number;
}

} // namespace

void RequireSameCamera(CConnection& connection, const CFoundCamera& camera) {
    std::uint64_t mac = 0;
    if (!connection.UseInterfaceOf(MacNumber(camera.info.mac), mac)) {
        throw RUNTIME_EXCEPTION("another camera answers at %s, of the MAC address %012llx: enumerate anew",
                                PluginKit::AddressText(camera.route.device.address).c_str(),
                                static_cast<unsigned long long>(mac));
    }
}

} // namespace Gige
