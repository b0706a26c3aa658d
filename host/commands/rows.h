#pragma once

#include "ado/Recordset.h"
#include "com/convert.h"
#include "db/forward_only.h"
#include "db/sql_literals.h"
#include "text.h"

#include <QuinmarkRepDLL.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

/// A value of a result as JSON: null, a boolean, a whole number, a date as isoDate has it, or its text.
nlohmann::ordered_json jsonValue(const _variant_t& value);

/// The value of a column in the one form that all commands give it: null for Null, a date as isoDate has it, any other
/// as its text.
nlohmann::ordered_json columnValue(const _variant_t& value);

/// A date by the databases' own clock in ISO 8601, as 2026-11-21T20:30:00; empty for one that is no date.
std::string isoDate(DATE date);

/// The date of such a text; nothing for another text.
std::optional<DATE> dateOf(const std::string& isoDate);

/// The date in a value; nothing for Null.
std::optional<DATE> optionalDate(const _variant_t& value);

/// The rows of a query, each an object by its column names.
nlohmann::ordered_json jsonRows(clsConn& conn, const std::wstring& sql);

/// The rows of a query of SQL Server's catalog or, on a server that does not have it, of standard SQL's.
nlohmann::ordered_json catalogRows(clsConn& conn, const std::wstring& sqlServer, const std::wstring& standard);

/// The columns of a table in their order.
std::vector<std::wstring> columnNames(clsConn& conn, const std::wstring& table);

/// The columns of a table that replication cannot write, by their type.
std::vector<std::wstring> unsupportedColumns(clsConn& conn, const std::wstring& table);

/// Whether two names of tables or columns are one: case and the brackets of SQL Server do not count.
bool isSameName(const std::string& left, const std::string& right);

/// Whether a name is among these, in upper or lower case.
bool containsName(const std::vector<std::wstring>& names, const std::wstring& name);

/// Whether a table has a column, its name in upper or lower case.
bool hasColumn(clsConn& conn, const std::wstring& table, const std::wstring& column);

/// The key of the site's rows in the control tables.
inline std::wstring siteKey(enumReplicationUniqueId site)
{
    return std::to_wstring(static_cast<int>(site));
}
