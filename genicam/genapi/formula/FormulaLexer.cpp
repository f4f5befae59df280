// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/formula/FormulaLexer.h"

#include <algorithm>
#include <array>

namespace GenApi {

namespace {

// The letters and digits of ASCII, whatever the locale says.
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

template <typename Predicate>
std::size_t SkipWhile(std::string_view text, std::size_t at, Predicate predicate) {
    while (at < text.size() && predicate(text[at])) {
        ++at;
    }
    return at;
}

char At(std::string_view text, std::size_t at) {
    return at < text.size() ? text[at] : '\0';
}

std::string Printable(std::string_view token) {
    constexpr std::size_t maxLength = 40;
    std::string text(token.substr(0, maxLength));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return token.size() > maxLength ? text + "..." : text;
}

} // namespace

CFormulaLexer::CFormulaLexer(std::string_view text) : m_text(text), m_token(text.substr(0, 0)) {
    Next();
}

bool CFormulaLexer::IsFollowedBy(char c) const {
    const std::size_t at = SkipSpace(m_at + m_token.size());
    return at < m_text.size() && m_text[at] == c;
}

void CFormulaLexer::Next() {
    m_at = SkipSpace(m_at + m_token.size());
    const char c = At(m_text, m_at);
    if (m_at == m_text.size()) {
        Take(EToken::End, 0);
    } else if (IsDigit(c) || (c == '.' && IsDigit(At(m_text, m_at + 1)))) {
        Take(EToken::Number, NumberLength(m_at));
    } else if (IsLetter(c)) {
        Take(EToken::Name, NameLength(m_at));
    } else {
        Take(EToken::Symbol, SymbolLength(m_at));
    }
}

std::string CFormulaLexer::Describe(std::string_view reason) const {
    std::string text = "Position " + std::to_string(m_at + 1);
    if (m_kind == EToken::End) {
        text.append(", end: ");
    } else {
        text.append(", '").append(Printable(m_token)).append("': ");
    }
    return text.append(reason);
}

std::size_t CFormulaLexer::SkipSpace(std::size_t at) const {
    return SkipWhile(m_text, at, [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
}

std::size_t CFormulaLexer::NumberLength(std::size_t at) const {
    if (m_text[at] == '0' && (At(m_text, at + 1) | 0x20) == 'x') {
        return SkipWhile(m_text, at + 2, IsHexDigit) - at;
    }
    std::size_t end = SkipWhile(m_text, at, IsDigit);
    if (At(m_text, end) == '.') {
        end = SkipWhile(m_text, end + 1, IsDigit);
    }
    if ((At(m_text, end) | 0x20) == 'e') {
        const bool sign = At(m_text, end + 1) == '+' || At(m_text, end + 1) == '-';
        const std::size_t exponent = end + (sign ? 2 : 1);
        if (IsDigit(At(m_text, exponent))) {
            end = SkipWhile(m_text, exponent, IsDigit);
        }
    }
    return end - at;
}

std::size_t CFormulaLexer::NameLength(std::size_t at) const {
    return SkipWhile(m_text, at, [](char c) { return IsLetter(c) || IsDigit(c) || c == '.'; }) - at;
}

std::size_t CFormulaLexer::SymbolLength(std::size_t at) const {
    constexpr std::array<std::string_view, 10> pairs = {"||", "&&", "==", "!=", "<>", "<=", ">=", "<<", ">>", "**"};
    return std::find(pairs.begin(), pairs.end(), m_text.substr(at, 2)) != pairs.end() ? 2 : 1;
}

void CFormulaLexer::Take(EToken kind, std::size_t length) {
    m_kind = kind;
    m_token = m_text.substr(m_at, length);
}

} // namespace GenApi
