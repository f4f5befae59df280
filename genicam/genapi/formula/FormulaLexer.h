// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace GenApi {

/// Cuts a formula into tokens. Numbers are only delimited, not read: the machine decides which ones it takes.
class CFormulaLexer {
public:
    enum class EToken { End, Number, Name, Symbol };

    explicit CFormulaLexer(std::string_view text); ///< @p text is borrowed.

    EToken Kind() const { return m_kind; }
    std::string_view Token() const { return m_token; } ///< Empty at the end.
    bool Is(std::string_view symbol) const { return m_kind == EToken::Symbol && m_token == symbol; }
    bool IsFollowedBy(char c) const; ///< Looks past the current token and the space behind it.
    void Next();

    /// "Position 5, ')': <reason>", with the position of the current token counted from 1.
    std::string Describe(std::string_view reason) const;

private:
    std::size_t SkipSpace(std::size_t at) const;
    std::size_t NumberLength(std::size_t at) const;
    std::size_t NameLength(std::size_t at) const;
    std::size_t SymbolLength(std::size_t at) const;
    void Take(EToken kind, std::size_t length);

    std::string_view m_text;
    std::size_t m_at = 0; // of the current token
    EToken m_kind = EToken::End;
    std::string_view m_token;
};

} // namespace GenApi
