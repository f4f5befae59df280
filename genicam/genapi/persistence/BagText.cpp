// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/BagText.h"

#include "genicam/genapi/persistence/FeatureTexts.h"
#include "genicam/genapi/persistence/Selectors.h"

#include <Base/GCException.h>

#include <algorithm>

namespace GenApi {

namespace {

constexpr std::string_view kEscapedRemark = "#escaped"; // remarks by people begin with "# "
constexpr std::string_view kVersion = GENICAM_VERSION;  // from the root CMakeLists.txt
constexpr char kEscapes[][2] = {{'\n', 'n'}, {'\r', 'r'}, {'\0', '0'}, {'\\', '\\'}};

std::string Escape(std::string_view value) {
    std::string text;
    for (const char one : value) {
        char letter = 0;
        for (const auto& escape : kEscapes) {
            letter = escape[0] == one ? escape[1] : letter;
        }
        text += letter == 0 ? std::string(1, one) : std::string{'\\', letter};
    }
    return text;
}

[[noreturn]] void FailLine(std::size_t number, std::string_view line, const char* why) {
    constexpr std::size_t most = 80;
    std::string shown(line.substr(0, most));
    std::replace(shown.begin(), shown.end(), '\0', '?'); // which would end the message
    throw RUNTIME_EXCEPTION("Line " + std::to_string(number) + " of the feature bag, '" + shown +
                            (line.size() > most ? "...', " : "', ") + why);
}

std::string Unescape(std::string_view text, std::size_t number) {
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            value += text[i];
            continue;
        }
        const char letter = ++i < text.size() ? text[i] : ' ';
        const auto* found = std::begin(kEscapes);
        while (found != std::end(kEscapes) && (*found)[1] != letter) {
            ++found;
        }
        if (found == std::end(kEscapes)) {
            FailLine(number, text, "has a backslash that stands for nothing");
        }
        value += (*found)[0];
    }
    return value;
}

CFeatureBag::CEntry ParseEntry(std::string_view line, std::size_t number, bool isEscaped) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string_view::npos) {
        FailLine(number, line, "has no tab between name and value; the text is cut short or damaged");
    }
    if (tab == 0) {
        FailLine(number, line, "has no name");
    }
    const std::string_view value = line.substr(tab + 1);
    return {gcstring(line.substr(0, tab)), isEscaped ? gcstring(Unescape(value, number)) : gcstring(value)};
}

} // namespace

std::string BagLines::Take() {
    std::string line = std::move(m_next);
    Read();
    return line;
}

void BagLines::Read() {
    m_next.clear();
    // looks first: to read at the end would leave the stream failed behind a good text
    m_hasNext =
        m_stream.good() && m_stream.peek() != std::istream::traits_type::eof() && std::getline(m_stream, m_next);
    if (m_stream.bad()) {
        throw RUNTIME_EXCEPTION("Reading the feature bag failed behind its line %zu.", m_number);
    }
    m_number += 1;
    if (!m_next.empty() && m_next.back() == '\r') {
        m_next.pop_back();
    }
}

CFeatureBag::CEntry MakeEntry(IValue& feature) {
    const std::string name = NameOf(feature);
    const bool isSafe = !name.empty() && name[0] != '#' && name[0] != '[' &&
                        name.find_first_of(std::string_view("\t\r\n\0", 4)) == std::string::npos;
    if (!isSafe) {
        throw INVALID_ARGUMENT_EXCEPTION("A feature of the name '%s' cannot stand in a feature bag", name.c_str());
    }
    return {gcstring(std::string_view(name)), gcstring(ExactText(feature))};
}

std::string FormatRemarks(std::string_view id, const gcstring& info) {
    std::string text = "# {" + std::string(id) + "}\n";
    if (info.empty()) {
        return text;
    }
    text += "# GenApi persistence file (version " + std::string(kVersion) + ")\n# ";
    for (const char one : info.view()) {
        text += one == '\n' ? std::string("\n# ") : std::string(1, one);
    }
    return text + "\n";
}

void FormatEntries(const BagEntries& entries, std::string& text) {
    for (const CFeatureBag::CEntry& entry : entries) {
        const std::string_view value = entry.Value.view();
        const bool isPlain = value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
        if (!isPlain) {
            text += kEscapedRemark;
            text += '\n';
        }
        text += entry.Name.view();
        text += '\t';
        text += isPlain ? std::string(value) : Escape(value);
        text += '\n';
    }
}

std::string TakeIdentifier(BagLines& lines) {
    if (lines.IsAtEnd()) {
        throw RUNTIME_EXCEPTION("There is no feature bag to read: the text is at its end");
    }
    return lines.Take();
}

bool IsBagHeader(std::string_view line, gcstring& name) {
    const bool isHeader =
        line.size() >= 2 && line.front() == '[' && line.back() == ']' && line.find('\t') == std::string_view::npos;
    if (isHeader) {
        name = gcstring(line.substr(1, line.size() - 2));
    }
    return isHeader;
}

BagEntries ParseBag(BagLines& lines) {
    const std::size_t number = lines.Number();
    const std::string first = TakeIdentifier(lines);
    if (first.find(kBaggerId) != std::string::npos) {
        throw RUNTIME_EXCEPTION("The text holds several feature bags, not one");
    }
    if (first.find(kBagId) == std::string::npos) {
        FailLine(number, first, "does not hold the identifier of feature bags");
    }
    return ParseEntries(lines);
}

BagEntries ParseEntries(BagLines& lines) {
    BagEntries entries;
    bool isEscaped = false;
    for (gcstring header; !lines.IsAtEnd() && !IsBagHeader(lines.Peek(), header);) {
        const std::size_t number = lines.Number();
        const std::string line = lines.Take();
        if (line.empty()) {
            continue;
        }
        if (line[0] == '#') {
            isEscaped = line == kEscapedRemark;
            continue;
        }
        entries.push_back(ParseEntry(line, number, isEscaped));
        isEscaped = false;
    }
    return entries;
}

std::vector<NamedBag> ParseBags(BagLines& lines) {
    if (lines.Peek().find(kBaggerId) == std::string::npos) {
        std::vector<NamedBag> single{{"All", ParseBag(lines)}};
        RequireEnd(lines);
        return single;
    }
    lines.Take();
    std::vector<NamedBag> bags;
    while (!lines.IsAtEnd()) {
        const std::size_t number = lines.Number();
        const std::string line = lines.Take();
        gcstring name;
        if (IsBagHeader(line, name)) {
            bags.push_back({name, ParseBag(lines)});
        } else if (!line.empty() && line[0] != '#') {
            FailLine(number, line, "does not begin a bag, as \"[<name>]\" does");
        }
    }
    return bags;
}

void RequireEnd(const BagLines& lines) {
    if (!lines.IsAtEnd()) {
        throw RUNTIME_EXCEPTION("Line " + std::to_string(lines.Number()) +
                                " begins another feature bag in what is to be one");
    }
}

} // namespace GenApi
