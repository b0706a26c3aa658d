#include "value_conversion.h"

#include "com/convert.h"
#include "com/error.h"
#include "com/registration.h"
#include "decimal_text.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <cwchar>

namespace adodb {

namespace {

using namespace std::chrono;

constexpr sys_days kDateZero{year{1899} / 12 / 30};
constexpr long long kNanosPerDay = 86'400'000'000'000;

// The range of an OLE date: year 100 to year 9999.
constexpr double kMinDate = -657435.0;
constexpr double kMaxDate = 2958466.0;

DATE joinDate(long long days, double dayFraction)
{
    // Before day zero the fraction counts away from zero.
    const double whole = static_cast<double>(days);
    return days < 0 ? whole - dayFraction : whole + dayFraction;
}

long long daysOf(int y, unsigned m, unsigned d)
{
    const year_month_day date{year{y} / static_cast<int>(m) / static_cast<int>(d)};
    if (!date.ok() || y < 100 || y > 9999)
        com::raiseRuntimeError(com::kOverflow);
    return (sys_days{date} - kDateZero).count();
}

double dayFraction(long long nanos)
{
    return static_cast<double>(nanos) / static_cast<double>(kNanosPerDay);
}

long long nanosOfDay(DATE date)
{
    double whole = 0;
    return std::llround(std::fabs(std::modf(date, &whole)) * static_cast<double>(kNanosPerDay));
}

long long roundTo(long long nanos, int fractionDigits)
{
    long long unit = 1'000'000'000;
    for (int digit = 0; digit < fractionDigits; ++digit)
        unit /= 10;
    return (nanos + unit / 2) / unit * unit;
}

template <class Value>
Value load(const void* buffer)
{
    Value value{};
    std::memcpy(&value, buffer, sizeof value);
    return value;
}

_variant_t dateVariant(DATE date)
{
    return {date, VT_DATE};
}

_variant_t numberOfBuffer(const TypeInfo& type, const void* buffer)
{
    switch (type.variantType) {
    case VT_I1:
        return {load<char>(buffer)};
    case VT_UI1:
        return {load<BYTE>(buffer)};
    case VT_I2:
        return {load<short>(buffer), VT_I2};
    case VT_I4:
        return {load<long>(buffer), VT_I4};
    case VT_I8:
        return {load<long long>(buffer)};
    case VT_R4:
        return {load<float>(buffer)};
    case VT_R8:
        return {load<double>(buffer), VT_R8};
    case VT_BOOL:
        return {load<BYTE>(buffer) != 0};
    default:
        com::raiseRuntimeError(com::kTypeMismatch);
    }
}

} // namespace

DATE dateOfTimestamp(const SQL_TIMESTAMP_STRUCT& t)
{
    const long long seconds = t.hour * 3600LL + t.minute * 60LL + t.second;
    return joinDate(daysOf(t.year, t.month, t.day), dayFraction(seconds * 1'000'000'000 + t.fraction));
}

SQL_TIMESTAMP_STRUCT timestampOfDate(DATE date, int fractionDigits)
{
    if (!(date > kMinDate && date < kMaxDate))
        com::raiseRuntimeError(com::kOverflow);
    auto day = kDateZero + days{static_cast<int>(date)};
    long long nanos = roundTo(nanosOfDay(date), fractionDigits);
    if (nanos >= kNanosPerDay) {
        nanos -= kNanosPerDay;
        day += days{1};
    }
    const year_month_day ymd{day};
    const hh_mm_ss time{nanoseconds{nanos}};
    SQL_TIMESTAMP_STRUCT result = {};
    result.year = static_cast<SQLSMALLINT>(int{ymd.year()});
    result.month = static_cast<SQLUSMALLINT>(unsigned{ymd.month()});
    result.day = static_cast<SQLUSMALLINT>(unsigned{ymd.day()});
    result.hour = static_cast<SQLUSMALLINT>(time.hours().count());
    result.minute = static_cast<SQLUSMALLINT>(time.minutes().count());
    result.second = static_cast<SQLUSMALLINT>(time.seconds().count());
    result.fraction = static_cast<SQLUINTEGER>(time.subseconds().count());
    return result;
}

DATE dateOfTimeText(std::wstring_view text)
{
    unsigned hour = 0, minute = 0;
    double second = 0;
    if (swscanf(std::wstring(text).c_str(), L"%2u:%2u:%lf", &hour, &minute, &second) != 3)
        com::raiseRuntimeError(com::kTypeMismatch);
    return (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
}

std::wstring timeText(DATE date)
{
    const SQL_TIMESTAMP_STRUCT t = timestampOfDate(date, 6);
    wchar_t text[32];
    const int length = swprintf(text, std::size(text), L"%02u:%02u:%02u.%06lu", t.hour, t.minute, t.second,
                                static_cast<unsigned long>(t.fraction / 1000));
    return {text, static_cast<size_t>(t.fraction == 0 ? 8 : length)};
}

bool tryParseGuid(std::wstring text, GUID& guid)
{
    if (!text.starts_with(L'{'))
        text = L'{' + text + L'}';
    return text.size() == 38 && SUCCEEDED(IIDFromString(text.c_str(), &guid));
}

_variant_t nullVariant()
{
    VARIANT null;
    V_VT(&null) = VT_NULL;
    return {null, false};
}

_variant_t bytesVariant(const void* data, size_t size)
{
    VARIANT value;
    V_VT(&value) = VT_ARRAY | VT_UI1;
    V_ARRAY(&value) = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(size));
    if (!V_ARRAY(&value))
        com::check(E_OUTOFMEMORY);
    if (size)
        std::memcpy(V_ARRAY(&value)->pvData, data, size);
    return {value, false};
}

_variant_t textVariant(const wchar_t* text, size_t length)
{
    VARIANT value;
    V_VT(&value) = VT_BSTR;
    V_BSTR(&value) = SysAllocStringLen(text, static_cast<UINT>(length));
    if (!V_BSTR(&value))
        com::check(E_OUTOFMEMORY);
    return {value, false};
}

std::vector<std::byte> bytesOfVariant(const VARIANT& value)
{
    if (V_VT(&value) != (VT_ARRAY | VT_UI1) || !V_ARRAY(&value) || SafeArrayGetDim(V_ARRAY(&value)) != 1)
        com::raiseRuntimeError(com::kTypeMismatch);
    const SAFEARRAY& array = *V_ARRAY(&value);
    const auto* bytes = static_cast<const std::byte*>(array.pvData);
    return {bytes, bytes + array.rgsabound[0].cElements};
}

_variant_t valueOfBuffer(const TypeInfo& type, const void* buffer, size_t length)
{
    switch (type.cType) {
    case SQL_C_CHAR: {
        const std::string_view text(static_cast<const char*>(buffer), length);
        return type.variantType == VT_CY ? _variant_t(currencyOfText(text)) : _variant_t(decimalOfText(text));
    }
    case SQL_C_WCHAR: {
        const auto* text = static_cast<const wchar_t*>(buffer);
        const size_t count = length / sizeof(wchar_t);
        return type.isText() ? textVariant(text, count) : dateVariant(dateOfTimeText({text, count}));
    }
    case SQL_C_BINARY:
        return bytesVariant(buffer, length);
    case SQL_C_GUID:
        return com::textVariant(com::guidText(load<GUID>(buffer)));
    case SQL_C_TYPE_TIMESTAMP:
        return dateVariant(dateOfTimestamp(load<SQL_TIMESTAMP_STRUCT>(buffer)));
    case SQL_C_TYPE_DATE: {
        const auto date = load<SQL_DATE_STRUCT>(buffer);
        return dateVariant(joinDate(daysOf(date.year, date.month, date.day), 0));
    }
    default:
        return numberOfBuffer(type, buffer);
    }
}

} // namespace adodb
