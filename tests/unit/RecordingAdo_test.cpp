#include "support/RecordingAdo.h"

#include "ado/Command.h"
#include "ado/constants.h"
#include "com/convert.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::wstring>;

class RecordingAdoTest : public ::testing::Test
{
protected:
    ado::Connection opened(const std::wstring& dsn)
    {
        ado::Connection connection = ado::Connection::create();
        connection.open(L"DSN=" + dsn + L";UID=somebody;PWD=secret");
        return connection;
    }

    ado::Command command(const ado::Connection& connection, const std::wstring& text)
    {
        ado::Command made(com::Dispatch::create(ado::Command::kClass));
        made.setActiveConnection(connection);
        made.setCommandText(text);
        return made;
    }

    RecordingAdo ado_;
    const AdoFailure lost_{E_FAIL, L"Connection lost", L"Provider"};
};

TEST_F(RecordingAdoTest, CallsAreRecordedInOrderWithTheirArguments)
{
    {
        const ado::Connection connection = opened(L"office");
        ado::Command update = command(connection, L"update t");
        update.executeCounted();
    }
    EXPECT_EQ(ado_.calls(),
              (Lines{L"create Connection", L"Connection.Open(\"DSN=office;UID=somebody;PWD=secret\", \"\", \"\", -1)",
                     L"create Command", L"set Command.ActiveConnection = Connection(office)",
                     L"Command(office).CommandText = \"update t\"", L"Command(office).Execute(ref 0, missing, -1)",
                     L"release Recordset", L"release Command(office)", L"release Connection(office)"}));
    EXPECT_EQ(ado_.liveObjects(), 0);
}

TEST_F(RecordingAdoTest, ReadsAreKeptApartFromCalls)
{
    const ado::Connection connection = opened(L"office");
    ado_.forget();
    EXPECT_EQ(connection.state(), ado::adStateOpen);
    EXPECT_EQ(connection.defaultDatabase(), L"office");
    EXPECT_EQ(ado_.calls(), Lines());
    EXPECT_EQ(ado_.callsAndReads(), (Lines{L"Connection(office).State", L"Connection(office).DefaultDatabase"}));
    EXPECT_EQ(ado_.callCount(), 2U);
}

TEST_F(RecordingAdoTest, ParametersAreRecordedAndGetTheirOutputs)
{
    ado_.answer(L"proc", {{}, 0, {{0, L"done"}}});
    const ado::Connection connection = opened(L"office");
    ado::Command call = command(connection, L"proc");
    call.setCommandType(ado::adCmdStoredProc);
    ado_.forget();
    ado::Parameter parameter = call.createParameter({L"0", ado::adVarChar, ado::adParamInputOutput, 5, L"begun"});
    call.appendParameter(parameter);
    parameter.setPrecision(18);
    parameter.setNumericScale(2);
    call.execute();
    EXPECT_EQ(ado_.calls(), (Lines{L"Command(office).CreateParameter(\"0\", 200, 3, 5, \"begun\")",
                                   L"Command.Parameters.Append(Parameter(\"0\"))", L"Parameter(\"0\").Precision = 18",
                                   L"Parameter(\"0\").NumericScale = 2",
                                   L"Command(office).Execute(missing, missing, -1)", L"release Recordset"}));
    EXPECT_EQ(ado_.statements(), (std::vector<AdoStatement>{{L"office", L"proc(\"begun\")"}}));
    EXPECT_EQ(call.parameterCount(), 1);
    EXPECT_EQ(call.parameter(0).value(), _variant_t(L"done"));
    EXPECT_EQ(raised([&] { call.parameter(1); }).number, 3265);
}

TEST_F(RecordingAdoTest, RowsAreReadOneAfterTheOther)
{
    ado_.answer(L"select", {{{{L"id", 3}, {L"name", 200}}, {{1L, L"one"}, {2L, adoNull()}}}, 0, {}});
    const ado::Connection connection = opened(L"office");
    ado::Recordset rows = command(connection, L"select").execute();
    ASSERT_FALSE(rows.eof());
    EXPECT_EQ(rows.fieldCount(), 2);
    EXPECT_EQ(rows.field(0).name(), L"id");
    EXPECT_EQ(rows.field(0).type(), 3);
    EXPECT_EQ(rows.field(0).value(), _variant_t(1L));
    EXPECT_EQ(rows.value(L"NAME"), _variant_t(L"one"));
    rows.moveNext();
    EXPECT_EQ(rows.field(0).value(), _variant_t(2L));
    EXPECT_EQ(rows.value(L"name").vt, VT_NULL);
    rows.moveNext();
    EXPECT_TRUE(rows.eof());
    EXPECT_EQ(raised([&] { rows.moveNext(); }).number, 3021);
    EXPECT_EQ(raised([&] { rows.value(L"id"); }).number, 3021);
    EXPECT_EQ(raised([&] { rows.value(L"other"); }).number, 3265);
    rows.close();
    EXPECT_EQ(raised([&] { rows.close(); }).number, 3704);
}

TEST_F(RecordingAdoTest, AnswersAreGivenInTheirOrderAndTheLastOneAgain)
{
    ado_.answer(L"update", adoAffected(1));
    ado_.answer(L"update", adoAffected(2));
    ado_.answerOn(L"laptop", L"update", adoAffected(7));
    const ado::Connection office = opened(L"office");
    const ado::Connection laptop = opened(L"laptop");
    EXPECT_EQ(command(office, L"update").executeCounted(), 1);
    EXPECT_EQ(command(laptop, L"update").executeCounted(), 7);
    EXPECT_EQ(command(office, L"update").executeCounted(), 2);
    EXPECT_EQ(command(office, L"update").executeCounted(), 2);
    ado_.answer(L"update", adoAffected(3));
    EXPECT_EQ(command(office, L"update").executeCounted(), 3);
    EXPECT_EQ(command(office, L"unanswered").executeCounted(), 0);
    EXPECT_TRUE(command(office, L"unanswered").execute().eof());
}

TEST_F(RecordingAdoTest, StatementFailsBeforeItIsAnswered)
{
    ado_.answer(L"update", adoAffected(1));
    ado_.answer(L"update", adoAffected(2));
    ado_.failStatementOn(L"office", L"update", lost_, 2);
    const ado::Connection office = opened(L"office");
    EXPECT_EQ(command(office, L"update").executeCounted(), 1);
    const com::Error error = raised([&] { command(office, L"update").executeCounted(); });
    EXPECT_EQ(error.number, E_FAIL);
    EXPECT_EQ(error.source, L"Provider");
    EXPECT_EQ(error.description, L"Connection lost");
    EXPECT_EQ(command(office, L"update").executeCounted(), 2);
    EXPECT_EQ(ado_.statements().size(), 3U);
}

TEST_F(RecordingAdoTest, CallFailsAfterItWasCarriedOut)
{
    const ado::Connection office = opened(L"office");
    ado_.failMember(L"Connection.Close", {E_FAIL, L"Late", L"Provider", AdoMoment::After});
    EXPECT_EQ(raised([&] { ado::Connection(office).close(); }).description, L"Late");
    EXPECT_EQ(office.state(), ado::adStateClosed);
}

TEST_F(RecordingAdoTest, NthCallFailsWithABareCode)
{
    const ado::Connection office = opened(L"office");
    ado_.failCall(2, {DISP_E_OVERFLOW, L""});
    EXPECT_EQ(office.state(), ado::adStateOpen);
    EXPECT_EQ(raised([&] { office.state(); }).number, com::kOverflow);
    EXPECT_EQ(office.state(), ado::adStateOpen);
}

TEST_F(RecordingAdoTest, CreationFails)
{
    ado_.failMember(L"create Command", {REGDB_E_CLASSNOTREG, L""});
    EXPECT_EQ(raised([&] { com::Dispatch::create(ado::Command::kClass); }).number, com::kCannotCreateObject);
    EXPECT_EQ(ado_.liveObjects(), 0);
}

TEST_F(RecordingAdoTest, CutConnectionFailsEveryStatement)
{
    const ado::Connection office = opened(L"office");
    const ado::Connection laptop = opened(L"laptop");
    ado_.cut(L"office", lost_);
    EXPECT_EQ(raised([&] { command(office, L"a").execute(); }).description, L"Connection lost");
    EXPECT_EQ(raised([&] { command(office, L"b").execute(); }).description, L"Connection lost");
    EXPECT_TRUE(command(laptop, L"a").execute().eof());
    EXPECT_EQ(office.state(), ado::adStateOpen);
}

TEST_F(RecordingAdoTest, ActionRunsJustBeforeItsStatement)
{
    std::vector<AdoStatement> seen;
    ado_.whenExecuting(L"second", [&] { seen = ado_.statements(); });
    const ado::Connection office = opened(L"office");
    command(office, L"first").execute();
    command(office, L"second").execute();
    EXPECT_EQ(seen, (std::vector<AdoStatement>{{L"office", L"first"}, {L"office", L"second"}}));
}

TEST_F(RecordingAdoTest, ClosedObjectsRefuse)
{
    ado::Connection office = opened(L"office");
    EXPECT_EQ(raised([&] { office.open(L"DSN=office"); }).number, 3705);
    office.close();
    EXPECT_EQ(raised([&] { office.close(); }).number, 3704);
    EXPECT_EQ(raised([&] { office.beginTrans(); }).number, 3704);
    EXPECT_EQ(raised([&] { command(office, L"select").execute(); }).number, 3709);
    EXPECT_EQ(ado_.statements(), std::vector<AdoStatement>());
}

TEST_F(RecordingAdoTest, HostRecordsetStandsOnItsFirstRow)
{
    const ado::Recordset rows(ado_.recordset({{{L"id", 3}}, {{5L}}}));
    EXPECT_EQ(rows.value(L"id"), _variant_t(5L));
}

TEST_F(RecordingAdoTest, LiveObjectsAreCountedUntilTheirRelease)
{
    {
        const ado::Connection office = opened(L"office");
        const ado::Recordset rows = command(office, L"select").execute();
        EXPECT_EQ(ado_.liveObjects(), 2);
    }
    EXPECT_EQ(ado_.liveObjects(), 0);
}

} // namespace
