#include "db/sql_literals.h"

#include "com/convert.h"
#include "support/recording_error.h"
#include "version.h"

namespace Common {
namespace {

constexpr DATE kNovember15 = 46341; // 15 November 2026

TEST(SqlDate, ZeroDateIsNull)
{
    EXPECT_EQ(SqlDate(0), L"Null");
    EXPECT_EQ(SqlDate(-0.0), L"Null");
}

TEST(SqlDate, MidnightHasNoTime)
{
    EXPECT_EQ(SqlDate(kNovember15), L"'11/15/2026'");
}

TEST(SqlDate, OtherTimesFollowTheDate)
{
    EXPECT_EQ(SqlDate(kNovember15 + 0.25), L"'11/15/2026 6:00:00 AM'");
    EXPECT_EQ(SqlDate(kNovember15 + 86399.0 / 86400.0), L"'11/15/2026 11:59:59 PM'");
}

TEST(SqlDate, TimeWithoutDateIsTheTimeAlone)
{
    EXPECT_EQ(SqlDate(0.5), L"'12:00:00 PM'");
}

TEST(SqlQuote, EmptyTextIsNull)
{
    EXPECT_EQ(SqlQuote(L"", false, false), L"Null");
}

TEST(SqlQuote, TextStandsBetweenApostrophes)
{
    EXPECT_EQ(SqlQuote(L"abc", false, false), L"'abc'");
    EXPECT_EQ(SqlQuote(L" ", false, false), L"' '");
    EXPECT_EQ(SqlQuote(L"50% [a]_", false, false), L"'50% [a]_'");
}

TEST(SqlQuote, ApostrophesAreDoubled)
{
    EXPECT_EQ(SqlQuote(L"O'Brien", false, false), L"'O''Brien'");
    EXPECT_EQ(SqlQuote(L"'", false, false), L"''''");
    EXPECT_EQ(SqlQuote(L"''a'", false, false), L"'''''a'''");
}

TEST(SqlQuote, WildcardFlagsMakeAPattern)
{
    EXPECT_EQ(SqlQuote(L"ab'c", true, false), L"'%ab''c'");
    EXPECT_EQ(SqlQuote(L"ab'c", false, true), L"'ab''c%'");
    EXPECT_EQ(SqlQuote(L"", true, false), L"'%'");
    EXPECT_EQ(SqlQuote(L"", false, true), L"'%'");
}

TEST(SqlLikePattern, FlagsPutWildcardsBeforeAndBehind)
{
    EXPECT_EQ(SqlLikePattern(L"ab'c", true, true), L"'%ab''c%'");
    EXPECT_EQ(SqlLikePattern(L"ab'c", false, false), L"'ab''c'");
}

TEST(SqlLikePattern, EmptyTextMatchesEverythingWhateverTheFlags)
{
    EXPECT_EQ(SqlLikePattern(L"", false, false), L"'%'");
    EXPECT_EQ(SqlLikePattern(L"", true, true), L"'%'");
}

TEST(SqlLikePattern, WildcardsInsideTheTextStayWildcards)
{
    EXPECT_EQ(SqlLikePattern(L"5%_[x]", false, true), L"'5%_[x]%'");
}

TEST(SqlQuoteOnly, ValueStandsBetweenApostrophesAsItIs)
{
    EXPECT_EQ(SqlQuoteOnly(12L), L"'12'");
    EXPECT_EQ(SqlQuoteOnly(L"O'Brien"), L"'O'Brien'");
    EXPECT_EQ(SqlQuoteOnly(L""), L"''");
    EXPECT_EQ(SqlQuoteOnly(L"{ABC}"), L"'{ABC}'");
}

TEST(SqlQuoteOnly, NullFails)
{
    _variant_t null;
    null.vt = VT_NULL;
    EXPECT_EQ(raised([&] { SqlQuoteOnly(null); }),
              (com::Error{com::kInvalidUseOfNull, kComponentName, L"Invalid use of Null"}));
}

TEST(SqlBit, TrueIsOneAndFalseIsZero)
{
    EXPECT_EQ(SqlBit(VARIANT_TRUE), 1);
    EXPECT_EQ(SqlBit(1), 1);
    EXPECT_EQ(SqlBit(VARIANT_FALSE), 0);
}

} // namespace
} // namespace Common
