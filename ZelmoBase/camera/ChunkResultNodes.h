// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/GrabResultData.h>
#include <zelmo/PixelTypeMapper.h>

#include <GenApi/Pointer.h>

namespace Zelmo {

/// The chunks that tell an image's own geometry: the nodes of one chunk node map, which is borrowed. What a camera does
/// not send stays as the transport layer has told it.
/// Threads: one at a time.
class CChunkResultNodes {
public:
    void Bind(GenApi::INodeMap& nodeMap);               ///< Nodes that it lacks are no failure. @throws std::bad_alloc
    void Clear() noexcept;                              ///< Before the node map goes.
    bool IsReady() const noexcept { return m_isReady; } ///< Whether it is bound.

    /// Corrects offsets, size, pixel type and padding by what can be read now. @throws what reading a node throws;
    /// nothing is corrected then.
    void ReadInto(CGrabResultData::CGrabResultDataImpl& data) const;

private:
    GenApi::CIntegerPtr m_stride;
    GenApi::CIntegerPtr m_offsetX;
    GenApi::CIntegerPtr m_offsetY;
    GenApi::CIntegerPtr m_width;
    GenApi::CIntegerPtr m_height;
    GenApi::CEnumerationPtr m_pixelFormat;
    CPixelTypeMapper m_pixelTypes; // by the numbers of m_pixelFormat
    bool m_isReady = false;
};

} // namespace Zelmo
