#include "value_conversion.h"

#include "com/error.h"
#include "com/registration.h"
#include "decimal_text.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

long errorOf(auto&& body)
{
    try {
        body();
        return 0;
    }
    catch (const com::Error& error) {
        return error.number;
    }
}

TEST(Timestamp, KnownDates)
{
    EXPECT_EQ(dateOfTimestamp({1899, 12, 30, 0, 0, 0, 0}), 0.0);
    EXPECT_EQ(dateOfTimestamp({1900, 1, 1, 12, 0, 0, 0}), 2.5);
    EXPECT_EQ(dateOfTimestamp({1899, 12, 29, 6, 0, 0, 0}), -1.25);
    EXPECT_EQ(dateOfTimestamp({2020, 2, 29, 18, 0, 0, 0}), 43890.75);
}

TEST(Timestamp, MicrosecondsComeBack)
{
    const SQL_TIMESTAMP_STRUCT given{2024, 12, 31, 23, 59, 59, 999'999'000};
    const SQL_TIMESTAMP_STRUCT back = timestampOfDate(dateOfTimestamp(given), 6);
    EXPECT_EQ(back.year, 2024);
    EXPECT_EQ(back.day, 31);
    EXPECT_EQ(back.second, 59);
    EXPECT_EQ(back.fraction, 999'999'000u);
}

TEST(Timestamp, RoundingCarriesIntoTheNextDay)
{
    const SQL_TIMESTAMP_STRUCT back = timestampOfDate(dateOfTimestamp({2024, 12, 31, 23, 59, 59, 999'900'000}), 3);
    EXPECT_EQ(back.year, 2025);
    EXPECT_EQ(back.month, 1);
    EXPECT_EQ(back.day, 1);
    EXPECT_EQ(back.hour, 0);
    EXPECT_EQ(back.fraction, 0u);
}

TEST(Timestamp, DateBeforeDayZeroComesBack)
{
    const SQL_TIMESTAMP_STRUCT back = timestampOfDate(dateOfTimestamp({1753, 1, 1, 13, 14, 15, 0}), 3);
    EXPECT_EQ(back.year, 1753);
    EXPECT_EQ(back.month, 1);
    EXPECT_EQ(back.day, 1);
    EXPECT_EQ(back.hour, 13);
    EXPECT_EQ(back.second, 15);
}

TEST(Timestamp, OutsideTheRangeOverflows)
{
    EXPECT_EQ(errorOf([] { dateOfTimestamp({99, 1, 1, 0, 0, 0, 0}); }), 6);
    EXPECT_EQ(errorOf([] { timestampOfDate(2958466.0, 3); }), 6);
    EXPECT_EQ(errorOf([] { timestampOfDate(-657435.0, 3); }), 6);
}

TEST(Time, TextComesBack)
{
    EXPECT_EQ(timeText(dateOfTimeText(L"03:04:05")), L"03:04:05");
    EXPECT_EQ(timeText(dateOfTimeText(L"23:59:59.123456")), L"23:59:59.123456");
    EXPECT_EQ(errorOf([] { dateOfTimeText(L"noon"); }), 13);
}

TEST(Decimal, TextComesBack)
{
    for (const char* text :
         {"0", "-1", "0.5", "-0.0500", "123.4500", "79228162514264337593543950335", "0.0000000000000000000000000001"})
        EXPECT_EQ(decimalText(decimalOfText(text)), text);
}

TEST(Decimal, WhatDoesNotFitIsAnError)
{
    EXPECT_EQ(errorOf([] { decimalOfText("79228162514264337593543950336"); }), 6);
    EXPECT_EQ(errorOf([] { decimalOfText("0.00000000000000000000000000001"); }), 6);
    EXPECT_EQ(errorOf([] { decimalOfText("NaN"); }), 13);
    EXPECT_EQ(errorOf([] { decimalOfText(""); }), 13);
}

TEST(Currency, IsExact)
{
    const char text[] = "-922337203685477.5808";
    const _variant_t value = valueOfBuffer(*findType(adCurrency), text, sizeof text - 1);
    ASSERT_EQ(V_VT(&value), VT_CY);
    EXPECT_EQ(V_CY(&value).int64, LLONG_MIN);
}

TEST(Guid, WithAndWithoutBraces)
{
    const std::wstring braced = L"{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}";
    GUID guid = {};
    ASSERT_TRUE(tryParseGuid(L"a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11", guid));
    EXPECT_EQ(com::guidText(guid), braced);
    guid = {};
    ASSERT_TRUE(tryParseGuid(braced, guid));
    EXPECT_EQ(com::guidText(guid), braced);
    EXPECT_FALSE(tryParseGuid(L"", guid));
    EXPECT_FALSE(tryParseGuid(L"{a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a1}", guid));
}

TEST(Text, EmptyIsNotNull)
{
    const _variant_t value = valueOfBuffer(*findType(adVarChar), L"", 0);
    ASSERT_EQ(V_VT(&value), VT_BSTR);
    EXPECT_NE(V_BSTR(&value), nullptr);
    EXPECT_EQ(SysStringLen(V_BSTR(&value)), 0u);
}

} // namespace
} // namespace adodb
