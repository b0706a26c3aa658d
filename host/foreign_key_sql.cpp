#include "foreign_key_sql.h"

#include "text.h"

namespace {

/// A name of the catalogue in a statement.
std::wstring catalogName(const std::string& name)
{
    return L"[" + toWide(name) + L"]";
}

} // namespace

std::wstring tableInStatement(const std::string& name)
{
    const size_t dot = name.find('.');
    return dot == std::string::npos ? catalogName(name)
                                    : catalogName(name.substr(0, dot)) + L"." + catalogName(name.substr(dot + 1));
}

std::wstring binds(const ForeignKey& key, const std::wstring& child)
{
    std::wstring condition;
    for (const auto& columns : key.columns)
        condition += (condition.empty() ? L"" : L" and ") + child + L"." + catalogName(columns.first) + L" is not null";
    return condition;
}

std::wstring refersTo(const ForeignKey& key, const std::wstring& child, const std::wstring& table,
                      const std::wstring& parent, const std::wstring& condition)
{
    std::wstring sql;
    for (const auto& [childColumn, parentColumn] : key.columns)
        sql += (sql.empty() ? L"" : L" and ") + parent + L"." + catalogName(parentColumn) + L" = " + child + L"." +
               catalogName(childColumn);
    return L"exists (select 1 from " + table + L" " + parent + L" where " + sql +
           (condition.empty() ? L"" : L" and " + condition) + L")";
}
