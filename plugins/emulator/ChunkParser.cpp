// SPDX-License-Identifier: Apache-2.0
#include "ChunkParser.h"

#include "core/ChunkWriter.h"

#include <GenApi/ChunkAdapterGEV.h>

#include <cstddef>
#include <span>
#include <utility>

namespace CamEmu {

namespace {

std::span<const std::uint8_t> BytesOf(const Zelmo::CChunkParser::CBuffer& buffer) {
    return {static_cast<const std::uint8_t*>(&buffer), static_cast<std::size_t>(buffer.GetSize())};
}

} // namespace

CChunkDataParser::CChunkDataParser(NodeMapPtr nodeMap)
    : CChunkParser(new GenApi::CChunkAdapterGEV(nodeMap.get())), m_nodeMap(std::move(nodeMap)) {}

bool CChunkDataParser::HasCRC() const {
    return HasChecksum(BytesOf(GetBuffer()));
}

bool CChunkDataParser::CheckCRC() const {
    return IsChecksumRight(BytesOf(GetBuffer()));
}

} // namespace CamEmu
