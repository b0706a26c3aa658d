#include "ConnectionFixture.h"
#include "ado/constants.h"

namespace {

class ProceduresTest : public ConnectionTest
{
protected:
    void text(short index, const wchar_t* value, short direction = ado::adParamInput)
    {
        conn_.Parameters(index, ado::adVarChar, direction, value, 20L);
    }

    /// The parameters that are listed after the procedure was refused.
    std::wstring listedAfterRefusal()
    {
        ado_.failStatement(L"p", refused_);
        EXPECT_EQ(raised([&] { conn_.executeSP(L"p"); }), (Error{refused_.code, L"clsConn.executeSP", L"Refused"}));
        return conn_.retrieveCommandParms();
    }
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

TEST_F(ProceduresTest, QueriesByProcedureAndByTextArePrepared)
{
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
    text(0, L"a");
    conn_.execSpRs(L"p", 1, 0, 2);
    EXPECT_EQ(ado_.calls(), expected(L"4", L"p"));
    ado_.forget();
    conn_.execPreparedRs(L"select ?", 1, 0, 2);
    EXPECT_EQ(ado_.calls(), expected(L"1", L"select ?"));
}

TEST_F(ProceduresTest, QueriesFollowTheRulesOfRecordsets)
{
    conn_.execSpRs(L"p", 3, 0, 3);
    const Lines calls = ado_.calls();
    EXPECT_EQ(calls[7], L"Recordset.CursorLocation = 3");
    EXPECT_EQ(calls[8], L"Recordset.Open(Command(office), missing, 1, 3, -1)");
    EXPECT_EQ(ado_.statements(), (Statements{{L"office", L"p()"}})) << "no parameters";
}

TEST_F(ProceduresTest, QueryDeliversItsRows)
{
    ado_.answer(L"p", adoTexts(L"id", {L"a"}));
    ado_.answer(L"select ?", adoTexts(L"id", {L"b"}));
    EXPECT_EQ(conn_.execSpRs(L"p", 1, 0, 2).value(L"id"), _variant_t(L"a"));
    EXPECT_EQ(conn_.execPreparedRs(L"select ?", 1, 0, 2).value(L"id"), _variant_t(L"b"));
}

struct Returned
{
    std::vector<short> directions;
    std::map<long, _variant_t> outputs;
    std::wstring last;
    std::vector<std::wstring> all;
};

TEST_F(ProceduresTest, ReturnIsTheLastOutputOrParameterZeroAndMultipleReturnsAreAllOutputs)
{
    constexpr short kIn = ado::adParamInput, kOut = ado::adParamOutput, kInOut = ado::adParamInputOutput;
    constexpr short kReturnValue = 4; // is no output
    const Returned cases[] = {
        {{kIn, kOut, kIn, kInOut}, {{1, L"first"}, {3, 12L}}, L"12", {L"first", L"12"}},
        {{kOut, kIn, kInOut, kOut}, {{0, L"zero"}, {2, adoNull()}, {3, 3L}}, L"3", {L"zero", L"", L"3"}},
        {{kIn, kReturnValue}, {{1, L"returned"}}, L"sent", {}},
    };
    for (const auto& [directions, outputs, last, all] : cases) {
        for (size_t index = 0; index < directions.size(); ++index)
            text(static_cast<short>(index), L"sent", directions[index]);
        ado_.answer(L"p", {{}, 0, outputs});
        EXPECT_EQ(conn_.executeSPReturn(L"p"), last);
        EXPECT_EQ(conn_.executeSPReturnMultiple(L"p"), all);
    }
}

TEST_F(ProceduresTest, ReturnOfNullRaises94)
{
    text(0, L"a", ado::adParamOutput);
    ado_.answer(L"p", {{}, 0, {{0, adoNull()}}});
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
    EXPECT_EQ(conn_.retrieveCommandParms(), L"");
    EXPECT_EQ(listedAfterRefusal(), L",'No Parms'");
    text(0, L""); // sent as Null
    text(1, L"O'Brien");
    conn_.Parameters(2, ado::adInteger, ado::adParamInput, 12L);
    EXPECT_EQ(listedAfterRefusal(), L",'P(0):; P(1):O''Brien; P(2):12'");
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
    ado_.failMember(L"Parameters.Count", {E_FAIL, L"Can't count"});
    EXPECT_EQ(listedAfterRefusal(), L",'Error Getting Parms: Can''t count'");
}

TEST_F(ProceduresTest, FailureToMakeTheCommandListsNothing)
{
    listedAfterRefusal();
    ado_.failMember(L"create Command", {E_OUTOFMEMORY, L""});
    EXPECT_EQ(raised([&] { conn_.executeSP(L"p"); }), (Error{7, L"clsConn.executeSP", L"Out of memory"}));
    EXPECT_EQ(conn_.retrieveCommandParms(), L"");
}

TEST_F(ProceduresTest, ListingOutlivesSuccessAndFailuresOfOpeningAndOfTextQueries)
{
    text(0, L"a");
    listedAfterRefusal();
    conn_.executeSP(L"p");
    conn_.execute(L"update", true);
    ado_.failStatement(L"select", refused_);
    raised([&] { conn_.execSqlRs(L"select", 1, 0, 2); });
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'P(0):a'");
    ado_.failStatement(L"update", refused_);
    raised([&] { conn_.execute(L"update", false); });
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'No Parms'") << "of a failed text statement";
    ado_.failMember(L"Connection.Open", refused_);
    raised([&] { conn_.openConnection(L"office", L""); });
    EXPECT_EQ(conn_.retrieveCommandParms(), L",'No Parms'");
}

TEST_F(ProceduresTest, EveryFailureIsRaisedUnderTheOperationsName)
{
    conn_.Parameters(0, ado::adCurrency, ado::adParamOutput, 1.5, 8L, 2);
    expectEveryFailureFrom(L"clsConn.execSpRs", 14, [&] { conn_.execSpRs(L"p", 1, 3, 3); });
    expectEveryFailureFrom(L"clsConn.execPreparedRs", 13, [&] { conn_.execPreparedRs(L"p", 1, 0, 2); });
    expectEveryFailureFrom(L"clsConn.executeSP", 11, [&] { conn_.executeSP(L"p"); });
    expectEveryFailureFrom(L"clsConn.executeSPReturn", 13, [&] { conn_.executeSPReturn(L"p"); });
    expectEveryFailureFrom(L"clsConn.executeSPReturnMultiple", 13, [&] { conn_.executeSPReturnMultiple(L"p"); });
}

} // namespace
