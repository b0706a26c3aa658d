#include "db/clsConn.h"

#include "ado/constants.h"
#include "com/convert.h"
#include "support/RecordingAdo.h"
#include "support/recording_error.h"
#include "version.h"

#include <algorithm>

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;

constexpr DATE kJanuary1 = 2; // 1 January 1900

/// The parameter table, seen by what a stored procedure is sent.
class ParametersTest : public ::testing::Test
{
protected:
    ParametersTest() { conn_.openConnection(L"office", L""); }

    std::wstring sent()
    {
        ado_.forget();
        conn_.executeSP(L"p");
        return ado_.statements().at(0).second;
    }

    /// What is set on the parameters once they are bound.
    Lines scalesSent()
    {
        sent();
        Lines calls = ado_.calls();
        std::erase_if(calls, [](const std::wstring& call) { return !call.starts_with(L"Parameter("); });
        return calls;
    }

    void scaled(short index, short scale)
    {
        conn_.Parameters(index, ado::adCurrency, ado::adParamInput, 1.5, 8L, scale);
    }

    std::wstring sentTimeStamp(const _variant_t& value)
    {
        conn_.Parameters(0, ado::adDBTimeStamp, ado::adParamInput, value);
        return sent();
    }

    void number(short index, long value) { conn_.Parameters(index, ado::adInteger, ado::adParamInput, value); }

    RecordingAdo ado_;
    clsConn conn_;
};

TEST_F(ParametersTest, AreBoundInTheOrderOfTheirIndices)
{
    number(0, 10);
    number(1, 11);
    number(2, 12);
    EXPECT_EQ(sent(), L"p(10, 11, 12)");
}

TEST_F(ParametersTest, StayForTheNextCall)
{
    number(0, 10);
    EXPECT_EQ(sent(), L"p(10)");
    EXPECT_EQ(sent(), L"p(10)");
}

TEST_F(ParametersTest, IndexZeroClearsTheTable)
{
    for (short index = 0; index < 5; ++index)
        number(index, index);
    number(0, 99);
    EXPECT_EQ(sent(), L"p(99)");
}

TEST_F(ParametersTest, ResetClearsTheTable)
{
    number(0, 10);
    conn_.resetParms();
    EXPECT_EQ(sent(), L"p()");
}

TEST_F(ParametersTest, ScaleOfZeroKeepsTheOneOfBefore)
{
    number(0, 10);
    scaled(1, 2);
    scaled(1, 0);
    EXPECT_EQ(scalesSent(), (Lines{L"Parameter(\"1\").Precision = 18", L"Parameter(\"1\").NumericScale = 2"}));
}

TEST_F(ParametersTest, ClearingTakesTheScalesToo)
{
    number(0, 10);
    scaled(1, 2);
    number(0, 10);
    scaled(1, 0);
    EXPECT_EQ(scalesSent(), Lines());
}

TEST_F(ParametersTest, GapEndsTheList)
{
    number(0, 10);
    number(2, 12);
    EXPECT_EQ(sent(), L"p(10)");
}

TEST_F(ParametersTest, EntryOfTypeZeroEndsTheList)
{
    number(0, 10);
    conn_.Parameters(1, 0, ado::adParamInput, 11L);
    number(2, 12);
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
    const Error subscript{9, kComponentName, L"Subscript out of range"};
    EXPECT_EQ(raised([&] { number(51, 0); }), subscript);
    EXPECT_EQ(raised([&] { number(-1, 0); }), subscript);
}

TEST_F(ParametersTest, EmptyTextIsSentAsNull)
{
    conn_.Parameters(0, ado::adVarChar, ado::adParamInput, L"");
    conn_.Parameters(1, ado::adInteger, ado::adParamInput, L"");
    EXPECT_EQ(sent(), L"p(Null, Null)");
}

TEST_F(ParametersTest, NullStaysNull)
{
    conn_.Parameters(0, ado::adVarChar, ado::adParamInput, adoNull());
    EXPECT_EQ(sent(), L"p(Null)");
}

TEST_F(ParametersTest, ValuesAreStoredUnchanged)
{
    conn_.Parameters(0, ado::adVarChar, ado::adParamInput, L"O'Brien");
    conn_.Parameters(1, ado::adInteger, ado::adParamInput, L"12");
    conn_.Parameters(2, ado::adVarChar, ado::adParamInput, 0L);
    EXPECT_EQ(sent(), L"p(\"O'Brien\", \"12\", 0)");
}

TEST_F(ParametersTest, FirstOfJanuary1900IsSentAsNullAtAnyTime)
{
    EXPECT_EQ(sentTimeStamp(_variant_t(kJanuary1, VT_DATE)), L"p(Null)");
    EXPECT_EQ(sentTimeStamp(_variant_t(kJanuary1 + 0.75, VT_DATE)), L"p(Null)");
    EXPECT_EQ(sentTimeStamp(L"1/1/1900"), L"p(Null)");
    EXPECT_EQ(sentTimeStamp(L"1/1/1900 11:59:59 PM"), L"p(Null)");
}

TEST_F(ParametersTest, ZeroDateIsSentAsNull)
{
    EXPECT_EQ(sentTimeStamp(_variant_t(0.0, VT_DATE)), L"p(Null)");
    EXPECT_EQ(sentTimeStamp(L"12:00:00 AM"), L"p(Null)");
}

TEST_F(ParametersTest, EmptyTextTimeStampIsSentAsNull)
{
    EXPECT_EQ(sentTimeStamp(L""), L"p(Null)");
}

TEST_F(ParametersTest, OtherTimeStampsAreSentAsGiven)
{
    EXPECT_EQ(sentTimeStamp(_variant_t(kJanuary1 + 1, VT_DATE)), L"p(#1/2/1900#)");
    EXPECT_EQ(sentTimeStamp(_variant_t(kJanuary1 - 1, VT_DATE)), L"p(#12/31/1899#)");
    EXPECT_EQ(sentTimeStamp(L"1/2/1900"), L"p(\"1/2/1900\")");
    EXPECT_EQ(sentTimeStamp(_variant_t(0.5, VT_DATE)), L"p(#12:00:00 PM#)");
}

TEST_F(ParametersTest, FirstOfJanuary1900OfAnotherTypeIsSentAsGiven)
{
    conn_.Parameters(0, ado::adVarChar, ado::adParamInput, _variant_t(kJanuary1, VT_DATE));
    EXPECT_EQ(sent(), L"p(#1/1/1900#)");
}

TEST_F(ParametersTest, NullTimeStampRaises94)
{
    EXPECT_EQ(raised([&] { sentTimeStamp(adoNull()); }), (Error{94, kComponentName, L"Invalid use of Null"}));
}

TEST_F(ParametersTest, EntryRefusedForItsValueCountsAsUsed)
{
    raised([&] { conn_.Parameters(0, ado::adDBTimeStamp, ado::adParamInputOutput, adoNull()); });
    EXPECT_EQ(sent(), L"p(Empty)");
    EXPECT_EQ(ado_.calls()[5], L"Command(office).CreateParameter(\"0\", 135, 3, 0, Empty)");
}

TEST_F(ParametersTest, EntryRefusedForItsSizeCountsAsUsed)
{
    raised([&] { conn_.Parameters(0, ado::adVarChar, ado::adParamInputOutput, L"a", 40000L); });
    EXPECT_EQ(sent(), L"p(\"a\")");
    EXPECT_EQ(ado_.calls()[5], L"Command(office).CreateParameter(\"0\", 200, 3, 0, \"a\")");
}

TEST_F(ParametersTest, TimeStampThatIsNoDateRaises13)
{
    EXPECT_EQ(raised([&] { sentTimeStamp(L"yesterday"); }), (Error{13, kComponentName, L"Type mismatch"}));
}

TEST_F(ParametersTest, SizeIsConvertedTo16Bits)
{
    conn_.Parameters(0, ado::adVarChar, ado::adParamInput, L"a", L"40");
    conn_.executeSP(L"p");
    const Lines calls = ado_.calls();
    EXPECT_NE(std::find(calls.begin(), calls.end(), L"Command(office).CreateParameter(\"0\", 200, 1, 40, \"a\")"),
              calls.end());
    EXPECT_EQ(raised([&] { conn_.Parameters(0, ado::adVarChar, ado::adParamInput, L"a", 40000L); }).number, 6);
    EXPECT_EQ(raised([&] { conn_.Parameters(0, ado::adVarChar, ado::adParamInput, L"a", L"x"); }).number, 13);
    EXPECT_EQ(raised([&] { conn_.Parameters(0, ado::adVarChar, ado::adParamInput, L"a", adoNull()); }).number, 94);
}

TEST_F(ParametersTest, GuidGetsItsBraces)
{
    EXPECT_EQ(conn_.addGuidBrackets(L"abc"), _variant_t(L"{abc}"));
    EXPECT_EQ(conn_.addGuidBrackets(L"{abc}"), _variant_t(L"{abc}"));
    EXPECT_EQ(conn_.addGuidBrackets(L"{abc"), _variant_t(L"{abc"));
    EXPECT_EQ(conn_.addGuidBrackets(L"abc}"), _variant_t(L"{abc}}"));
    EXPECT_EQ(conn_.addGuidBrackets(12L), _variant_t(L"{12}"));
}

TEST_F(ParametersTest, EmptyGuidIsAnEmptyVariant)
{
    EXPECT_EQ(conn_.addGuidBrackets(L"").vt, VT_EMPTY);
    EXPECT_EQ(conn_.addGuidBrackets(_variant_t()).vt, VT_EMPTY);
}

} // namespace
