#include "com/convert.h"

#include "com/error.h"

#include <charconv>

namespace com {
namespace {

const VARIANT& innermost(const VARIANT& value)
{
    const VARIANT* inner = &value;
    while (inner->vt == (VT_BYREF | VT_VARIANT))
        inner = inner->pvarVal;
    return *inner;
}

bool isNull(const VARIANT& value)
{
    return innermost(value).vt == VT_NULL;
}

bool isNothing(const VARIANT& value)
{
    const VARIANT& inner = innermost(value);
    return (inner.vt == VT_DISPATCH || inner.vt == VT_UNKNOWN) && !inner.punkVal;
}

/// As the automation runtime writes whole numbers in every region.
std::wstring numberText(long number)
{
    char digits[12];
    return {digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr};
}

} // namespace

_variant_t copyValue(const VARIANT& value)
{
    _variant_t copy;
    check(VariantCopyInd(&copy, const_cast<VARIANT*>(&value)));
    return copy;
}

_variant_t changeType(const VARIANT& value, VARTYPE type)
{
    if (isNull(value))
        raiseRuntimeError(kInvalidUseOfNull);
    if (isNothing(value))
        raiseRuntimeError(kObjectNotSet);
    _variant_t result;
    check(VariantChangeTypeEx(&result, const_cast<VARIANT*>(&value), LOCALE_USER_DEFAULT, VARIANT_ALPHABOOL, type));
    return result;
}

std::wstring toText(const VARIANT& value)
{
    switch (value.vt) {
    case VT_BSTR:
        return fromBstr(value.bstrVal);
    case VT_I2:
        return numberText(value.iVal);
    case VT_I4:
        return numberText(value.lVal);
    default:
        return fromBstr(changeType(value, VT_BSTR).bstrVal);
    }
}

std::wstring concatText(const VARIANT& value)
{
    return isNull(value) ? std::wstring() : toText(value);
}

DATE toDate(const VARIANT& value)
{
    return value.vt == VT_DATE ? value.date : changeType(value, VT_DATE).date;
}

short toInt16(const VARIANT& value)
{
    return changeType(value, VT_I2).iVal;
}

long toInt32(const VARIANT& value)
{
    return value.vt == VT_I4 ? value.lVal : changeType(value, VT_I4).lVal;
}

bool toBool(const VARIANT& value)
{
    return (value.vt == VT_BOOL ? value.boolVal : changeType(value, VT_BOOL).boolVal) != VARIANT_FALSE;
}

bool isDate(const VARIANT& value)
{
    const _variant_t direct = copyValue(value);
    if (direct.vt != VT_BSTR)
        return direct.vt == VT_DATE;
    DATE ignored = 0;
    return SUCCEEDED(VarDateFromStr(direct.bstrVal, LOCALE_USER_DEFAULT, 0, &ignored));
}

std::wstring upperCase(std::wstring text)
{
    CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

std::wstring trim(const std::wstring& text)
{
    const size_t first = text.find_first_not_of(L' ');
    if (first == std::wstring::npos)
        return {};
    return text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

std::wstring dateText(DATE date)
{
    return toText(_variant_t(date, VT_DATE));
}

_variant_t textVariant(const std::wstring& text)
{
    _variant_t result;
    result.vt = VT_EMPTY;
    result.bstrVal = newBstr(text);
    result.vt = VT_BSTR;
    return result;
}

BSTR newBstr(const std::wstring& text)
{
    BSTR result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (!result)
        raiseRuntimeError(kOutOfMemory);
    return result;
}

std::wstring fromBstr(BSTR text)
{
    return text ? std::wstring(text, SysStringLen(text)) : std::wstring();
}

_variant_t missing()
{
    _variant_t result;
    result.vt = VT_ERROR;
    result.scode = DISP_E_PARAMNOTFOUND;
    return result;
}

bool isMissing(const VARIANT& value)
{
    return value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND;
}

} // namespace com
