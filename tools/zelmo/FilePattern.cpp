// SPDX-License-Identifier: Apache-2.0
#include "FilePattern.h"

#include "Errors.h"

#include <algorithm>
#include <cctype>

namespace tool {
namespace {

constexpr unsigned kWidestNumber = 20; // digits of the largest 64-bit number

ToolError Refuse(const std::string& pattern, const std::string& why) {
    return UsageError(
        "-o '" + pattern + "': " + why +
        ". A name holds at most one number field (%d or %06d) and at most one camera field (%s), and %% for a "
        "percent sign; for example 'img-%06d.png'");
}

std::string SafeForFileName(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](unsigned char c) { return c < 0x20 || c == 0x7F || c == '/' || c == '\\' || c == ':' || c == ' '; }, '_');
    return text.empty() || text.front() == '.' ? "_" + text : text;
}

std::size_t ExtensionPosition(const std::string& text) {
    const std::size_t dot = text.rfind('.');
    const std::size_t slash = text.rfind('/');
    return dot == std::string::npos || (slash != std::string::npos && dot < slash) ? text.size() : dot;
}

} // namespace

FilePattern::FilePattern(const std::string& pattern) {
    if (pattern.empty() || pattern.back() == '/') {
        throw Refuse(pattern, "this names no file");
    }
    for (std::size_t i = 0; i < pattern.size();) {
        if (pattern[i] != '%') {
            AddText(pattern[i++]);
        } else if (pattern.compare(i, 2, "%%") == 0) {
            AddText('%');
            i += 2;
        } else {
            i = ParseField(pattern, i);
        }
    }
}

void FilePattern::AddText(char c) {
    if (m_pieces.empty() || m_pieces.back().kind != Kind::Text) {
        m_pieces.push_back({Kind::Text, {}});
    }
    m_pieces.back().text += c;
}

std::size_t FilePattern::ParseField(const std::string& pattern, std::size_t position) {
    std::size_t end = position + 1;
    unsigned width = 0;
    while (end < pattern.size() && std::isdigit(static_cast<unsigned char>(pattern[end])) && width <= kWidestNumber) {
        width = width * 10 + static_cast<unsigned>(pattern[end++] - '0');
    }
    const std::string field = pattern.substr(position, end + 1 - position);
    if (end == pattern.size() || width > kWidestNumber || (pattern[end] != 'd' && field != "%s")) {
        throw Refuse(pattern, "'" + field + "' is no field that can be filled");
    }
    const Kind kind = pattern[end] == 'd' ? Kind::Number : Kind::Camera;
    if (Has(kind)) {
        throw Refuse(pattern, "'" + field + "' stands where this kind of field was given already");
    }
    m_pieces.push_back({kind, {}, width, pattern[position + 1] == '0' ? '0' : ' '});
    return end + 1;
}

bool FilePattern::Has(Kind kind) const {
    return std::any_of(m_pieces.begin(), m_pieces.end(), [kind](const Piece& piece) { return piece.kind == kind; });
}

std::vector<FilePattern::Piece>::iterator FilePattern::Find(Kind kind) {
    return std::find_if(m_pieces.begin(), m_pieces.end(), [kind](const Piece& piece) { return piece.kind == kind; });
}

std::vector<FilePattern::Piece>::iterator FilePattern::SplitBeforeExtension() {
    if (m_pieces.back().kind != Kind::Text) {
        return m_pieces.end();
    }
    const std::string text = m_pieces.back().text;
    const std::size_t dot = ExtensionPosition(text);
    m_pieces.back().text = text.substr(0, dot);
    m_pieces.push_back({Kind::Text, text.substr(dot)});
    return m_pieces.end() - 1;
}

void FilePattern::Complete(bool severalCameras, bool severalImages) {
    if (severalImages && !Has(Kind::Number)) {
        const auto at = m_pieces.insert(SplitBeforeExtension(), {Kind::Text, "-"});
        m_pieces.insert(at + 1, {Kind::Number, {}, 6, '0'});
    }
    if (severalCameras && !Has(Kind::Camera)) {
        const bool numbered = Has(Kind::Number);
        const auto at = m_pieces.insert(numbered ? Find(Kind::Number) : SplitBeforeExtension(), {Kind::Camera, {}});
        m_pieces.insert(numbered ? at + 1 : at, {Kind::Text, "-"});
    }
}

std::string FilePattern::GetName(const std::string& camera, std::uint64_t number) const {
    std::string name;
    for (const Piece& piece : m_pieces) {
        if (piece.kind == Kind::Text) {
            name += piece.text;
        } else if (piece.kind == Kind::Camera) {
            name += SafeForFileName(camera);
        } else {
            const std::string digits = std::to_string(number);
            name += std::string(piece.width > digits.size() ? piece.width - digits.size() : 0, piece.fill) + digits;
        }
    }
    return name;
}

std::string FilePattern::GetExtension() const {
    if (m_pieces.back().kind != Kind::Text) {
        return {};
    }
    std::string extension = m_pieces.back().text.substr(ExtensionPosition(m_pieces.back().text));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return extension;
}

} // namespace tool
