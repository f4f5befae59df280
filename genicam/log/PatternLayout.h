// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Log/Appender.h>

#include <string>
#include <string_view>
#include <vector>

namespace GenICam {

/// Turns a log record into text by a pattern; CLog::CreateFileAppender tells its conversions.
/// Threads: any, at the same time.
class CPatternLayout {
public:
    /// The empty pattern is the default one. @throws InvalidArgumentException for an unknown conversion.
    explicit CPatternLayout(std::string_view pattern = {});

    std::string Format(const LogRecord& record) const;

private:
    struct Piece {
        char conversion = 0; // 0 for text that stands as it is
        std::string text;    // or the argument in braces
        bool isLeft = false;
        std::size_t minWidth = 0;
        std::size_t maxWidth = std::string::npos;
    };

    void AddText(char byte);
    std::string_view AddConversion(std::string_view rest);

    std::vector<Piece> m_pieces;
};

} // namespace GenICam
