// SPDX-License-Identifier: Apache-2.0
#include "Report.h"

#include <algorithm>
#include <cmath>
#include <iostream>

namespace Serving {
namespace {

constexpr int kJsonSchema = 1; // as the tool's

std::string Line(const CJson& object) {
    return object.dump(-1, ' ', false, CJson::error_handler_t::replace) + '\n';
}

std::vector<std::size_t> WidthsOf(const CReport::CRows& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    return widths;
}

/// Names come from whoever has control: they must not move a terminal's cursor.
std::string Printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, '?');
    return text;
}

} // namespace

CJson JsonCount(std::uint64_t value) {
    constexpr std::uint64_t largestExact = std::uint64_t{1} << 53;
    return value > largestExact ? CJson(std::to_string(value)) : CJson(value);
}

void CReport::Print(const std::string& text) {
    std::cout << text << std::flush; // whoever reads a stream wants each line at once
    if (!std::cout) {
        throw HostError("Cannot write to standard output: stopped");
    }
}

void CReport::Table(const CRows& rows) {
    if (m_format == EFormat::Json) {
        return;
    }
    const std::vector<std::size_t> widths = WidthsOf(rows);
    std::string text;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const bool isLast = i + 1 == row.size();
            text += Printable(row[i]) + (isLast ? "" : std::string(widths[i] - row[i].size() + 2, ' '));
        }
        text += '\n';
    }
    Print(text);
}

void CReport::Document(const CJson& fields) {
    if (m_format == EFormat::Json) {
        CJson whole = {{"schema", kJsonSchema}};
        whole.update(fields);
        Print(whole.dump(2) + '\n');
    }
}

void CReport::Event(const std::string& type, const CJson& fields) {
    if (m_format == EFormat::Json) {
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - m_start;
        CJson whole = {{"type", type}, {"t", std::round(passed.count() * 1000) / 1000}, {"schema", kJsonSchema}};
        whole.update(fields);
        Print(Line(whole));
    }
}

void CReport::Note(const std::string& text) {
    if (m_notes == ENotes::Told) {
        std::cerr << (m_format == EFormat::Json ? Line({{"type", "note"}, {"message", text}}) : Printable(text) + '\n')
                  << std::flush;
    }
}

void CReport::Error(const CServeError& error) {
    const CJson object = {{"type", "error"},
                          {"code", error.Code()},
                          {"message", error.what()},
                          {"exit_code", static_cast<int>(error.Exit())}};
    std::cerr << (m_format == EFormat::Json ? Line(object)
                                            : Printable(std::string("zelmo: error: ") + error.what()) + '\n')
              << std::flush;
}

} // namespace Serving
