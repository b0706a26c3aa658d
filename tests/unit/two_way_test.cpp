#include "support/MessageBoxes.h"
#include "support/ReplicationFixture.h"

namespace {

using com::Error;
using Texts = std::vector<std::wstring>;

/// Two-way replication, deleting (TWO_WAY) or not (TWO_WAY_NO_DELETES).
class TwoWayTest : public ReplicationTest
{
protected:
    void runAt(long site, long method = TWO_WAY)
    {
        connectAt(site);
        init(method);
        go();
        EXPECT_EQ(counters(), Counters());
    }

    /// Runs by each of the methods, which differ in what their boxes say alone.
    void expectOfBothMethods(const Statements& sourceOnly, const Statements& destinationOnly, const Texts& boxes)
    {
        runAt(OFFICES, TWO_WAY);
        EXPECT_EQ(ado().statements(), wholeRun({}, sourceOnly, destinationOnly));
        ado().forget();
        init(TWO_WAY_NO_DELETES);
        go();
        EXPECT_EQ(ado().statements(), wholeRun({}, sourceOnly, destinationOnly));
        EXPECT_EQ(boxes_.texts(), boxes);
    }

    void changed(double sourceSeconds, double destinationSeconds)
    {
        bothHave(L"K1", sourceSeconds, destinationSeconds);
        sourceHolds(L"K1", L"S", sourceSeconds);
        destinationHolds(L"K1", L"D", destinationSeconds);
    }

    static std::wstring selectFromOffice(const std::wstring& key)
    {
        return L"Select * from office.shortcut where unid = '" + key + L"'";
    }

    Statements sevenCounts() const
    {
        std::wstring batch;
        for (const wchar_t* suffix :
             {L" updates", L" adds", L" deletes", L" updates", L" adds", L" deletes", L" errors"})
            batch += (batch.empty() ? L"" : L";") +
                     (L"insert into replication_counts (unique_key, count_name, count_value) values (" +
                      std::wstring(atOffices() ? L"0" : L"1") + L",'shortcut" + suffix + L"',0)");
        return onLocal({batch});
    }

    Statements wholeRun(const Statements& common, const Statements& sourceOnly = {},
                        const Statements& destinationOnly = {}) const
    {
        return joined({onLocal({twoWayChangedSql()}), common, onLocal({sourceOnlySql()}), sourceOnly,
                       onLocal({destinationOnlySql()}), destinationOnly, sevenCounts()});
    }

    const std::wstring summary_ =
        L"STAT : Replicated table: shortcut\r\n\tAdds to source: 0\r\n\tUpdates to source: 0\r\n\tDeletes to source: 0"
        L"\r\n\tAdds to destination: 0\r\n\tUpdates to destination: 0\r\n\tDeletes to destination: 0\r\n\tErrors: 0";
    MessageBoxes boxes_;
};

TEST_F(TwoWayTest, NoStatementAsksHowManyRowsItChanged)
{
    changed(10, -10);
    onlySourceHas(L"K2", 10);
    sourceHolds(L"K2", L"N", 10);
    runAt(LAPTOP);
    EXPECT_EQ(ado().statements(),
              wholeRun(joined({onSource({select(L"K1")}), onDestination({update(L"K1", L"S", 10)})}),
                       joined({onSource({selectFromOffice(L"K2")}), onDestination({insert(L"K2", L"N", 10)})})));
    for (const std::wstring& call : ado().calls())
        EXPECT_EQ(call.find(L"Execute(ref"), std::wstring::npos) << call;
}

TEST_F(TwoWayTest, TablesThatAgreeAreOnlyCompared)
{
    for (const long site : {OFFICES, LAPTOP}) {
        runAt(site);
        EXPECT_EQ(ado().statements(), wholeRun({}));
        releaseConnections();
    }
    EXPECT_EQ(boxes_.texts(), Texts());
}

TEST_F(TwoWayTest, SummaryAloneIsLogged)
{
    runAt(OFFICES);
    EXPECT_EQ(logEntries(), Lines{summary_});
}

TEST_F(TwoWayTest, NewerSourceRowUpdatesTheDestinationAtBothSites)
{
    changed(10, -10);
    for (const long site : {OFFICES, LAPTOP}) {
        runAt(site);
        EXPECT_EQ(ado().statements(),
                  wholeRun(joined({onSource({select(L"K1")}), onDestination({update(L"K1", L"S", 10)})})));
        releaseConnections();
    }
    EXPECT_EQ(boxes_.texts(), Texts());
}

TEST_F(TwoWayTest, NewerDestinationRowUpdatesTheSource)
{
    changed(-10, 10);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(),
              wholeRun(joined({onDestination({select(L"K1")}), onSource({update(L"K1", L"D", 10)})})));
    EXPECT_EQ(logEntries(), (Lines{L"DEBUG: ConnSource: " + update(L"K1", L"D", 10), summary_}));
}

TEST_F(TwoWayTest, RowChangedOnBothSidesIsAnnouncedAndThenCopiedFromTheLaterSide)
{
    changed(10, 20);
    runAt(OFFICES);
    EXPECT_EQ(boxes_.shown(), (std::vector<ShownBox>{{L"QuinmarkRepDLL", L"replication conflict", {L"OK"}}}));
    EXPECT_EQ(ado().statements(),
              wholeRun(joined({onDestination({select(L"K1")}), onSource({update(L"K1", L"D", 20)})})));
}

TEST_F(TwoWayTest, LaterSourceWinsAnAnnouncedConflict)
{
    changed(20, 10);
    runAt(LAPTOP, TWO_WAY_NO_DELETES);
    EXPECT_EQ(boxes_.texts(), Texts{L"replication conflict"});
    EXPECT_EQ(ado().statements(),
              wholeRun(joined({onSource({select(L"K1")}), onDestination({update(L"K1", L"S", 20)})})));
}

TEST_F(TwoWayTest, ConflictIsAnnouncedBeforeTheRowIsRead)
{
    changed(10, 20);
    size_t statements = 0;
    boxes_.whileShown([&] { statements = ado().statements().size(); });
    runAt(OFFICES);
    EXPECT_EQ(statements, 1U);
}

TEST_F(TwoWayTest, TheLastRunsOwnTimeIsNoChange)
{
    changed(0, 10);
    runAt(OFFICES);
    EXPECT_EQ(boxes_.texts(), Texts());
    EXPECT_EQ(ado().statements()[2], AdoStatement(L"source", update(L"K1", L"D", 10)));
}

TEST_F(TwoWayTest, DatesOfTheSameSecondAreLeftAsTheyAre)
{
    changed(-10, -9.7);
    bothHave(L"K2", 0, 0.3);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(), wholeRun({}));
    EXPECT_EQ(boxes_.texts(), Texts());
}

TEST_F(TwoWayTest, ConflictOfTheSameSecondIsAnnouncedButNotCopied)
{
    changed(10, 10.3);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(), wholeRun({}));
    EXPECT_EQ(boxes_.texts(), Texts{L"replication conflict"});
}

TEST_F(TwoWayTest, OneSecondApartIsCopied)
{
    changed(1, 0);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements()[2], AdoStatement(L"destination", update(L"K1", L"S", 1)));
}

TEST_F(TwoWayTest, RowNewInTheSourceIsReadThroughItsPrefixAndInsertedSilently)
{
    for (const double seconds : {10.0, 0.0}) {
        onlySourceHas(L"K1", seconds);
        sourceHolds(L"K1", L"S", seconds);
    }
    runAt(OFFICES);
    const Statements first = joined({onSource({selectFromOffice(L"K1")}), onDestination({insert(L"K1", L"S", 10)})});
    const Statements second = joined({onSource({selectFromOffice(L"K1")}), onDestination({insert(L"K1", L"S", 0)})});
    EXPECT_EQ(ado().statements(), wholeRun({}, joined({first, second})));
    EXPECT_EQ(boxes_.texts(), Texts());
    EXPECT_EQ(logEntries(), (Lines{L"DEBUG: ConnDestination: " + insert(L"K1", L"S", 10),
                                   L"DEBUG: ConnDestination: " + insert(L"K1", L"S", 0), summary_}));
}

TEST_F(TwoWayTest, RowNewInTheDestinationIsReadWithoutAPrefixAndInsertedSilently)
{
    onlyDestinationHas(L"K1", 0);
    destinationHolds(L"K1", L"D", 0);
    runAt(LAPTOP);
    EXPECT_EQ(ado().statements(),
              wholeRun({}, {}, joined({onDestination({select(L"K1")}), onSource({insert(L"K1", L"D", 0)})})));
    EXPECT_EQ(boxes_.texts(), Texts());
}

TEST_F(TwoWayTest, OldSourceRowIsAnnouncedAndThenCopied)
{
    onlySourceHas(L"K1", -1);
    sourceHolds(L"K1", L"S", -1);
    expectOfBothMethods(
        joined({onSource({selectFromOffice(L"K1")}), onDestination({insert(L"K1", L"S", -1)})}), {},
        {L"TODO: delete from Nrv", L"replication conflict - new row on Nrv shortcut table before last Replicate date"});
}

TEST_F(TwoWayTest, OldDestinationRowIsAnnouncedAndThenCopied)
{
    onlyDestinationHas(L"K1", -1);
    destinationHolds(L"K1", L"D", -1);
    expectOfBothMethods(
        {}, joined({onDestination({select(L"K1")}), onSource({insert(L"K1", L"D", -1)})}),
        {L"TODO: delete from ZT", L"replication conflict - new row on ZT shortcut table before last Replicate date"});
}

TEST_F(TwoWayTest, EveryBoxHasTheComponentsTitleAndAnOkButton)
{
    onlySourceHas(L"K1", -1);
    sourceHolds(L"K1", L"S", -1);
    runAt(OFFICES);
    EXPECT_EQ(boxes_.shown(), (std::vector<ShownBox>{{L"QuinmarkRepDLL", L"TODO: delete from Nrv", {L"OK"}}}));
}

TEST_F(TwoWayTest, PhasesFollowOneAnother)
{
    changed(10, -10);
    onlySourceHas(L"K2", 10);
    sourceHolds(L"K2", L"S2", 10);
    onlyDestinationHas(L"K3", 10);
    destinationHolds(L"K3", L"D3", 10);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(),
              wholeRun(joined({onSource({select(L"K1")}), onDestination({update(L"K1", L"S", 10)})}),
                       joined({onSource({selectFromOffice(L"K2")}), onDestination({insert(L"K2", L"S2", 10)})}),
                       joined({onDestination({select(L"K3")}), onSource({insert(L"K3", L"D3", 10)})})));
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(TwoWayTest, EarlierCountsAreReportedAsTheyStand)
{
    bothHave(L"K1", 10, 20);
    sourceHolds(L"K1", L"S", 10);
    destinationHolds(L"K1", L"D", 20);
    connectAt(OFFICES);
    init(ONE_WAY);
    go();
    init(TWO_WAY);
    go();
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
    EXPECT_NE(ado().statements().back().second.find(L"'shortcut errors',1)"), std::wstring::npos);
    EXPECT_EQ(logEntries().back().substr(summary_.size() - 9), L"Errors: 1");
}

TEST_F(TwoWayTest, EveryStatementThatFailsEndsTheRunWithoutMarkingIt)
{
    changed(10, -10);
    onlySourceHas(L"K2", 10);
    sourceHolds(L"K2", L"S2", 10);
    onlyDestinationHas(L"K3", 10);
    destinationHolds(L"K3", L"D3", 10);
    runAt(OFFICES);
    const Statements good = ado().statements();
    ASSERT_EQ(good.size(), 10U);
    for (size_t failing = 0; failing < good.size(); ++failing) {
        ado().forget();
        ado().failMember(L"Command.Execute", connectionLost(), failing + 1);
        EXPECT_EQ(goError(), (Error{E_FAIL, L"clsReplicateTable.go", L"Connection lost"}));
        EXPECT_EQ(ado().statements(), Statements(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(failing)));
        EXPECT_EQ(counters(), Counters());
    }
}

TEST_F(TwoWayTest, RoutineNamesItselfAndTheTable)
{
    runAt(OFFICES);
    ado().failStatement(sourceOnlySql(), connectionLost());
    EXPECT_EQ(raised([&] { table().replicateTableTwoWay(true); }),
              (Error{E_FAIL, L"clsReplicateTable.replicateTable(shortcut)", L"Connection lost"}));
}

TEST_F(TwoWayTest, RowThatVanishedEndsTheRun)
{
    onlySourceHas(L"K1", 10);
    sourceHolds(L"K1");
    connectAt(OFFICES);
    init(TWO_WAY);
    EXPECT_EQ(goError().number, static_cast<long>(0x80040000) + 3021);
    EXPECT_EQ(ado().statements().size(), 3U);
    EXPECT_EQ(logBytes(), "");
}

TEST_F(TwoWayTest, NullModificationDateEndsTheRun)
{
    connectAt(OFFICES);
    init(TWO_WAY);
    ado().answerOn(L"source", destinationOnlySql(),
                   {{{{L"unid", 200}, {L"mod_date", 135}}, {{L"K1", adoNull()}}}, 0, {}});
    EXPECT_EQ(goError(), (Error{94, L"clsReplicateTable.go", L"Invalid use of Null"}));
}

} // namespace
