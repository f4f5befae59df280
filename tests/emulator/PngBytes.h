// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zlib.h>

#include <cstdint>
#include <fstream>
#include <string>

/// PNG files byte by byte, so that any kind of them can be made, broken ones too.
namespace PngBytes {

inline std::string Number(std::uint64_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

inline std::string Chunk(const std::string& data, const std::string& type) {
    const std::string body = type + data;
    return Number(data.size()) + body + Number(crc32_z(0, reinterpret_cast<const Bytef*>(body.data()), body.size()));
}

/// @p lines holds each line with its filter byte in front; @p extra are chunks before the image, such as a palette.
inline std::string Png(std::uint32_t width, std::uint32_t height, char depth, char colourType, const std::string& lines,
                       const std::string& extra = "", char interlace = 0) {
    std::string packed(compressBound(lines.size()), '\0');
    uLongf size = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(lines.data()),
             lines.size());
    packed.resize(size);
    const std::string header = Number(width) + Number(height) + depth + colourType + '\0' + '\0' + interlace;
    return "\x89PNG\r\n\x1a\n" + Chunk(header, "IHDR") + extra + Chunk(packed, "IDAT") + Chunk("", "IEND");
}

/// A grey image of 64 x 64 pixels, all of one value.
inline std::string Grey(int value) {
    std::string lines;
    for (int y = 0; y < 64; ++y) {
        lines += '\0' + std::string(64, static_cast<char>(value));
    }
    return Png(64, 64, 8, 0, lines);
}

inline void Write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

} // namespace PngBytes
