#include "db/sql_literals.h"

#include "support/RecordingAdo.h"
#include "support/recording_error.h"

namespace Common {
namespace {

TEST(SqlDate, LeavesMidnightOutAndGivesNullForTheZeroDate)
{
    constexpr DATE kNovember15 = 46341; // 15 November 2026
    const std::pair<DATE, const wchar_t*> literals[] = {
        {0, L"Null"},
        {-0.0, L"Null"},
        {0.5, L"'12:00:00 PM'"},
        {kNovember15, L"'11/15/2026'"},
        {kNovember15 + 0.25, L"'11/15/2026 6:00:00 AM'"},
        {kNovember15 + 86399.0 / 86400.0, L"'11/15/2026 11:59:59 PM'"},
    };
    for (const auto& [date, literal] : literals)
        EXPECT_EQ(SqlDate(date), literal);
}

struct Quoted
{
    const wchar_t* text;
    bool leading;
    bool trailing;
    const wchar_t* literal;
    const wchar_t* pattern;
};

TEST(SqlQuote, DoublesApostrophesAndPutsWildcardsAround)
{
    const Quoted texts[] = {
        {L"", false, false, L"Null", L"'%'"},
        {L"", true, false, L"'%'", L"'%'"},
        {L"", false, true, L"'%'", L"'%'"},
        {L"", true, true, L"'%'", L"'%'"},
        {L" ", false, false, L"' '", L"' '"},
        {L"O'Brien", false, false, L"'O''Brien'", L"'O''Brien'"},
        {L"'", false, false, L"''''", L"''''"},
        {L"''a'", false, false, L"'''''a'''", L"'''''a'''"},
        {L"ab'c", true, false, L"'%ab''c'", L"'%ab''c'"},
        {L"ab'c", false, true, L"'ab''c%'", L"'ab''c%'"},
        {L"ab'c", true, true, L"'%ab''c%'", L"'%ab''c%'"},
        {L"5%_[x]", false, false, L"'5%_[x]'", L"'5%_[x]'"}, // stay wildcards
    };
    for (const auto& [text, leading, trailing, literal, pattern] : texts) {
        EXPECT_EQ(SqlQuote(text, leading, trailing), literal);
        EXPECT_EQ(SqlLikePattern(text, leading, trailing), pattern);
    }
}

TEST(SqlQuoteOnly, ValueStandsBetweenApostrophesAsItIs)
{
    const std::pair<_variant_t, const wchar_t*> literals[] = {
        {12L, L"'12'"}, {L"O'Brien", L"'O'Brien'"}, {L"", L"''"}, {L"{ABC}", L"'{ABC}'"}};
    for (const auto& [value, literal] : literals)
        EXPECT_EQ(SqlQuoteOnly(value), literal);
    EXPECT_EQ(raised([] { SqlQuoteOnly(adoNull()); }), (com::Error{94, L"QuinmarkRepDLL", L"Invalid use of Null"}));
}

TEST(SqlBit, TrueIsOneAndFalseIsZero)
{
    EXPECT_EQ(SqlBit(VARIANT_TRUE), 1);
    EXPECT_EQ(SqlBit(1), 1);
    EXPECT_EQ(SqlBit(VARIANT_FALSE), 0);
}

} // namespace
} // namespace Common
