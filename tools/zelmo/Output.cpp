// SPDX-License-Identifier: Apache-2.0
#include "Output.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tool {
namespace {

bool IsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

bool WantsColour() {
    const char* noColour = std::getenv("NO_COLOR");
    return IsTerminal() && (noColour == nullptr || *noColour == '\0');
}

bool WantsProgress(const GlobalOptions& options) {
    if (options.progress != "auto") {
        return options.progress == "always";
    }
    return IsTerminal() && !options.quiet && !options.json;
}

std::size_t TerminalColumns(int terminal, std::size_t unknown) {
    winsize size{};
    const bool known = ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : unknown;
}

std::size_t DataColumns(int dataFd) {
    constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();
    return dataFd >= 0 ? TerminalColumns(dataFd, kUnlimited) : kUnlimited;
}

/// More digits would only be noise.
double RoundedToMilliseconds(double seconds) {
    return std::round(seconds * 1000) / 1000;
}

/// Whether a byte goes on with the character before it.
bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

std::size_t CountColumns(const std::string& text) {
    return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), IsContinuation));
}

} // namespace

Output::Output(const GlobalOptions& options, std::ostream& data, std::ostream& messages)
    : m_data(&data), m_messages(messages), m_json(options.json), m_quiet(options.quiet), m_colour(WantsColour()),
      m_repeats(options.verbosity > 0), m_dataFd(&data == &std::cout ? STDOUT_FILENO : -1),
      m_dataColumns(DataColumns(m_dataFd)), m_progress(WantsProgress(options)) {}

void Output::Line(const std::string& text) {
    Bytes(text + '\n');
}

void Output::Bytes(const std::string& bytes) {
    if (Writes(false)) {
        const std::lock_guard lock(m_mutex);
        WipeProgress();
        *m_data << bytes;
    }
}

void Output::StreamLine(const std::vector<std::string>& cells) {
    if (Writes(false)) {
        const std::string line = FormatTable({cells}).front();
        const std::lock_guard lock(m_mutex);
        WipeProgress();
        *m_data << line << std::endl;
    }
}

void Output::Table(const std::vector<std::vector<std::string>>& rows, const std::vector<std::size_t>& widest) {
    for (const std::string& line : FormatTable(rows, widest)) {
        Line(Cut(line, m_dataColumns));
    }
}

void Output::Document(Json document) {
    if (!Writes(true)) {
        return;
    }
    Json whole = {{"schema", kJsonSchema}};
    whole.update(document);
    std::lock_guard lock(m_mutex);
    *m_data << whole.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void Output::Event(const std::string& type, Json fields) {
    if (!Writes(true)) {
        return;
    }
    Json whole = {{"type", type}, {"t", RoundedToMilliseconds(SecondsSinceStart())}, {"schema", kJsonSchema}};
    whole.update(fields);
    std::lock_guard lock(m_mutex);
    WipeProgress();
    *m_data << ToLine(whole) << std::endl; // whoever reads the stream wants each line at once
}

void Output::Note(const std::string& text) {
    if (m_quiet) {
        return;
    }
    std::lock_guard lock(m_mutex);
    WipeProgress();
    if (m_json) {
        m_messages << ToLine({{"type", "note"}, {"message", text}}) << std::endl;
    } else {
        m_messages << Printable(text, "\n") << std::endl;
    }
}

void Output::Error(const ToolError& error) {
    std::lock_guard lock(m_mutex);
    WipeProgress();
    if (!m_json) {
        WriteMessage("error", "\033[31m", error.what());
        return;
    }
    Json object = {{"type", "error"}};
    object.update(MakeCauseJson(error));
    if (!error.GetFeature().empty()) {
        object["feature"] = error.GetFeature();
    }
    object["exit_code"] = static_cast<int>(error.GetExitCode());
    m_messages << ToLine(object) << std::endl;
}

void Output::LogLine(const std::string& level, const std::string& category, const std::string& message) {
    std::lock_guard lock(m_mutex);
    if (IsRepeated(level, category + '\n' + message)) {
        return;
    }
    WipeProgress();
    if (m_json) {
        m_messages << ToLine({{"type", "log"}, {"level", level}, {"category", category}, {"message", message}})
                   << std::endl;
    } else {
        m_messages << level << " [" << category << "] " << Printable(message) << std::endl;
    }
}

bool Output::IsRepeated(const std::string& level, const std::string& text) {
    constexpr std::size_t most = 1000; // of texts that are kept: some name a time or an address and never come again
    const bool matters = level == "warning" || level == "error" || level == "critical";
    if (m_repeats || !matters || (m_told.size() >= most && m_told.count(text) == 0)) {
        return false;
    }
    return !m_told.insert(text).second;
}

// Devices, files and users have a part in messages: nothing of it but line ends steers the terminal.
void Output::WriteMessage(const char* label, const char* colour, const std::string& message) {
    const std::string text = Printable(message, "\n");
    if (m_colour) {
        m_messages << "zelmo: " << colour << label << "\033[0m: " << text << std::endl;
    } else {
        m_messages << "zelmo: " << label << ": " << text << std::endl;
    }
}

void Output::ShowProgress(const std::string& text, const Json& fields) {
    if (!m_progress) {
        return;
    }
    std::lock_guard lock(m_mutex);
    if (m_json) {
        Json whole = {{"type", "progress"}, {"t", RoundedToMilliseconds(SecondsSinceStart())}};
        whole.update(fields);
        m_messages << ToLine(whole) << std::endl;
        return;
    }
    m_messages << '\r' << text.substr(0, TerminalColumns(STDERR_FILENO, 80) - 1) << "\033[K" << std::flush;
    m_progressStands = true;
}

void Output::EndProgress() {
    std::lock_guard lock(m_mutex);
    if (m_progressStands) {
        m_messages << std::endl;
        m_progressStands = false;
    }
}

void Output::WipeProgress() {
    if (m_progressStands) {
        m_messages << "\r\033[K" << std::flush;
        m_progressStands = false;
    }
}

void Output::SendDataToMessages() {
    m_data = &m_messages;
    m_dataFd = -1;
}

double Output::SecondsSinceStart() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

void Output::Flush() {
    std::lock_guard lock(m_mutex);
    m_data->flush();
    if (!*m_data && !m_isDropped) {
        throw HostError("Cannot write to standard output: the disk is full or the reader has gone");
    }
}

std::vector<std::string> FormatTable(const std::vector<std::vector<std::string>>& rows,
                                     const std::vector<std::size_t>& widest) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t width = CountColumns(row[i]);
            widths[i] = i < widest.size() && width > widest[i] ? widths[i] : std::max(widths[i], width);
        }
    }
    std::vector<std::string> lines;
    for (const auto& row : rows) {
        std::string line;
        std::size_t end = 0; // where the next column begins
        for (std::size_t i = 0; i < row.size(); ++i) {
            end += widths[i] + 2;
            const std::size_t columns = CountColumns(line += row[i]);
            line.append(columns + 2 > end ? 2 : end - columns, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(line);
    }
    return lines;
}

std::string Cut(const std::string& text, std::size_t columns) {
    if (CountColumns(text) <= columns) {
        return text;
    }
    constexpr std::size_t dots = 3;
    std::size_t end = 0;
    for (std::size_t shown = 0; end < text.size(); ++end) {
        shown += IsContinuation(text[end]) ? 0 : 1;
        if (shown + dots > columns) {
            break;
        }
    }
    return text.substr(0, end) + "...";
}

std::string QuotedList(const std::vector<std::string>& words, const std::string& lastWord) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) {
            text += i + 1 == words.size() ? " " + lastWord + " " : ", ";
        }
        text += "'" + words[i] + "'";
    }
    return text;
}

std::string Printable(const std::string& text, std::string_view allowed) {
    const auto isControl = [allowed](char c) {
        return (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) && allowed.find(c) == std::string_view::npos;
    };
    std::string result = text;
    std::replace_if(result.begin(), result.end(), isControl, '?');
    return result;
}

std::string Fixed(double value, int decimals) {
    char text[512];
    const auto result = std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed, decimals);
    return {text, result.ptr};
}

} // namespace tool
