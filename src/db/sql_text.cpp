#include "db/sql_text.h"

namespace Common {
namespace {

std::wstring doubleApostrophes(const std::wstring& s)
{
    std::wstring doubled;
    doubled.reserve(s.size());
    for (const wchar_t character : s) {
        doubled += character;
        if (character == L'\'')
            doubled += L'\'';
    }
    return doubled;
}

} // namespace

std::wstring SqlQuote(const std::wstring& s, bool bLeadingWildcard, bool bTrailingWildcard)
{
    if (bLeadingWildcard || bTrailingWildcard)
        return SqlLikePattern(s, bLeadingWildcard, bTrailingWildcard);
    if (s.empty())
        return L"Null";
    return L"'" + doubleApostrophes(s) + L"'";
}

std::wstring SqlLikePattern(const std::wstring& s, bool bLeadingWildcard, bool bTrailingWildcard)
{
    if (s.empty())
        return L"'%'";
    std::wstring pattern = L"'";
    if (bLeadingWildcard)
        pattern += L'%';
    pattern += doubleApostrophes(s);
    if (bTrailingWildcard)
        pattern += L'%';
    return pattern + L"'";
}

} // namespace Common
