#pragma once

#include <string>
#include <string_view>

namespace adodb {

/// The differences between databases.
enum class Dialect
{
    Untouched,  ///< statements go out as they are
    PostgreSql, ///< SQL Server's spellings are rewritten; text types are reported as CHAR, VARCHAR and LONGVARCHAR
};

/// By the driver's SQL_DBMS_NAME.
Dialect dialectOfDatabase(std::wstring_view dbmsName) noexcept;

/// The statement or batch as the database understands it. PostgreSQL: `[name]`, `select top n`, `dateadd(s, n, x)` and
/// `IF OBJECT_ID('schema.X', 'F') IS NOT NULL alter table T drop constraint X` are rewritten; every other character
/// stays. Strings, quoted identifiers and comments are never touched.
std::wstring translateSql(Dialect dialect, std::wstring sql);

} // namespace adodb
