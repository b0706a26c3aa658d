#include "postgres_name.h"

#include "sql_tokens.h"

#include <algorithm>

namespace adodb {

namespace {

// PostgreSQL's reserved words: the plain names that mean something else when they stand without quotes.
constexpr std::wstring_view kReserved =
    L" all analyse analyze and any array as asc asymmetric authorization binary both case cast check collate"
    L" collation column concurrently constraint create cross current_catalog current_date current_role"
    L" current_schema current_time current_timestamp current_user default deferrable desc distinct do else end"
    L" except false fetch for foreign freeze from full grant group having ilike in initially inner intersect"
    L" into is isnull join lateral leading left like limit localtime localtimestamp natural not notnull null"
    L" offset on only or order outer overlaps placing primary references returning right select session_user"
    L" some symmetric table then to trailing true union unique user using variadic when where window with"
    L" ";

bool isReserved(const std::wstring& name)
{
    return kReserved.find(L' ' + name + L' ') != std::wstring_view::npos;
}

bool isPlainName(std::wstring_view name)
{
    return !name.empty() && !(name.front() >= L'0' && name.front() <= L'9') &&
           std::ranges::all_of(name, isNameCharacter);
}

std::wstring quoted(std::wstring_view name)
{
    std::wstring text = L"\"";
    for (const wchar_t c : name) {
        text += c;
        if (c == L'"')
            text += c;
    }
    return text + L'"';
}

} // namespace

bool isNameCharacter(wchar_t c) noexcept
{
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') || c == L'_';
}

std::wstring postgresName(std::wstring_view bracketed)
{
    std::wstring name;
    const std::wstring_view inner = bracketed.substr(1, bracketed.size() - (bracketed.ends_with(L']') ? 2 : 1));
    for (size_t at = 0; at < inner.size(); ++at) {
        name += inner[at];
        if (inner[at] == L']')
            ++at;
    }
    if (!isPlainName(name))
        return quoted(name);
    std::wstring lower = name;
    std::ranges::transform(lower, lower.begin(), lowerAscii);
    return isReserved(lower) ? quoted(lower) : name;
}

} // namespace adodb
