#include "db/sql_literals.h"

#include "com/convert.h"

namespace Common {

std::wstring SqlDate(DATE dValue)
{
    if (dValue == 0)
        return L"Null";
    return L"'" + com::dateText(dValue) + L"'";
}

std::wstring SqlQuoteOnly(const _variant_t& vValue)
{
    return L"'" + com::toText(vValue) + L"'";
}

short SqlBit(short bValue)
{
    return bValue != 0 ? 1 : 0;
}

} // namespace Common
