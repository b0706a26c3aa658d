#include "com/convert.h"

#include "support/LateCall.h"
#include "support/RecordingAdo.h"
#include "support/recording_error.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <random>

namespace com {
namespace {

constexpr DATE kMarch5Of2020AtNoon = 43895.5;

const Error kNull{94, L"QuinmarkRepDLL", L"Invalid use of Null"};
const Error kNothing{91, L"QuinmarkRepDLL", L"Object variable or With block variable not set"};
const Error kMismatch{13, L"QuinmarkRepDLL", L"Type mismatch"};
const Error kTooLarge{6, L"QuinmarkRepDLL", L"Overflow"};

_variant_t nothing()
{
    return _variant_t(static_cast<IDispatch*>(nullptr), false);
}

/// The text that the automation runtime writes.
std::wstring runtimeText(const _variant_t& value)
{
    return fromBstr(changeType(value, VT_BSTR).bstrVal);
}

TEST(ToText, IsTheTextOfAnyPlainValue)
{
    _variant_t variable(12L);
    const std::wstring withZero(L"a\0b", 3);
    const std::pair<_variant_t, std::wstring> texts[] = {
        {L"as it is ", L"as it is "},
        {textVariant(withZero), withZero},
        {-2147483647L - 1, L"-2147483648"},
        {2147483647L, L"2147483647"},
        {static_cast<short>(-32768), L"-32768"},
        {_variant_t(), L""},
        {true, L"True"},
        {false, L"False"},
        {byReference(variable), L"12"},
    };
    for (const auto& [value, text] : texts) {
        EXPECT_EQ(toText(value), text);
        EXPECT_EQ(concatText(value), text);
    }
}

TEST(ToText, WritesDoublesAsTheRuntimeDoes)
{
    std::vector<double> numbers{0.0,
                                -0.0,
                                1.0,
                                -1.0,
                                2.5,
                                0.1,
                                0.0001,
                                1e-5,
                                1e15,
                                -1e15,
                                1e14,
                                0.5,
                                1e300,
                                1.0 / 3,
                                999999999999999.0,
                                999999999999999.5,
                                123456789.125,
                                1.0000000000000005,
                                99999.99999999995,
                                1.000030517578125};
    std::mt19937 random;
    std::uniform_real_distribution<double> digits(-10, 10);
    std::uniform_int_distribution<int> exponent(-6, 18);
    constexpr size_t kNumbers = 5020;
    while (numbers.size() < kNumbers)
        numbers.push_back(digits(random) * std::pow(10, exponent(random)));
    for (const double number : numbers)
        EXPECT_EQ(toText(_variant_t(number)), runtimeText(number));
}

TEST(ToText, WritesDatesAndAmountsAsTheRuntimeDoes)
{
    for (const DATE date : {0.0, 0.25, -1.25, -657434.0, 1.0, 10958.5, 43895.123456, 46341.999999, 2958465.5})
        EXPECT_EQ(toText(_variant_t(date, VT_DATE)), runtimeText(_variant_t(date, VT_DATE)));
    for (const long long amount : {0LL, 1LL, -1LL, 10000LL, -772500LL, 123456789012345678LL, LLONG_MIN, LLONG_MAX})
        EXPECT_EQ(toText(_variant_t(CY{.int64 = amount})), runtimeText(_variant_t(CY{.int64 = amount})));
    const _variant_t noDate(5e6, VT_DATE);
    EXPECT_EQ(raised([&] { toText(noDate); }).number, raised([&] { changeType(noDate, VT_BSTR); }).number);
}

TEST(ToText, NullIsRefusedOrJoinedAsNothing)
{
    _variant_t variable = adoNull();
    for (const _variant_t& null : {adoNull(), byReference(variable)}) {
        EXPECT_EQ(raised([&] { toText(null); }), kNull);
        EXPECT_EQ(concatText(null), L"");
    }
    EXPECT_EQ(raised([] { toText(nothing()); }), kNothing);
}

TEST(ToDate, ReadsDatesNumbersAndTexts)
{
    const std::pair<_variant_t, DATE> dates[] = {{_variant_t(kMarch5Of2020AtNoon, VT_DATE), kMarch5Of2020AtNoon},
                                                 {L"2020-03-05 12:00:00", kMarch5Of2020AtNoon},
                                                 {43895L, 43895.0},
                                                 {_variant_t(), 0.0}};
    for (const auto& [value, date] : dates)
        EXPECT_EQ(toDate(value), date);
    EXPECT_EQ(raised([] { toDate(textVariant(L"soon")); }), kMismatch);
    EXPECT_EQ(raised([] { toDate(adoNull()); }), kNull);
}

TEST(ToInt, RoundsHalvesToEvenAndReadsTextsAndBooleans)
{
    const std::pair<_variant_t, short> numbers[] = {{2.5, 2},   {3.5, 4},        {-2.5, -2},       {L" 12 ", 12},
                                                    {true, -1}, {32767L, 32767}, {-32768L, -32768}};
    for (const auto& [value, number] : numbers) {
        EXPECT_EQ(toInt16(value), number);
        EXPECT_EQ(toInt32(value), number);
    }
    EXPECT_EQ(toInt32(_variant_t(2147483647.0)), 2147483647L);
    EXPECT_EQ(toInt32(_variant_t(-2147483648.0)), -2147483647L - 1);
}

TEST(ToInt, RefusesWhatIsNoNumberOrOutOfRange)
{
    const std::pair<_variant_t, Error> refused[] = {
        {L"twelve", kMismatch}, {L"", kMismatch}, {adoNull(), kNull}, {nothing(), kNothing}, {2147483648.0, kTooLarge}};
    for (const auto& [value, error] : refused) {
        EXPECT_EQ(raised([&] { toInt16(value); }), error);
        EXPECT_EQ(raised([&] { toInt32(value); }), error);
    }
    EXPECT_EQ(raised([] { toInt16(_variant_t(32768L)); }), kTooLarge);
    EXPECT_EQ(raised([] { toInt16(textVariant(L"-32769")); }), kTooLarge);
}

TEST(ToBool, ReadsNumbersAndWords)
{
    const std::pair<_variant_t, bool> truths[] = {{1L, true},  {-1L, true},       {L"TRUE", true},
                                                  {0L, false}, {L"false", false}, {_variant_t(), false}};
    for (const auto& [value, truth] : truths)
        EXPECT_EQ(toBool(value), truth);
    EXPECT_EQ(raised([] { toBool(textVariant(L"yes")); }), kMismatch);
    EXPECT_EQ(raised([] { toBool(adoNull()); }), kNull);
}

TEST(IsDate, IsTrueForDatesAndTextsThatReadAsOne)
{
    _variant_t date(1.0, VT_DATE);
    const std::pair<_variant_t, bool> values[] = {{date, true},      {byReference(date), true}, {L"2020-03-05", true},
                                                  {L"soon", false},  {43895L, false},           {_variant_t(), false},
                                                  {adoNull(), false}};
    for (const auto& [value, isOne] : values)
        EXPECT_EQ(isDate(value), isOne);
}

TEST(DateText, LeavesMidnightOut)
{
    EXPECT_EQ(dateText(kMarch5Of2020AtNoon), L"3/5/2020 12:00:00 PM");
    EXPECT_EQ(dateText(std::floor(kMarch5Of2020AtNoon)), L"3/5/2020");
}

TEST(UpperCase, ReachesLettersBeyondAscii)
{
    EXPECT_EQ(upperCase(L"Source z\u00e4hne"), L"SOURCE Z\u00C4HNE");
    EXPECT_EQ(upperCase(L""), L"");
}

TEST(Trim, TakesBlanksOffBothEndsOnly)
{
    EXPECT_EQ(trim(L"  a b  "), L"a b");
    EXPECT_EQ(trim(L"   "), L"");
    EXPECT_EQ(trim(L"\ta\t"), L"\ta\t");
}

TEST(ChangeType, TellsFailuresApart)
{
    EXPECT_EQ(changeType(_variant_t(5L), VT_R8).dblVal, 5.0);
    EXPECT_EQ(raised([] { changeType(textVariant(L"x"), VT_R8); }), kMismatch);
    EXPECT_EQ(raised([] { changeType(_variant_t(256L), VT_UI1); }), kTooLarge);
    EXPECT_EQ(raised([] { changeType(adoNull(), VT_R8); }), kNull);
}

TEST(Bstr, RoundTripsWithEmbeddedZerosAndReadsNullAsEmpty)
{
    const std::wstring text(L"\0x\0", 3);
    BSTR copy = newBstr(text);
    EXPECT_EQ(SysStringLen(copy), 3U);
    EXPECT_EQ(fromBstr(copy), text);
    EXPECT_EQ(takeBstr(copy), text);
    EXPECT_EQ(fromBstr(nullptr), L"");
    EXPECT_EQ(takeBstr(nullptr), L"");
}

TEST(Missing, IsOnlyTheLeftOutArgument)
{
    EXPECT_TRUE(isMissing(missing()));
    EXPECT_FALSE(isMissing(_variant_t()));
    EXPECT_FALSE(isMissing(_variant_t(DISP_E_TYPEMISMATCH, VT_ERROR)));
}

} // namespace
} // namespace com
