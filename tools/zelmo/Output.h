// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Errors.h"
#include "Json.h"
#include "Options.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// All that the tool prints: data to standard output; notes, progress and errors to standard error; as text or as JSON.
/// Threads: any, at the same time; a line is never torn.
class Output {
public:
    Output(const GlobalOptions& options, std::ostream& data, std::ostream& messages);

    bool IsJson() const noexcept { return m_json; }
    bool IsQuiet() const noexcept { return m_quiet; }
    bool IsVerbose() const noexcept { return m_repeats; } ///< -v

    /// Descriptor of the data, for HasHungUp; -1 where they go to a stream of this program.
    int GetDataFd() const noexcept { return m_dataFd; }
    void SendDataToMessages(); ///< Standard output is needed for something else; before anything was printed.
    void DropData() noexcept { m_isDropped = true; } ///< Nobody reads data: from here on none are written.

    void Line(const std::string& text);   ///< One line of data; nothing with --json.
    void Bytes(const std::string& bytes); ///< Data as it is; nothing with --json.
    /// One line of a stream, whose reader wants each at once: cells two blanks apart; nothing with --json.
    void StreamLine(const std::vector<std::string>& cells);

    /// Rows of data as FormatTable() makes them; nothing with --json. On a terminal they end at its edge.
    void Table(const std::vector<std::vector<std::string>>& rows, const std::vector<std::size_t>& widest = {});

    void Document(Json document); ///< The one document of a verb, "schema" in front; nothing without --json.
    void
    Event(const std::string& type,
          Json fields); ///< One line of a stream with "type" and "t" (s since start) in front; nothing without --json.

    void Note(const std::string& text); ///< For people: a hint, a warning. Silent with -q.
    void Error(const ToolError& error);

    /// Warnings and worse ones are told once each: what is tried again and again fails alike. With -v all are.
    void LogLine(const std::string& level, const std::string& category, const std::string& message);

    /// What a plug-in or a system library wrote to standard error by itself.
    void LogForeignLine(const std::string& line) { LogLine("warning", "stderr", line); }

    /// One line, rewritten and cut at the terminal's width; with --json an object of @p fields instead.
    void ShowProgress(const std::string& text, const Json& fields);
    void EndProgress(); ///< Leaves the last progress line standing.

    double SecondsSinceStart() const;

    /// @throws ToolError when standard output could not be written (a full disk, a closed pipe).
    void Flush();

private:
    bool Writes(bool json) const noexcept { return m_json == json && !m_isDropped; }
    bool IsRepeated(const std::string& level, const std::string& text);
    void WipeProgress();
    void WriteMessage(const char* label, const char* colour, const std::string& message);

    std::ostream* m_data; // never null
    std::ostream& m_messages;
    const bool m_json;
    const bool m_quiet;
    const bool m_colour;
    const bool m_repeats; // log lines
    int m_dataFd;
    std::atomic<bool> m_isDropped{false};
    const std::size_t m_dataColumns; // the terminal's; without limit where data goes elsewhere
    bool m_progress;
    bool m_progressStands = false;
    std::set<std::string> m_told; // log lines
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    mutable std::mutex m_mutex;
};

/// Columns as wide as their widest cell, two blanks between, no blanks at the end of a line. Cells wider than what
/// @p widest says of their column do not widen it: they push what follows them aside.
std::vector<std::string> FormatTable(const std::vector<std::vector<std::string>>& rows,
                                     const std::vector<std::size_t>& widest = {});

/// The text, or its beginning with three dots where it has more than @p columns characters of UTF-8.
std::string Cut(const std::string& text, std::size_t columns);

/// "a, b and c" with quotes around each.
std::string QuotedList(const std::vector<std::string>& words, const std::string& lastWord = "and");

/// Text from a device or a user as it may be shown on a terminal: control characters but those @p allowed are replaced
/// by '?'.
std::string Printable(const std::string& text, std::string_view allowed = {});

/// printf's %.<decimals>f, whatever the locale.
std::string Fixed(double value, int decimals);

} // namespace tool
