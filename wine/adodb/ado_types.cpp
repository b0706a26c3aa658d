#include "ado_types.h"

#include <algorithm>
#include <array>

namespace adodb {

namespace {

// Decimals travel as text, so that no digit is lost; times too, because SQL_TIME_STRUCT has no fractions.
constexpr SQLLEN kDecimalTextBytes = 64;
constexpr SQLLEN kTimeTextBytes = 32 * sizeof(wchar_t);
constexpr long kLongBytes = 2147483647;

// Types of SQL Server's driver that ODBC's own header does not know.
constexpr SQLSMALLINT kSqlServerXml = -152;
constexpr SQLSMALLINT kSqlServerTime = -154;

constexpr std::array kTypes{
    TypeInfo{adSmallInt, SQL_SMALLINT, SQL_C_SSHORT, 2, VT_I2, 2, 5},
    TypeInfo{adInteger, SQL_INTEGER, SQL_C_SLONG, 4, VT_I4, 4, 10},
    TypeInfo{adSingle, SQL_REAL, SQL_C_FLOAT, 4, VT_R4, 4, 7},
    TypeInfo{adDouble, SQL_DOUBLE, SQL_C_DOUBLE, 8, VT_R8, 8, 15},
    TypeInfo{adCurrency, SQL_DECIMAL, SQL_C_CHAR, kDecimalTextBytes, VT_CY, 8, 19},
    TypeInfo{adDate, SQL_TYPE_TIMESTAMP, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT), VT_DATE, 8, 255},
    TypeInfo{adBoolean, SQL_BIT, SQL_C_BIT, 1, VT_BOOL, 2, 255},
    TypeInfo{adDecimal, SQL_DECIMAL, SQL_C_CHAR, kDecimalTextBytes, VT_DECIMAL, 16, 0},
    TypeInfo{adTinyInt, SQL_TINYINT, SQL_C_STINYINT, 1, VT_I1, 1, 3},
    TypeInfo{adUnsignedTinyInt, SQL_TINYINT, SQL_C_UTINYINT, 1, VT_UI1, 1, 3},
    TypeInfo{adBigInt, SQL_BIGINT, SQL_C_SBIGINT, 8, VT_I8, 8, 19},
    TypeInfo{adGUID, SQL_GUID, SQL_C_GUID, sizeof(GUID), VT_BSTR, 16, 255},
    TypeInfo{adBinary, SQL_BINARY, SQL_C_BINARY, 0, VT_ARRAY | VT_UI1, 0, 255},
    TypeInfo{adChar, SQL_CHAR, SQL_C_WCHAR, 0, VT_BSTR, 0, 255},
    TypeInfo{adWChar, SQL_WCHAR, SQL_C_WCHAR, 0, VT_BSTR, 0, 255},
    TypeInfo{adNumeric, SQL_NUMERIC, SQL_C_CHAR, kDecimalTextBytes, VT_DECIMAL, 19, 0},
    TypeInfo{adDBDate, SQL_TYPE_DATE, SQL_C_TYPE_DATE, sizeof(SQL_DATE_STRUCT), VT_DATE, 6, 10},
    TypeInfo{adDBTime, SQL_TYPE_TIME, SQL_C_WCHAR, kTimeTextBytes, VT_DATE, 6, 8},
    TypeInfo{adDBTimeStamp, SQL_TYPE_TIMESTAMP, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT), VT_DATE, 16, 0},
    TypeInfo{adVarChar, SQL_VARCHAR, SQL_C_WCHAR, 0, VT_BSTR, 0, 255},
    TypeInfo{adLongVarChar, SQL_LONGVARCHAR, SQL_C_WCHAR, 0, VT_BSTR, kLongBytes, 255},
    TypeInfo{adVarWChar, SQL_WVARCHAR, SQL_C_WCHAR, 0, VT_BSTR, 0, 255},
    TypeInfo{adLongVarWChar, SQL_WLONGVARCHAR, SQL_C_WCHAR, 0, VT_BSTR, kLongBytes / 2, 255},
    TypeInfo{adVarBinary, SQL_VARBINARY, SQL_C_BINARY, 0, VT_ARRAY | VT_UI1, 0, 255},
    TypeInfo{adLongVarBinary, SQL_LONGVARBINARY, SQL_C_BINARY, 0, VT_ARRAY | VT_UI1, kLongBytes, 255},
};

constexpr auto kTypeNumber = [](const TypeInfo& info) { return long{info.type}; };
static_assert(std::ranges::is_sorted(kTypes, {}, kTypeNumber));

bool isMoney(const SqlColumnType& column, Dialect dialect) noexcept
{
    if (dialect == Dialect::PostgreSql)
        return column.size == 19 && column.digits == 4;
    return column.typeName.ends_with(L"money"); // smallmoney, too
}

} // namespace

const TypeInfo* findType(long adoType) noexcept
{
    const auto found = std::ranges::lower_bound(kTypes, adoType, {}, kTypeNumber);
    return found != kTypes.end() && found->type == adoType ? &*found : nullptr;
}

AdoType adoTypeOfColumn(const SqlColumnType& column, Dialect dialect) noexcept
{
    const bool plainText = dialect == Dialect::PostgreSql;
    const bool isLong = column.size == 0; // varchar(max) and the like have no size
    switch (column.sqlType) {
    case SQL_SMALLINT:
        return adSmallInt;
    case SQL_INTEGER:
        return adInteger;
    case SQL_BIGINT:
        return adBigInt;
    case SQL_TINYINT:
        return column.isUnsigned ? adUnsignedTinyInt : adTinyInt;
    case SQL_REAL:
        return adSingle;
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return adDouble;
    case SQL_BIT:
        return adBoolean;
    case SQL_GUID:
        return adGUID;
    case SQL_DECIMAL:
    case SQL_NUMERIC:
        return isMoney(column, dialect) ? adCurrency : adNumeric;
    case SQL_CHAR:
        return adChar;
    case SQL_VARCHAR:
        return isLong ? adLongVarChar : adVarChar;
    case SQL_LONGVARCHAR:
        return adLongVarChar;
    case SQL_WCHAR:
        return plainText ? adChar : adWChar;
    case SQL_WVARCHAR:
        if (plainText)
            return adVarChar;
        return isLong ? adLongVarWChar : adVarWChar;
    case SQL_WLONGVARCHAR:
        return plainText ? adLongVarChar : adLongVarWChar;
    case kSqlServerXml:
        return adLongVarWChar;
    case SQL_TYPE_DATE:
        return adDBDate;
    case SQL_TYPE_TIME:
    case kSqlServerTime:
        return adDBTime;
    case SQL_TYPE_TIMESTAMP:
        return adDBTimeStamp;
    case SQL_BINARY:
        return adBinary;
    case SQL_VARBINARY:
        return isLong ? adLongVarBinary : adVarBinary;
    case SQL_LONGVARBINARY:
        return adLongVarBinary;
    default:
        return adEmpty;
    }
}

} // namespace adodb
