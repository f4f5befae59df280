#include "PatternLayout.h"

#include "PriorityNames.h"

#include <Base/GCException.h>

#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace GenICam {

namespace {

constexpr std::string_view DefaultPattern = "%d %p %c: %x%m%n";
constexpr std::string_view Conversions = "cdmnptx";

/// Local date and time, as "2024-02-29 13:05:09.042".
std::string LocalTime(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto sinceEpoch = duration_cast<milliseconds>(time.time_since_epoch()).count();
    const std::time_t seconds = system_clock::to_time_t(time);
    std::tm parts = {};
    localtime_r(&seconds, &parts);
    char text[40];
    const auto length = std::strftime(text, sizeof text, "%F %T", &parts);
    std::snprintf(text + length, sizeof text - length, ".%03d", static_cast<int>(sinceEpoch % 1000));
    return text;
}

std::string Convert(char conversion, const LogRecord& record) {
    switch (conversion) {
    case 'c':
        return std::string(record.category);
    case 'd':
        return LocalTime(record.time);
    case 'm':
        return std::string(record.message);
    case 'n':
        return "\n";
    case 'p':
        return PriorityName(record.priority);
    case 't':
        return std::to_string(gettid());
    default: // 'x', the last one the constructor lets in
        return std::string(record.ndc);
    }
}

} // namespace

CPatternLayout::CPatternLayout(std::string_view pattern) {
    if (pattern.empty())
        pattern = DefaultPattern;
    for (std::size_t position = 0; position < pattern.size(); ++position) {
        if (pattern[position] != '%')
            AddText(pattern[position]);
        else
            AddConversion(++position < pattern.size() ? pattern[position] : '\0');
    }
}

void CPatternLayout::AddText(char byte) {
    if (m_pieces.empty() || m_pieces.back().conversion != 0)
        m_pieces.push_back({0, {}});
    m_pieces.back().text += byte;
}

void CPatternLayout::AddConversion(char conversion) {
    if (conversion == '%')
        AddText('%');
    else if (conversion == '\0')
        throw INVALID_ARGUMENT_EXCEPTION("A log pattern ends in a single %%");
    else if (Conversions.find(conversion) == Conversions.npos)
        throw INVALID_ARGUMENT_EXCEPTION("Unknown conversion %%%c in a log pattern", conversion);
    else
        m_pieces.push_back({conversion, {}});
}

std::string CPatternLayout::Format(const LogRecord& record) const {
    std::string line;
    for (const Piece& piece : m_pieces)
        line += piece.conversion == 0 ? piece.text : Convert(piece.conversion, record);
    return line;
}

} // namespace GenICam
