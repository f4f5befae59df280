// SPDX-License-Identifier: Apache-2.0
#include "MinimalChunks.h"

#include "Descriptions.h"

#include <GenApi/ChunkAdapterGEV.h>

#include <utility>

namespace Minimal {
namespace {

enum ChunkId : std::uint32_t { kImageId = 1, kTimeStampId = 2 }; // the second one as in kChunkDescription

template <typename T>
std::uint8_t* PutBigEndian(T value, std::uint8_t* to) {
    for (std::size_t i = sizeof value; i-- > 0;) {
        *to++ = static_cast<std::uint8_t>(value >> (8 * i));
    }
    return to;
}

/// Behind the data of each chunk.
std::uint8_t* PutTrailer(ChunkId id, std::uint32_t sizeBytes, std::uint8_t* to) {
    return PutBigEndian(sizeBytes, PutBigEndian(std::uint32_t{id}, to));
}

} // namespace

void AppendChunks(std::uint8_t* end, std::uint32_t imageSizeBytes, std::uint64_t timeStamp) {
    end = PutTrailer(kImageId, imageSizeBytes, end);
    end = PutBigEndian(timeStamp, end);
    PutTrailer(kTimeStampId, sizeof timeStamp, end);
}

MinimalChunkParser::MinimalChunkParser() : MinimalChunkParser(MakeNodeMap(kChunkDescription)) {}

MinimalChunkParser::MinimalChunkParser(NodeMapPtr nodeMap)
    : CChunkParser(new GenApi::CChunkAdapterGEV(nodeMap.get())), m_nodeMap(std::move(nodeMap)) {}

} // namespace Minimal
