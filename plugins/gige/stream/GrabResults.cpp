// SPDX-License-Identifier: Apache-2.0
#include "stream/GrabResults.h"

#include <gigevision/Gvsp.h>
#include <zelmo/PixelType.h>

#include <algorithm>
#include <exception>
#include <limits>

namespace Gige {

namespace PayloadType = GigEVision::PayloadType;

namespace {

Zelmo::EPayloadType PayloadTypeOf(const CFinishedBlock& block) {
    if (block.hasChunks) {
        return Zelmo::PayloadType_ChunkData;
    }
    switch (PayloadType::BaseOf(block.payloadType)) {
    case 0:
        return Zelmo::PayloadType_Undefined; // the leader is missing
    case PayloadType::kImage:
        return Zelmo::PayloadType_Image;
    case PayloadType::kMultiPart: // its parts lie one behind the other
        return block.isGeometryKnown ? Zelmo::PayloadType_Image : Zelmo::PayloadType_RawData;
    case PayloadType::kFile:
        return Zelmo::PayloadType_File;
    case PayloadType::kChunkData:
    case PayloadType::kExtendedChunk:
        return Zelmo::PayloadType_ChunkData;
    default:
        return Zelmo::PayloadType_RawData;
    }
}

std::int32_t Pixels(std::uint32_t number) {
    return static_cast<std::int32_t>(std::min<std::uint32_t>(number, std::numeric_limits<std::int32_t>::max()));
}

void DescribeGeometry(const GigEVision::ImageGeometry& geometry, Zelmo::GrabResult& result) {
    result.pixelType = static_cast<Zelmo::EPixelType>(geometry.pixelFormat);
    result.sizeX = Pixels(geometry.sizeX);
    result.sizeY = Pixels(geometry.sizeY);
    result.offsetX = Pixels(geometry.offsetX);
    result.offsetY = Pixels(geometry.offsetY);
    result.paddingX = geometry.paddingX;
    result.paddingY = geometry.paddingY;
}

// Without memory for it the text is left out: the buffer has to come back all the same.
void AddText(const CFinishedBlock& block, Zelmo::GrabResult& result) noexcept {
    try {
        result.errorDescription = Explain(block).c_str();
    } catch (const std::exception&) {
    }
}

} // namespace

std::uint32_t ErrorCode(const CFinishedBlock& block) {
    constexpr std::uint32_t kOurs = 0x47000000;
    return block.end == EBlockEnd::Failed ? kOurs | static_cast<std::uint32_t>(block.fault) << 16 | block.status : 0;
}

void Describe(const CFinishedBlock& block, Zelmo::GrabResult& result) noexcept {
    if (block.end == EBlockEnd::Canceled) {
        result.status = Zelmo::GrabStatus_Canceled;
        result.payloadSize = 0;
        return;
    }
    result.status = block.end == EBlockEnd::Complete ? Zelmo::GrabStatus_Grabbed : Zelmo::GrabStatus_Failed;
    result.payloadType = PayloadTypeOf(block);
    result.timeStamp = block.timestamp;
    result.blockId = block.blockId;
    result.payloadSize = static_cast<std::int64_t>(block.payloadBytes);
    if (block.isGeometryKnown) {
        DescribeGeometry(block.geometry, result);
    }
    result.errorCode = ErrorCode(block);
    // A whole image has nothing to explain, unless the camera remarks something; and then nothing is allocated.
    if (block.end == EBlockEnd::Failed || result.payloadType == Zelmo::PayloadType_RawData || block.status != 0) {
        AddText(block, result);
    }
}

} // namespace Gige
