#pragma once

#include "db/sql_text.h"

#include <comdef.h>

/// Values as SQL literals. The forms of dates and numbers are the platform's own for the user's locale; the server has
/// to read them under a matching setting.
namespace Common {

/// 'date' in the locale's short form, with the time unless it is midnight; Null for the zero date.
std::wstring SqlDate(DATE dValue);

/// Appends to `sql` what SqlDate gives.
void appendSqlDate(std::wstring& sql, DATE dValue);

/// A value's text between apostrophes, nothing doubled: for keys, GUIDs and numbers. Raises 94 for Null.
std::wstring SqlQuoteOnly(const _variant_t& vValue);

/// Appends to `sql` what SqlQuoteOnly gives; raises as it does.
void appendSqlQuoteOnly(std::wstring& sql, const _variant_t& vValue);

/// A boolean as a bit: 1 or 0.
short SqlBit(short bValue);

} // namespace Common
