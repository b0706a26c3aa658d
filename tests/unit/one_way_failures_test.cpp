#include "control/settings.h"
#include "support/ReplicationFixture.h"

using namespace quinmark;

namespace {

using com::Error;

/// Ends of a one-way run before its time.
class OneWayFailures : public ReplicationTest
{
protected:
    OneWayFailures() { connectAt(OFFICES); }

    void fullRun()
    {
        rowOfEachKind();
        init(ONE_WAY_ALLOW_DELETES, L"chart_option_setting");
    }

    /// A failure of `go`, which also marks the run as failed and leaves counts and summary unwritten.
    void expectFailure(long number, const std::wstring& description, const Counters& reached = {})
    {
        EXPECT_EQ(goError(), (Error{number, L"clsReplicateTable.go",
                                    L"clsReplicateTable.replicateOneWay(shortcut): " + description}));
        EXPECT_EQ(sent().back(),
                  L"source: SetReplicationError(0, 1, \"clsReplicateTable.replicateOneWay: " + description + L"\")");
        EXPECT_FALSE(logEntries().back().starts_with(L"STAT "));
        EXPECT_EQ(counters(), reached);
    }
};

TEST_F(OneWayFailures, EveryStatementThatFailsEndsTheRun)
{
    fullRun();
    expectEveryFailureEndsTheRun(
        L"clsReplicateTable.replicateOneWay(shortcut): Connection lost",
        {L"source: SetReplicationError(0, 1, \"clsReplicateTable.replicateOneWay: Connection lost\")"});
}

TEST_F(OneWayFailures, RoutineNamesTheTableInItsSource)
{
    ado().failMember(L"Command.Execute", connectionLost());
    init(ONE_WAY);
    EXPECT_EQ(raised([&] { table().replicateOneWay(true); }),
              (Error{E_FAIL, L"clsReplicateTable.replicateOneWay(shortcut)",
                     L"clsReplicateTable.replicateOneWay(shortcut): Connection lost"}));
}

TEST_F(OneWayFailures, NullModificationDateEndsTheRun)
{
    init(ONE_WAY);
    ado().answer(L"select unid, mod_date from office.shortcut where unid not in (select unid from laptop.shortcut)",
                 {adoRow({{L"unid", L"K1"}, {L"mod_date", adoNull()}}), 0, {}});
    expectFailure(94, L"Invalid use of Null");
}

TEST_F(OneWayFailures, RowThatVanishedBeforeItsUpdateEndsTheRun)
{
    row(L"K1", 10, -10);
    vanishes(L"source", L"K1");
    init(ONE_WAY);
    expectFailure(kNoRecord, L"Either BOF or EOF is True, or the current record has been deleted. Requested operation "
                             L"requires a current record.");
}

TEST_F(OneWayFailures, ColumnsInAnotherOrderEndTheRunAfterTheConflictWasCounted)
{
    row(L"K1", 10, 20);
    init(ONE_WAY);
    ado().answerOn(L"destination", L"Select * from shortcut where unid = 'K1'",
                   {adoRow({{L"unid", L"K1"}, {L"mod_date", L""}, {L"item_name", L"D"}}), 0, {}});
    expectFailure(kOwnErrorRaised, L"Replication Error: Fields out of sync on table: shortcut", {.lCntConflict = 1});
}

TEST_F(OneWayFailures, FailureToMarkTheRunTakesThePlaceOfTheFirstOne)
{
    init(ONE_WAY);
    ado().cut(L"source", {E_FAIL, L"Cut off"});
    EXPECT_EQ(goError(), (Error{E_FAIL, L"clsReplicateTable.go", L"Cut off"}));
}

TEST_F(OneWayFailures, ClosedLocalConnectionIsRaisedWithoutMarkingTheRun)
{
    init(ONE_WAY);
    settings().localConnection()->getConn().close();
    EXPECT_EQ(goError().description,
              L"clsReplicateTable.replicateOneWay(shortcut): Local database not available as Source");
    EXPECT_EQ(sent(), Lines());
}

TEST_F(OneWayFailures, CountersAreZeroedBeforeAnythingCanFail)
{
    fullRun();
    go();
    settings().remoteConnection()->getConn().close();
    EXPECT_EQ(goError().description,
              L"clsReplicateTable.replicateOneWay(shortcut): Remote database not available as Destination");
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 4}));
}

struct FailingPoint
{
    const char* name;
    std::wstring statement;
    Counters reached;
    size_t execution = 1;
};

std::wstring rewriteOf(const std::wstring& key)
{
    return L"delete from chart_option_setting where chart_option_id = '" + key + L"'; insert into " +
           L"chart_option_setting select * from office.chart_option_setting where chart_option_id = '" + key + L"'";
}

const FailingPoint kFailingPoints[] = {
    {"UpdateIsCountedBeforeItsDependentRows", rewriteOf(L"K1"), {.lCntDestUpdate = 1}},
    {"InsertAfterThem", rewriteOf(L"K4"), {.lCntDestUpdate = 1, .lCntConflict = 2, .lCntError = 2}},
    {"DeleteAfterThem", rewriteOf(L"K7"), {.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntConflict = 4, .lCntError = 4}},
    {"ConflictWhenItIsRecorded", L"InsertReplicationConflictData", {.lCntDestUpdate = 1}},
    {"ErrorBeforeTheDump",
     L"select * from shortcut where unid = 'K5'",
     {.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntConflict = 3, .lCntError = 3}},
    {"ErrorOfBothSidesBeforeTheMark", L"SetReplicationError", {.lCntDestUpdate = 1, .lCntConflict = 1, .lCntError = 1}},
    {"ErrorOfTheDestinationBeforeTheMark",
     L"SetReplicationError",
     {.lCntDestUpdate = 1, .lCntConflict = 2, .lCntError = 2},
     2},
};

class OneWayFailsAt : public OneWayFailures, public testing::WithParamInterface<FailingPoint>
{
};

TEST_P(OneWayFailsAt, CountersKeepWhatTheyHadReached)
{
    fullRun();
    ado().failStatement(GetParam().statement, connectionLost(), GetParam().execution);
    EXPECT_EQ(goError().number, E_FAIL);
    EXPECT_EQ(counters(), GetParam().reached);
}

INSTANTIATE_TEST_SUITE_P(, OneWayFailsAt, testing::ValuesIn(kFailingPoints),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
