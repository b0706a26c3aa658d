#include "control/settings.h"
#include "support/ReplicationFixture.h"

using namespace quinmark;

namespace {

using com::Error;

constexpr wchar_t kCopySql[] = L"insert into laptop.users select * from office.users";
constexpr wchar_t kDeletePairSql[] = L"Delete from computer_type_setting; delete from computer_type";
constexpr wchar_t kCopyPairSql[] = L"insert into laptop.computer_type select * from office.computer_type;"
                                   L"insert into laptop.computer_type_setting select * from "
                                   L"office.computer_type_setting;";

class FullCopyTest : public RecordingTest
{
protected:
    FullCopyTest() { connectedSettings(); }

    void reconnectAs(const ConnectOptions& options)
    {
        releaseConnections();
        connectedSettings(options);
    }

    void configure(long method, const std::wstring& table) { table_.init(method, table, L"", L"", UNKNOWN); }

    Error deleteAllError()
    {
        return raised([&] { table_.replicateOneWayDeleteAll(); });
    }

    /// How the statements were sent.
    Lines executions()
    {
        Lines calls = ado().calls();
        std::erase_if(calls, [](const std::wstring& call) { return call.find(L".Execute(") == std::wstring::npos; });
        return calls;
    }

    /// All counters but lCntDestAdd are zero.
    void expectOnlyAdds(long adds) { EXPECT_EQ(table_.counters(), (Counters{.lCntDestAdd = adds})); }

    clsReplicateTable table_;
};

TEST_F(FullCopyTest, TableIsEmptiedOnTheDestinationAndCopiedOnTheLocalConnection)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    ado().answer(kCopySql, adoAffected(12));
    table_.replicateOneWayDeleteAll();
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L"Delete from users"}, {L"source", kCopySql}}));
    expectOnlyAdds(12);
}

TEST_F(FullCopyTest, CopyStaysOnTheLocalConnectionWhenThatIsTheDestination)
{
    ConnectOptions options;
    options.role = L"DESTINATION";
    reconnectAs(options);
    configure(ONE_WAY_DELETE_ALL, L"users");
    table_.replicateOneWayDeleteAll();
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L"Delete from users"}, {L"destination", kCopySql}}));
}

TEST_F(FullCopyTest, OnlyTheCopyAsksForItsCount)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    table_.replicateOneWayDeleteAll();
    EXPECT_EQ(executions(), (Lines{L"Command(destination).Execute(missing, missing, -1)",
                                   L"Command(source).Execute(ref 0, missing, -1)"}));
}

TEST_F(FullCopyTest, StatementsAndSummaryAreLoggedAtDebug)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    ado().answer(kCopySql, adoAffected(12));
    table_.replicateOneWayDeleteAll();
    EXPECT_EQ(logEntries(),
              (Lines{L"DEBUG: ConnDestination: Delete from users", std::wstring(L"DEBUG: ConnLocal: ") + kCopySql,
                     L"DEBUG: Replicated table: users\r\n\tDeletes/Adds to destination: 12\tErrors: 0"}));
}

TEST_F(FullCopyTest, StatementIsLoggedBeforeItRuns)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    Lines atDelete;
    Lines atCopy;
    ado().whenExecuting(L"Delete from users", [&] { atDelete = logEntries(); });
    ado().whenExecuting(kCopySql, [&] { atCopy = logEntries(); });
    table_.replicateOneWayDeleteAll();
    EXPECT_EQ(atDelete.size(), 1U);
    EXPECT_EQ(atCopy.size(), 2U);
}

TEST_F(FullCopyTest, NothingIsLoggedAboveDebug)
{
    ConnectOptions options;
    options.logLevel = 2;
    reconnectAs(options);
    configure(ONE_WAY_DELETE_ALL, L"users");
    table_.replicateOneWayDeleteAll();
    EXPECT_EQ(logBytes(), "");
    EXPECT_EQ(ado().statements().size(), 2U);
}

TEST_F(FullCopyTest, EmptySourceLeavesNoAdds)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    table_.replicateOneWayDeleteAll();
    expectOnlyAdds(0);
    EXPECT_EQ(logEntries().back(), L"DEBUG: Replicated table: users\r\n\tDeletes/Adds to destination: 0\tErrors: 0");
}

TEST_F(FullCopyTest, PrefixesArePastedAsTheyAre)
{
    ConnectOptions options;
    options.sourceDB = L"";
    options.destinationDB = L"laptop";
    reconnectAs(options);
    configure(ONE_WAY_DELETE_ALL, L"users");
    table_.replicateOneWayDeleteAll();
    EXPECT_EQ(ado().statements().back(), AdoStatement(L"source", L"insert into laptopusers select * from users"));
}

TEST_F(FullCopyTest, FailedDeleteStopsTheCopy)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    ado().failStatement(L"Delete from users", connectionLost());
    EXPECT_EQ(deleteAllError(),
              (Error{E_FAIL, L"clsReplicateTable.replicateOneWayDeleteAll(users)", L"Connection lost"}));
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L"Delete from users"}}));
    expectOnlyAdds(0);
}

TEST_F(FullCopyTest, FailedCopyIsRaisedAfterTheDeleteAndRecordsNothing)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    ado().failStatement(kCopySql, {static_cast<HRESULT>(0x80040E37), L"Invalid object name"});
    EXPECT_EQ(deleteAllError(), (Error{static_cast<long>(0x80040E37),
                                       L"clsReplicateTable.replicateOneWayDeleteAll(users)", L"Invalid object name"}));
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L"Delete from users"}, {L"source", kCopySql}}));
    EXPECT_EQ(logEntries(),
              (Lines{L"DEBUG: ConnDestination: Delete from users", std::wstring(L"DEBUG: ConnLocal: ") + kCopySql}));
    expectOnlyAdds(0);
}

TEST_F(FullCopyTest, ClosedDestinationIsNotAvailable)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    settings().remoteConnection()->getConn().close();
    EXPECT_EQ(deleteAllError(), (Error{kOwnErrorRaised, L"clsReplicateTable.replicateOneWayDeleteAll(users)",
                                       L"Remote database not available as Destination"}));
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(FullCopyTest, EveryFailedCallIsRaisedWithTheRoutineAndItsTable)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    table_.replicateOneWayDeleteAll();
    const size_t calls = ado().callCount();
    ASSERT_GT(calls, 10U);
    for (size_t call = 1; call <= calls; ++call) {
        ado().failCall(call, connectionLost());
        const Error error = deleteAllError();
        EXPECT_EQ(error.source, L"clsReplicateTable.replicateOneWayDeleteAll(users)") << call;
        EXPECT_EQ(error.number, E_FAIL) << call;
        EXPECT_EQ(ado().liveObjects(), 2) << call;
    }
}

TEST_F(FullCopyTest, ComputerTypesAreCopiedAsAPairOnTheDestination)
{
    configure(COMPUTER_TYPE, L"whatever");
    ado().answer(kCopyPairSql, adoAffected(5));
    table_.replicateComputerType();
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", kDeletePairSql}, {L"destination", kCopyPairSql}}));
    EXPECT_EQ(logEntries(), (Lines{std::wstring(L"DEBUG: ConnDestination: ") + kDeletePairSql,
                                   std::wstring(L"DEBUG: ConnDestination: ") + kCopyPairSql,
                                   L"DEBUG: Replicated table: computer_type\r\n\tDeletes/Adds to destination: "
                                   L"5\tErrors: 0"}));
    expectOnlyAdds(5);
}

TEST_F(FullCopyTest, OnlyTheCopyOfTheComputerTypesAsksForItsCount)
{
    configure(COMPUTER_TYPE, L"whatever");
    table_.replicateComputerType();
    EXPECT_EQ(executions(), (Lines{L"Command(destination).Execute(missing, missing, -1)",
                                   L"Command(destination).Execute(ref 0, missing, -1)"}));
}

TEST_F(FullCopyTest, FailedDeleteOfTheComputerTypesStopsTheCopy)
{
    configure(COMPUTER_TYPE, L"whatever");
    ado().failStatement(kDeletePairSql, connectionLost());
    EXPECT_EQ(raised([&] { table_.replicateComputerType(); }),
              (Error{E_FAIL, L"clsReplicateTable.replicateComputerType(computer_type)", L"Connection lost"}));
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", kDeletePairSql}}));
    expectOnlyAdds(0);
}

TEST_F(FullCopyTest, ComputerTypesGoToTheDestinationWhateverTheRole)
{
    ConnectOptions options;
    options.role = L"DESTINATION";
    reconnectAs(options);
    configure(COMPUTER_TYPE, L"computer_type");
    table_.replicateComputerType();
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", kDeletePairSql}, {L"destination", kCopyPairSql}}));
}

TEST_F(FullCopyTest, FailedComputerTypesAreRaisedUnderTheirOwnName)
{
    configure(COMPUTER_TYPE, L"whatever");
    ado().failStatement(kCopyPairSql, connectionLost());
    EXPECT_EQ(raised([&] { table_.replicateComputerType(); }),
              (Error{E_FAIL, L"clsReplicateTable.replicateComputerType(computer_type)", L"Connection lost"}));
    EXPECT_EQ(ado().statements().size(), 2U);
    expectOnlyAdds(0);
}

TEST_F(FullCopyTest, SecondCopyReplacesTheCount)
{
    configure(ONE_WAY_DELETE_ALL, L"users");
    ado().answer(kCopySql, adoAffected(12));
    ado().answer(kCopySql, adoAffected(3));
    table_.replicateOneWayDeleteAll();
    table_.replicateOneWayDeleteAll();
    expectOnlyAdds(3);
}

TEST_F(FullCopyTest, FailedSecondCopyKeepsTheCountOfTheFirst)
{
    ado().answer(kCopySql, adoAffected(12));
    ado().answer(kCopyPairSql, adoAffected(5));
    ado().failStatement(kCopySql, connectionLost(), 2);
    ado().failStatement(kCopyPairSql, connectionLost(), 2);
    configure(ONE_WAY_DELETE_ALL, L"users");
    table_.replicateOneWayDeleteAll();
    deleteAllError();
    expectOnlyAdds(12);
    table_.replicateComputerType();
    raised([&] { table_.replicateComputerType(); });
    expectOnlyAdds(5);
}

/// A table object that replicated row by row before: one row updated, one in conflict.
class FullCopyAfterOneWay : public ReplicationTest
{
protected:
    FullCopyAfterOneWay()
    {
        connectAt(OFFICES);
        bothHave(L"K1", 10, 20);
        bothHave(L"K2", 10, -10);
        for (const wchar_t* key : {L"K1", L"K2"}) {
            sourceHolds(key, L"S", 10);
            destinationHolds(key, L"D", 20);
        }
        init(ONE_WAY);
        go();
        EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntConflict = 1, .lCntError = 1}));
    }

    void expectOnlyAddsReplaced(const std::wstring& sTable)
    {
        EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 12, .lCntConflict = 1, .lCntError = 1}));
        EXPECT_EQ(logEntries().back(),
                  L"DEBUG: Replicated table: " + sTable + L"\r\n\tDeletes/Adds to destination: 12\tErrors: 1");
    }
};

TEST_F(FullCopyAfterOneWay, TableKeepsTheOtherCounters)
{
    ado().answer(L"insert into laptop.shortcut select * from office.shortcut", adoAffected(12));
    init(ONE_WAY_DELETE_ALL);
    go();
    expectOnlyAddsReplaced(L"shortcut");
}

TEST_F(FullCopyAfterOneWay, ComputerTypesKeepTheOtherCounters)
{
    ado().answer(kCopyPairSql, adoAffected(12));
    init(COMPUTER_TYPE);
    go();
    expectOnlyAddsReplaced(L"computer_type");
}

} // namespace
