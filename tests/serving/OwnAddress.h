// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>
#include <unistd.h>

#include <cstdint>
#include <string>

namespace Serving {

/// Of this process alone, on the loopback network; in the host's byte order.
inline std::uint32_t OwnAddress(std::uint32_t last) {
    const auto pid = static_cast<std::uint32_t>(getpid());
    return 0x7F400000u | (pid & 0x3FFFu) << 8 | last;
}
inline std::string OwnAddressText(std::uint32_t last) {
    return inet_ntoa({htonl(OwnAddress(last))});
}

} // namespace Serving
