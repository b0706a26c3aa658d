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
    if (left.vt == VT_DECIMAL)
        return std::memcmp(&left.decVal.scale, &right.decVal.scale, sizeof(DECIMAL) - sizeof(USHORT)) == 0;
    if (left.vt != VT_BSTR)
        return left.vt == VT_EMPTY || left.vt == VT_NULL || left.ullVal == right.ullVal;
    const UINT length = SysStringByteLen(left.bstrVal);
    return length == SysStringByteLen(right.bstrVal) &&
           (length == 0 || std::memcmp(left.bstrVal, right.bstrVal, length) == 0);
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
