#include "db/clsConn.h"

#include "ado/constants.h"
#include "com/convert.h"
#include "support/RecordingAdo.h"
#include "support/recording_error.h"

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;
using Statements = std::vector<AdoStatement>;

class ProceduresTest : public ::testing::Test
{
protected:
    ProceduresTest()
    {
        conn_.openConnection(L"office", L"");
        ado_.forget();
    }

    void text(short index, const wchar_t* value, short direction = ado::adParamInput)
    {
        conn_.Parameters(index, ado::adVarChar, direction, value, 20L);
    }

    void answer(const std::map<long, _variant_t>& outputs) { ado_.answer(L"p", {{}, 0, outputs}); }

    /// Fails each call of `run` in turn and expects the source and that nothing is left alive.
    template <class Run>
    void expectEveryFailureFrom(const std::wstring& source, Run run)
    {
        ado_.forget();
        run();
        const size_t calls = ado_.callCount();
        ASSERT_GT(calls, 5U);
        for (size_t call = 1; call <= calls; ++call) {
            ado_.failCall(call, {static_cast<HRESULT>(0x80040E14), L"Syntax error"});
            const Error error = raised(run);
            EXPECT_EQ(error.source, source) << call;
            EXPECT_EQ(error.number, static_cast<long>(0x80040E14)) << call;
            EXPECT_EQ(ado_.liveObjects(), 1) << call;
        }
    }

    RecordingAdo ado_;
    clsConn conn_;
    const AdoFailure refused_{static_cast<HRESULT>(0x80040E14), L"Refused", L"Provider"};
};

TEST_F(ProceduresTest, ExecuteSpBindsParametersByPosition)
{
    conn_.Parameters(0, ado::adInteger, ado::adParamInput, 12L);
    conn_.Parameters(1, ado::adCurrency, ado::adParamInput, 1.5, 8L, 2);
    conn_.executeSP(L"p");
    EXPECT_EQ(
        ado_.calls(),
        (Lines{L"create Command", L"Command.CommandTimeout = 300", L"set Command.ActiveConnection = Connection(office)",
               L"Command(office).CommandType = 4", L"Command(office).CommandText = \"p\"",
               L"Command(office).CreateParameter(\"0\", 3, 1, 0, 12)", L"Command.Parameters.Append(Parameter(\"0\"))",
               L"Command(office).CreateParameter(\"1\", 6, 1, 8, 1.5)", L"Command.Parameters.Append(Parameter(\"1\"))",
               L"Parameter(\"1\").Precision = 18", L"Parameter(\"1\").NumericScale = 2",
               L"Command(office).Execute(missing, missing, -1)", L"release Recordset", L"release Command(office)"}));
}

TEST_F(ProceduresTest, NegativeSizeIsSentAsZero)
{
    conn_.Parameters(0, ado::adVarChar, ado::adParamInput, L"a", -1L);
    conn_.executeSP(L"p");
    EXPECT_EQ(ado_.calls()[5], L"Command(office).CreateParameter(\"0\", 200, 1, 0, \"a\")");
}

TEST_F(ProceduresTest, QueriesByProcedureAndByTextArePrepared)
{
    text(0, L"a");
    conn_.execSpRs(L"p", 1, 0, 2);
    conn_.execPreparedRs(L"select ?", 1, 0, 2);
    const Lines calls = ado_.calls();
    const size_t half = calls.size() / 2;
    const auto expected = [](const std::wstring& type, const std::wstring& command) {
        return Lines{L"create Command",
                     L"Command.CommandTimeout = 300",
                     L"Command.Prepared = True",
                     L"set Command.ActiveConnection = Connection(office)",
                     L"Command(office).CommandType = " + type,
                     L"Command(office).CommandText = \"" + command + L"\"",
                     L"Command(office).CreateParameter(\"0\", 200, 1, 20, \"a\")",
                     L"Command.Parameters.Append(Parameter(\"0\"))",
                     L"create Recordset",
                     L"Command(office).Execute(missing, missing, -1)",
                     L"release Recordset",
                     L"release Command(office)",
                     L"release Recordset"};
    };
    EXPECT_EQ(Lines(calls.begin(), calls.begin() + static_cast<long>(half)), expected(L"4", L"p"));
    EXPECT_EQ(Lines(calls.begin() + static_cast<long>(half), calls.end()), expected(L"1", L"select ?"));
}

TEST_F(ProceduresTest, QueriesFollowTheRulesOfRecordsets)
{
    conn_.execSpRs(L"p", 3, 0, 3);
    const Lines calls = ado_.calls();
    EXPECT_EQ(calls[7], L"Recordset.CursorLocation = 3");
    EXPECT_EQ(calls[8], L"Recordset.Open(Command(office), missing, 1, 3, -1)");
}

TEST_F(ProceduresTest, QueryDeliversItsRows)
{
    ado_.answer(L"p", adoTexts(L"id", {L"a"}));
    ado_.answer(L"select ?", adoTexts(L"id", {L"b"}));
    EXPECT_EQ(conn_.execSpRs(L"p", 1, 0, 2).value(L"id"), _variant_t(L"a"));
    EXPECT_EQ(conn_.execPreparedRs(L"select ?", 1, 0, 2).value(L"id"), _variant_t(L"b"));
}

TEST_F(ProceduresTest, WithoutParametersNoneAreBound)
{
    conn_.execSpRs(L"p", 1, 0, 2);
    EXPECT_EQ(ado_.statements(), (Statements{{L"office", L"p()"}}));
}

TEST_F(ProceduresTest, FullTableBindsOnlyParameterZero)
{
    for (short index = 0; index <= 50; ++index)
        text(index, L"x");
    conn_.execSpRs(L"p", 1, 0, 2);
    EXPECT_EQ(ado_.statements(), (Statements{{L"office", L"p(\"x\")"}}));
}

TEST_F(ProceduresTest, ReturnIsTheLastOutput)
{
    text(0, L"a");
    text(1, L"b", ado::adParamOutput);
    text(2, L"c");
    text(3, L"d", ado::adParamInputOutput);
    answer({{1, L"first"}, {3, 12L}});
    EXPECT_EQ(conn_.executeSPReturn(L"p"), L"12");
}

TEST_F(ProceduresTest, ReturnWithoutOutputsIsParameterZero)
{
    text(0, L"a");
    text(1, L"b");
    EXPECT_EQ(conn_.executeSPReturn(L"p"), L"a");
}

TEST_F(ProceduresTest, ReturnValueParameterIsNoOutput)
{
    text(0, L"a", 4);
    text(1, L"b", 4);
    answer({{1, L"returned"}});
    EXPECT_EQ(conn_.executeSPReturn(L"p"), L"a");
    EXPECT_EQ(conn_.executeSPReturnMultiple(L"p"), Lines());
}

TEST_F(ProceduresTest, ReturnOfNullRaises94)
{
    text(0, L"a", ado::adParamOutput);
    answer({{0, adoNull()}});
    EXPECT_EQ(raised([&] { conn_.executeSPReturn(L"p"); }),
              (Error{94, L"clsConn.executeSPReturn", L"Invalid use of Null"}));
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'P(0):'");
}

TEST_F(ProceduresTest, ReturnWithoutParametersRaisesAdosItemNotFound)
{
    const Error error = raised([&] { conn_.executeSPReturn(L"p"); });
    EXPECT_EQ(error.number, static_cast<long>(0x80040000) + 3265);
    EXPECT_EQ(error.source, L"clsConn.executeSPReturn");
}

TEST_F(ProceduresTest, MultipleReturnsAreInTheOrderOfTheirIndices)
{
    text(0, L"a", ado::adParamOutput);
    text(1, L"b");
    text(2, L"c", ado::adParamInputOutput);
    text(3, L"d", ado::adParamOutput);
    answer({{0, L"zero"}, {2, adoNull()}, {3, 3L}});
    EXPECT_EQ(conn_.executeSPReturnMultiple(L"p"), (Lines{L"zero", L"", L"3"}));
}

TEST_F(ProceduresTest, TenOutputsAreReturnedAndAnEleventhRaises9)
{
    for (short index = 0; index < 10; ++index)
        text(index, L"x", ado::adParamOutput);
    EXPECT_EQ(conn_.executeSPReturnMultiple(L"p"), Lines(10, L"x"));
    text(10, L"x", ado::adParamOutput);
    ado_.forget();
    EXPECT_EQ(raised([&] { conn_.executeSPReturnMultiple(L"p"); }),
              (Error{9, L"clsConn.executeSPReturnMultiple", L"Subscript out of range"}));
    EXPECT_EQ(ado_.statements(), Statements()) << "the procedure did not run";
}

TEST_F(ProceduresTest, FailureListsTheParametersThatWereSent)
{
    conn_.Parameters(0, ado::adInteger, ado::adParamInput, 12L);
    text(1, L"O'Brien");
    ado_.failStatement(L"p", refused_);
    EXPECT_EQ(raised([&] { conn_.executeSP(L"p"); }),
              (Error{static_cast<long>(0x80040E14), L"clsConn.executeSP", L"Refused"}));
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'P(0):12; P(1):O''Brien'");
}

TEST_F(ProceduresTest, FailureListsNullAsNothing)
{
    text(0, L"");
    text(1, L"b");
    ado_.failStatement(L"p", refused_);
    raised([&] { conn_.executeSP(L"p"); });
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'P(0):; P(1):b'");
}

TEST_F(ProceduresTest, FailureWithoutParametersSaysSo)
{
    ado_.failStatement(L"p", refused_);
    raised([&] { conn_.executeSP(L"p"); });
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'No Parms'");
}

TEST_F(ProceduresTest, FailureWhileBindingListsWhatWasBound)
{
    text(0, L"a");
    text(1, L"b");
    for (const wchar_t* member : {L"Command.CreateParameter", L"Parameters.Append"}) {
        ado_.failMember(member, refused_, 2);
        raised([&] { conn_.executeSP(L"p"); });
        EXPECT_EQ(conn_.retrieveCommandParms(), L",'P(0):a'") << member;
    }
}

TEST_F(ProceduresTest, FailureWhileListingIsListedItself)
{
    text(0, L"a");
    ado_.failStatement(L"p", refused_);
    ado_.failMember(L"Parameters.Count", {E_FAIL, L"Can't count"});
    EXPECT_EQ(raised([&] { conn_.executeSP(L"p"); }).description, L"Refused");
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'Error Getting Parms: Can''t count'");
}

TEST_F(ProceduresTest, FailureToMakeTheCommandListsNothing)
{
    ado_.failStatement(L"p", refused_);
    raised([&] { conn_.executeSP(L"p"); });
    ado_.failMember(L"create Command", {E_OUTOFMEMORY, L""});
    EXPECT_EQ(raised([&] { conn_.executeSP(L"p"); }), (Error{7, L"clsConn.executeSP", L"Out of memory"}));
    EXPECT_EQ(conn_.retrieveCommandParms(), L"");
}

TEST_F(ProceduresTest, ListingOutlivesALaterSuccess)
{
    EXPECT_EQ(conn_.retrieveCommandParms(), L"");
    text(0, L"a");
    ado_.failStatement(L"p", refused_);
    raised([&] { conn_.executeSP(L"p"); });
    conn_.executeSP(L"p");
    conn_.execute(L"update", true);
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'P(0):a'");
}

TEST_F(ProceduresTest, ListingOutlivesFailuresOfOpeningAndOfTextQueries)
{
    text(0, L"a");
    for (const wchar_t* statement : {L"p", L"select"})
        ado_.failStatement(statement, refused_);
    raised([&] { conn_.executeSP(L"p"); });
    raised([&] { conn_.execSqlRs(L"select", 1, 0, 2); });
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'P(0):a'");
    ado_.failMember(L"Connection.Open", refused_);
    raised([&] { conn_.openConnection(L"office", L""); });
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'P(0):a'");
}

TEST_F(ProceduresTest, FailedTextStatementIsListedToo)
{
    text(0, L"a");
    ado_.failStatement(L"update", refused_);
    raised([&] { conn_.execute(L"update", false); });
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'No Parms'");
}

TEST_F(ProceduresTest, EveryFailureIsRaisedUnderTheOperationsName)
{
    conn_.Parameters(0, ado::adCurrency, ado::adParamOutput, 1.5, 8L, 2);
    expectEveryFailureFrom(L"clsConn.execSpRs", [&] { conn_.execSpRs(L"p", 1, 3, 3); });
    expectEveryFailureFrom(L"clsConn.execPreparedRs", [&] { conn_.execPreparedRs(L"p", 1, 0, 2); });
    expectEveryFailureFrom(L"clsConn.executeSP", [&] { conn_.executeSP(L"p"); });
    expectEveryFailureFrom(L"clsConn.executeSPReturn", [&] { conn_.executeSPReturn(L"p"); });
    expectEveryFailureFrom(L"clsConn.executeSPReturnMultiple", [&] { conn_.executeSPReturnMultiple(L"p"); });
}

} // namespace
