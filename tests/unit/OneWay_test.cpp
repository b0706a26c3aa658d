#include "support/ReplicationFixture.h"

namespace {

constexpr wchar_t kChanged[] = L"Changed on both databases - Destination(LaptopDB) changes are not allowed";

/// Rows that both sides have.
class OneWayTest : public ReplicationTest
{
protected:
    void runAt(long site)
    {
        connectAt(site);
        init(ONE_WAY);
        go();
    }

    /// A row whose copies differ in its name.
    void changed(double sourceSeconds, double destinationSeconds)
    {
        bothHave(L"K1", sourceSeconds, destinationSeconds);
        sourceHolds(L"K1", L"S", sourceSeconds);
        destinationHolds(L"K1", L"D", destinationSeconds);
    }

    /// The statements between the query for changed rows and those for missing ones.
    Statements wholeRun(const Statements& common, const Counters& counters) const
    {
        return joined(
            {onLocal({changedSql()}), common, onLocal({sourceOnlySql(), destinationOnlySql()}), counted(counters)});
    }
};

TEST_F(OneWayTest, TablesThatAgreeAreOnlyCompared)
{
    for (const long site : {OFFICES, LAPTOP}) {
        runAt(site);
        EXPECT_EQ(ado().statements(), wholeRun({}, {}));
        EXPECT_EQ(counters(), Counters());
        releaseConnections();
    }
}

TEST_F(OneWayTest, QueriesAndSummaryAreLogged)
{
    runAt(OFFICES);
    EXPECT_EQ(logEntries(), (Lines{L"DEBUG: ConnLocal: " + changedSql(), L"DEBUG: ConnLocal: " + sourceOnlySql(),
                                   L"DEBUG: ConnLocal: " + destinationOnlySql(), summary({}, L"shortcut")}));
}

TEST_F(OneWayTest, RowChangedInTheSourceIsUpdatedAtBothSites)
{
    changed(10, -100);
    for (const long site : {OFFICES, LAPTOP}) {
        runAt(site);
        const Counters updated{.lCntDestUpdate = 1};
        EXPECT_EQ(ado().statements(),
                  wholeRun(joined({onSource({select(L"K1")}), onDestination({update(L"K1", L"S", 10)})}), updated));
        EXPECT_EQ(counters(), updated);
        releaseConnections();
    }
}

TEST_F(OneWayTest, UpdateIsLoggedWithItsConnections)
{
    changed(10, -100);
    runAt(OFFICES);
    EXPECT_EQ(logEntries(),
              (Lines{L"DEBUG: ConnLocal: " + changedSql(), L"DEBUG: ConnSource: " + select(L"K1"),
                     L"DEBUG: ConnDestination: " + update(L"K1", L"S", 10), L"DEBUG: ConnLocal: " + sourceOnlySql(),
                     L"DEBUG: ConnLocal: " + destinationOnlySql(), summary({.lCntDestUpdate = 1}, L"shortcut")}));
}

TEST_F(OneWayTest, SourceNewerThanTheDestinationButOldIsUpdatedAsWell)
{
    changed(-10, -100);
    runAt(OFFICES);
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1}));
}

TEST_F(OneWayTest, RowChangedOnBothSidesIsAConflictAndAnErrorAtOffices)
{
    changed(10, 20);
    runAt(OFFICES);
    const Counters reported{.lCntConflict = 1, .lCntError = 1};
    EXPECT_EQ(ado().statements(),
              wholeRun(joined({recorded(L"K1", CHANGED_ON_BOTH, clockText(10), clockText(20),
                                        {L"\"item_name\", \"S\", \"D\""}),
                               onDestination({select(L"K1")}), onSource({select(L"K1")}), marked(kChanged)}),
                       reported));
    EXPECT_EQ(counters(), reported);
}

TEST_F(OneWayTest, RowChangedOnBothSidesIsOnlyAConflictAtLaptop)
{
    changed(20, 10);
    runAt(LAPTOP);
    const Counters reported{.lCntConflict = 1};
    EXPECT_EQ(ado().statements(), wholeRun(joined({recorded(L"K1", CHANGED_ON_BOTH, clockText(20), clockText(10),
                                                            {L"\"item_name\", \"S\", \"D\""}),
                                                   onDestination({select(L"K1")}), onSource({select(L"K1")})}),
                                           reported));
    EXPECT_EQ(counters(), reported);
}

TEST_F(OneWayTest, RowChangedOnBothSidesIsDumped)
{
    changed(10, 20);
    runAt(OFFICES);
    const auto line = [](const std::wstring& name, const std::wstring& primary, const std::wstring& secondary) {
        const std::wstring padding(50, L' ');
        return L"\r\n" + (name + padding).substr(0, 20) + (primary + padding).substr(0, 50) +
               (secondary + padding).substr(0, 50);
    };
    EXPECT_EQ(logEntries(),
              (Lines{L"DEBUG: ConnLocal: " + changedSql(), L"DEBUG: " + select(L"K1"),
                     L"WARN : Replication Discrepancy (mismatch) on table: shortcut --> Unid: K1\r\n"
                     L"Field               Primary                                           Secondary\r\n"
                     L"------------------- ----------                                        ----------" +
                         line(L"item_name", L"D", L"S") + line(L"mod_date", clockText(20), clockText(10)),
                     L"WARN : --------------------------------------------------",
                     L"DEBUG: ConnLocal: " + sourceOnlySql(), L"DEBUG: ConnLocal: " + destinationOnlySql(),
                     summary({.lCntConflict = 1, .lCntError = 1}, L"shortcut")}));
}

TEST_F(OneWayTest, DestinationNewerIsAConflictAndAnErrorWithoutADumpAtOffices)
{
    changed(-10, 20);
    runAt(OFFICES);
    const Counters reported{.lCntConflict = 1, .lCntError = 1};
    EXPECT_EQ(ado().statements(), wholeRun(joined({recorded(L"K1", CHANGED_ON_DEST, clockText(-10), clockText(20),
                                                            {L"\"item_name\", \"S\", \"D\""}),
                                                   marked(kChanged)}),
                                           reported));
    EXPECT_EQ(counters(), reported);
    EXPECT_EQ(logEntries().size(), 5U);
}

TEST_F(OneWayTest, DestinationNewerIsLeftAloneAtLaptop)
{
    changed(-10, 20);
    runAt(LAPTOP);
    EXPECT_EQ(ado().statements(), wholeRun({}, {}));
    EXPECT_EQ(counters(), Counters());
}

TEST_F(OneWayTest, DatesTwoSecondsApartAreNeverCopied)
{
    for (const double seconds : {1.0, 2.0, -1.0, -2.0, 0.5, 2.4})
        for (const double from : {-1000.0, -1.0, 0.0, 10.0})
            bothHave(L"K1", from + seconds, from);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(), wholeRun({}, {}));
    EXPECT_EQ(counters(), Counters());
}

TEST_F(OneWayTest, DatesThreeSecondsApartAreCopied)
{
    changed(3, 0);
    runAt(OFFICES);
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1}));
}

TEST_F(OneWayTest, SourceChangedAtTheLastRunsOwnTimeIsNotChangedOnBothSides)
{
    changed(0, 10);
    runAt(OFFICES);
    const Counters reported{.lCntConflict = 1, .lCntError = 1};
    EXPECT_EQ(ado().statements(), wholeRun(joined({recorded(L"K1", CHANGED_ON_DEST, clockText(0), clockText(10),
                                                            {L"\"item_name\", \"S\", \"D\""}),
                                                   marked(kChanged)}),
                                           reported));
    EXPECT_EQ(counters(), reported);
}

TEST_F(OneWayTest, DestinationChangedAtTheLastRunsOwnTimeIsOverwritten)
{
    changed(10, 0);
    runAt(OFFICES);
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1}));
}

TEST_F(OneWayTest, ConflictThatShowsNoDifferenceCountsForNothing)
{
    bothHave(L"K1", 10, 20);
    sourceHolds(L"K1", L"same", 10);
    destinationHolds(L"K1", L"same", 20);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(), wholeRun(compared(L"K1", true), {}));
    EXPECT_EQ(counters(), Counters());
}

TEST_F(OneWayTest, ConflictsAddUpOverTwoCallsAndTheRestStartsAnew)
{
    changed(10, 20);
    bothHave(L"K2", 50, -50);
    sourceHolds(L"K2", L"S2", 50);
    connectAt(OFFICES);
    init(ONE_WAY);
    go();
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntConflict = 1, .lCntError = 1}));
    go();
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntConflict = 2, .lCntError = 1}));
    EXPECT_EQ(ado().statements().back(), counted(counters()).back());
}

TEST_F(OneWayTest, EverythingIsReleasedAtTheEnd)
{
    changed(10, 20);
    runAt(OFFICES);
    EXPECT_EQ(ado().liveObjects(), 2);
}

} // namespace
