#pragma once

#include "dialect.h"
#include "odbc_handle.h"

#include <wtypes.h>

#include <string>

namespace adodb {

/// ADO's DataTypeEnum, as far as it can occur here.
enum AdoType : short
{
    adEmpty = 0,
    adSmallInt = 2,
    adInteger = 3,
    adSingle = 4,
    adDouble = 5,
    adCurrency = 6,
    adDate = 7,
    adBoolean = 11,
    adDecimal = 14,
    adTinyInt = 16,
    adUnsignedTinyInt = 17,
    adBigInt = 20,
    adGUID = 72,
    adBinary = 128,
    adChar = 129,
    adWChar = 130,
    adNumeric = 131,
    adDBDate = 133,
    adDBTime = 134,
    adDBTimeStamp = 135,
    adVarChar = 200,
    adLongVarChar = 201,
    adVarWChar = 202,
    adLongVarWChar = 203,
    adVarBinary = 204,
    adLongVarBinary = 205,
};

enum ParameterDirection : long
{
    adParamInput = 1,
    adParamOutput = 2,
    adParamInputOutput = 3,
    adParamReturnValue = 4
};
enum CursorType : long
{
    adOpenForwardOnly = 0,
    adOpenKeyset = 1,
    adOpenDynamic = 2,
    adOpenStatic = 3
};
enum CursorLocation : long
{
    adUseServer = 2,
    adUseClient = 3
};
enum CommandType : long
{
    adCmdUnspecified = -1,
    adCmdText = 1,
    adCmdTable = 2,
    adCmdStoredProc = 4,
    adCmdUnknown = 8
};

/// The ODBC form of a type.
struct TypeInfo
{
    AdoType type;
    SQLSMALLINT sqlType;     ///< as which a parameter is bound
    SQLSMALLINT cType;       ///< the buffer's type
    SQLLEN bufferBytes;      ///< of a fixed-size buffer; 0 for variable length
    VARTYPE variantType;     ///< of the value that ADO hands out
    long definedSize;        ///< what Field.DefinedSize says; 0 = the column's size
    unsigned char precision; ///< what Field.Precision says; 0 = the column's, 255 = none

    constexpr bool isText() const { return cType == SQL_C_WCHAR && variantType == VT_BSTR; }
    constexpr bool isVariable() const { return bufferBytes == 0; }
    constexpr bool isLong() const { return type == adLongVarChar || type == adLongVarWChar || type == adLongVarBinary; }
    constexpr bool isDecimal() const { return cType == SQL_C_CHAR; }
};

/// The row of the type table, or null for a type that cannot be used.
const TypeInfo* findType(long adoType) noexcept;

/// A column's type as the driver describes it.
struct SqlColumnType
{
    SQLSMALLINT sqlType;
    SQLULEN size;
    SQLSMALLINT digits;
    bool isUnsigned;
    std::wstring typeName; ///< the server's name of a decimal type; not asked of PostgreSQL
};

/// The ADO type of a result column, adEmpty when there is none. PostgreSQL has no separate national character types, so
/// its wide text is reported as CHAR, VARCHAR and LONGVARCHAR; numeric(19,4) is its form of money.
AdoType adoTypeOfColumn(const SqlColumnType& column, Dialect dialect) noexcept;

} // namespace adodb
