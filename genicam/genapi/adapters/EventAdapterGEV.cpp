// SPDX-License-Identifier: Apache-2.0
#include <GenApi/EventAdapterGEV.h>

#include "genicam/genapi/adapters/EventMessage.h"

namespace GenApi {

namespace {

constexpr std::uint32_t kHeaderBytes = 8; // u8 magic, u8 flags, u16 command, u16 length, u16 request id
constexpr std::uint8_t kNownMagic = 0x42;
constexpr std::uint8_t kExtendedIds = 0x10; // flag
constexpr std::uint32_t kEventCommand = 0x00C0;
constexpr std::uint32_t kEventDataCommand = 0x00C2;

std::uint16_t FieldAt(const std::uint8_t* bytes) noexcept {
    return LoadBigEndian<std::uint16_t>(bytes);
}

/// The events of one message.
struct GevMessage {
    std::uint32_t command;
    std::size_t itemBytes;
    std::size_t claimedBytes; // of all events, as the header says
    EventBytes body;          // what of them is there

    GevMessage(const std::uint8_t* message, std::uint32_t size) {
        RequireHeader(message, size, kHeaderBytes);
        RequireValue("magic number", message[0], message[0] == kNownMagic);
        command = FieldAt(message + 2);
        RequireValue("command", command, command == kEventCommand || command == kEventDataCommand);
        itemBytes = (message[1] & kExtendedIds) != 0 ? 24 : 16;
        claimedBytes = FieldAt(message + 4);
        body = BodyOf(message, size, kHeaderBytes, FieldAt(message + 4));
    }

    /// The event at the start of @p rest. @throws GenICam::RuntimeException if its size cannot be true
    EventBytes First(EventBytes rest) const {
        RequireEvent(rest, itemBytes);
        if (command == kEventCommand) {
            return rest.first(itemBytes);
        }
        const std::size_t size = FieldAt(rest.data()); // of item and data; 0 for all that is left
        if (size == 0) {
            return rest;
        }
        RequireValue("event size", static_cast<std::uint32_t>(size), size >= itemBytes && size <= rest.size());
        return rest.first(size);
    }

    /// All of them; at least one must be there. What is left at the end and is too short for one is padding.
    template <class Visitor>
    void Visit(Visitor&& visit) const {
        std::size_t left = claimedBytes;
        EventBytes rest = body;
        do {
            const EventBytes event = First(rest);
            visit(event);
            const bool wasLast = command == kEventDataCommand && FieldAt(event.data()) == 0;
            left -= wasLast ? left : event.size();
            rest = rest.subspan(event.size());
        } while (left >= itemBytes);
    }
};

} // namespace

CEventAdapterGEV::CEventAdapterGEV(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}

CEventAdapterGEV::~CEventAdapterGEV() = default;

void CEventAdapterGEV::DeliverMessage(const uint8_t msg[], uint32_t numBytes) {
    const GevMessage message(msg, numBytes);
    message.Visit([](EventBytes) {}); // all are sound, or none is delivered
    CallbackBatch failures;
    message.Visit([&](EventBytes event) {
        failures.Run([&] { Nodes().Deliver({0, FieldAt(event.data() + 2)}, event.data(), event.size()); });
    });
    failures.Rethrow();
}

} // namespace GenApi
