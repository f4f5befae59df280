// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/adapters/ByteOrder.h"
#include "genicam/genapi/adapters/EventNodes.h"

#include <Base/GCException.h>

#include <algorithm>
#include <cinttypes>
#include <span>

namespace GenApi {

using EventBytes = std::span<const std::uint8_t>;

/// The header of a message, if it is all there. @throws GenICam::RuntimeException
inline void RequireHeader(const std::uint8_t* message, std::uint32_t size, std::uint32_t headerBytes) {
    if (message == nullptr || size < headerBytes) {
        throw RUNTIME_EXCEPTION("Invalid event message: there are %u bytes at %p, its header alone has %u", size,
                                static_cast<const void*>(message), headerBytes);
    }
}

inline void RequireValue(const char* field, std::uint32_t found, bool isKnown) {
    if (!isKnown) {
        throw RUNTIME_EXCEPTION("Invalid event message: its %s is 0x%x", field, found);
    }
}

/// What follows the header: the header says how much, the buffer how much of it has arrived.
inline EventBytes BodyOf(const std::uint8_t* message, std::uint32_t size, std::uint32_t headerBytes,
                         std::uint32_t lengthInHeader) {
    return {message + headerBytes, std::min(size - headerBytes, lengthInHeader)};
}

inline void RequireEvent(EventBytes body, std::size_t eventBytes) {
    if (body.size() < eventBytes) {
        throw RUNTIME_EXCEPTION("Invalid event message: an event of %zu bytes is cut short after %zu", eventBytes,
                                body.size());
    }
}

/// Where the fields of a GenCP event message stand: as on USB3 Vision and, in another byte order, on serial links.
struct GenCpLayout {
    std::uint32_t headerBytes, commandOffset, lengthOffset;
    std::uint16_t (*load)(const std::uint8_t*);
};

/// Delivers the event of such a message, whose magic number has been looked at.
inline void DeliverGenCp(EventNodes& nodes, const GenCpLayout& layout, const std::uint8_t* message,
                         std::uint32_t size) {
    constexpr std::size_t eventBytes = 12; // reserved, id, time stamp
    constexpr std::uint32_t eventCommand = 0x0C00;
    const std::uint32_t command = layout.load(message + layout.commandOffset);
    RequireValue("command", command, command == eventCommand);
    const EventBytes event = BodyOf(message, size, layout.headerBytes, layout.load(message + layout.lengthOffset));
    RequireEvent(event, eventBytes);
    nodes.Deliver({0, layout.load(event.data() + 2)}, event.data(), event.size());
}

} // namespace GenApi
