#include "commands/rows.h"

#include "replication/row_sql.h"

#include <algorithm>
#include <fmt/format.h>

using namespace quinmark;
using nlohmann::ordered_json;

ordered_json jsonValue(const _variant_t& value)
{
    switch (value.vt) {
    case VT_NULL:
    case VT_EMPTY:
        return nullptr;
    case VT_BOOL:
        return com::toBool(value);
    case VT_UI1:
    case VT_I2:
    case VT_I4:
        return com::toInt32(value);
    case VT_I8:
        return value.llVal;
    default:
        return columnValue(value);
    }
}

ordered_json columnValue(const _variant_t& value)
{
    if (value.vt == VT_NULL || value.vt == VT_EMPTY)
        return nullptr;
    const std::string date = value.vt == VT_DATE ? isoDate(value.date) : std::string();
    return date.empty() ? toUtf8(com::toText(value)) : date;
}

std::string isoDate(DATE date)
{
    SYSTEMTIME time{};
    if (!VariantTimeToSystemTime(date, &time))
        return {};
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", time.wYear, time.wMonth, time.wDay, time.wHour,
                       time.wMinute, time.wSecond);
}

std::optional<DATE> dateOf(const std::string& isoDate)
{
    std::wstring text = toWide(isoDate);
    std::ranges::replace(text, L'T', L' ');
    DATE date = 0;
    return SUCCEEDED(VarDateFromStr(text.data(), LOCALE_INVARIANT, 0, &date)) ? std::optional(date) : std::nullopt;
}

std::optional<DATE> optionalDate(const _variant_t& value)
{
    return value.vt == VT_NULL ? std::nullopt : std::optional(com::toDate(value));
}

ordered_json jsonRows(clsConn& conn, const std::wstring& sql)
{
    ordered_json rows = ordered_json::array();
    ado::Recordset rs = openForwardOnly(conn, sql);
    const long count = rs.fieldCount();
    for (; !rs.eof(); rs.moveNext()) {
        ordered_json row;
        for (long index = 0; index < count; ++index)
            row[toUtf8(rs.field(index).name())] = jsonValue(rs.field(index).value());
        rows.push_back(std::move(row));
    }
    rs.close();
    return rows;
}

ordered_json catalogRows(clsConn& conn, const std::wstring& sqlServer, const std::wstring& standard)
{
    try {
        return jsonRows(conn, sqlServer);
    }
    catch (const com::Error&) {
        return jsonRows(conn, standard);
    }
}

std::vector<std::wstring> columnNames(clsConn& conn, const std::wstring& table)
{
    ado::Recordset rs = openForwardOnly(conn, L"select * from " + table + L" where 1 = 0");
    std::vector<std::wstring> names;
    for (long index = 0, count = rs.fieldCount(); index < count; ++index)
        names.push_back(rs.field(index).name());
    rs.close();
    return names;
}

std::vector<std::wstring> unsupportedColumns(clsConn& conn, const std::wstring& table)
{
    std::vector<std::wstring> names;
    ado::Recordset rs = openForwardOnly(conn, L"select * from " + table + L" where 1 = 0");
    for (long index = 0, count = rs.fieldCount(); index < count; ++index)
        if (const ado::Field field = rs.field(index); literalForm(field.type()) == LiteralForm::Unsupported)
            names.push_back(field.name());
    rs.close();
    return names;
}

bool isSameName(const std::string& left, const std::string& right)
{
    const auto plain = [](const std::string& name) {
        std::wstring upper = com::upperCase(toWide(name));
        std::erase_if(upper, [](wchar_t unit) { return unit == L'[' || unit == L']'; });
        return upper;
    };
    return plain(left) == plain(right);
}

bool containsName(const std::vector<std::wstring>& names, const std::wstring& name)
{
    return std::any_of(names.begin(), names.end(), [upper = com::upperCase(name)](const std::wstring& candidate) {
        return com::upperCase(candidate) == upper;
    });
}

bool hasColumn(clsConn& conn, const std::wstring& table, const std::wstring& column)
{
    return containsName(columnNames(conn, table), column);
}
