// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/adapters/ByteOrder.h"
#include "genicam/genapi/adapters/ChunkPorts.h"

#include <Base/GCException.h>

#include <cinttypes>

namespace GenApi {

/// What stands behind a chunk's data.
struct ChunkTrailer {
    HexId id;
    std::uint64_t length = 0; ///< of the data
};

/// Walks the chunks of a buffer from its end, trailer by trailer; touches nothing outside. A layout has:
///   static constexpr std::int64_t bytes;                                      // of a trailer
///   static bool Read(const std::uint8_t* trailer, ChunkTrailer&) noexcept;    // false if it cannot be one
/// @return where the walk ended: 0 when all of the buffer is chunks, else the end of the trailer that is broken.
template <class Layout, class Visitor>
std::int64_t WalkChunks(const std::uint8_t* buffer, std::int64_t length, Visitor&& visit) noexcept {
    std::int64_t end = length;
    while (end >= Layout::kBytes) {
        const std::int64_t limit = end - Layout::kBytes;
        ChunkTrailer trailer;
        if (!Layout::Read(buffer + limit, trailer) || trailer.length > static_cast<std::uint64_t>(limit)) {
            return end;
        }
        const auto size = static_cast<std::int64_t>(trailer.length);
        visit(trailer.id, limit - size, size);
        end = limit - size;
    }
    return end;
}

template <class Layout>
bool HasChunks(const std::uint8_t* buffer, std::int64_t length) noexcept {
    return buffer != nullptr && length > 0 && WalkChunks<Layout>(buffer, length, [](auto&&...) {}) == 0;
}

/// Tells @p ports of all chunks and attaches them. @throws GenICam::RuntimeException on a broken layout
template <class Layout>
void AttachChunks(ChunkPorts& ports, std::uint8_t* buffer, std::int64_t length, AttachStatistics_t* statistics) {
    if (buffer == nullptr || length <= 0) {
        throw RUNTIME_EXCEPTION("Invalid layout of buffer attached to chunk parser! There are %" PRId64 " bytes at %p",
                                length, static_cast<const void*>(buffer));
    }
    ports.Begin();
    const std::int64_t end = WalkChunks<Layout>(
        buffer, length, [&](HexId id, std::int64_t offset, std::int64_t size) { ports.Offer(id, offset, size); });
    if (end != 0) {
        throw RUNTIME_EXCEPTION("Invalid layout of buffer attached to chunk parser! Of %" PRId64
                                " bytes, those before byte %" PRId64 " do not end with a chunk",
                                length, end);
    }
    ports.Attach(buffer, statistics);
}

/// Id and length, 4 bytes each. All zero is memory that nobody wrote.
template <std::uint32_t (*Load)(const std::uint8_t*)>
struct ShortTrailer {
    static constexpr std::int64_t kBytes = 8;
    static bool Read(const std::uint8_t* trailer, ChunkTrailer& read) noexcept {
        read.id.low = Load(trailer);
        read.length = Load(trailer + 4);
        return read.id.low != 0 || read.length != 0;
    }
};

} // namespace GenApi
