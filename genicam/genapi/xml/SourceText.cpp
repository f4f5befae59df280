// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/xml/SourceText.h"

#include <Base/GCException.h>

#include <algorithm>
#include <functional>

namespace GenApi {

namespace {

constexpr std::size_t kMaxSourceBytes = std::size_t(64) << 20;
constexpr std::size_t kMaxTags = std::size_t(4) << 20; // opening and closing ones: bounds what the parser allocates

void AppendUtf8(std::string& text, std::uint32_t code) {
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xC0 | (code >> 6));
        text += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        text += static_cast<char>(0xE0 | (code >> 12));
        text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | (code >> 18));
        text += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
    }
}

std::uint32_t Utf16Unit(std::string_view bytes, std::size_t at, bool bigEndian) noexcept {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return bigEndian ? (static_cast<std::uint32_t>(first) << 8) | second
                     : (static_cast<std::uint32_t>(second) << 8) | first;
}

std::string FromUtf16(std::string_view bytes, bool bigEndian) {
    constexpr std::uint32_t replacement = 0xFFFD;
    std::string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t at = 2; at + 1 < bytes.size(); at += 2) {
        std::uint32_t code = Utf16Unit(bytes, at, bigEndian);
        if (code >= 0xD800 && code < 0xE000) {
            const std::uint32_t low = at + 3 < bytes.size() ? Utf16Unit(bytes, at + 2, bigEndian) : 0;
            const bool isPair = code < 0xDC00 && low >= 0xDC00 && low < 0xE000;
            code = isPair ? 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00) : replacement;
            at += isPair ? 2 : 0;
        }
        AppendUtf8(text, code);
    }
    return text;
}

std::string FromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 8);
    for (const char byte : bytes) {
        AppendUtf8(text, static_cast<unsigned char>(byte));
    }
    return text;
}

bool DeclaresLatin1(std::string_view bytes) {
    const std::string_view head = bytes.substr(0, 256);
    std::string declaration(head.substr(0, head.find("?>")));
    std::transform(declaration.begin(), declaration.end(), declaration.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    return declaration.starts_with("<?xml") && declaration.find("iso-8859-1") != std::string::npos;
}

std::string ToUtf8(std::string_view bytes) {
    if (bytes.starts_with("\xFF\xFE")) {
        return FromUtf16(bytes, false);
    }
    if (bytes.starts_with("\xFE\xFF")) {
        return FromUtf16(bytes, true);
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        return std::string(bytes.substr(3)); // whatever it declares
    }
    return DeclaresLatin1(bytes) ? FromLatin1(bytes) : std::string(bytes);
}

/// Whether this is what stands between "</" and ">" at the end of the root element, with or without a prefix.
bool IsRootName(std::string_view name) {
    name = name.substr(0, name.find_last_not_of(" \t\r\n") + 1);
    const std::size_t colon = name.find(':');
    return name.substr(colon == std::string_view::npos ? 0 : colon + 1) == "RegisterDescription";
}

/// Where the root element ends, outside of comments and character data; the text's size if it does not.
std::size_t EndOfRoot(std::string_view text) {
    std::size_t end = 0;
    for (std::size_t at = 0; (at = text.find('<', at)) != std::string_view::npos; at = end) {
        const std::string_view rest = text.substr(at);
        const bool isEndTag = rest.starts_with("</");
        const std::string_view closing = rest.starts_with("<!--")        ? "-->"
                                         : rest.starts_with("<![CDATA[") ? "]]>"
                                                                         : std::string_view(">");
        end = text.find(closing, at);
        if (end == std::string_view::npos) {
            break;
        }
        end += closing.size();
        if (isEndTag && IsRootName(rest.substr(2, end - at - 3))) {
            return end;
        }
    }
    return text.size();
}

/// What stands before the zeros that fill a device's memory.
std::string PlainText(std::string_view bytes) {
    std::string text = ToUtf8(bytes);
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

void CheckSize(std::size_t bytes) {
    if (bytes > kMaxSourceBytes) {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: it has %zu bytes, %zu are allowed.", bytes,
                                kMaxSourceBytes);
    }
}

} // namespace

SourceText::SourceText(std::string_view bytes) : m_bytes(bytes) {
    CheckSize(bytes.size());
    m_text = PlainText(bytes);
    CheckSize(m_text.size());
    if (m_text.size() <= kMaxTags) {
        return; // a tag has a character at least
    }
    const auto tags = static_cast<std::size_t>(std::count(m_text.begin(), m_text.end(), '<'));
    if (tags > kMaxTags) {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: it has %zu tags, %zu are allowed.", tags,
                                kMaxTags);
    }
}

void SourceText::CutAfterRoot() {
    m_text = PlainText(m_bytes);
    m_text.resize(EndOfRoot(m_text));
}

std::uint32_t SourceText::TagPosition(const char* name) const noexcept {
    const std::less<const char*> before; // the parser's empty names are elsewhere
    const bool isInside = before(m_text.data(), name) && before(name, m_text.data() + m_text.size());
    return isInside ? static_cast<std::uint32_t>(name - m_text.data() - 1) : 0;
}

const std::vector<std::uint32_t>& SourceText::Lines() const {
    if (m_lines.empty()) {
        const std::string text = PlainText(m_bytes); // the parser has overwritten ours
        m_lines.push_back(0);
        for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;) {
            m_lines.push_back(static_cast<std::uint32_t>(++at));
        }
    }
    return m_lines;
}

std::string SourceText::Describe(std::uint32_t position) const {
    const std::vector<std::uint32_t>& lines = Lines();
    const auto next = std::upper_bound(lines.begin(), lines.end(), position);
    const auto line = next - lines.begin();
    return "line " + std::to_string(line) + ", column " + std::to_string(position - *(next - 1) + 1);
}

} // namespace GenApi
