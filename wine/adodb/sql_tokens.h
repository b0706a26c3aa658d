#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace adodb {

enum class TokenKind
{
    Space,
    Comment,
    Word,
    Number,
    String,
    QuotedName,
    BracketedName,
    Symbol
};

/// A piece of a statement; `text` lies in the statement.
struct Token
{
    TokenKind kind;
    std::wstring_view text;

    bool isSymbol(wchar_t symbol) const noexcept { return kind == TokenKind::Symbol && text.front() == symbol; }
    bool isGap() const noexcept { return kind == TokenKind::Space || kind == TokenKind::Comment; }
};

/// Splits a statement; the tokens' texts joined are the statement. A quotation or comment without an end runs to the
/// end.
std::vector<Token> tokenize(std::wstring_view sql);

/// The small letter of an ASCII capital; anything else as it is.
constexpr wchar_t lowerAscii(wchar_t c) noexcept
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

/// Whether the texts are equal but for the case of ASCII letters.
bool equalsIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept;

} // namespace adodb
