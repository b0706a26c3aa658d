#include "value_conversion.h"

#include "com/registration.h"
#include "decimal_text.h"
#include "error_of.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

TEST(Timestamp, KnownDates)
{
    EXPECT_EQ(dateOfTimestamp({1899, 12, 30, 0, 0, 0, 0}), 0.0);
    EXPECT_EQ(dateOfTimestamp({1900, 1, 1, 12, 0, 0, 0}), 2.5);
    EXPECT_EQ(dateOfTimestamp({1899, 12, 29, 6, 0, 0, 0}), -1.25);
    EXPECT_EQ(dateOfTimestamp({2020, 2, 29, 18, 0, 0, 0}), 43890.75);
}

TEST(Timestamp, ComesBackRoundedToItsDigits)
{
    struct Case
    {
        SQL_TIMESTAMP_STRUCT given;
        int digits;
        SQL_TIMESTAMP_STRUCT back;
    };
    for (const Case& c : {Case{{2024, 12, 31, 23, 59, 59, 999'999'000}, 6, {2024, 12, 31, 23, 59, 59, 999'999'000}},
                          Case{{2024, 12, 31, 23, 59, 59, 999'900'000}, 3, {2025, 1, 1, 0, 0, 0, 0}},
                          Case{{1753, 1, 1, 13, 14, 15, 0}, 3, {1753, 1, 1, 13, 14, 15, 0}}})
    {
        const SQL_TIMESTAMP_STRUCT back = timestampOfDate(dateOfTimestamp(c.given), c.digits);
        EXPECT_EQ(memcmp(&back, &c.back, sizeof back), 0) << c.given.year << ", " << c.digits << " digits";
    }
}

TEST(Timestamp, OutsideTheRangeOverflows)
{
    EXPECT_EQ(numberOf([] { dateOfTimestamp({99, 1, 1, 0, 0, 0, 0}); }), 6);
    EXPECT_EQ(numberOf([] { timestampOfDate(2958466.0, 3); }), 6);
    EXPECT_EQ(numberOf([] { timestampOfDate(-657435.0, 3); }), 6);
}

TEST(Time, TextComesBack)
{
    for (const wchar_t* text : {L"03:04:05", L"23:59:59.123456"})
        EXPECT_EQ(timeText(dateOfTimeText(text)), text);
    EXPECT_EQ(numberOf([] { dateOfTimeText(L"noon"); }), 13);
}

TEST(Decimal, TextComesBack)
{
    for (const char* text :
         {"0", "-1", "0.5", "-0.0500", "123.4500", "79228162514264337593543950335", "0.0000000000000000000000000001"})
        EXPECT_EQ(decimalText(decimalOfText(text)), text);
}

TEST(Decimal, WhatDoesNotFitIsAnError)
{
    for (const auto& [text, number] :
         {std::pair("79228162514264337593543950336", 6), std::pair("0.00000000000000000000000000001", 6),
          std::pair("NaN", 13), std::pair("", 13)})
        EXPECT_EQ(numberOf([&] { decimalOfText(text); }), number) << text;
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
    for (const wchar_t* text : {L"a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11", L"{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}"}) {
        GUID guid = {};
        ASSERT_TRUE(tryParseGuid(text, guid));
        EXPECT_EQ(com::guidText(guid), L"{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}");
    }
    GUID guid = {};
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
