#include "sql_tokens.h"

#include <algorithm>

namespace adodb {

namespace {

// The locale has no say in what SQL takes for a space, a digit or a letter.
bool isSpace(wchar_t c) noexcept
{
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

bool isDigit(wchar_t c) noexcept
{
    return c >= L'0' && c <= L'9';
}

bool isWordStart(wchar_t c) noexcept
{
    const wchar_t lower = lowerAscii(c);
    return (lower >= L'a' && lower <= L'z') || c == L'_' || c == L'@' || c == L'#' || c >= 0x80;
}

bool isWordPart(wchar_t c) noexcept
{
    return isWordStart(c) || isDigit(c) || c == L'$';
}

size_t endWhile(std::wstring_view sql, size_t from, auto predicate)
{
    return static_cast<size_t>(std::find_if_not(sql.begin() + static_cast<ptrdiff_t>(from), sql.end(), predicate) -
                               sql.begin());
}

/// The position after the closing mark; a doubled closing mark stands for itself.
size_t endOfQuoted(std::wstring_view sql, size_t from, wchar_t close)
{
    for (size_t at = from + 1; at < sql.size(); ++at) {
        if (sql[at] != close)
            continue;
        if (at + 1 == sql.size() || sql[at + 1] != close)
            return at + 1;
        ++at;
    }
    return sql.size();
}

size_t endAfter(std::wstring_view sql, size_t from, std::wstring_view mark)
{
    const size_t found = sql.find(mark, from);
    return found == std::wstring_view::npos ? sql.size() : found + mark.size();
}

struct Extent
{
    TokenKind kind;
    size_t end;
};

Extent nextToken(std::wstring_view sql, size_t at)
{
    const wchar_t c = sql[at];
    const std::wstring_view rest = sql.substr(at);
    if (isSpace(c))
        return {TokenKind::Space, endWhile(sql, at, isSpace)};
    if (rest.starts_with(L"--"))
        return {TokenKind::Comment, endAfter(sql, at, L"\n")};
    if (rest.starts_with(L"/*"))
        return {TokenKind::Comment, endAfter(sql, at + 2, L"*/")};
    if (c == L'\'')
        return {TokenKind::String, endOfQuoted(sql, at, c)};
    if (c == L'"')
        return {TokenKind::QuotedName, endOfQuoted(sql, at, c)};
    if (c == L'[')
        return {TokenKind::BracketedName, endOfQuoted(sql, at, L']')};
    if (isWordStart(c))
        return {TokenKind::Word, endWhile(sql, at, isWordPart)};
    if (isDigit(c))
        return {TokenKind::Number, endWhile(sql, at, [](wchar_t x) { return isWordPart(x) || x == L'.'; })};
    return {TokenKind::Symbol, at + 1};
}

} // namespace

std::vector<Token> tokenize(std::wstring_view sql)
{
    std::vector<Token> tokens;
    for (size_t at = 0; at < sql.size();) {
        const Extent extent = nextToken(sql, at);
        tokens.push_back({extent.kind, sql.substr(at, extent.end - at)});
        at = extent.end;
    }
    return tokens;
}

bool equalsIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept
{
    return std::ranges::equal(left, right, {}, lowerAscii, lowerAscii);
}

} // namespace adodb
