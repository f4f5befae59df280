// SPDX-License-Identifier: Apache-2.0
#include "MemoryImage.h"

#include "Errors.h"
#include "Output.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <stdexcept>

namespace tool {
namespace {

constexpr std::string_view kBlanks = " \t\r\f\v";
constexpr std::uint64_t kLastAddress = std::numeric_limits<std::uint64_t>::max();

/// The next word, which is taken off the front of @p line; empty at its end.
std::string_view TakeWord(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
    line.remove_prefix(word.size());
    return word;
}

std::string_view WithoutPrefix(std::string_view digits) {
    const bool prefixed = digits.starts_with("0x") || digits.starts_with("0X");
    return digits.substr(prefixed ? 2 : 0);
}

template <class Number>
std::optional<Number> ParseHex(std::string_view digits) {
    Number number = 0;
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, number, 16);
    return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

/// How a word of an image stands in an error: short, whatever it is.
std::string Shown(std::string_view word) {
    constexpr std::size_t most = 32;
    return "'" + Printable(std::string(word.substr(0, most))) + (word.size() > most ? "...'" : "'");
}

/// One line of an image. @throws std::invalid_argument that tells the mistake.
struct ImageLine {
    explicit ImageLine(std::string_view line) {
        line = line.substr(0, line.find('#'));
        const std::string_view first = TakeWord(line);
        if (first.empty()) {
            return;
        }
        const auto parsed = ParseHex<std::uint64_t>(WithoutPrefix(first));
        if (!parsed) {
            throw std::invalid_argument(Shown(first) + " is no hexadecimal address of at most 16 digits");
        }
        address = *parsed;
        for (std::string_view word = TakeWord(line); !word.empty(); word = TakeWord(line)) {
            AddBytes(word);
        }
        if (bytes.empty()) {
            throw std::invalid_argument("no bytes stand behind the address " + Shown(first));
        }
        if (bytes.size() - 1 > kLastAddress - address) {
            throw std::invalid_argument("the bytes at " + Shown(first) + " reach beyond the last address");
        }
    }

    std::uint64_t address = 0;
    std::vector<std::uint8_t> bytes; // none in an empty line

private:
    void AddBytes(std::string_view word) {
        const std::string_view digits = WithoutPrefix(word);
        if (digits.empty() || digits.size() % 2 != 0) {
            throw std::invalid_argument(Shown(word) + " has " + std::to_string(digits.size()) +
                                        " digits; two make a byte");
        }
        for (std::size_t i = 0; i < digits.size(); i += 2) {
            const auto byte = ParseHex<std::uint8_t>(digits.substr(i, 2));
            if (!byte) {
                throw std::invalid_argument(Shown(word) + " is not hexadecimal");
            }
            bytes.push_back(*byte);
        }
    }
};

} // namespace

void MemoryImage::Parse(std::string_view text, const std::string& name) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF"; // which some editors put in front
    text.remove_prefix(text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0);
    std::size_t number = 0;
    while (!text.empty()) {
        ++number;
        const std::size_t end = std::min(text.find('\n'), text.size());
        try {
            const ImageLine line(text.substr(0, end));
            Set(line.address, line.bytes.data(), line.bytes.size());
        } catch (const std::invalid_argument& mistake) {
            throw ToolError(ExitCode::Failed, "memory_image",
                            "Memory image '" + name + "', line " + std::to_string(number) + ": " + mistake.what() +
                                ". Expected: ADDRESS HEXBYTES, such as '0A00 12345678'; # starts a comment");
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void MemoryImage::Set(std::uint64_t address, const std::uint8_t* bytes, std::size_t count) {
    while (count > 0) {
        const std::size_t offset = address % kPageBytes;
        const std::size_t part = std::min(count, kPageBytes - offset);
        Page& page = m_pages[address - offset]; // zeros when it is new
        std::copy_n(bytes, part, page.begin() + static_cast<std::ptrdiff_t>(offset));
        address += part;
        bytes += part;
        count -= part;
    }
}

void MemoryImage::Get(std::uint64_t address, std::uint8_t* bytes, std::size_t count) const {
    std::fill_n(bytes, count, std::uint8_t{0});
    if (count == 0) {
        return;
    }
    const std::uint64_t last = address + std::min<std::uint64_t>(count - 1, kLastAddress - address);
    for (auto page = m_pages.lower_bound(address - address % kPageBytes); page != m_pages.end() && page->first <= last;
         ++page) {
        const std::uint64_t from = std::max(page->first, address);
        const std::uint64_t to = std::min(page->first + (kPageBytes - 1), last);
        std::copy_n(page->second.begin() + static_cast<std::ptrdiff_t>(from - page->first), to - from + 1,
                    bytes + (from - address));
    }
}

// An address above the largest signed one comes as a negative number with the same bits.
void MemoryPort::Read(void* buffer, std::int64_t address, std::int64_t length) {
    m_image.Get(static_cast<std::uint64_t>(address), static_cast<std::uint8_t*>(buffer),
                static_cast<std::size_t>(length));
}

void MemoryPort::Write(const void* buffer, std::int64_t address, std::int64_t length) {
    m_image.Set(static_cast<std::uint64_t>(address), static_cast<const std::uint8_t*>(buffer),
                static_cast<std::size_t>(length));
}

} // namespace tool
