#include "Value.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

std::string narrow(BSTR text)
{
    constexpr UINT kShown = 40;
    std::string result;
    for (UINT index = 0; index < std::min(SysStringLen(text), kShown); ++index)
        result += text[index] >= L' ' && text[index] < 127 ? static_cast<char>(text[index]) : '?';
    return result;
}

} // namespace

bool isSame(const VARIANT& left, const VARIANT& right)
{
    if (left.vt != right.vt)
        return false;
    switch (left.vt) {
    case VT_EMPTY:
    case VT_NULL:
        return true;
    case VT_BSTR:
        return SysStringByteLen(left.bstrVal) == SysStringByteLen(right.bstrVal) &&
               (SysStringByteLen(left.bstrVal) == 0 ||
                std::memcmp(left.bstrVal, right.bstrVal, SysStringByteLen(left.bstrVal)) == 0);
    case VT_I1:
    case VT_UI1:
        return left.bVal == right.bVal;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        return left.uiVal == right.uiVal;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
        return left.ulVal == right.ulVal;
    case VT_DECIMAL:
        return std::memcmp(&left.decVal.scale, &right.decVal.scale, sizeof(DECIMAL) - sizeof(USHORT)) == 0;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
        return left.ullVal == right.ullVal;
    default:
        return left.byref == right.byref;
    }
}

std::string describe(const VARIANT& value)
{
    char text[128];
    if (value.vt == VT_BSTR)
        std::snprintf(text, sizeof text, "BSTR[%u]\"%s\"", SysStringLen(value.bstrVal), narrow(value.bstrVal).c_str());
    else
        std::snprintf(text, sizeof text, "vt%#x:%llx", value.vt, static_cast<unsigned long long>(value.ullVal));
    return text;
}
