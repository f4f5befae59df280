// SPDX-License-Identifier: Apache-2.0
#include "PatternLayout.h"

#include "PriorityNames.h"

#include <Base/GCException.h>

#include <charconv>
#include <ctime>
#include <unistd.h>

namespace GenICam {

namespace {

constexpr std::string_view kDefaultPattern = "%d %p %c: %x%m%n";
constexpr char kDefaultTimeFormat[] = "%F %T.%l";
constexpr std::string_view kConversions = "cdmnprtx";
constexpr std::size_t kWidthLimit = 1000;

std::int64_t Milliseconds(std::chrono::system_clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

/// Local date and time in a format of strftime with %l for the milliseconds, as "2024-02-29 13:05:09.042".
std::string LocalTime(std::chrono::system_clock::time_point time, std::string format) {
    const std::string milliseconds = std::to_string(1000 + Milliseconds(time) % 1000).substr(1);
    for (auto mark = format.find("%l"); mark != format.npos; mark = format.find("%l")) {
        format.replace(mark, 2, milliseconds);
    }
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts = {};
    localtime_r(&seconds, &parts);
    char text[128];
    return std::string(text, std::strftime(text, sizeof text, format.c_str(), &parts));
}

std::string Convert(char conversion, const std::string& argument, const LogRecord& record) {
    switch (conversion) {
    case 'c':
        return std::string(record.category);
    case 'd':
        return LocalTime(record.time, argument.empty() ? kDefaultTimeFormat : argument);
    case 'm':
        return std::string(record.message);
    case 'n':
        return "\n";
    case 'p':
        return PriorityName(record.priority);
    case 'r':
        return std::to_string(Milliseconds(record.time));
    case 't':
        return std::to_string(gettid());
    default: // 'x', the last one the constructor lets in
        return std::string(record.ndc);
    }
}

/// Reads a width off the front of @p rest, leaving @p width alone where there is none.
void TakeWidth(std::string_view& rest, std::size_t& width) {
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), width);
    if (error == std::errc::result_out_of_range || (error == std::errc() && width > kWidthLimit)) {
        throw INVALID_ARGUMENT_EXCEPTION("A width in a log pattern is above %zu", kWidthLimit);
    }
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
}

bool TakeByte(std::string_view& rest, char byte) noexcept {
    if (!rest.starts_with(byte)) {
        return false;
    }
    rest.remove_prefix(1);
    return true;
}

} // namespace

CPatternLayout::CPatternLayout(std::string_view pattern) {
    auto rest = pattern.empty() ? kDefaultPattern : pattern;
    while (!rest.empty()) {
        const char byte = rest.front();
        rest.remove_prefix(1);
        if (byte != '%') {
            AddText(byte);
        } else if (TakeByte(rest, '%')) {
            AddText('%');
        } else {
            rest = AddConversion(rest);
        }
    }
}

void CPatternLayout::AddText(char byte) {
    if (m_pieces.empty() || m_pieces.back().conversion != 0) {
        m_pieces.emplace_back();
    }
    m_pieces.back().text += byte;
}

/// @param rest what follows the percent sign: "-20.30d{format} and so on". @return what follows the conversion.
std::string_view CPatternLayout::AddConversion(std::string_view rest) {
    Piece piece;
    piece.isLeft = TakeByte(rest, '-');
    TakeWidth(rest, piece.minWidth);
    if (TakeByte(rest, '.')) {
        TakeWidth(rest, piece.maxWidth);
    }
    if (rest.empty()) {
        throw INVALID_ARGUMENT_EXCEPTION("A log pattern ends within a conversion");
    }
    piece.conversion = rest.front();
    if (kConversions.find(piece.conversion) == kConversions.npos) {
        throw INVALID_ARGUMENT_EXCEPTION("Unknown conversion %%%c in a log pattern", piece.conversion);
    }
    rest.remove_prefix(1);
    if (TakeByte(rest, '{')) {
        const auto end = rest.find('}');
        if (end == rest.npos) {
            throw INVALID_ARGUMENT_EXCEPTION("A brace in a log pattern is not closed");
        }
        piece.text = rest.substr(0, end);
        rest.remove_prefix(end + 1);
    }
    m_pieces.push_back(std::move(piece));
    return rest;
}

std::string CPatternLayout::Format(const LogRecord& record) const {
    std::string line;
    for (const Piece& piece : m_pieces) {
        if (piece.conversion == 0) {
            line += piece.text;
            continue;
        }
        const std::string text = Convert(piece.conversion, piece.text, record).substr(0, piece.maxWidth);
        const std::size_t padding = piece.minWidth > text.size() ? piece.minWidth - text.size() : 0;
        line.append(piece.isLeft ? 0 : padding, ' ').append(text).append(piece.isLeft ? padding : 0, ' ');
    }
    return line;
}

} // namespace GenICam
