// SPDX-License-Identifier: Apache-2.0
#include "gigevision/Golden.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>

namespace Golden {

namespace {

bool IsErrorName(const std::string& name) {
    for (std::uint32_t code = 0x8000; code <= 0xFFFF; ++code) {
        if (GigEVision::StatusName(GigEVision::Status{static_cast<std::uint16_t>(code)}) == name) {
            return true;
        }
    }
    return false;
}

} // namespace

std::vector<std::string> ReadLines(const std::string& file) {
    std::ifstream stream(GOLDEN_FOLDER "/" + file);
    EXPECT_TRUE(stream.is_open()) << file;
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (line.find_first_not_of(' ') != std::string::npos && line[0] != '#') {
            lines.push_back(line);
        }
    }
    return lines;
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        if (!part.empty()) {
            parts.push_back(part);
        }
    }
    return parts;
}

std::uint64_t ParseNumber(const std::string& text) {
    std::uint64_t number = 0;
    if (const auto parts = Split(text, '.'); parts.size() == 4) {
        for (const std::string& part : parts) {
            number = number << 8 | ParseNumber(part);
        }
        return number;
    }
    const bool isHex = text.starts_with("0x");
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + (isHex ? 2 : 0), end, number, isHex ? 16 : 10);
    EXPECT_TRUE(result.ec == std::errc() && result.ptr == end) << "'" << text << "' is no number";
    return number;
}

std::vector<std::uint8_t> ParseBytes(const std::string& text, char separator) {
    std::vector<std::uint8_t> bytes;
    for (const std::string& pair : Split(text, separator)) {
        EXPECT_EQ(pair.size(), 2u) << text;
        bytes.push_back(static_cast<std::uint8_t>(ParseNumber("0x" + pair)));
    }
    return bytes;
}

std::vector<Case> ReadCases(const std::string& file) {
    std::vector<Case> cases;
    for (const std::string& line : ReadLines(file)) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (line[0] != ' ') {
            Case& block = cases.emplace_back();
            if (word == "accept" || word == "refuse" || word == "status") {
                block.verb = word;
                words >> word;
            }
            block.kind = word;
            std::getline(words >> std::ws, block.title);
        } else if (cases.empty()) {
            ADD_FAILURE() << "'" << line << "' belongs to no block";
        } else if (std::string rest; word == "=") {
            std::getline(words, rest);
            const auto bytes = ParseBytes(rest);
            cases.back().bytes.insert(cases.back().bytes.end(), bytes.begin(), bytes.end());
        } else {
            std::getline(words >> std::ws, rest);
            cases.back().fields[word].push_back(rest);
        }
    }
    return cases;
}

bool Fields::Has(const std::string& name) {
    m_used.insert(name);
    return m_case.fields.contains(name);
}

std::string Fields::Text(const std::string& name) {
    return Has(name) ? m_case.fields.at(name).front() : std::string();
}

void Fields::ExpectAllUsed() const {
    for (const auto& [name, lines] : m_case.fields) {
        EXPECT_TRUE(m_used.contains(name)) << "unknown field " << name;
    }
}

std::vector<std::string> Fields::Values(const std::string& name, bool areLines) const {
    const std::vector<std::string>& lines = m_case.fields.at(name);
    if (areLines) {
        return lines;
    }
    std::vector<std::string> words;
    for (const std::string& line : lines) {
        std::ranges::copy(Split(line), std::back_inserter(words));
    }
    return words;
}

std::string Fields::At(const std::vector<std::string>& values, std::size_t index) {
    EXPECT_LT(index, values.size());
    return index < values.size() ? values[index] : "0";
}

void Fields::Parse(const std::vector<std::string>& values, std::size_t index, std::string& told) {
    const std::string text = At(values, index);
    EXPECT_TRUE(text.size() >= 2 && text.front() == '"' && text.back() == '"') << text;
    told = text.substr(1, text.size() - 2);
}

void Fields::Parse(const std::vector<std::string>& values, std::size_t index, std::array<std::uint8_t, 6>& told) {
    const auto bytes = ParseBytes(At(values, index), ':');
    EXPECT_EQ(bytes.size(), told.size());
    std::copy_n(bytes.begin(), std::min(bytes.size(), told.size()), told.begin());
}

void Fields::Parse(const std::vector<std::string>& values, std::size_t index, GigEVision::Bytes& told) {
    told = m_data.emplace_back(ParseBytes(At(values, index)));
}

void Fields::StatusName(GigEVision::Status status) {
    if (Has("status_name")) {
        EXPECT_EQ(GigEVision::StatusName(status), Text("status_name"));
    }
}

void RunCases(const std::string& file, const Handlers& handlers) {
    const std::vector<Case> cases = ReadCases(file);
    std::set<std::string> kinds;
    for (const Case& block : cases) {
        SCOPED_TRACE(block.verb + " " + block.kind + " " + block.title);
        const auto handler = handlers.find(block.kind);
        if (handler == handlers.end()) {
            ADD_FAILURE() << "unknown kind";
            continue;
        }
        kinds.insert(block.kind);
        Fields fields(block);
        EXPECT_EQ(handler->second(block, fields), block.verb != "refuse");
        EXPECT_EQ(fields.Has("answer"), block.verb == "status");
        EXPECT_TRUE(block.verb != "status" || IsErrorName(fields.Text("answer")));
        fields.ExpectAllUsed();
    }
    EXPECT_EQ(kinds.size(), handlers.size()) << "each kind is in the table";
}

} // namespace Golden
