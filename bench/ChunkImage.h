// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

/// An image with chunks of 8 bytes behind it, in the layout of GigE Vision, and the description of their features.
namespace chunk_image {

constexpr std::uint32_t kFirstId = 0x5000;
constexpr std::size_t kTrailerBytes = 8; // id and length, behind the data
constexpr std::size_t kDataBytes = 8;

/// The first ones are those that a result takes its geometry from.
inline std::string NameOf(unsigned number) {
    static const char* const kKnown[] = {"ChunkWidth",   "ChunkHeight", "ChunkOffsetX",
                                         "ChunkOffsetY", "ChunkStride", "ChunkTimestamp"};
    return number < std::size(kKnown) ? kKnown[number] : "Chunk" + std::to_string(number);
}

inline std::string Describe(unsigned count) {
    std::string text =
        "<RegisterDescription ModelName=\"Bench\" VendorName=\"Bench\" StandardNameSpace=\"None\" "
        "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
        "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"a\" VersionGuid=\"b\">";
    for (unsigned i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        char id[9];
        std::snprintf(id, sizeof id, "%x", kFirstId + i);
        text += "<Port Name=\"Port" + n + "\"><ChunkID>" + id + "</ChunkID></Port><IntReg Name=\"Reg" + n +
                "\"><Address>0</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>Port" + n +
                "</pPort><Endianess>BigEndian</Endianess></IntReg><Integer Name=\"" + NameOf(i) + "\"><pValue>Reg" + n +
                "</pValue></Integer>";
    }
    return text + "</RegisterDescription>";
}

inline void AppendBigEndian(std::vector<std::uint8_t>& bytes, std::uint64_t number, int size) {
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(number >> shift));
    }
}

/// The value of each chunk is its number.
inline std::vector<std::uint8_t> Make(std::size_t imageBytes, unsigned count) {
    std::vector<std::uint8_t> bytes(imageBytes);
    AppendBigEndian(bytes, 1, 4);
    AppendBigEndian(bytes, imageBytes, 4);
    for (unsigned i = 0; i < count; ++i) {
        AppendBigEndian(bytes, i, kDataBytes);
        AppendBigEndian(bytes, kFirstId + i, 4);
        AppendBigEndian(bytes, kDataBytes, 4);
    }
    return bytes;
}

inline std::uint64_t ReadBigEndian(const std::uint8_t* bytes, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size; ++i) {
        number = number << 8 | bytes[i];
    }
    return number;
}

/// Walks the layout without any of our code. @return the sum of all chunks but the image.
inline std::uint64_t Sum(std::span<const std::uint8_t> bytes) {
    std::uint64_t sum = 0;
    for (std::size_t end = bytes.size(); end >= kTrailerBytes;) {
        const std::uint8_t* const trailer = bytes.data() + end - kTrailerBytes;
        const auto length = static_cast<std::size_t>(ReadBigEndian(trailer + 4, 4));
        if (ReadBigEndian(trailer, 4) != 1) {
            sum += ReadBigEndian(trailer - length, length);
        }
        end -= kTrailerBytes + length;
    }
    return sum;
}

} // namespace chunk_image
