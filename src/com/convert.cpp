#include "com/convert.h"

#include "com/error.h"

#include <algorithm>
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

std::wstring_view viewOf(BSTR text)
{
    return {text, SysStringLen(text)};
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

TextView::TextView(const VARIANT& value)
{
    if (value.vt == VT_BSTR) {
        text_ = viewOf(value.bstrVal);
    }
    else if (value.vt == VT_I2) {
        write(long{value.iVal});
    }
    else if (value.vt == VT_I4) {
        write(value.lVal);
    }
    else {
        convert(value);
        text_ = viewOf(converted_.bstrVal);
    }
}

// Dates and amounts are in most rows; the functions in which changeType ends are called for them at once.
void TextView::convert(const VARIANT& value)
{
    BSTR text = nullptr;
    if (value.vt == VT_DATE)
        check(VarBstrFromDate(value.date, LOCALE_USER_DEFAULT, 0, &text));
    else if (value.vt == VT_CY)
        check(VarBstrFromCy(value.cyVal, LOCALE_USER_DEFAULT, 0, &text));
    else
        text = changeType(value, VT_BSTR).Detach().bstrVal;
    converted_.vt = VT_BSTR;
    converted_.bstrVal = text;
}

// A row has many of them, and the runtime takes nine times as long.
void TextView::write(long number)
{
    char digits[12];
    char* const end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    text_ = std::wstring_view(digits_.data(), std::copy(std::begin(digits), end, digits_.data()));
}

std::wstring toText(const VARIANT& value)
{
    return std::wstring(TextView(value));
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
    return std::wstring(viewOf(text));
}

std::wstring takeBstr(BSTR text)
{
    const _bstr_t owner(text, false);
    return fromBstr(text);
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
