#include "TestDatabase.h"

#include "support/Requirements.h"

#include <algorithm>

namespace {

std::wstring inOneLine(std::wstring text)
{
    std::ranges::replace_if(
        text, [](wchar_t character) { return character < L' '; }, L' ');
    return text;
}

} // namespace

TestDatabase::TestDatabase(const std::wstring& dsn, const std::wstring& password)
    : PracticeSide(dsn, password, Unclaimed{}),
      dsn_(dsn)
{
}

std::wstring TestDatabase::refusal() const
{
    for (const std::wstring& prefix :
         {std::wstring(), setting(L"QUINMARK_OFFICE_PREFIX"), setting(L"QUINMARK_LAPTOP_PREFIX")})
        if (const std::wstring answer = rowsOfTests(prefix); answer != L"0" && answer != L"1")
            return dsn_ + L" has no test database" + (prefix.empty() ? L"" : L" under the prefix " + prefix) +
                   L"; test_database.sql makes one of an empty database. The server says: " + inOneLine(answer);
    if (rowsOfTests(L"") == L"1") // by a run that broke off
        return {};
    if (const std::wstring table = filledTable(); !table.empty())
        return dsn_ + L" has rows in the table " + table + L" that no test made";
    if (row(L"select count(*) from control where type = 'DBOffice' and id <> 'Norvale'") != L"0")
        return dsn_ + L" has the mark of an office in the table control";
    return {};
}

void TestDatabase::claim() const
{
    execute(L"update quinmark_test_database set rows_of_tests = 1");
}

void TestDatabase::release() const
{
    emptyTables();
    restoreControl();
    execute(L"update quinmark_test_database set rows_of_tests = 0");
}

std::wstring TestDatabase::server() const
{
    return inOneLine(row(versionQuery()));
}
