#include "WrittenColumns.h"

#include "commands/rows.h"
#include "db/sql_literals.h"
#include "replication/row_sql.h"
#include "text.h"

#include <fmt/format.h>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

/// A kind of column that the server fills, and the remedy; "{}" is the side.
struct ServerFilled
{
    const char* kind;
    const char* text;
    const char* todo;
};

constexpr ServerFilled kServerFilled[] = {
    {"identity", "an identity column",
     "make it an ordinary column on the {}: create the table there again without identity, and take its rows over"},
    {"computed", "a computed column",
     "make it an ordinary column of the same type on the {}: the other side's values are copied into it"},
    {"rowversion", "a rowversion",
     "make it binary(8) on the {} for a full copy; for any other method drop it on both sides, after a look whether a "
     "program reads it"},
};

std::wstring literal(const std::wstring& text)
{
    return Common::SqlQuote(text, false, false);
}

bool areNames(clsConn& conn, const std::vector<std::wstring>& names)
{
    std::wstring values;
    std::wstring list;
    for (const std::wstring& name : names) {
        values += values.empty() ? L"1" : L", 1";
        list += (list.empty() ? L"" : L", ") + name;
    }
    try {
        // A list of new columns takes the names that an insert's list of columns takes, and reads no table.
        openForwardOnly(conn, L"select * from (select " + values + L") row_values (" + list + L")").close();
        return true;
    }
    catch (const com::Error&) {
        return false;
    }
}

} // namespace

std::vector<UnwritableColumn> serverFilledColumns(clsConn& conn, const std::string& side, const std::wstring& table)
{
    const ordered_json rows = catalogRows(
        conn,
        L"select name, case when is_identity = 1 then 'identity' when is_computed = 1 then 'computed'"
        L" else 'rowversion' end kind from sys.columns where object_id = object_id(" +
            literal(table) +
            L") and (is_identity = 1 or is_computed = 1 or type_name(system_type_id) = 'timestamp') order by column_id",
        L"select column_name as name, case is_identity when 'YES' then 'identity' else 'computed' end as kind"
        L" from information_schema.columns where table_schema = current_schema and table_name = lower(" +
            literal(table) +
            L") and (identity_generation = 'ALWAYS' or is_generated = 'ALWAYS') order by ordinal_position");
    std::vector<UnwritableColumn> columns;
    for (const ordered_json& row : rows)
        for (const ServerFilled& filled : kServerFilled)
            if (row["kind"] == filled.kind)
                columns.push_back({row["name"],
                                   fmt::format("column {} of the {} is {}, whose values the server alone gives",
                                               row["name"].get<std::string>(), side, filled.text),
                                   fmt::format(fmt::runtime(filled.todo), side)});
    return columns;
}

std::vector<UnwritableColumn> unwritableColumns(clsConn& conn, const std::string& side, const std::wstring& table)
{
    std::vector<UnwritableColumn> columns = serverFilledColumns(conn, side, table);
    std::erase_if(
        columns, [&](const UnwritableColumn& column) { return Utils::isSkipField(table, toWide(column.name), false); });
    const std::vector<std::wstring> names = columnNames(conn, table);
    if (areNames(conn, names))
        return columns;
    for (const std::wstring& name : names)
        if (!isPlainName(conn, name))
            columns.push_back({toUtf8(name),
                               fmt::format("the name of column {} cannot stand in a statement without brackets, and "
                                           "replication writes none",
                                           toUtf8(name)),
                               "rename the column on both sides, or use method \"full_copy\""});
    return columns;
}

bool isPlainName(clsConn& conn, const std::wstring& name)
{
    return areNames(conn, {name});
}

std::vector<std::string> triggersOf(clsConn& conn, const std::wstring& table)
{
    std::vector<std::string> names;
    for (const ordered_json& row :
         catalogRows(conn,
                     L"select name from sys.triggers where is_disabled = 0 and parent_id = object_id(" +
                         literal(table) + L") order by name",
                     L"select distinct trigger_name as name from information_schema.triggers"
                     L" where event_object_schema = current_schema and event_object_table = lower(" +
                         literal(table) + L") order by name"))
        names.push_back(row["name"]);
    return names;
}
