// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/TextForms.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale.h>
#include <system_error>

namespace GenApi {

namespace {

constexpr int kDefaultPrecision = 6;
constexpr std::int64_t kMaxPrecision = 100; // more digits than any double holds for a reader

constexpr std::int64_t kMaxIpv4 = 0xFFFFFFFF;
constexpr std::int64_t kMaxMac = 0xFFFFFFFFFFFF;

bool HasHexPrefix(std::string_view text) {
    return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

std::optional<std::uint64_t> ParseDigits(std::string_view digits, int base) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return value;
}

// Takes a sign off the front of the text.
bool TakeSign(std::string_view& text) {
    const bool negative = !text.empty() && text[0] == '-';
    if (negative || (!text.empty() && text[0] == '+')) {
        text.remove_prefix(1);
    }
    return negative;
}

// Overflows to infinity and underflows to zero, as the type of XML does.
double ParseOutOfRange(const std::string& text) {
    static const locale_t kCLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text.c_str(), nullptr, kCLocale);
}

std::optional<std::uint64_t> ParseGroups(std::string_view text, std::string_view separators, unsigned groups, int base,
                                         std::size_t maxDigits) {
    std::uint64_t value = 0;
    char separator = 0;
    for (unsigned i = 0; i < groups; ++i) {
        const std::size_t end = std::min(text.find_first_of(separators), text.size());
        const auto group = ParseDigits(text.substr(0, end), base);
        if (!group || *group > 255 || end > maxDigits) {
            return std::nullopt;
        }
        value = value << 8 | *group;
        const bool last = i + 1 == groups;
        if (last != (end == text.size()) || (!last && separator && text[end] != separator)) {
            return std::nullopt;
        }
        separator = last ? separator : text[end];
        text.remove_prefix(last ? end : end + 1);
    }
    return value;
}

// Six pairs: a single digit is no pair, which is what a date or a difference of numbers would look like.
std::optional<std::uint64_t> ParseMac(std::string_view text) {
    constexpr std::size_t length = 17;
    return text.size() == length ? ParseGroups(text, ":-", 6, 16, 2) : std::nullopt;
}

std::string FormatHex(std::uint64_t value) {
    std::array<char, 18> text = {'0', 'x'};
    char* const end = std::to_chars(text.data() + 2, text.data() + text.size(), value, 16).ptr;
    std::transform(text.data() + 2, end, text.data() + 2, [](char c) { return c >= 'a' ? char(c - 'a' + 'A') : c; });
    return std::string(text.data(), end);
}

std::string FormatIpv4(std::int64_t value) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += std::to_string(value >> shift & 0xFF) + (shift > 0 ? "." : "");
    }
    return text;
}

void AppendByte(std::string& text, unsigned byte) {
    constexpr char digits[] = "0123456789abcdef";
    text += digits[byte >> 4 & 0xF];
    text += digits[byte & 0xF];
}

std::string FormatMac(std::int64_t value) {
    std::string text;
    for (int shift = 40; shift >= 0; shift -= 8) {
        AppendByte(text, static_cast<unsigned>(value >> shift & 0xFF));
        if (shift > 0) {
            text += ':';
        }
    }
    return text;
}

std::chars_format CharsFormat(EDisplayNotation notation) {
    switch (notation) {
    case fnFixed:
        return std::chars_format::fixed;
    case fnScientific:
        return std::chars_format::scientific;
    default:
        return std::chars_format::general;
    }
}

std::string Print(double value, std::chars_format format, int precision) {
    std::array<char, std::numeric_limits<double>::max_exponent10 + kMaxPrecision + 8> text;
    return std::string(text.data(),
                       std::to_chars(text.data(), text.data() + text.size(), value, format, precision).ptr);
}

std::string PrintShortest(double value) {
    std::array<char, 32> text;
    return std::string(text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr);
}

// The value of the last digit that is printed. It follows from the number itself: rounding may add a digit.
double LastDigit(double value, std::chars_format format, int precision) {
    if (format == std::chars_format::fixed) {
        return std::pow(10.0, -precision);
    }
    const int digits = format == std::chars_format::general ? std::max(precision, 1) - 1 : precision;
    std::array<char, 32> text;
    *std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific).ptr = '\0';
    return std::pow(10.0, std::atoi(std::strchr(text.data(), 'e') + 1) - digits);
}

bool IsWithin(const std::string& text, double min, double max) {
    const auto value = ParseFloat(text);
    return value && *value >= min && *value <= max;
}

} // namespace

std::string_view TrimSpace(std::string_view text) {
    const auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::vector<std::string_view> SplitList(std::string_view text) {
    constexpr std::string_view separators = ";, \t\r\n";
    std::vector<std::string_view> items;
    std::size_t begin = text.find_first_not_of(separators);
    while (begin != std::string_view::npos) {
        const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
        items.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(separators, end);
    }
    return items;
}

std::optional<std::int64_t> ParseInteger(std::string_view text) {
    text = TrimSpace(text);
    std::optional<std::uint64_t> value;
    if (HasHexPrefix(text)) {
        value = ParseDigits(text.substr(2), 16);
        return value ? std::optional(static_cast<std::int64_t>(*value)) : std::nullopt;
    }
    const bool negative = TakeSign(text);
    value = ParseDigits(text, 10);
    constexpr std::uint64_t minMagnitude = std::uint64_t(1) << 63;
    if (!value || (negative && *value > minMagnitude)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(negative ? 0 - *value : *value);
}

std::optional<double> ParseFloat(std::string_view text) {
    text = TrimSpace(text);
    const std::string whole(text);
    const bool negative = TakeSign(text);
    const bool hex = HasHexPrefix(text);
    if (hex) {
        text.remove_prefix(2);
    }
    if (text.empty() || text[0] == '-' || text[0] == '+') {
        return std::nullopt;
    }
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value,
                                              hex ? std::chars_format::hex : std::chars_format::general);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument) {
        return std::nullopt;
    }
    if (error == std::errc::result_out_of_range) {
        return ParseOutOfRange(whole);
    }
    return negative ? -value : value;
}

std::string FormatInteger(std::int64_t value, ERepresentation representation) {
    if (representation == HexNumber) {
        return FormatHex(static_cast<std::uint64_t>(value));
    }
    if (representation == IPV4Address && value >= 0 && value <= kMaxIpv4) {
        return FormatIpv4(value);
    }
    if (representation == MACAddress && value >= 0 && value <= kMaxMac) {
        return FormatMac(value);
    }
    return std::to_string(value);
}

std::optional<std::int64_t> ParseInteger(std::string_view text, ERepresentation representation) {
    text = TrimSpace(text);
    std::optional<std::uint64_t> address;
    if (representation == IPV4Address) {
        address = ParseGroups(text, ".", 4, 10, 3);
    } else if (representation == MACAddress) {
        address = ParseMac(text);
    }
    return address ? static_cast<std::int64_t>(*address) : ParseInteger(text);
}

std::string FormatFloat(double value, EDisplayNotation notation, std::int64_t precision, double min, double max) {
    const std::chars_format format = CharsFormat(notation);
    const int digits = precision < 0 ? kDefaultPrecision : static_cast<int>(std::min(precision, kMaxPrecision));
    std::string text = Print(value, format, digits);
    const bool valid = value >= min && value <= max;
    if (!valid || !std::isfinite(value) || IsWithin(text, min, max)) {
        return text;
    }
    const double half = LastDigit(value, format, digits) / 2;
    const bool tooLow = ParseFloat(text).value_or(value) < min;
    text = Print(tooLow ? value + half : value - half, format, digits);
    // a range narrower than the last digit: precision gives way to a text that can be read back
    return IsWithin(text, min, max) ? text : PrintShortest(value);
}

std::string FormatBoolean(bool value) {
    return value ? "1" : "0";
}

std::optional<bool> ParseBoolean(std::string_view text) {
    text = TrimSpace(text);
    for (const char* yes : {"1", "true", "True", "Yes", "On"}) {
        if (text == yes) {
            return true;
        }
    }
    for (const char* no : {"0", "false", "False", "No", "Off"}) {
        if (text == no) {
            return false;
        }
    }
    return std::nullopt;
}

std::string FormatBytes(std::span<const std::uint8_t> bytes) {
    std::string text = "0x";
    text.reserve(2 + 2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        AppendByte(text, byte);
    }
    return text;
}

std::optional<std::vector<std::uint8_t>> ParseBytes(std::string_view text) {
    text = TrimSpace(text);
    if (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X") {
        text.remove_prefix(2);
    }
    if (text.size() % 2 != 0) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 2);
    for (; !text.empty(); text.remove_prefix(2)) {
        const auto byte = ParseDigits(text.substr(0, 2), 16);
        if (!byte) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>(*byte));
    }
    return bytes;
}

} // namespace GenApi
