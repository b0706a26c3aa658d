#include "support/ReplicationFixture.h"

#include <algorithm>

namespace {

constexpr wchar_t kDeletedInDestination[] =
    L"Deleted in destination(LaptopDB) - Destination deletes will not replicate properly";
constexpr wchar_t kNewInDestination[] = L"New in destination(LaptopDB) - Destination adds are not allowed";
constexpr wchar_t kNewOrDeleted[] = L"New in destination(LaptopDB) -OR- Deleted from source(OfficeDB)";
constexpr wchar_t kDeletedFromSource[] = L"Deleted from source(OfficeDB)";

/// Rows that only one side has.
class OneWayMissingRows : public ReplicationTest
{
protected:
    void runAt(long site, long method = ONE_WAY)
    {
        connectAt(site);
        init(method);
        go();
    }

    void inSource(const std::wstring& key, double seconds)
    {
        onlySourceHas(key, seconds);
        sourceHolds(key, L"S", seconds);
        destinationHolds(key);
    }

    void inDestination(const std::wstring& key, double seconds)
    {
        onlyDestinationHas(key, seconds);
        sourceHolds(key);
        destinationHolds(key, L"D", seconds);
    }

    Statements wholeRun(const Statements& sourceOnly, const Statements& destinationOnly) const
    {
        return joined({onLocal({changedSql(), sourceOnlySql()}), sourceOnly, onLocal({destinationOnlySql()}),
                       destinationOnly, counted(counters())});
    }

    /// The dump of a row with the name `name`.
    static std::wstring dump(const std::wstring& name, int seconds)
    {
        return L"WARN : Replication Discrepancy (delete) on table: shortcut --> Unid: K1\r\n"
               L"Field               Data\r\n"
               L"------------------- ----------\r\n"
               L"unid                K1\r\n"
               L"item_name           " +
               name + L"\r\nmod_date            " + clockText(seconds);
    }

    const Lines fromSource_{L"\"unid\", \"K1\", Null", L"\"item_name\", \"S\", Null"};
    const Lines fromDestination_{L"\"unid\", Null, \"K1\"", L"\"item_name\", Null, \"D\""};
};

TEST_F(OneWayMissingRows, RowNewInTheSourceIsInsertedAtBothSites)
{
    inSource(L"K1", 10);
    for (const long site : {OFFICES, LAPTOP}) {
        runAt(site);
        EXPECT_EQ(ado().statements(),
                  wholeRun(joined({onSource({select(L"K1")}), onDestination({insert(L"K1", L"S", 10)})}), {}));
        EXPECT_EQ(counters(), (Counters{.lCntDestAdd = 1}));
        releaseConnections();
    }
}

TEST_F(OneWayMissingRows, InsertIsLoggedWithItsConnections)
{
    inSource(L"K1", 10);
    runAt(OFFICES);
    EXPECT_EQ(logEntries(),
              (Lines{L"DEBUG: ConnLocal: " + changedSql(), L"DEBUG: ConnLocal: " + sourceOnlySql(),
                     L"DEBUG: ConnSource: " + select(L"K1"), L"DEBUG: ConnDestination: " + insert(L"K1", L"S", 10),
                     L"DEBUG: ConnLocal: " + destinationOnlySql(), summary({.lCntDestAdd = 1}, L"shortcut")}));
}

TEST_F(OneWayMissingRows, SourceRowOfTheLastRunsOwnTimeIsInserted)
{
    inSource(L"K1", 0);
    runAt(OFFICES);
    EXPECT_EQ(counters(), (Counters{.lCntDestAdd = 1}));
}

TEST_F(OneWayMissingRows, SourceRowOneSecondOlderWasDeletedInTheDestinationAtOffices)
{
    inSource(L"K1", -1);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(), wholeRun(joined({recorded(L"K1", NEW_ON_source, clockText(-1), L"", fromSource_),
                                                   onSource({selectDumped(L"K1")}), marked(kDeletedInDestination)}),
                                           {}));
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
}

TEST_F(OneWayMissingRows, RowDeletedInTheDestinationIsDumpedWithoutLoggingItsQuery)
{
    inSource(L"K1", -1);
    runAt(OFFICES);
    EXPECT_EQ(logEntries(), (Lines{L"DEBUG: ConnLocal: " + changedSql(), L"DEBUG: ConnLocal: " + sourceOnlySql(),
                                   L"DEBUG: " + select(L"K1"), dump(L"S", -1),
                                   L"WARN : --------------------------------------------------",
                                   L"DEBUG: ConnLocal: " + destinationOnlySql(),
                                   summary({.lCntConflict = 1, .lCntError = 1}, L"shortcut")}));
}

TEST_F(OneWayMissingRows, OldSourceRowIsLeftAloneAtLaptop)
{
    inSource(L"K1", -1);
    runAt(LAPTOP);
    EXPECT_EQ(ado().statements(), wholeRun({}, {}));
    EXPECT_EQ(counters(), Counters());
}

TEST_F(OneWayMissingRows, DestinationRowOfTheLastRunsOwnTimeIsNew)
{
    inDestination(L"K1", 0);
    runAt(OFFICES, ONE_WAY_ALLOW_DELETES);
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
    EXPECT_EQ(ado().statements()[ado().statements().size() - 2], marked(kNewInDestination)[0]);
}

TEST_F(OneWayMissingRows, RowNewInTheDestinationIsRecordedAndDumpedAtOffices)
{
    inDestination(L"K1", 10);
    runAt(OFFICES, ONE_WAY_ALLOW_DELETES);
    EXPECT_EQ(ado().statements(),
              wholeRun({}, joined({recorded(L"K1", NEW_ON_DEST, L"", clockText(10), fromDestination_),
                                   onDestination({selectDumped(L"K1")}), marked(kNewInDestination)})));
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
    EXPECT_EQ(logEntries()[4], dump(L"D", 10));
}

TEST_F(OneWayMissingRows, RowNewInTheDestinationIsLeftAloneAtLaptop)
{
    inDestination(L"K1", 0);
    runAt(LAPTOP, ONE_WAY_ALLOW_DELETES);
    EXPECT_EQ(ado().statements(), wholeRun({}, {}));
    EXPECT_EQ(counters(), Counters());
}

TEST_F(OneWayMissingRows, OldDestinationRowIsDeletedAtOfficesWhenAllowed)
{
    inDestination(L"K1", -1);
    runAt(OFFICES, ONE_WAY_ALLOW_DELETES);
    EXPECT_EQ(ado().statements(), wholeRun({}, onDestination({remove(L"K1")})));
    EXPECT_EQ(counters(), (Counters{.lCntDestDelete = 1}));
    EXPECT_EQ(logEntries()[3], L"DEBUG: ConnDestination: " + remove(L"K1"));
}

TEST_F(OneWayMissingRows, DeleteAsksForTheRowsAffectedAndCountsItself)
{
    inDestination(L"K1", -1);
    ado().answer(remove(L"K1"), adoAffected(0));
    runAt(OFFICES, ONE_WAY_ALLOW_DELETES);
    const Lines calls = ado().calls();
    const auto text =
        std::find(calls.begin(), calls.end(), L"Command(destination).CommandText = \"" + remove(L"K1") + L"\"");
    ASSERT_NE(text, calls.end());
    EXPECT_EQ(*(text + 1), L"Command(destination).Execute(ref 0, missing, -1)");
    EXPECT_EQ(counters(), (Counters{.lCntDestDelete = 1}));
}

TEST_F(OneWayMissingRows, OldDestinationRowStaysAtOfficesWithoutDeletes)
{
    inDestination(L"K1", -1);
    runAt(OFFICES, ONE_WAY);
    EXPECT_EQ(ado().statements(),
              wholeRun({}, joined({recorded(L"K1", NEW_ON_DEST, L"", clockText(-1), fromDestination_),
                                   onDestination({selectDumped(L"K1")}), marked(kNewOrDeleted)})));
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
}

TEST_F(OneWayMissingRows, OldDestinationRowStaysAtLaptopWhateverTheDeletes)
{
    inDestination(L"K1", -1);
    connectAt(LAPTOP);
    init(ONE_WAY_ALLOW_DELETES);
    go();
    EXPECT_EQ(ado().statements(),
              wholeRun({}, joined({recorded(L"K1", DELETED_ON_SOURCE, L"", clockText(-1), fromDestination_),
                                   onDestination({selectDumped(L"K1")}), marked(kDeletedFromSource)})));
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
}

TEST_F(OneWayMissingRows, ConflictsGetTheOtherSidesLastDate)
{
    bothHave(L"K9", -50, -49); // leaves its dates behind
    inSource(L"K1", -30);
    inDestination(L"K2", -20);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(),
              wholeRun(joined({recorded(L"K1", NEW_ON_source, clockText(-30), clockText(-49), fromSource_),
                               onSource({selectDumped(L"K1")}), marked(kDeletedInDestination)}),
                       joined({recorded(L"K2", NEW_ON_DEST, clockText(-30), clockText(-20),
                                        {L"\"unid\", Null, \"K2\"", L"\"item_name\", Null, \"D\""}),
                               onDestination({selectDumped(L"K2")}), marked(kNewOrDeleted)})));
}

TEST_F(OneWayMissingRows, RowThatHasGoneFromBothSidesMeanwhileEndsTheRun)
{
    onlyDestinationHas(L"K1", 10);
    sourceHolds(L"K1");
    destinationHolds(L"K1");
    connectAt(OFFICES);
    init(ONE_WAY);
    EXPECT_EQ(goError().number, static_cast<long>(0x80040000) + 3021);
    EXPECT_EQ(counters(), Counters());
}

} // namespace
