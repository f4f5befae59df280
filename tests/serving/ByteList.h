// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Bytes.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace Serving {

using ByteList = std::vector<std::uint8_t>;

inline ByteList Words(std::initializer_list<std::uint32_t> words) {
    ByteList bytes;
    for (const std::uint32_t word : words) {
        bytes.resize(bytes.size() + 4);
        GigEVision::PutBigEndian(&bytes[bytes.size() - 4], word);
    }
    return bytes;
}

} // namespace Serving
