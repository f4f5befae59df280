// SPDX-License-Identifier: Apache-2.0

// Every message of the control protocol in the golden table: decoded and compared with its fields, encoded and compared
// with its bytes.

#include "gigevision/Golden.h"

#include <gigevision/Gvcp.h>

#include <gtest/gtest.h>

using namespace GigEVision;
using Golden::Case;
using Golden::Check;
using Golden::Fields;
using Golden::Handler;
using Golden::Message;

namespace {

struct Nothing {};

template <typename Body>
Handler OnCommand(Command code, std::optional<Body> (*decode)(const CommandMessage&), void (*bind)(Fields&, Body&),
                  Bytes (*encode)(const Body&, const CommandMessage&, MutableBytes)) {
    typedef Message<CommandMessage, Body> Whole;
    return [=](const Case& block, Fields& fields) {
        return Check<Whole>(
            block, fields,
            [&](Bytes datagram) -> std::optional<Whole> {
                const auto head = DecodeCommand(datagram);
                if (!head) {
                    return std::nullopt;
                }
                EXPECT_TRUE(head->Is(code));
                const auto body = decode(*head);
                return body ? std::optional(Whole{*head, *body}) : std::nullopt;
            },
            [&](Whole& message) {
                fields("flags", message.head.flags);
                fields("request_id", message.head.requestId);
                bind(fields, message.body);
            },
            [&](Whole& message, MutableBytes buffer) {
                message.head.command = static_cast<std::uint16_t>(code);
                message.head.payload = encode(message.body, message.head, buffer.subspan(kGvcpHeaderBytes));
                return EncodeCommand(message.head, buffer);
            });
    };
}

template <typename Body>
Handler OnAcknowledge(
    Command code, std::optional<Body> (*decode)(const AcknowledgeMessage&, std::size_t asked),
    void (*bind)(Fields&, Body&), Bytes (*encode)(const Body&, MutableBytes),
    std::size_t (*countAsked)(Fields&) = [](Fields&) { return std::size_t{0}; }) {
    typedef Message<AcknowledgeMessage, Body> Whole;
    const std::uint16_t acknowledge = AcknowledgeOf(static_cast<std::uint16_t>(code));
    return [=](const Case& block, Fields& fields) {
        const std::size_t asked = countAsked(fields);
        return Check<Whole>(
            block, fields,
            [&](Bytes datagram) -> std::optional<Whole> {
                const auto head = DecodeAcknowledge(datagram);
                if (!head) {
                    return std::nullopt;
                }
                EXPECT_EQ(head->acknowledge, acknowledge);
                const auto body = decode(*head, asked);
                return body ? std::optional(Whole{*head, *body}) : std::nullopt;
            },
            [&](Whole& message) {
                fields("status", message.head.status);
                fields("ack_id", message.head.id);
                fields.StatusName(message.head.status);
                bind(fields, message.body);
            },
            [&](Whole& message, MutableBytes buffer) {
                message.head.acknowledge = acknowledge;
                message.head.payload = encode(message.body, buffer.subspan(kGvcpHeaderBytes));
                return EncodeAcknowledge(message.head, buffer);
            });
    };
}

Handler OnEmptyAcknowledge(Command code) {
    return OnAcknowledge<Nothing>(
        code,
        [](const AcknowledgeMessage& head, std::size_t) {
            return head.payload.empty() ? std::optional(Nothing{}) : std::nullopt;
        },
        [](Fields&, Nothing&) {}, [](const Nothing&, MutableBytes) { return Bytes{}; });
}

Handler OnNumberAcknowledge(Command code,
                            std::optional<std::uint16_t> (*decode)(const AcknowledgeMessage&, std::size_t),
                            void (*bind)(Fields&, std::uint16_t&),
                            Bytes (*encode)(const std::uint16_t&, MutableBytes)) {
    return OnAcknowledge<std::uint16_t>(code, decode, bind, encode);
}

Handler OnWriteAcknowledge(Command code) {
    return OnNumberAcknowledge(
        code, [](const AcknowledgeMessage& head, std::size_t) { return DecodeWriteAck(head.payload); },
        [](Fields& fields, std::uint16_t& index) { fields("index", index); },
        [](const std::uint16_t& index, MutableBytes buffer) { return EncodeWriteAck(index, buffer); });
}

// The list has as many entries as the field has values.
template <typename List>
void BindCount(Fields& fields, const char* name, List& list) {
    std::vector<char> entries(list.count);
    fields.Size(name, entries);
    list.count = entries.size();
}

Handler OnEvents(Command code, bool hasData) {
    typedef std::vector<EventItem> Items;
    return [=](const Case& block, Fields& fields) {
        const Handler handler = OnCommand<Items>(
            code,
            [](const CommandMessage& head) -> std::optional<Items> {
                const bool isExtended = head.Has(Flag::kExtendedIds), isData = head.Is(Command::EventData);
                Items found;
                EventItems items(head.payload, isExtended, isData);
                while (const auto item = items.Next()) {
                    found.push_back(*item);
                }
                EXPECT_EQ(AreEventItems(head.payload, isExtended, isData), items.IsAtEnd() && !found.empty());
                return items.IsAtEnd() && !found.empty() ? std::optional(found) : std::nullopt;
            },
            [](Fields& bound, Items& items) {
                bound.Size("event_id", items);
                for (std::size_t i = 0; i < items.size(); ++i) {
                    bound("size", items[i].size, i);
                    bound("event_id", items[i].eventId, i);
                    bound("channel", items[i].channel, i);
                    bound("block_id", items[i].blockId, i);
                    bound("timestamp", items[i].timestamp, i);
                    bound("data", items[i].data, i);
                }
            },
            [](const Items& items, const CommandMessage& head, MutableBytes buffer) {
                std::size_t bytes = 0;
                for (const EventItem& item : items) {
                    bytes += EncodeEventItem(item, head.Has(Flag::kExtendedIds), buffer.subspan(bytes)).size();
                }
                return Bytes(buffer.first(bytes));
            });
        EXPECT_EQ(fields.Has("data"), hasData && block.verb != "refuse");
        return handler(block, fields);
    };
}

bool CheckAnyCommand(const Case& block, Fields& fields) {
    return Check<CommandMessage>(
        block, fields, DecodeCommand,
        [&](CommandMessage& message) {
            fields("flags", message.flags);
            fields("command", message.command);
            fields("request_id", message.requestId);
            fields("data", message.payload);
        },
        EncodeCommand);
}

bool CheckAnyAcknowledge(const Case& block, Fields& fields) {
    return Check<AcknowledgeMessage>(
        block, fields, DecodeAcknowledge,
        [&](AcknowledgeMessage& message) {
            fields("status", message.status);
            fields("acknowledge", message.acknowledge);
            fields("ack_id", message.id);
            fields.StatusName(message.status);
        },
        EncodeAcknowledge);
}

Golden::Handlers ControlHandlers() {
    Golden::Handlers handlers;
    handlers["command"] = CheckAnyCommand;
    handlers["ack"] = CheckAnyAcknowledge;
    handlers["discovery_cmd"] = OnCommand<Nothing>(
        Command::Discovery,
        [](const CommandMessage& head) { return head.payload.empty() ? std::optional(Nothing{}) : std::nullopt; },
        [](Fields&, Nothing&) {}, [](const Nothing&, const CommandMessage&, MutableBytes) { return Bytes{}; });
    handlers["discovery_ack"] = OnAcknowledge<DiscoveryInfo>(
        Command::Discovery,
        [](const AcknowledgeMessage& head, std::size_t) { return DecodeDiscoveryAck(head.payload); },
        [](Fields& fields, DiscoveryInfo& info) {
            fields("version", info.version);
            fields("device_mode", info.deviceMode);
            fields("mac", info.mac);
            fields("ip_options", info.ipOptions);
            fields("ip_current", info.ipCurrent);
            fields("ip", info.address);
            fields("mask", info.mask);
            fields("gateway", info.gateway);
            fields("manufacturer_name", info.manufacturer);
            fields("model_name", info.model);
            fields("device_version", info.deviceVersion);
            fields("manufacturer_info", info.manufacturerInfo);
            fields("serial_number", info.serialNumber);
            fields("user_name", info.userName);
        },
        EncodeDiscoveryAck);
    handlers["forceip_cmd"] = OnCommand<ForceIp>(
        Command::ForceIp, [](const CommandMessage& head) { return DecodeForceIp(head.payload); },
        [](Fields& fields, ForceIp& force) {
            fields("mac", force.mac);
            fields("ip", force.address);
            fields("mask", force.mask);
            fields("gateway", force.gateway);
        },
        [](const ForceIp& force, const CommandMessage&, MutableBytes buffer) { return EncodeForceIp(force, buffer); });
    handlers["forceip_ack"] = OnEmptyAcknowledge(Command::ForceIp);
    handlers["packetresend_cmd"] = OnCommand<ResendRequest>(
        Command::PacketResend,
        [](const CommandMessage& head) { return DecodePacketResend(head.payload, head.Has(Flag::kExtendedIds)); },
        [](Fields& fields, ResendRequest& request) {
            fields("channel", request.channel);
            fields("block_id", request.blockId);
            fields("first_packet_id", request.first);
            fields("last_packet_id", request.last);
        },
        [](const ResendRequest& request, const CommandMessage& head, MutableBytes buffer) {
            ResendRequest whole = request;
            whole.isExtended = head.Has(Flag::kExtendedIds);
            return EncodePacketResend(whole, buffer);
        });
    handlers["readreg_cmd"] = OnCommand<RegisterList>(
        Command::ReadReg, [](const CommandMessage& head) { return DecodeReadReg(head.payload); },
        [](Fields& fields, RegisterList& list) {
            BindCount(fields, "address", list);
            for (std::size_t i = 0; i < list.count; ++i) {
                fields("address", list.words[i], i);
            }
        },
        [](const RegisterList& list, const CommandMessage&, MutableBytes buffer) {
            return EncodeReadReg(list, buffer);
        });
    handlers["readreg_ack"] = OnAcknowledge<RegisterList>(
        Command::ReadReg,
        [](const AcknowledgeMessage& head, std::size_t asked) { return DecodeReadRegAck(head, asked); },
        [](Fields& fields, RegisterList& list) {
            BindCount(fields, "value", list);
            for (std::size_t i = 0; i < list.count; ++i) {
                fields("value", list.words[i], i);
            }
        },
        EncodeReadRegAck, [](Fields& fields) { return fields.Number("asked", fields.Count("value")); });
    handlers["writereg_cmd"] = OnCommand<RegisterWriteList>(
        Command::WriteReg, [](const CommandMessage& head) { return DecodeWriteReg(head.payload); },
        [](Fields& fields, RegisterWriteList& list) {
            BindCount(fields, "address", list);
            for (std::size_t i = 0; i < list.count; ++i) {
                fields("address", list.writes[i].address, i);
                fields("value", list.writes[i].value, i);
            }
        },
        [](const RegisterWriteList& list, const CommandMessage&, MutableBytes buffer) {
            return EncodeWriteReg(list, buffer);
        });
    handlers["writereg_ack"] = OnWriteAcknowledge(Command::WriteReg);
    handlers["readmem_cmd"] = OnCommand<MemoryRead>(
        Command::ReadMem, [](const CommandMessage& head) { return DecodeReadMem(head.payload); },
        [](Fields& fields, MemoryRead& read) {
            fields("address", read.address);
            fields("count", read.count);
        },
        [](const MemoryRead& read, const CommandMessage&, MutableBytes buffer) { return EncodeReadMem(read, buffer); });
    const auto bindMemory = [](Fields& fields, MemoryData& memory) {
        fields("address", memory.address);
        fields("data", memory.data);
    };
    handlers["readmem_ack"] = OnAcknowledge<MemoryData>(
        Command::ReadMem,
        [](const AcknowledgeMessage& head, std::size_t asked) {
            return DecodeReadMemAck(head, static_cast<std::uint16_t>(asked));
        },
        bindMemory, EncodeMemory,
        [](Fields& fields) { return fields.Number("asked_count", Golden::ParseBytes(fields.Text("data")).size()); });
    handlers["writemem_cmd"] = OnCommand<MemoryData>(
        Command::WriteMem, [](const CommandMessage& head) { return DecodeMemory(head.payload); }, bindMemory,
        [](const MemoryData& memory, const CommandMessage&, MutableBytes buffer) {
            return EncodeMemory(memory, buffer);
        });
    handlers["writemem_ack"] = OnWriteAcknowledge(Command::WriteMem);
    handlers["pending_ack"] = OnNumberAcknowledge(
        Command::Pending, [](const AcknowledgeMessage& head, std::size_t) { return DecodePending(head.payload); },
        [](Fields& fields, std::uint16_t& milliseconds) { fields("time_to_completion", milliseconds); },
        [](const std::uint16_t& milliseconds, MutableBytes buffer) { return EncodePending(milliseconds, buffer); });
    handlers["event_cmd"] = OnEvents(Command::Event, false);
    handlers["event_ack"] = OnEmptyAcknowledge(Command::Event);
    handlers["eventdata_cmd"] = OnEvents(Command::EventData, true);
    handlers["eventdata_ack"] = OnEmptyAcknowledge(Command::EventData);
    handlers["action_cmd"] = OnCommand<ActionCommand>(
        Command::Action,
        [](const CommandMessage& head) { return DecodeAction(head.payload, head.Has(Flag::kScheduled)); },
        [](Fields& fields, ActionCommand& action) {
            fields("device_key", action.deviceKey);
            fields("group_key", action.groupKey);
            fields("group_mask", action.groupMask);
            std::uint64_t time = action.time.value_or(0);
            fields("time", time);
            if (fields.IsFilling() && fields.Has("time")) {
                action.time = time;
            }
        },
        [](const ActionCommand& action, const CommandMessage&, MutableBytes buffer) {
            return EncodeAction(action, buffer);
        });
    handlers["action_ack"] = OnEmptyAcknowledge(Command::Action);
    return handlers;
}

TEST(ControlMessageTest, MessagesAreDecodedAndEncodedAsTold) {
    Golden::RunCases("gvcp.txt", ControlHandlers());
}

TEST(ControlMessageTest, CodesAboveZeroAreRemarksAndUpperBytesOfShortIdsNothing) {
    for (const std::uint16_t remark : {0x0000, 0x0001, 0x0100, 0x4004, 0x7FFF}) {
        EXPECT_FALSE(IsError(Status{remark})) << remark;
    }
    for (const std::uint16_t error : {0x8001, 0x8FFF, 0xC004, 0xFFFF}) {
        EXPECT_TRUE(IsError(Status{error})) << error;
    }
    const std::uint8_t payload[] = {0, 0, 0, 66, 0xAA, 0, 3, 0xEF, 0xBB, 0, 3, 0xF0};
    const auto request = DecodePacketResend(payload, false);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->first, 1007u);
    EXPECT_EQ(request->last, 1008u);
}

} // namespace
