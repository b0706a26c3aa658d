#include "replication/logged_sql.h"

#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

#include <algorithm>

using namespace quinmark;

namespace {

using Lines = std::vector<std::wstring>;
using Statements = std::vector<AdoStatement>;

class LoggedSql : public RecordingTest
{
protected:
    void connectAs(const std::wstring& role, short level = 1)
    {
        ConnectOptions options;
        options.role = role;
        options.logLevel = level;
        connectedSettings(options);
    }

    static void executeEverywhere()
    {
        executeOnDestination(L"update a");
        executeOnSource(L"update b");
        executeOnLocal(L"update c");
        queryOnLocal(L"select d");
        queryOnSource(L"select e");
    }
};

TEST_F(LoggedSql, StatementsAreLoggedWithTheirConnectionAndRunThere)
{
    for (const wchar_t* local : {L"source", L"destination"}) {
        connectAs(local);
        executeEverywhere();
        EXPECT_EQ(ado().statements(), (Statements{{L"destination", L"update a"},
                                                  {L"source", L"update b"},
                                                  {local, L"update c"},
                                                  {local, L"select d"},
                                                  {L"source", L"select e"}}));
        EXPECT_EQ(logEntries(), (Lines{L"DEBUG: ConnDestination: update a", L"DEBUG: ConnSource: update b",
                                       L"DEBUG: ConnLocal: update c", L"DEBUG: ConnLocal: select d",
                                       L"DEBUG: ConnSource: select e"}));
        DeleteFileW(logFile().c_str());
        releaseConnections();
    }
}

TEST_F(LoggedSql, NothingIsLoggedAboveDebug)
{
    connectAs(L"SOURCE", 2);
    executeEverywhere();
    EXPECT_EQ(logBytes(), "");
    EXPECT_EQ(ado().statements().size(), 5U);
}

TEST_F(LoggedSql, RowsAffectedAreGivenOnlyWhenAskedFor)
{
    connectAs(L"SOURCE");
    ado().answer(L"update a", adoAffected(3));
    EXPECT_EQ(executeOnDestination(L"update a"), 0);
    EXPECT_EQ(executeOnDestination(L"update a", true), 3);
    EXPECT_EQ(executeOnSource(L"update a"), 0);
    EXPECT_EQ(executeOnSource(L"update a", true), 3);
    EXPECT_EQ(executeOnLocal(L"update a"), 3);
}

TEST_F(LoggedSql, StatementIsLoggedThoughItIsEmptyOrFails)
{
    connectAs(L"SOURCE");
    executeOnDestination(L"");
    EXPECT_EQ(ado().statements(), Statements());
    ado().cut(L"destination", connectionLost());
    EXPECT_EQ(raised([] { executeOnDestination(L"update a"); }),
              (com::Error{E_FAIL, L"clsConn.execute", L"Connection lost"}));
    EXPECT_EQ(logEntries(), (Lines{L"DEBUG: ConnDestination: ", L"DEBUG: ConnDestination: update a"}));
}

TEST_F(LoggedSql, ClosedSideIsRaisedByThePairing)
{
    connectAs(L"SOURCE");
    settings().remoteConnection()->getConn().close();
    EXPECT_EQ(raised([] { executeOnDestination(L"update a"); }),
              (com::Error{kOwnErrorRaised, L"Utils.getConnDest", L"Remote database not available as Destination"}));
}

TEST_F(LoggedSql, QueriesAreReadForwardOnTheServer)
{
    connectAs(L"SOURCE");
    queryOnSource(L"select a");
    const Lines calls = ado().calls();
    EXPECT_EQ(std::ranges::count(calls, L"Command(source).Execute(missing, missing, -1)"), 1);
}

} // namespace
