#include "com/convert.h"

#include "com/error.h"

#include <algorithm>
#include <charconv>
#include <cmath>

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

/// The decimal sign of the user's region; empty when it cannot be had.
std::wstring decimalSign()
{
    constexpr int kMostCharacters = 4; // with the zero at its end
    wchar_t sign[kMostCharacters] = L"";
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, sign, kMostCharacters);
    return sign;
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
    else if (value.vt != VT_R8 || !write(value.dblVal)) {
        convert(value);
        text_ = viewOf(converted_.bstrVal);
    }
}

// What changeType comes to in the end, by a shorter way for what a row has most of.
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

void TextView::write(long number)
{
    char digits[12];
    char* const end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    text_ = std::wstring_view(digits_.data(), std::copy(std::begin(digits), end, digits_.data()));
}

// The runtime takes many times as long. It writes 15 digits, which are the shortest text that reads as the number where
// that has no more, and from 1E+15 on and for small fractions an exponent.
bool TextView::write(double number)
{
    constexpr ptrdiff_t kMostDigits = 15;
    if (!(std::abs(number) >= 1 && std::abs(number) < 1e15))
        return false;
    char digits[24];
    char* const end = std::to_chars(std::begin(digits), std::end(digits), number, std::chars_format::fixed).ptr;
    char* const point = std::find(std::begin(digits), end, '.');
    if (std::count_if(std::begin(digits), end, [](char digit) { return digit >= '0' && digit <= '9'; }) > kMostDigits)
        return false;
    wchar_t* written = std::copy(std::begin(digits), point, digits_.data());
    if (point != end) {
        const std::wstring sign = decimalSign();
        if (sign.empty())
            return false;
        written = std::ranges::copy(sign, written).out;
        written = std::copy(point + 1, end, written);
    }
    text_ = std::wstring_view(digits_.data(), written);
    return true;
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
