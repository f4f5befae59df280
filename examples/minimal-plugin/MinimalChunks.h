// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "NodeMaps.h"

#include <zelmo/ChunkParser.h>

#include <cstddef>
#include <cstdint>

namespace Minimal {

inline constexpr std::size_t kChunksSizeBytes = 24; ///< What AppendChunks writes.

/// What the camera appends to an image of @p imageSizeBytes, in the layout of GigE Vision: the image's trailer, the
/// time stamp, and the time stamp's trailer. All of it is big endian.
void AppendChunks(std::uint8_t* end, std::uint32_t imageSizeBytes, std::uint64_t timeStamp);

/// Reads chunks. It needs nothing but itself, as it may outlive the device, and the library's end.
class MinimalChunkParser final : public Zelmo::CChunkParser {
public:
    MinimalChunkParser();

    bool HasCRC() const override { return false; } // the camera sends no checksum
    bool CheckCRC() const override { return false; }
    GenApi::INodeMap* GetChunkDataNodeMap() override { return m_nodeMap.get(); }
    void Destroy() override { delete this; }

private:
    explicit MinimalChunkParser(NodeMapPtr nodeMap);
    ~MinimalChunkParser() override = default;

    NodeMapPtr m_nodeMap;
};

} // namespace Minimal
