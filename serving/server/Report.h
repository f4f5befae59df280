// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ServeError.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace Serving {

using CJson = nlohmann::ordered_json;

CJson JsonCount(std::uint64_t value); ///< Text beyond 2^53, which most readers would round.

enum class EFormat { Text, Json };
enum class ENotes { Told, Silent };

/// What is printed: data to standard output, notes and errors to standard error; as text or as an object a line.
/// Threads: one at a time.
class CReport {
public:
    CReport(EFormat format, ENotes notes) : m_format(format), m_notes(notes) {}

    using CRows = std::vector<std::vector<std::string>>;
    void Table(const CRows& rows);      ///< Columns two blanks apart; nothing as JSON.
    void Document(const CJson& fields); ///< The only object there is; nothing as text.
    /// One line of a stream, with "type" and "t", the seconds since the start; nothing as text.
    void Event(const std::string& type, const CJson& fields);
    void Note(const std::string& text);
    void Error(const CServeError& error);

private:
    void Print(const std::string& text);

    const EFormat m_format;
    const ENotes m_notes;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace Serving
