#include "db/sql_text.h"

namespace Common {
namespace {

/// Appends `s` with its apostrophes doubled.
void appendDoubled(std::wstring& text, const std::wstring& s)
{
    text.reserve(text.size() + s.size() + 2);
    for (const wchar_t character : s) {
        text += character;
        if (character == L'\'')
            text += L'\'';
    }
}

} // namespace

std::wstring SqlQuote(const std::wstring& s, bool bLeadingWildcard, bool bTrailingWildcard)
{
    if (bLeadingWildcard || bTrailingWildcard)
        return SqlLikePattern(s, bLeadingWildcard, bTrailingWildcard);
    if (s.empty())
        return L"Null";
    std::wstring literal = L"'";
    appendDoubled(literal, s);
    literal += L'\'';
    return literal;
}

std::wstring SqlLikePattern(const std::wstring& s, bool bLeadingWildcard, bool bTrailingWildcard)
{
    if (s.empty())
        return L"'%'";
    std::wstring pattern = L"'";
    if (bLeadingWildcard)
        pattern += L'%';
    appendDoubled(pattern, s);
    if (bTrailingWildcard)
        pattern += L'%';
    return pattern + L"'";
}

} // namespace Common
