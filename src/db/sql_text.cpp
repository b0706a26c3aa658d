#include "db/sql_text.h"

namespace Common {
namespace {

/// Appends `s` with its apostrophes doubled.
void appendDoubled(std::wstring& text, std::wstring_view s)
{
    size_t done = 0;
    for (size_t at = s.find(L'\''); at != s.npos; at = s.find(L'\'', done)) {
        text.append(s.substr(done, at + 1 - done)) += L'\'';
        done = at + 1;
    }
    text.append(s.substr(done));
}

} // namespace

std::wstring SqlQuote(const std::wstring& s, bool bLeadingWildcard, bool bTrailingWildcard)
{
    if (bLeadingWildcard || bTrailingWildcard)
        return SqlLikePattern(s, bLeadingWildcard, bTrailingWildcard);
    std::wstring literal;
    appendSqlQuote(literal, s);
    return literal;
}

void appendSqlQuote(std::wstring& sql, std::wstring_view s)
{
    if (s.empty()) {
        sql += L"Null";
        return;
    }
    sql += L'\'';
    appendDoubled(sql, s);
    sql += L'\'';
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
