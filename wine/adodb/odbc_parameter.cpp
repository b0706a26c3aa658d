#include "odbc_parameter.h"

#include "ado_error.h"
#include "decimal_text.h"
#include "value_conversion.h"

#include <algorithm>
#include <cstring>

namespace adodb {

namespace {

// A larger declared size reserves no more than this for an output value.
constexpr long kMostOutputUnits = 4 * 1024 * 1024;
constexpr SQLULEN kMostPrecision = 28;
constexpr SQLULEN kTimestampWithoutFraction = 19;

const TypeInfo& completeType(const ParameterData& parameter)
{
    requireComplete(parameter);
    return *findType(parameter.type);
}

/// Decimals of a second when the parameter names none: those of SQL Server's datetime, or of PostgreSQL's timestamp.
int fractionDigits(const ParameterData& parameter, Dialect dialect)
{
    if (parameter.scale > 0)
        return std::min(static_cast<int>(parameter.scale), 7);
    return dialect == Dialect::PostgreSql ? 6 : 3;
}

SQLSMALLINT wideType(SQLSMALLINT sqlType)
{
    switch (sqlType) {
    case SQL_CHAR:
        return SQL_WCHAR;
    case SQL_VARCHAR:
        return SQL_WVARCHAR;
    case SQL_LONGVARCHAR:
        return SQL_WLONGVARCHAR;
    default:
        return sqlType;
    }
}

bool isAscii(const VARIANT& text)
{
    return std::ranges::all_of(std::wstring_view(V_BSTR(&text), SysStringLen(V_BSTR(&text))),
                               [](wchar_t c) { return c < 0x80; });
}

/// The type as which a value goes out. SQL Server gets text that is not plain ASCII as national text: it writes a
/// question mark for what a code page lacks, as with its own driver; FreeTDS would refuse the value.
SQLSMALLINT sqlTypeOf(const TypeInfo& type, const VARIANT& value, Dialect dialect)
{
    const bool isNational = dialect != Dialect::PostgreSql && V_VT(&value) == VT_BSTR && !isAscii(value);
    return isNational ? wideType(type.sqlType) : type.sqlType;
}

/// SQL Server's tinyint has no sign; FreeTDS sends 251 for -5.
void requireUnsigned(const VARIANT& value, Dialect dialect)
{
    if (dialect != Dialect::PostgreSql && V_VT(&value) == VT_I1 && V_I1(&value) < 0)
        raiseAdoError(kDataConversion, L"ADODB.Parameter");
}

SQLSMALLINT directionOf(const ParameterData& parameter)
{
    switch (parameter.direction) {
    case adParamInput:
        return SQL_PARAM_INPUT;
    case adParamInputOutput:
        return SQL_PARAM_INPUT_OUTPUT;
    default:
        return SQL_PARAM_OUTPUT;
    }
}

} // namespace

OdbcParameter::OdbcParameter(const ParameterData& parameter, Dialect dialect)
    : parameter_(parameter),
      type_(completeType(parameter)),
      sqlType_(sqlTypeOf(type_, parameter.value, dialect))
{
    if (type_.sqlType == SQL_TYPE_TIMESTAMP) {
        digits_ = static_cast<SQLSMALLINT>(fractionDigits(parameter, dialect));
        columnSize_ = kTimestampWithoutFraction + 1 + static_cast<SQLULEN>(digits_);
    }
    else if (type_.isDecimal()) {
        columnSize_ = type_.type == adCurrency ? 19
                      : parameter.precision    ? static_cast<SQLULEN>(parameter.precision)
                                               : kMostPrecision;
        digits_ = type_.type == adCurrency ? SQLSMALLINT{4} : static_cast<SQLSMALLINT>(parameter.scale);
    }
    else if (type_.type == adDBTime) {
        columnSize_ = 15;
        digits_ = 6;
    }
    else {
        columnSize_ = type_.isVariable() ? static_cast<SQLULEN>(parameter.size) : type_.precision;
    }
    if (parameter.isInput()) {
        const _variant_t value = coerceValue(parameter, parameter.value);
        if (V_VT(&value) == VT_EMPTY)
            raiseAdoError(kNoValueForParameter, kProviderName);
        requireUnsigned(value, dialect);
        if (V_VT(&value) != VT_NULL)
            store(value);
    }
    if (parameter.isOutput())
        reserveOutput();
    if (buffer_.empty()) // a null address would stand for Null, not for an empty text
        buffer_.resize(sizeof(wchar_t));
}

void OdbcParameter::storeBytes(const void* data, size_t size)
{
    const auto* bytes = static_cast<const std::byte*>(data);
    buffer_.assign(bytes, bytes + size);
    length_ = static_cast<SQLLEN>(size);
}

void OdbcParameter::storeDate(DATE date)
{
    SQL_TIMESTAMP_STRUCT timestamp = timestampOfDate(date, digits_);
    if (type_.cType == SQL_C_TYPE_DATE) {
        const SQL_DATE_STRUCT day{timestamp.year, timestamp.month, timestamp.day};
        storeBytes(&day, sizeof day);
    }
    else if (type_.cType == SQL_C_WCHAR) {
        const std::wstring text = timeText(date);
        storeBytes(text.data(), text.size() * sizeof(wchar_t));
    }
    else {
        storeBytes(&timestamp, sizeof timestamp);
    }
}

void OdbcParameter::storeDecimal(const VARIANT& given)
{
    _variant_t value(given);
    value.ChangeType(VT_DECIMAL);
    std::string text = decimalText(V_DECIMAL(&value));
    if (text.find('.') != std::string::npos)
        text.erase(std::max(text.find_last_not_of('0'), text.find('.') - 1) + 1);
    if (text.ends_with('.'))
        text.pop_back();
    const size_t point = std::min(text.find('.'), text.size());
    const size_t fraction = point < text.size() ? text.size() - point - 1 : 0;
    const size_t whole = point - (text.starts_with('-') ? 1 : 0);
    if (parameter_.precision == 0 && parameter_.scale == 0 && type_.type != adCurrency)
        digits_ = static_cast<SQLSMALLINT>(fraction);
    const auto scale = static_cast<size_t>(digits_);
    if (fraction > scale || (text != "0" && whole + scale > std::max<size_t>(columnSize_, scale + 1)))
        raiseAdoError(kDataConversion, L"ADODB.Parameter");
    storeBytes(text.data(), text.size());
}

void OdbcParameter::store(const VARIANT& value)
{
    switch (type_.variantType) {
    case VT_BSTR:
        if (type_.type == adGUID) {
            GUID guid = {};
            tryParseGuid(V_BSTR(&value), guid);
            return storeBytes(&guid, sizeof guid);
        }
        return storeBytes(V_BSTR(&value), SysStringByteLen(V_BSTR(&value)));
    case VT_ARRAY | VT_UI1: {
        const std::vector<std::byte> bytes = bytesOfVariant(value);
        return storeBytes(bytes.data(), bytes.size());
    }
    case VT_CY:
    case VT_DECIMAL:
        return storeDecimal(value);
    case VT_DATE:
        return storeDate(V_DATE(&value));
    case VT_BOOL: {
        const BYTE bit = V_BOOL(&value) ? 1 : 0;
        return storeBytes(&bit, sizeof bit);
    }
    default: // the numbers, which lie in the variant as ODBC takes them
        storeBytes(&V_UI1(&value), static_cast<size_t>(type_.bufferBytes));
    }
}

void OdbcParameter::reserveOutput()
{
    const auto units = static_cast<size_t>(std::min(parameter_.size, kMostOutputUnits));
    const size_t variable = type_.isText() ? (2 * units + 1) * sizeof(wchar_t) : units;
    buffer_.resize(std::max(buffer_.size(), type_.isVariable() ? variable : static_cast<size_t>(type_.bufferBytes)));
}

void OdbcParameter::bind(const StatementHandle& statement, SQLUSMALLINT number)
{
    odbcCheck(SQLBindParameter(statement.get(), number, directionOf(parameter_), type_.cType, sqlType_, columnSize_,
                               digits_, buffer_.data(), static_cast<SQLLEN>(buffer_.size()), &length_),
              statement, L"SQLBindParameter");
}

_variant_t OdbcParameter::output() const
{
    if (length_ == SQL_NULL_DATA)
        return nullVariant();
    if (length_ == SQL_NO_TOTAL || length_ > static_cast<SQLLEN>(buffer_.size()))
        throw com::Error{E_FAIL, kProviderName,
                         L"The value of output parameter " + parameter_.name + L" is longer than its size."};
    return valueOfBuffer(type_, buffer_.data(), static_cast<size_t>(length_));
}

} // namespace adodb
