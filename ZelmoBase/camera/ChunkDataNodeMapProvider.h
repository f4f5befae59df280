// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/ReusableItemProvider.h"

#include <zelmo/ChunkParser.h>

#include <cstddef>

namespace Zelmo {

class IZelmoDevice;

/// Makes chunk parsers through the device that is attached just then. The device pointer is not looked at after the
/// pool was given up.
class CChunkDataNodeMapFactory {
public:
    explicit CChunkDataNodeMapFactory(IZelmoDevice* const& device) : m_device(&device) {}

    /// Null without a device, and when the device has none to give that is self-reliant and has a node map.
    ISelfReliantChunkParser* Create() const;
    static void Destroy(ISelfReliantChunkParser* parser) noexcept; ///< What the parser throws is logged.
    static std::nullptr_t Recycle(ISelfReliantChunkParser& /*parser*/) noexcept { return nullptr; }

private:
    IZelmoDevice* const* m_device;
};

/// The chunk parsers of a camera that are made ahead. The one that came back last is used first.
class CReusableChunkDataNodeMapProvider
    : public CReusableItemProvider<ISelfReliantChunkParser, CChunkDataNodeMapFactory> {
public:
    explicit CReusableChunkDataNodeMapProvider(IZelmoDevice* const& device)
        : CReusableItemProvider(EReuse::LastInFirstOut, CChunkDataNodeMapFactory(device)), m_device(device) {}

    void Reset() { Replace(CChunkDataNodeMapFactory(m_device)); } ///< For each device: parsers of another one go.

private:
    IZelmoDevice* const& m_device;
};

} // namespace Zelmo
