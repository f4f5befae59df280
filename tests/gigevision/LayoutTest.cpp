// SPDX-License-Identifier: Apache-2.0

// How blocks are cut into packets and how ids run: each line of the golden table is calculated and compared.

#include "gigevision/Golden.h"

#include <gigevision/Gvcp.h>
#include <gigevision/Gvsp.h>

#include <gtest/gtest.h>

#include <algorithm>

using namespace GigEVision;
using Golden::ParseNumber;

namespace {

const std::map<std::string, PacketFormat> kFormats = {
    {"generic", PacketFormat::Generic},     {"h264", PacketFormat::H264},   {"multizone", PacketFormat::MultiZone},
    {"multipart", PacketFormat::MultiPart}, {"gendc", PacketFormat::GenDc},
};

// The left side of a line; each input must be asked for.
class Inputs {
public:
    explicit Inputs(const std::vector<std::string>& words) {
        for (const std::string& word : words) {
            const std::size_t equals = word.find('=');
            if (equals == std::string::npos) {
                m_ids.push_back(ParseNumber(word));
            } else {
                m_named[word.substr(0, equals)] = word.substr(equals + 1);
            }
        }
    }

    std::string Text(const std::string& name) {
        m_used.insert(name);
        EXPECT_TRUE(m_named.contains(name)) << name;
        return m_named[name];
    }
    template <typename T = std::uint32_t>
    T Number(const std::string& name) {
        return static_cast<T>(ParseNumber(Text(name)));
    }
    const std::vector<std::uint64_t>& Ids() const { return m_ids; }
    void ExpectAllUsed() const { EXPECT_EQ(m_used.size(), m_named.size()) << "unknown input"; }

private:
    std::map<std::string, std::string> m_named;
    std::vector<std::uint64_t> m_ids;
    std::set<std::string> m_used;
};

std::string Text(const std::vector<std::uint64_t>& numbers, char separator) {
    std::string text;
    for (const std::uint64_t number : numbers) {
        text += (text.empty() ? "" : std::string(1, separator)) + std::to_string(number);
    }
    return text;
}

std::vector<std::uint64_t> Numbers(const std::string& list) {
    std::vector<std::uint64_t> numbers;
    for (const std::string& part : Golden::Split(list, ',')) {
        numbers.push_back(ParseNumber(part));
    }
    return numbers;
}

std::string Cut(Inputs& in) {
    const PacketLayout layout =
        PacketLayout::For(in.Number("scps"), in.Number("extended") != 0, kFormats.at(in.Text("kind"))).value();
    std::uint64_t packets = 0;
    std::vector<std::uint64_t> last;
    for (const std::uint64_t part : Numbers(in.Text("payload"))) {
        packets += layout.PayloadPackets(part);
        last.push_back(layout.Length(layout.PayloadPackets(part), part));
        EXPECT_EQ(layout.TrailerId(part), layout.PayloadPackets(part) + 1);
        EXPECT_EQ(layout.Length(layout.TrailerId(part), part), 0u);
    }
    return "data_per_packet=" + std::to_string(layout.dataBytes) + " payload_packets=" + std::to_string(packets) +
           " all_packets=" + std::to_string(packets + 2) + " last_packet_bytes=" + Text(last, ',');
}

std::string CutParts(Inputs& in) {
    const PacketLayout layout = PacketLayout::For(in.Number("scps"), true, PacketFormat::MultiPart).value();
    const std::vector<std::uint64_t> parts = Numbers(in.Text("payload"));
    std::string text;
    std::uint64_t packet = 0, start = 0;
    for (std::size_t part = 0; part < parts.size(); start += parts[part++]) {
        for (std::uint64_t id = 1; id < layout.TrailerId(parts[part]); ++id) {
            const bool isLast = id == layout.PayloadPackets(parts[part]);
            text += (text.empty() ? "" : " ") +
                    Text({++packet, part, start + layout.Offset(id), layout.Length(id, parts[part]), isLast}, ':');
        }
    }
    return text;
}

std::string Distance(Inputs& in, bool countsZero) {
    const auto from = static_cast<std::uint16_t>(in.Ids().at(0)), to = static_cast<std::uint16_t>(in.Ids().at(1));
    const std::uint32_t step = BlockId::Distance16(from, to, countsZero);
    const bool isNewer = step > 0 && step < 32768;
    return "step=" + std::to_string(step) + " newer=" + std::to_string(isNewer) +
           " lost=" + std::to_string(isNewer ? step - 1 : 0);
}

std::string Unwrap(Inputs& in) {
    std::vector<std::uint64_t> numbers;
    for (const std::uint64_t id : in.Ids()) {
        const std::uint64_t former = numbers.empty() ? id : numbers.back();
        const auto wire = static_cast<std::uint16_t>(BlockId::OfNumber(former, false));
        numbers.push_back(former + BlockId::Distance16(wire, static_cast<std::uint16_t>(id)));
    }
    return Text(numbers, ' ');
}

std::string Resend(Inputs& in) {
    ResendRequest request;
    request.isExtended = in.Number("extended") != 0;
    request.first = in.Number("first");
    request.last = in.Number("last");
    const auto trailer = in.Number("trailer");
    const auto range = request.RangeIn(trailer);
    EXPECT_EQ(request.IsToEnd(), request.last == (request.isExtended ? 0xFFFFFFFF : 0x00FFFFFF));
    return range ? Text({range->first, range->last}, ' ') : "none";
}

std::string Image(Inputs& in) {
    ImageGeometry geometry;
    geometry.pixelFormat = 0x0100FFFF | in.Number("bits") << 16;
    geometry.sizeX = in.Number("size_x");
    geometry.sizeY = in.Number("size_y");
    geometry.paddingX = in.Number<std::uint16_t>("padding_x");
    geometry.paddingY = in.Number<std::uint16_t>("padding_y");
    return "payload=" + std::to_string(geometry.PayloadBytes().value());
}

std::string Offset(Inputs& in) {
    const PacketLayout layout = PacketLayout::For(in.Number("scps"), in.Number("extended") != 0).value();
    return "offset=" + std::to_string(layout.Offset(in.Number("packet_id")));
}

std::string Datagram(Inputs& in) {
    const auto scps = in.Number("scps");
    const PacketLayout layout = PacketLayout::For(scps, true).value();
    return "full_payload=" + std::to_string(kExtendedGvspHeaderBytes + layout.dataBytes) +
           " test_packet=" + std::to_string(DatagramBytes(scps));
}

std::string Packet(Inputs& in) {
    return "bytes=" + std::to_string(GvspHeaderBytes(in.Number("extended") != 0) +
                                     PayloadHeaderBytes(kFormats.at(in.Text("kind"))) + in.Number("data"));
}

typedef std::string (*Calculate)(Inputs&);
const std::map<std::string, Calculate> kWords = {
    {"layout", Cut},
    {"parts", CutParts},
    {"offset", Offset},
    {"datagram", Datagram},
    {"packet", Packet},
    {"image", Image},
    {"resend", Resend},
    {"next16", [](Inputs& in) { return std::to_string(BlockId::Next(in.Ids().at(0), false)); }},
    {"next64", [](Inputs& in) { return std::to_string(BlockId::Next(in.Ids().at(0), true)); }},
    {"next_request",
     [](Inputs& in) { return std::to_string(NextRequestId(static_cast<std::uint16_t>(in.Ids().at(0)))); }},
    {"distance16", [](Inputs& in) { return Distance(in, false); }},
    {"distance16_zero", [](Inputs& in) { return Distance(in, true); }},
    {"unwrap16", Unwrap},
};

// Numbers of the result in decimal.
std::string Plain(const std::string& result) {
    std::string text;
    for (const std::string& word : Golden::Split(result)) {
        const std::size_t start = word.find("0x");
        text += (text.empty() ? "" : " ") +
                (start == std::string::npos ? word
                                            : word.substr(0, start) + std::to_string(ParseNumber(word.substr(start))));
    }
    return text;
}

TEST(LayoutTest, BlocksAndIdsRunAsTold) {
    std::set<std::string> words;
    for (const std::string& line : Golden::ReadLines("layout.txt")) {
        SCOPED_TRACE(line);
        const std::size_t arrow = line.find(" -> ");
        std::vector<std::string> left = Golden::Split(line.substr(0, arrow));
        const auto word = kWords.find(left.at(0));
        if (arrow == std::string::npos || word == kWords.end()) {
            ADD_FAILURE() << "unknown word";
            continue;
        }
        words.insert(left.front());
        left.erase(left.begin());
        Inputs inputs(left);
        EXPECT_EQ(word->second(inputs), Plain(line.substr(arrow + 4)));
        inputs.ExpectAllUsed();
    }
    EXPECT_EQ(words.size(), kWords.size()) << "each word is in the table";
}

TEST(LayoutTest, PacketsCoverTheBlockWithoutGaps) {
    for (const std::uint32_t scps : {46u, 65u, 576u, 1500u, 65535u}) {
        for (const auto& [kind, format] : kFormats) {
            const auto layout = PacketLayout::For(scps, true, format);
            EXPECT_EQ(layout.has_value(), scps > kIpUdpBytes + 20 + PayloadHeaderBytes(format)) << scps << " " << kind;
            for (const std::uint64_t payload : {0u, 1u, 9u, 1451u, 1452u, 1453u, 100000u}) {
                std::uint64_t sent = 0;
                for (std::uint64_t id = 1; layout && id < layout->TrailerId(payload); ++id) {
                    EXPECT_EQ(layout->Offset(id), sent);
                    sent += layout->Length(id, payload);
                }
                EXPECT_EQ(sent, layout ? payload : 0);
            }
        }
    }
    const PacketLayout layout{540};
    EXPECT_EQ(layout.Length(0, 1000), 0u);
    EXPECT_EQ(layout.Length(std::uint64_t{1} << 63, 1000), 0u);
    EXPECT_EQ(layout.TrailerId(~std::uint64_t{0}), ~std::uint64_t{0} / 540 + 2);
}

TEST(LayoutTest, ImageBeyond64BitsHasNoSize) {
    ImageGeometry geometry{0x01FF0001, 0xFFFFFFFF, 0xFFFFFFFF, 0, 0, 0xFFFF, 0xFFFF};
    EXPECT_EQ(geometry.PayloadBytes(), std::nullopt);
    geometry.pixelFormat = 0x01080001;
    geometry.paddingX = 0;
    EXPECT_EQ(geometry.PayloadBytes(), 0xFFFFFFFE00000001u + 0xFFFF);
}

} // namespace
