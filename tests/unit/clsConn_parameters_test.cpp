#include "ConnectionFixture.h"
#include "ado/constants.h"
#include "com/convert.h"

#include <algorithm>

namespace {

constexpr DATE kJanuary1 = 2; // 1 January 1900

/// The parameter table, seen through the parameters that a stored procedure gets.
class ParametersTest : public ConnectionTest
{
protected:
    std::wstring sent()
    {
        ado_.forget();
        conn_.executeSP(L"p");
        return ado_.statements().at(0).second;
    }

    /// The calls by which the parameters were made, or set once they are bound, when they were sent last.
    Lines parameterCalls(const std::wstring& title) const
    {
        Lines calls = ado_.calls();
        std::erase_if(calls, [&](const std::wstring& call) { return !call.starts_with(title); });
        return calls;
    }

    void number(short index, long value) { conn_.Parameters(index, ado::adInteger, ado::adParamInput, value); }
    void text(const _variant_t& value, const _variant_t& size = _variant_t())
    {
        conn_.Parameters(0, ado::adVarChar, ado::adParamInput, value, size);
    }
    void timeStamp(const _variant_t& value) { conn_.Parameters(0, ado::adDBTimeStamp, ado::adParamInputOutput, value); }
    void scaled(short index, short scale)
    {
        conn_.Parameters(index, ado::adCurrency, ado::adParamInput, 1.5, 8L, scale);
    }
};

TEST_F(ParametersTest, AreBoundInTheOrderOfTheirIndicesUntilTheyAreCleared)
{
    for (short index = 0; index < 3; ++index)
        number(index, index);
    EXPECT_EQ(sent(), L"p(0, 1, 2)");
    EXPECT_EQ(sent(), L"p(0, 1, 2)");
    number(0, 99); // clears the others
    EXPECT_EQ(sent(), L"p(99)");
    conn_.resetParms();
    EXPECT_EQ(sent(), L"p()");
}

TEST_F(ParametersTest, GapOrTypeZeroEndsTheList)
{
    number(0, 10);
    number(2, 12);
    EXPECT_EQ(sent(), L"p(10)");
    conn_.Parameters(1, 0, ado::adParamInput, 11L);
    EXPECT_EQ(sent(), L"p(10)");
}

TEST_F(ParametersTest, FullTableBindsOnlyItsFirstEntry)
{
    for (short index = 0; index < 50; ++index)
        number(index, index);
    EXPECT_EQ(sent().substr(0, 9), L"p(0, 1, 2");
    number(50, 50);
    EXPECT_EQ(sent(), L"p(0)");
}

TEST_F(ParametersTest, IndexOutsideTheTableRaises9)
{
    for (const short index : {short{51}, short{-1}})
        EXPECT_EQ(raised([&] { number(index, 0); }), (Error{9, L"QuinmarkRepDLL", L"Subscript out of range"}));
}

TEST_F(ParametersTest, ScaleOfZeroKeepsTheOneOfBeforeUntilTheTableIsCleared)
{
    number(0, 10);
    scaled(1, 2);
    scaled(1, 0);
    sent();
    EXPECT_EQ(parameterCalls(L"Parameter("),
              (Lines{L"Parameter(\"1\").Precision = 18", L"Parameter(\"1\").NumericScale = 2"}));
    number(0, 10);
    scaled(1, 0);
    sent();
    EXPECT_EQ(parameterCalls(L"Parameter("), Lines());
}

TEST_F(ParametersTest, ValuesAreStoredUnchangedButAnEmptyTextAsNull)
{
    text(L"");
    conn_.Parameters(1, ado::adInteger, ado::adParamInput, L"");
    conn_.Parameters(2, ado::adVarChar, ado::adParamInput, adoNull());
    conn_.Parameters(3, ado::adVarChar, ado::adParamInput, L"O'Brien");
    conn_.Parameters(4, ado::adInteger, ado::adParamInput, L"12");
    conn_.Parameters(5, ado::adVarChar, ado::adParamInput, 0L);
    conn_.Parameters(6, ado::adVarChar, ado::adParamInput, _variant_t(kJanuary1, VT_DATE)); // no time stamp
    EXPECT_EQ(sent(), L"p(Null, Null, Null, \"O'Brien\", \"12\", 0, #1/1/1900#)");
}

TEST_F(ParametersTest, TimeStampOfTheFirstOfJanuary1900OrOfTheZeroDateIsSentAsNull)
{
    const std::pair<_variant_t, std::wstring> stamps[] = {
        {_variant_t(kJanuary1, VT_DATE), L"p(Null)"},
        {_variant_t(kJanuary1 + 0.75, VT_DATE), L"p(Null)"},
        {L"1/1/1900", L"p(Null)"},
        {L"1/1/1900 11:59:59 PM", L"p(Null)"},
        {_variant_t(0.0, VT_DATE), L"p(Null)"},
        {L"12:00:00 AM", L"p(Null)"},
        {L"", L"p(Null)"},
        {_variant_t(kJanuary1 + 1, VT_DATE), L"p(#1/2/1900#)"},
        {_variant_t(kJanuary1 - 1, VT_DATE), L"p(#12/31/1899#)"},
        {L"1/2/1900", L"p(\"1/2/1900\")"},
        {_variant_t(0.5, VT_DATE), L"p(#12:00:00 PM#)"},
    };
    for (const auto& [stamp, expected] : stamps) {
        timeStamp(stamp);
        EXPECT_EQ(sent(), expected);
    }
}

TEST_F(ParametersTest, TimeStampThatIsNoneIsRefusedAndItsEntryCountsAsUsed)
{
    EXPECT_EQ(raised([&] { timeStamp(L"yesterday"); }), (Error{13, L"QuinmarkRepDLL", L"Type mismatch"}));
    EXPECT_EQ(raised([&] { timeStamp(adoNull()); }), (Error{94, L"QuinmarkRepDLL", L"Invalid use of Null"}));
    EXPECT_EQ(sent(), L"p(Empty)");
    EXPECT_EQ(parameterCalls(L"Command(office).CreateParameter"),
              (Lines{L"Command(office).CreateParameter(\"0\", 135, 3, 0, Empty)"}));
}

TEST_F(ParametersTest, SizeIsConvertedTo16BitsAndZeroWhenItIsLess)
{
    const std::pair<_variant_t, std::wstring> sizes[] = {{L"40", L"40"}, {-1L, L"0"}, {_variant_t(), L"0"}};
    for (const auto& [size, expected] : sizes) {
        text(L"a", size);
        sent();
        EXPECT_EQ(parameterCalls(L"Command(office).CreateParameter"),
                  (Lines{L"Command(office).CreateParameter(\"0\", 200, 1, " + expected + L", \"a\")"}));
    }
    EXPECT_EQ(raised([&] { text(L"a", L"x"); }).number, 13);
    EXPECT_EQ(raised([&] { text(L"a", adoNull()); }).number, 94);
    EXPECT_EQ(raised([&] { text(L"a", 40000L); }).number, 6);
    EXPECT_EQ(sent(), L"p(\"a\")") << "the refused entry counts as used";
}

TEST_F(ParametersTest, GuidGetsItsBraces)
{
    const std::pair<_variant_t, _variant_t> guids[] = {
        {L"abc", L"{abc}"}, {L"{abc}", L"{abc}"}, {L"{abc", L"{abc"},          {L"abc}", L"{abc}}"},
        {12L, L"{12}"},     {L"", _variant_t()},  {_variant_t(), _variant_t()}};
    for (const auto& [given, braced] : guids)
        EXPECT_EQ(conn_.addGuidBrackets(given), braced);
}

} // namespace
