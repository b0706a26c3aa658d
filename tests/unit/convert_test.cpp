#include "com/convert.h"

#include "com/error.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <iterator>
#include <random>
#include <vector>

namespace com {
namespace {

const _variant_t kNull = [] {
    _variant_t value;
    value.ChangeType(VT_NULL);
    return value;
}();

_variant_t nothing()
{
    return _variant_t(static_cast<IDispatch*>(nullptr), false);
}

_variant_t referenceTo(_variant_t& variable)
{
    _variant_t reference;
    reference.pvarVal = &variable;
    reference.vt = VT_BYREF | VT_VARIANT;
    return reference;
}

constexpr DATE kMarch5Of2020AtNoon = 43895.5;

TEST(ToText, IsTheTextOfAnyPlainValue)
{
    EXPECT_EQ(toText(textVariant(L"as it is ")), L"as it is ");
    EXPECT_EQ(toText(_variant_t(-2147483647L - 1)), L"-2147483648");
    EXPECT_EQ(toText(_variant_t(2147483647L)), L"2147483647");
    EXPECT_EQ(toText(_variant_t(static_cast<short>(-32768))), L"-32768");
    EXPECT_EQ(toText(_variant_t()), L"");
}

TEST(ToText, WritesBooleansAsWords)
{
    EXPECT_EQ(toText(_variant_t(true)), L"True");
    EXPECT_EQ(toText(_variant_t(false)), L"False");
}

TEST(ToText, WritesDoublesAsTheRuntimeDoes)
{
    const auto runtimeText = [](double number) { return fromBstr(changeType(_variant_t(number), VT_BSTR).bstrVal); };
    std::vector<double> numbers{0.0,
                                -0.0,
                                1.0,
                                -1.0,
                                2.5,
                                0.1,
                                0.0001,
                                0.00001,
                                1e15,
                                -1e15,
                                1e14,
                                1.0 / 3,
                                999999999999999.0,
                                999999999999999.5,
                                1e300,
                                0.5,
                                123456789.125,
                                1.0000000000000005,
                                99999.99999999995,
                                1.000030517578125};
    std::mt19937 random;
    std::uniform_real_distribution<double> digits(-10, 10);
    std::uniform_int_distribution<int> exponent(-6, 18);
    constexpr int kRandomNumbers = 5000;
    std::generate_n(std::back_inserter(numbers), kRandomNumbers,
                    [&] { return digits(random) * std::pow(10, exponent(random)); });
    for (const double number : numbers)
        EXPECT_EQ(toText(_variant_t(number)), runtimeText(number));
}

TEST(ToText, WritesDatesAndAmountsAsTheRuntimeDoes)
{
    std::vector<_variant_t> values;
    for (const DATE date : {0.0, 0.25, -1.25, -657434.0, 1.0, 10958.5, 43895.123456, 46341.999999, 2958465.5})
        values.emplace_back(date, VT_DATE);
    for (const long long amount : {0LL, 1LL, -1LL, 10000LL, -772500LL, 123456789012345678LL, LLONG_MIN, LLONG_MAX})
        values.emplace_back(CY{.int64 = amount});
    for (const _variant_t& value : values)
        EXPECT_EQ(toText(value), fromBstr(changeType(value, VT_BSTR).bstrVal));
    const _variant_t noDate(5e6, VT_DATE);
    EXPECT_EQ(raised([&] { toText(noDate); }).number, raised([&] { changeType(noDate, VT_BSTR); }).number);
}

TEST(ToText, FollowsAReference)
{
    _variant_t variable(12L);
    EXPECT_EQ(toText(referenceTo(variable)), L"12");
}

TEST(ToText, KeepsEmbeddedZeros)
{
    const std::wstring text(L"a\0b", 3);
    EXPECT_EQ(toText(textVariant(text)), text);
}

TEST(ToText, NullIsError94)
{
    const Error error = raised([] { toText(kNull); });
    EXPECT_EQ(error.number, 94);
    EXPECT_EQ(error.source, L"QuinmarkRepDLL");
    EXPECT_EQ(error.description, L"Invalid use of Null");
}

TEST(ToText, NullBehindAReferenceIsError94)
{
    _variant_t variable = kNull;
    EXPECT_EQ(raised([&] { toText(referenceTo(variable)); }).number, 94);
}

TEST(ToText, NothingIsError91)
{
    EXPECT_EQ(raised([] { toText(nothing()); }).number, 91);
}

TEST(ConcatText, NullIsTheEmptyText)
{
    _variant_t variable = kNull;
    EXPECT_EQ(concatText(kNull), L"");
    EXPECT_EQ(concatText(referenceTo(variable)), L"");
    EXPECT_EQ(concatText(_variant_t(5L)), L"5");
}

TEST(ToDate, ReadsDatesNumbersAndTexts)
{
    EXPECT_EQ(toDate(_variant_t(kMarch5Of2020AtNoon, VT_DATE)), kMarch5Of2020AtNoon);
    EXPECT_EQ(toDate(_variant_t(43895L)), 43895.0);
    EXPECT_EQ(toDate(textVariant(L"2020-03-05 12:00:00")), kMarch5Of2020AtNoon);
    EXPECT_EQ(toDate(_variant_t()), 0.0);
}

TEST(ToDate, TextThatIsNoDateIsError13)
{
    const Error error = raised([] { toDate(textVariant(L"soon")); });
    EXPECT_EQ(error.number, 13);
    EXPECT_EQ(error.description, L"Type mismatch");
}

TEST(ToDate, NullIsError94)
{
    EXPECT_EQ(raised([] { toDate(kNull); }).number, 94);
}

TEST(ToInt16, RoundsHalvesToEven)
{
    EXPECT_EQ(toInt16(_variant_t(2.5)), 2);
    EXPECT_EQ(toInt16(_variant_t(3.5)), 4);
    EXPECT_EQ(toInt16(_variant_t(-2.5)), -2);
}

TEST(ToInt16, TakesTheWholeRangeAndNothingBeyond)
{
    EXPECT_EQ(toInt16(_variant_t(32767L)), 32767);
    EXPECT_EQ(toInt16(_variant_t(-32768L)), -32768);
    const Error error = raised([] { toInt16(_variant_t(32768L)); });
    EXPECT_EQ(error.number, 6);
    EXPECT_EQ(error.description, L"Overflow");
    EXPECT_EQ(raised([] { toInt16(textVariant(L"-32769")); }).number, 6);
}

TEST(ToInt16, ReadsTextsAndBooleans)
{
    EXPECT_EQ(toInt16(textVariant(L" 12 ")), 12);
    EXPECT_EQ(toInt16(_variant_t(true)), -1);
    EXPECT_EQ(raised([] { toInt16(textVariant(L"twelve")); }).number, 13);
    EXPECT_EQ(raised([] { toInt16(textVariant(L"")); }).number, 13);
    EXPECT_EQ(raised([] { toInt16(kNull); }).number, 94);
}

TEST(ToInt32, TakesTheWholeRangeAndNothingBeyond)
{
    EXPECT_EQ(toInt32(_variant_t(2147483647.0)), 2147483647L);
    EXPECT_EQ(toInt32(_variant_t(-2147483648.0)), -2147483647L - 1);
    EXPECT_EQ(raised([] { toInt32(_variant_t(2147483648.0)); }).number, 6);
    EXPECT_EQ(raised([] { toInt32(kNull); }).number, 94);
    EXPECT_EQ(raised([] { toInt32(nothing()); }).number, 91);
}

TEST(ToBool, EveryNumberButZeroIsTrue)
{
    EXPECT_TRUE(toBool(_variant_t(1L)));
    EXPECT_TRUE(toBool(_variant_t(-1L)));
    EXPECT_FALSE(toBool(_variant_t(0L)));
    EXPECT_FALSE(toBool(_variant_t()));
}

TEST(ToBool, ReadsTheWordsWithoutCase)
{
    EXPECT_TRUE(toBool(textVariant(L"TRUE")));
    EXPECT_FALSE(toBool(textVariant(L"false")));
    EXPECT_EQ(raised([] { toBool(textVariant(L"yes")); }).number, 13);
    EXPECT_EQ(raised([] { toBool(kNull); }).number, 94);
}

TEST(IsDate, IsTrueForDatesAndTextsThatReadAsOne)
{
    EXPECT_TRUE(isDate(_variant_t(1.0, VT_DATE)));
    EXPECT_TRUE(isDate(textVariant(L"2020-03-05")));
    EXPECT_FALSE(isDate(textVariant(L"soon")));
    EXPECT_FALSE(isDate(_variant_t(43895L)));
    EXPECT_FALSE(isDate(_variant_t()));
    EXPECT_FALSE(isDate(kNull));
}

TEST(IsDate, FollowsAReference)
{
    _variant_t variable(1.0, VT_DATE);
    EXPECT_TRUE(isDate(referenceTo(variable)));
}

TEST(DateText, LeavesMidnightOut)
{
    const std::wstring withTime = dateText(kMarch5Of2020AtNoon);
    const std::wstring withoutTime = dateText(std::floor(kMarch5Of2020AtNoon));
    EXPECT_EQ(withTime.substr(0, withoutTime.size() + 1), withoutTime + L" ");
    EXPECT_EQ(toDate(textVariant(withTime)), kMarch5Of2020AtNoon);
    EXPECT_EQ(toDate(textVariant(withoutTime)), std::floor(kMarch5Of2020AtNoon));
}

TEST(UpperCase, ReachesLettersBeyondAscii)
{
    EXPECT_EQ(upperCase(L"Source"), L"SOURCE");
    EXPECT_EQ(upperCase(L"z\u00e4hne"), L"Z\u00c4HNE");
    EXPECT_EQ(upperCase(L""), L"");
}

TEST(Trim, TakesBlanksOffBothEndsOnly)
{
    EXPECT_EQ(trim(L"  a b  "), L"a b");
    EXPECT_EQ(trim(L"   "), L"");
    EXPECT_EQ(trim(L"\ta\t"), L"\ta\t");
}

TEST(ChangeType, TellsFailuresApartByNumber)
{
    EXPECT_EQ(changeType(_variant_t(5L), VT_R8).dblVal, 5.0);
    EXPECT_EQ(raised([] { changeType(textVariant(L"x"), VT_R8); }).number, 13);
    EXPECT_EQ(raised([] { changeType(_variant_t(256L), VT_UI1); }).number, 6);
    EXPECT_EQ(raised([] { changeType(kNull, VT_R8); }).number, 94);
}

TEST(Bstr, RoundTripsWithEmbeddedZerosAndReadsNullAsEmpty)
{
    const std::wstring text(L"\0x\0", 3);
    _bstr_t copy(newBstr(text), false);
    EXPECT_EQ(SysStringLen(copy.GetBSTR()), 3U);
    EXPECT_EQ(fromBstr(copy.GetBSTR()), text);
    EXPECT_EQ(fromBstr(nullptr), L"");
    EXPECT_EQ(takeBstr(copy.Detach()), text);
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
