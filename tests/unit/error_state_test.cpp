#include "control/Factory.h"
#include "control/error_state.h"
#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;
using Statements = std::vector<AdoStatement>;

class ErrorStateTest : public RecordingTest
{
protected:
    void connectedAt(long site, const std::wstring& role = L"SOURCE")
    {
        ConnectOptions options;
        options.site = site;
        options.role = role;
        connectedSettings(options);
    }
};

TEST_F(ErrorStateTest, ErrorIsRecordedBySiteFlagAndText)
{
    connectedAt(1);
    Utils::setError(true, L"row lost");
    EXPECT_EQ(
        ado().calls(),
        (Lines{L"create Command", L"Command.CommandTimeout = 300", L"set Command.ActiveConnection = Connection(source)",
               L"Command(source).CommandType = 4", L"Command(source).CommandText = \"SetReplicationError\"",
               L"Command(source).CreateParameter(\"0\", 2, 1, 0, 1)", L"Command.Parameters.Append(Parameter(\"0\"))",
               L"Command(source).CreateParameter(\"1\", 16, 1, 0, 1)", L"Command.Parameters.Append(Parameter(\"1\"))",
               L"Command(source).CreateParameter(\"2\", 200, 1, 8, \"row lost\")",
               L"Command.Parameters.Append(Parameter(\"2\"))", L"Command(source).Execute(missing, missing, -1)",
               L"release Recordset", L"release Command(source)"}));
}

TEST_F(ErrorStateTest, ErrorIsRecordedInTheLocalDatabase)
{
    connectedAt(0, L"DESTINATION");
    Utils::setError(false, L"x");
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L"SetReplicationError(0, 0, \"x\")"}}));
}

TEST_F(ErrorStateTest, EmptyTextIsRecordedAsNull)
{
    connectedAt(0);
    Utils::setError(true, L"");
    EXPECT_EQ(ado().statements(), (Statements{{L"source", L"SetReplicationError(0, 1, Null)"}}));
    EXPECT_EQ(ado().calls()[9], L"Command(source).CreateParameter(\"2\", 200, 1, 0, Null)");
}

TEST_F(ErrorStateTest, NothingIsRecordedWhileTheLocalConnectionIsClosed)
{
    connectedAt(0);
    settings().localConnection()->getConn().close();
    ado().forget();
    Utils::setError(true, L"x");
    EXPECT_EQ(ado().callsAndReads(), (Lines{L"Connection(source).State"}));
}

TEST_F(ErrorStateTest, NothingIsRecordedWhileTheLocalConnectionExecutes)
{
    connectedAt(0);
    ado().setState(L"source", 5);
    Utils::setError(true, L"x");
    EXPECT_EQ(ado().callsAndReads(), (Lines{L"Connection(source).State"}));
}

TEST_F(ErrorStateTest, RecordingWithoutAnyConnectionRaises91)
{
    const std::wstring text = L"Object variable or With block variable not set";
    EXPECT_EQ(raised([] { Utils::setError(true, L"x"); }), (Error{91, L"Utils.setError", text}));
}

TEST_F(ErrorStateTest, ResetSendsNoErrorAndNull)
{
    connectedAt(1);
    Utils::resetError();
    EXPECT_EQ(
        ado().calls(),
        (Lines{L"create Command", L"Command.CommandTimeout = 300", L"set Command.ActiveConnection = Connection(source)",
               L"Command(source).CommandType = 4", L"Command(source).CommandText = \"setReplicationError\"",
               L"Command(source).CreateParameter(\"0\", 2, 1, 0, 1)", L"Command.Parameters.Append(Parameter(\"0\"))",
               L"Command(source).CreateParameter(\"1\", 16, 1, 0, 0)", L"Command.Parameters.Append(Parameter(\"1\"))",
               L"Command(source).CreateParameter(\"2\", 200, 1, 1, Null)",
               L"Command.Parameters.Append(Parameter(\"2\"))", L"Command(source).Execute(missing, missing, -1)",
               L"release Recordset", L"release Command(source)"}));
}

TEST_F(ErrorStateTest, ResetDoesNotLookAtTheConnection)
{
    connectedAt(0);
    settings().localConnection()->getConn().close();
    EXPECT_EQ(raised([] { Utils::resetError(); }).source, L"Utils.resetError");
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(ErrorStateTest, EveryFailureIsRaisedUnderTheRoutinesName)
{
    connectedAt(0);
    Utils::setError(true, L"x");
    const size_t calls = ado().callCount();
    ASSERT_EQ(calls, 14U);
    for (size_t call = 1; call <= calls; ++call) {
        ado().failCall(call, connectionLost());
        const Error error = raised([] { Utils::setError(true, L"x"); });
        EXPECT_EQ(error.source, L"Utils.setError") << call;
        EXPECT_EQ(error.number, E_FAIL) << call;
    }
    for (size_t call = 1; call < calls; ++call) {
        ado().failCall(call, connectionLost());
        const Error error = raised([] { Utils::resetError(); });
        EXPECT_EQ(error.source, L"Utils.resetError") << call;
        EXPECT_EQ(error.number, E_FAIL) << call;
    }
}

TEST_F(ErrorStateTest, EntryObjectRecordsAndResets)
{
    connectedAt(0);
    Factory().setError(true, L"stopped by host");
    Factory().setError(false, L"");
    Factory().resetError();
    EXPECT_EQ(ado().statements(), (Statements{{L"source", L"SetReplicationError(0, 1, \"stopped by host\")"},
                                              {L"source", L"SetReplicationError(0, 0, Null)"},
                                              {L"source", L"setReplicationError(0, 0, Null)"}}));
}

TEST_F(ErrorStateTest, EntryObjectRaisesUnderItsOwnName)
{
    connectedAt(0);
    ado().cut(L"source", connectionLost());
    EXPECT_EQ(raised([] { Factory().setError(true, L"x"); }), (Error{E_FAIL, L"Factory.setError", L"Connection lost"}));
    EXPECT_EQ(raised([] { Factory().resetError(); }), (Error{E_FAIL, L"Factory.resetError", L"Connection lost"}));
}

} // namespace
