// SPDX-License-Identifier: Apache-2.0
#include "common/ChunkParser.h"

#include "common/Boundary.h"
#include "common/Crc16.h"

#include <GenApi/ChunkAdapterGEV.h>
#include <GenApi/INode.h>

#include <cstddef>
#include <cstdlib>
#include <span>
#include <utility>

namespace PluginKit {

namespace {

constexpr const char* kChunkCategory = "ChunkData";
constexpr std::size_t kTrailerBytes = 8; // id and length of a chunk, behind its data

using Bytes = std::span<const std::uint8_t>;

std::uint32_t BigEndian(Bytes bytes) {
    std::uint32_t value = 0;
    for (const std::uint8_t byte : bytes) {
        value = value << 8 | byte;
    }
    return value;
}

// What the description says of a node under that name; empty where it says nothing.
Zelmo::String_t Property(GenApi::INode* node, const char* name) {
    Zelmo::String_t value, attribute;
    return node && node->GetProperty(name, value, attribute) ? value : Zelmo::String_t();
}

std::optional<std::uint32_t> FindChecksumId(const GenApi::INodeMap& nodeMap) {
    const Zelmo::String_t port = Property(nodeMap.GetNode("ChunkPayloadCRC16"), "pPort");
    const Zelmo::String_t id = port.empty() ? port : Property(nodeMap.GetNode(port), "ChunkID");
    return id.empty() ? std::nullopt : std::optional(static_cast<std::uint32_t>(std::strtoul(id.c_str(), nullptr, 16)));
}

struct CChecksum {
    Bytes checked; // what it was made of
    std::uint32_t value;
};

std::optional<CChecksum> FindChecksum(const Zelmo::CChunkParser::CBuffer& buffer, std::optional<std::uint32_t> id) {
    const Bytes payload(static_cast<const std::uint8_t*>(&buffer), static_cast<std::size_t>(buffer.GetSize()));
    if (!id || payload.size() < kTrailerBytes) {
        return std::nullopt;
    }
    const Bytes trailer = payload.last(kTrailerBytes);
    const std::size_t data = BigEndian(trailer.last(4)), rest = payload.size() - kTrailerBytes;
    if (BigEndian(trailer.first(4)) != *id || (data != 2 && data != 4) || data > rest) {
        return std::nullopt;
    }
    return CChecksum{payload.first(rest - data), BigEndian(payload.subspan(rest - data, data))};
}

} // namespace

CChunkDataParser::CChunkDataParser(NodeMapPtr nodeMap)
    : CChunkParser(new GenApi::CChunkAdapterGEV(nodeMap.get())), m_nodeMap(std::move(nodeMap)),
      m_checksumId(FindChecksumId(*m_nodeMap)) {}

bool CChunkDataParser::HasCRC() const {
    return FindChecksum(GetBuffer(), m_checksumId).has_value();
}

bool CChunkDataParser::CheckCRC() const {
    const std::optional<CChecksum> checksum = FindChecksum(GetBuffer(), m_checksumId);
    return checksum && checksum->value == Crc16(checksum->checked);
}

void CChunkParsers::Open(GenApi::CNodeMapFactory description, const GenApi::INodeMap& nodeMap) {
    m_description = std::move(description);
    m_nodeMap = &nodeMap;
}

void CChunkParsers::Close() {
    m_chunks.reset();
    m_description.reset();
    m_nodeMap = nullptr;
}

bool CChunkParsers::IsAvailable() const {
    return m_nodeMap && isOn && m_nodeMap->GetNode(kChunkCategory) != nullptr;
}

// Not made until it is needed: most grabs are without chunks.
GenApi::CNodeMapFactory& CChunkParsers::Factory() const {
    if (!m_chunks) {
        m_chunks = GenApi::CNodeMapFactory(*m_description).ExtractSubtree(kChunkCategory, true);
    }
    return *m_chunks;
}

Zelmo::String_t CChunkParsers::Text() const {
    if (!IsAvailable()) {
        return {};
    }
    return AtBoundary("tell the description of chunks", [this] { return Factory().ToXml(); });
}

Zelmo::IChunkParser* CChunkParsers::Make() const {
    if (!IsAvailable()) {
        return nullptr;
    }
    return AtBoundary("create a chunk parser",
                      [this] { return new CChunkDataParser(NodeMapPtr(Factory().CreateNodeMap("ChunkData"))); });
}

} // namespace PluginKit
