// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/GigEPropertyValueComparer.h"

#include <Base/GCException.h>

#include <cstdint>
#include <cstdio>

namespace Zelmo {
namespace {

/// The address with its first field most significant; 0 for an empty text. %i is meant: fields may be octal or
/// hexadecimal. What follows the fourth field, such as a port, is not looked at.
std::uint32_t ParseIp(const String_t& text) {
    if (text.empty()) {
        return 0;
    }
    int fields[4] = {};
    bool valid = std::sscanf(text.c_str(), " %i . %i . %i . %i ", &fields[0], &fields[1], &fields[2], &fields[3]) == 4;
    std::uint32_t address = 0;
    for (const int field : fields) {
        valid = valid && static_cast<std::uint32_t>(field) <= 255;
        address = address << 8 | (static_cast<std::uint32_t>(field) & 255);
    }
    if (!valid) {
        throw RUNTIME_EXCEPTION("Invalid address: %s", text.c_str());
    }
    return address;
}

/// The number behind the first ":", 0 without one.
std::uint16_t ParsePort(const String_t& text) {
    unsigned short port = 0;
    return std::sscanf(text.c_str(), "%*[^:]:%hu", &port) == 1 ? port : std::uint16_t{0};
}

} // namespace

bool GigEPropertyValueComparer::AreEqual(const String_t& name, const String_t& value,
                                         const String_t& otherValue) const {
    if (value.empty() && otherValue.empty()) {
        return true;
    }
    if (name == "Address") {
        return ParseIp(value) == ParseIp(otherValue) && ParsePort(value) == ParsePort(otherValue);
    }
    if (name == "IpAddress" || name == "DefaultGateway" || name == "SubnetMask") {
        return ParseIp(value) == ParseIp(otherValue);
    }
    return value == otherValue;
}

} // namespace Zelmo
