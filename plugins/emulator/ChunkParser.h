// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptions.h"

#include <zelmo/ChunkParser.h>

#include <cstdint>

namespace CamEmu {

/// Reads the chunks of images of the camera through a node map of its own, which needs neither the device nor the
/// camera: it may outlive the device.
/// Owns:    itself, until Destroy.
/// Threads: one at a time.
class CChunkDataParser final : public Zelmo::CChunkParser {
public:
    /// @p nodeMap has the nodes of the chunks and their ports.
    explicit CChunkDataParser(NodeMapPtr nodeMap);

    bool HasCRC() const override;
    bool CheckCRC() const override; ///< Reads the whole buffer. False without a checksum.
    GenApi::INodeMap* GetChunkDataNodeMap() override { return m_nodeMap.get(); }
    void Destroy() override { delete this; }

private:
    ~CChunkDataParser() override = default;

    NodeMapPtr m_nodeMap;
};

} // namespace CamEmu
