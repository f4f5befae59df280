// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/ChunkResultNodes.h"

#include "ZelmoBase/camera/GrabResultDataImpl.h"
#include "ZelmoBase/core/Guarded.h"

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

struct Geometry {
    std::uint32_t offsetX, offsetY, width, height, paddingX;
    EPixelType pixelType;
};

/// With a padding of one byte, which goes off again, lines that end inside of a byte have a stride as well.
void ReadPadding(std::uint32_t stride, Geometry& geometry) {
    std::size_t paddedStride = 0;
    bool hasStride = false;
    if (stride != 0) {
        RunGuarded([&] { hasStride = ComputeStride(paddedStride, geometry.pixelType, geometry.width, 1); },
                   [](const char*) {}); // nor have lines that are too long for one
    }
    if (hasStride && stride >= paddedStride - 1) {
        geometry.paddingX = static_cast<std::uint32_t>(stride - (paddedStride - 1));
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
    m_pixelTypes.SetPixelFormatEnumNode(m_pixelFormat.IsValid() ? static_cast<GenApi::IEnumeration*>(m_pixelFormat)
                                                                : nullptr); // which the conversion refuses
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
    Geometry read{data.offsetX, data.offsetY, data.width, data.height, data.paddingX, data.pixelType};
    ReadIfReadable(m_offsetX, read.offsetX);
    ReadIfReadable(m_offsetY, read.offsetY);
    ReadIfReadable(m_width, read.width);
    ReadIfReadable(m_height, read.height);
    if (GenApi::IsReadable(m_pixelFormat)) {
        read.pixelType = m_pixelTypes.GetZelmoPixelTypeFromNodeValue(m_pixelFormat->GetIntValue(false, false));
    }
    std::uint32_t stride = 0;
    ReadIfReadable(m_stride, stride);
    ReadPadding(stride, read);
    data.offsetX = read.offsetX; // all of it or nothing: a failure leaves what the transport layer has told
    data.offsetY = read.offsetY;
    data.width = read.width;
    data.height = read.height;
    data.paddingX = read.paddingX;
    data.pixelType = read.pixelType;
}

} // namespace Zelmo
