// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/Persistence.h>

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace GenApi {

typedef std::vector<CFeatureBag::CEntry> BagEntries;

constexpr std::string_view kBagId = "05D8C294-F295-4dfb-9D01-096BD04049F4";
constexpr std::string_view kBaggerId = "4709CB3C-7322-4460-84C3-DA11DDA09939";

/// The lines of a stream, without their ends (LF or CRLF), counted from 1; the one ahead can be looked at.
class BagLines {
public:
    explicit BagLines(std::istream& stream) : m_stream(stream) { Read(); }

    bool IsAtEnd() const noexcept { return !m_hasNext; }
    const std::string& Peek() const noexcept { return m_next; }
    std::size_t Number() const noexcept { return m_number; } ///< Of the line ahead.
    std::string Take();

private:
    void Read();

    std::istream& m_stream;
    std::string m_next;
    std::size_t m_number = 0;
    bool m_hasNext = false;
};

/// A feature with its value now. @throws InvalidArgumentException for a name that would not be read back as one, and
/// what reading raises.
CFeatureBag::CEntry MakeEntry(IValue& feature);

std::string FormatRemarks(std::string_view id, const gcstring& info);
void FormatEntries(const BagEntries& entries, std::string& text); ///< Appends.

/// Takes the first line. @throws RuntimeException without one.
std::string TakeIdentifier(BagLines& lines);

/// Whether a line begins a bag of several; then @p name is that bag's name.
bool IsBagHeader(std::string_view line, gcstring& name);

/// Takes the lines of one bag, from its identifier up to the header of the next or the end.
/// @throws RuntimeException that names the line.
BagEntries ParseBag(BagLines& lines);
BagEntries ParseEntries(BagLines& lines); ///< The same, from behind the identifier.

/// @throws RuntimeException for lines left, which begin another bag.
void RequireEnd(const BagLines& lines);

struct NamedBag {
    gcstring name;
    BagEntries entries;
};

/// Takes all bags of a text; a text of a single one has the bag "All". @throws RuntimeException that names the line.
std::vector<NamedBag> ParseBags(BagLines& lines);

} // namespace GenApi
