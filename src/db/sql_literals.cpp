#include "db/sql_literals.h"

#include "com/convert.h"

namespace Common {

std::wstring SqlDate(DATE dValue)
{
    if (dValue == 0)
        return L"Null";
    return SqlQuoteOnly(_variant_t(dValue, VT_DATE));
}

std::wstring SqlQuoteOnly(const _variant_t& vValue)
{
    const com::TextView value(vValue);
    const std::wstring_view text = value;
    std::wstring literal;
    literal.reserve(text.size() + 2);
    (literal += L'\'').append(text) += L'\'';
    return literal;
}

short SqlBit(short bValue)
{
    return bValue != 0 ? 1 : 0;
}

} // namespace Common
