// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gigevision/Bytes.h>
#include <gigevision/Status.h>

#include <gtest/gtest.h>

#include <array>
#include <concepts>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

// The golden tables of this folder: text blocks and lines, whose form they tell themselves.
namespace Golden {

std::vector<std::string> ReadLines(const std::string& file); ///< Without comments and empty lines.
std::vector<std::string> Split(const std::string& text, char separator = ' ');
std::uint64_t ParseNumber(const std::string& text); ///< Decimal, 0x…, or an address as 192.0.2.1; others fail the test.
std::vector<std::uint8_t> ParseBytes(const std::string& text, char separator = ' ');

/// A block of gvcp.txt or gvsp.txt.
struct Case {
    std::string verb; ///< "", or accept, refuse, status
    std::string kind, title;
    std::map<std::string, std::vector<std::string>> fields; ///< lines of each
    std::vector<std::uint8_t> bytes;
};
std::vector<Case> ReadCases(const std::string& file);

/// Binds the members of a message to the fields of a case: either compares them or fills them in, so that one list of
/// members serves decoder and encoder. Remembers which fields were asked for.
class Fields {
public:
    enum EMode { Compare, Fill };

    explicit Fields(const Case& block) : m_case(block) {}
    void SetMode(EMode mode) { m_mode = mode; }
    bool IsFilling() const { return m_mode == Fill; }

    /// A field that is not told is zero, but in blocks that are only accepted it may be anything.
    template <typename T>
    void operator()(const std::string& name, T& member, std::size_t index = 0) {
        const bool isTold = Has(name);
        if (!isTold && (m_mode == Fill || !m_case.verb.empty())) {
            return;
        }
        T told = {};
        if (isTold) {
            Parse(Values(name, std::is_same_v<T, std::string> || std::is_same_v<T, GigEVision::Bytes>), index, told);
        }
        if (m_mode == Fill) {
            member = told;
        } else if constexpr (std::is_same_v<T, GigEVision::Bytes>) {
            EXPECT_EQ(std::vector(member.begin(), member.end()), std::vector(told.begin(), told.end())) << name;
        } else {
            EXPECT_EQ(member, told) << name << " " << index;
        }
    }
    bool Has(const std::string& name);
    std::string Text(const std::string& name); ///< The first line as it stands; empty where there is none.
    std::uint64_t Number(const std::string& name, std::uint64_t otherwise) { ///< Of a field that is no member.
        return Has(name) ? ParseNumber(Text(name)) : otherwise;
    }
    void StatusName(GigEVision::Status status); ///< Compares the name, if it is told.
    /// There are as many elements as the field has values.
    template <typename T>
    void Size(const std::string& name, std::vector<T>& elements) {
        if (IsFilling()) {
            elements.resize(Count(name));
        } else {
            EXPECT_EQ(elements.size(), Count(name)) << name;
        }
    }
    std::size_t Count(const std::string& name) { return Has(name) ? Values(name, false).size() : 0; }
    void ExpectAllUsed() const; ///< Fails for fields that nothing was bound to.

private:
    std::vector<std::string> Values(const std::string& name, bool areLines) const;

    template <typename T>
    requires std::unsigned_integral<T> || std::is_enum_v<T>
    void Parse(const std::vector<std::string>& values, std::size_t index, T& told) {
        const std::uint64_t number = ParseNumber(At(values, index));
        told = static_cast<T>(number);
        EXPECT_EQ(static_cast<std::uint64_t>(told), number) << "is cut";
    }
    void Parse(const std::vector<std::string>& values, std::size_t index, std::string& told);
    void Parse(const std::vector<std::string>& values, std::size_t index, std::array<std::uint8_t, 6>& told);
    void Parse(const std::vector<std::string>& values, std::size_t index, GigEVision::Bytes& told);
    static std::string At(const std::vector<std::string>& values, std::size_t index);

    const Case& m_case;
    EMode m_mode = Compare;
    std::set<std::string> m_used;
    std::deque<std::vector<std::uint8_t>> m_data; // what filled spans point to
};

template <typename Head, typename Body>
struct Message {
    Head head;
    Body body;
};

/// Decodes the case's bytes and compares; fills a message of its fields, encodes and compares. @return whether the
/// bytes were decoded.
template <typename Whole, typename Decode, typename Bind, typename Encode>
bool Check(const Case& block, Fields& fields, Decode decode, Bind bind, Encode encode) {
    std::optional<Whole> decoded = decode(GigEVision::Bytes(block.bytes));
    if (!decoded || block.verb == "refuse") {
        return decoded.has_value();
    }
    fields.SetMode(Fields::Compare);
    bind(*decoded);
    if (block.verb.empty()) {
        Whole filled;
        fields.SetMode(Fields::Fill);
        bind(filled);
        std::array<std::uint8_t, 2048> buffer = {};
        const GigEVision::Bytes encoded = encode(filled, GigEVision::MutableBytes(buffer));
        EXPECT_EQ(std::vector(encoded.begin(), encoded.end()), block.bytes);
    }
    return true;
}

typedef std::function<bool(const Case& block, Fields& fields)> Handler; ///< Checks a case like Check.
typedef std::map<std::string, Handler> Handlers;                        ///< by kind
/// Each case is as its verb says; there is at least one of each kind, and no other.
void RunCases(const std::string& file, const Handlers& handlers);

} // namespace Golden
