#include "ado_error.h"
#include "session.h"
#include "sql_tokens.h"

#include <array>

namespace adodb {

namespace {

struct Pair
{
    std::wstring keyword;
    std::wstring value; ///< as written, braces included
};

struct Synonym
{
    const wchar_t* ado;
    const wchar_t* odbc;
};

constexpr std::array kSynonyms{
    Synonym{L"Data Source", L"DSN"},
    Synonym{L"User ID", L"UID"},
    Synonym{L"Password", L"PWD"},
    Synonym{L"Initial Catalog", L"DATABASE"},
};

std::wstring trimmed(std::wstring_view text)
{
    const size_t first = text.find_first_not_of(L" \t");
    const size_t last = text.find_last_not_of(L" \t");
    return first == std::wstring_view::npos ? std::wstring() : std::wstring(text.substr(first, last - first + 1));
}

/// The position after the value that begins at `from`; a value in braces may hold semicolons and doubled closing
/// braces.
size_t endOfValue(std::wstring_view text, size_t from)
{
    const size_t first = text.find_first_not_of(L" \t", from);
    if (first != std::wstring_view::npos && text[first] == L'{') {
        size_t at = first + 1;
        while ((at = text.find(L'}', at)) != std::wstring_view::npos && at + 1 < text.size() && text[at + 1] == L'}')
            at += 2;
        from = at == std::wstring_view::npos ? text.size() : at;
    }
    return std::min(text.find(L';', from), text.size());
}

std::wstring odbcKeyword(std::wstring keyword)
{
    for (const Synonym& synonym : kSynonyms)
        if (equalsIgnoringCase(keyword, synonym.ado))
            return synonym.odbc;
    return keyword;
}

std::vector<Pair> parse(std::wstring_view text)
{
    std::vector<Pair> pairs;
    for (size_t at = 0; at < text.size();) {
        const size_t equals = text.find(L'=', at);
        if (equals == std::wstring_view::npos)
            break;
        const size_t end = endOfValue(text, equals + 1);
        pairs.push_back(
            {odbcKeyword(trimmed(text.substr(at, equals - at))), trimmed(text.substr(equals + 1, end - equals - 1))});
        at = end + 1;
    }
    return pairs;
}

std::wstring braced(const std::wstring& value)
{
    if (value.find_first_of(L"[]{}(),;?*=!@ ") == std::wstring::npos)
        return value;
    std::wstring text = L"{";
    for (const wchar_t c : value)
        text += c == L'}' ? std::wstring(L"}}") : std::wstring(1, c);
    return text + L'}';
}

void set(std::vector<Pair>& pairs, const wchar_t* keyword, const std::wstring& value)
{
    if (value.empty())
        return;
    std::erase_if(pairs, [&](const Pair& pair) { return equalsIgnoringCase(pair.keyword, keyword); });
    pairs.push_back({keyword, braced(value)});
}

std::wstring joined(const std::vector<Pair>& pairs)
{
    std::wstring text;
    for (const Pair& pair : pairs)
        text += (text.empty() ? L"" : L";") + pair.keyword + L'=' + pair.value;
    return text;
}

bool isProvider(const Pair& pair)
{
    return equalsIgnoringCase(pair.keyword, L"Provider");
}

} // namespace

std::wstring odbcConnectionString(const std::wstring& connectionString, const std::wstring& user,
                                  const std::wstring& password)
{
    std::vector<Pair> pairs = parse(connectionString);
    if (pairs.empty() && !trimmed(connectionString).empty())
        pairs.push_back({L"DSN", trimmed(connectionString)});
    for (const Pair& pair : pairs)
        if (isProvider(pair) && !equalsIgnoringCase(std::wstring_view(pair.value).substr(0, 7), L"MSDASQL"))
            raiseAdoError(kProviderNotFound, L"ADODB.Connection");
    std::erase_if(pairs, isProvider);
    set(pairs, L"UID", user);
    set(pairs, L"PWD", password);
    return joined(pairs);
}

std::wstring withoutPassword(const std::wstring& connectionString)
{
    std::vector<Pair> pairs = parse(connectionString);
    const auto isPassword = [](const Pair& pair) { return equalsIgnoringCase(pair.keyword, L"PWD"); };
    return std::erase_if(pairs, isPassword) ? joined(pairs) : connectionString;
}

} // namespace adodb
