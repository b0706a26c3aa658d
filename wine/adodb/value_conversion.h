#pragma once

#include "ado_types.h"

#include <comdef.h>

#include <string>
#include <string_view>
#include <vector>

/// Between ODBC's buffers and automation values. Nothing is rounded or cut silently: what does not fit raises 6
/// (overflow).
namespace adodb {

/// OLE date of a timestamp, fractions of a second included.
DATE dateOfTimestamp(const SQL_TIMESTAMP_STRUCT& timestamp);

/// Timestamp of an OLE date, rounded to `fractionDigits` (0 to 9) decimals of a second.
SQL_TIMESTAMP_STRUCT timestampOfDate(DATE date, int fractionDigits);

/// The time of day in `hh:mm:ss[.fraction]`, as the fraction of an OLE date.
DATE dateOfTimeText(std::wstring_view text);

/// The time of day of an OLE date as `hh:mm:ss[.ffffff]`.
std::wstring timeText(DATE date);

/// Reads a GUID in text with or without braces; false when it is none.
bool tryParseGuid(std::wstring text, GUID& guid);

_variant_t nullVariant();
_variant_t bytesVariant(const void* data, size_t size);
_variant_t textVariant(const wchar_t* text, size_t length);

/// The bytes of a VT_ARRAY|VT_UI1 value.
std::vector<std::byte> bytesOfVariant(const VARIANT& value);

/// The value of a buffer that the driver filled with `length` bytes for a column or parameter of this type.
_variant_t valueOfBuffer(const TypeInfo& type, const void* buffer, size_t length);

} // namespace adodb
