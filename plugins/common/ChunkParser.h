// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/NodeMap.h"

#include <GenApi/NodeMapFactory.h>
#include <zelmo/ChunkParser.h>
#include <zelmo/Types.h>

#include <atomic>
#include <cstdint>
#include <optional>

namespace PluginKit {

/// Reads the chunks of images in the layout of GigE Vision through a node map of its own, which needs neither the
/// device nor the camera: it may outlive the device.
/// Owns:    itself, until Destroy.
/// Threads: one at a time.
class CChunkDataParser final : public Zelmo::CChunkParser {
public:
    /// @p nodeMap has the nodes of the chunks and their ports.
    explicit CChunkDataParser(NodeMapPtr nodeMap);

    /// A checksum is the last chunk, with the id of the one of ChunkPayloadCRC16; it goes over all before its data.
    bool HasCRC() const override;
    bool CheckCRC() const override; ///< Reads the whole buffer. False without a checksum.
    GenApi::INodeMap* GetChunkDataNodeMap() override { return m_nodeMap.get(); }
    void Destroy() override { delete this; }

private:
    ~CChunkDataParser() override = default;

    NodeMapPtr m_nodeMap;
    std::optional<std::uint32_t> m_checksumId;
};

/// Makes the chunk parsers of a device out of the description of its camera.
/// Threads: one at a time, but for isOn.
class CChunkParsers {
public:
    /// @p description is what @p nodeMap, borrowed until Close, was made of.
    void Open(GenApi::CNodeMapFactory description, const GenApi::INodeMap& nodeMap);
    void Close();

    bool IsAvailable() const;          ///< Open, on, and the description has chunks.
    Zelmo::String_t Text() const;      ///< The part of the description that is about chunks; empty when not available.
    Zelmo::IChunkParser* Make() const; ///< Null when not available.

    std::atomic<bool> isOn = true;

private:
    GenApi::CNodeMapFactory& Factory() const;

    const GenApi::INodeMap* m_nodeMap = nullptr;
    std::optional<GenApi::CNodeMapFactory> m_description;
    mutable std::optional<GenApi::CNodeMapFactory> m_chunks; // its part for parsers, once one was asked for
};

} // namespace PluginKit
