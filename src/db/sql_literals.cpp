#include "db/sql_literals.h"

#include "com/convert.h"

namespace Common {

std::wstring SqlDate(DATE dValue)
{
    std::wstring literal;
    appendSqlDate(literal, dValue);
    return literal;
}

void appendSqlDate(std::wstring& sql, DATE dValue)
{
    if (dValue == 0)
        sql += L"Null";
    else
        appendSqlQuoteOnly(sql, _variant_t(dValue, VT_DATE));
}

std::wstring SqlQuoteOnly(const _variant_t& vValue)
{
    std::wstring literal;
    appendSqlQuoteOnly(literal, vValue);
    return literal;
}

void appendSqlQuoteOnly(std::wstring& sql, const _variant_t& vValue)
{
    const com::TextView text(vValue);
    (sql += L'\'').append(text) += L'\'';
}

short SqlBit(short bValue)
{
    return bValue != 0 ? 1 : 0;
}

} // namespace Common
