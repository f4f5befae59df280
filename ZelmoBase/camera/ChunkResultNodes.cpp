// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/ChunkResultNodes.h"

#include "ZelmoBase/camera/GrabResultDataImpl.h"

#include <zelmo/PixelType.h>

#include <GenApi/IEnumeration.h>
#include <GenApi/IInteger.h>
#include <GenApi/INodeMap.h>

#include <cstddef>
#include <cstdint>

namespace Zelmo {
namespace {

void ReadIfReadable(const GenApi::CIntegerPtr& node, std::uint32_t& value) {
    if (GenApi::IsReadable(node)) {
        value = static_cast<std::uint32_t>(node->GetValue(false, false));
    }
}

} // namespace

void CChunkResultNodes::Bind(GenApi::INodeMap& nodeMap) {
    m_stride = nodeMap.GetNode("ChunkStride");
    m_offsetX = nodeMap.GetNode("ChunkOffsetX");
    m_offsetY = nodeMap.GetNode("ChunkOffsetY");
    m_width = nodeMap.GetNode("ChunkWidth");
    m_height = nodeMap.GetNode("ChunkHeight");
    m_pixelFormat = nodeMap.GetNode("ChunkPixelFormat");
    m_pixelTypes.SetPixelFormatEnumNode(m_pixelFormat);
    m_isReady = true;
}

void CChunkResultNodes::Clear() noexcept {
    m_isReady = false;
    for (GenApi::CIntegerPtr* node : {&m_stride, &m_offsetX, &m_offsetY, &m_width, &m_height}) {
        *node = GenApi::CIntegerPtr();
    }
    m_pixelFormat = GenApi::CEnumerationPtr();
    m_pixelTypes.SetPixelFormatEnumNode(nullptr);
}

void CChunkResultNodes::ReadInto(CGrabResultData::CGrabResultDataImpl& data) const {
    ReadIfReadable(m_offsetX, data.offsetX);
    ReadIfReadable(m_offsetY, data.offsetY);
    ReadIfReadable(m_width, data.width);
    ReadIfReadable(m_height, data.height);
    if (GenApi::IsReadable(m_pixelFormat)) {
        data.pixelType = m_pixelTypes.GetZelmoPixelTypeFromNodeValue(m_pixelFormat->GetIntValue(false, false));
    }
    std::uint32_t stride = 0;
    ReadIfReadable(m_stride, stride);
    // With a padding of one byte, which goes off again, lines that end inside of a byte have a stride as well.
    std::size_t paddedStride = 0;
    if (stride != 0 && ComputeStride(paddedStride, data.pixelType, data.width, 1) && stride >= paddedStride - 1) {
        data.paddingX = static_cast<std::uint32_t>(stride - (paddedStride - 1));
    }
}

} // namespace Zelmo
