// SPDX-License-Identifier: Apache-2.0
#include "Reassembler.h"

#include <cstdio>

namespace Gige {

using namespace GigEVision;

namespace {

std::string Hex(std::uint16_t number) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%04X", number);
    return text;
}

std::string Grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t end = text.size(); end > 3; end -= 3) {
        text.insert(end - 3, ",");
    }
    return text;
}

std::string StatusText(std::uint16_t status) {
    const std::string_view name = StatusName(Status{status});
    return name.empty() ? Hex(status) : std::string(name) + " (" + Hex(status) + ")";
}

// Of types that results have no name for.
std::string TypeName(std::uint16_t type) {
    switch (PayloadType::BaseOf(type)) {
    case PayloadType::kImage:
    case PayloadType::kRawData:
    case PayloadType::kFile:
    case PayloadType::kChunkData:
    case PayloadType::kExtendedChunk:
        return {};
    case PayloadType::kJpeg:
        return "JPEG";
    case PayloadType::kJpeg2000:
        return "JPEG 2000";
    case PayloadType::kH264:
        return "H.264";
    case PayloadType::kMultiZone:
        return "multi-zone image";
    case PayloadType::kMultiPart:
        return "multi-part";
    case PayloadType::kGenDc:
        return "GenDC";
    default:
        return "unknown";
    }
}

std::string MissingText(const CFinishedBlock& block) {
    std::string text = (block.packets == 0 ? "at least " : "") + Grouped(block.missing);
    text += block.packets == 0 ? "" : " of " + Grouped(block.packets);
    text += block.packets == 0 && block.missing == 1 ? " packet" : " packets";
    text += " missing (first " + Grouped(block.firstMissing) + ", last " + Grouped(block.lastMissing) + "), ";
    text += Grouped(block.requested) + " asked for, " + std::to_string(block.tries);
    text += block.tries == 1 ? " try; " : " tries; ";
    return text + Grouped(block.droppedByHost) + " dropped by this host";
}

std::string FaultText(const CFinishedBlock& block) {
    switch (block.fault) {
    case EBlockFault::None:
    case EBlockFault::PacketsMissing:
        return {};
    case EBlockFault::LeaderMissing:
        return "no leader came";
    case EBlockFault::PacketsGone:
        return "the camera has packets of it no more: " + StatusText(block.status);
    case EBlockFault::BufferTooSmall:
        return "buffer of " + Grouped(block.bufferBytes) + " bytes, payload needs " + Grouped(block.neededBytes);
    case EBlockFault::DataOverrun:
        return "the camera lost data of it: " + StatusText(block.status);
    case EBlockFault::Contradictory:
        return "its packets do not fit together";
    case EBlockFault::WindowFull:
        return "ended for a newer block";
    }
    return {};
}

} // namespace

std::string Explain(const CFinishedBlock& block) {
    std::string text;
    const auto append = [&](const std::string& part) { text += part.empty() || text.empty() ? part : "; " + part; };
    if (block.end == EBlockEnd::Failed) {
        append(FaultText(block));
        append(block.missing != 0 ? MissingText(block) : "");
    } else if (block.end == EBlockEnd::Complete) {
        const bool isImagePart =
            block.isGeometryKnown && PayloadType::BaseOf(block.payloadType) == PayloadType::kMultiPart;
        const std::string type = block.hasChunks || isImagePart ? std::string() : TypeName(block.payloadType);
        append(type.empty() ? "" : "payload type " + Hex(block.payloadType) + ", " + type + ", as raw data");
        append(block.status == 0 ? "" : "the camera remarks " + StatusText(block.status));
    }
    return text.empty() ? text : "Block " + Grouped(block.blockId) + ": " + text + ".";
}

} // namespace Gige
