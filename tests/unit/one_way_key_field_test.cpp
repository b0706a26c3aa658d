#include "support/ReplicationFixture.h"

namespace {

constexpr wchar_t kChanged[] = L"Changed on both databases - Destination(LaptopDB) changes are not allowed";
constexpr wchar_t kDeletedInDestination[] =
    L"Deleted in destination(LaptopDB) - Destination deletes will not replicate properly";
constexpr wchar_t kNewInDestination[] = L"New in destination(LaptopDB) - Destination adds are not allowed";
constexpr wchar_t kDeletedFromSource[] = L"Deleted from source(OfficeDB)";

/// Rows matched by the column `code`.
class KeyFieldTest : public ReplicationTest
{
protected:
    KeyFieldTest() { useTable(L"shortcut", L"code"); }

    void runAt(long site, long deletes = DELETE_WITH_UPDATES)
    {
        connectAt(site);
        init(ONE_WAY_WITH_PK_FIELD, L"", deletes);
        go();
    }

    void changed(double sourceSeconds, double destinationSeconds)
    {
        bothHave(L"K1", sourceSeconds, destinationSeconds);
        sourceHolds(L"K1", L"S", sourceSeconds);
        destinationHolds(L"K1", L"D", destinationSeconds);
    }

    void inSource(double seconds)
    {
        onlySourceHas(L"K1", seconds);
        sourceHolds(L"K1", L"S", seconds);
        destinationHolds(L"K1");
    }

    void inDestination(double seconds)
    {
        onlyDestinationHas(L"K1", seconds);
        sourceHolds(L"K1");
        destinationHolds(L"K1", L"D", seconds);
    }

    /// One row of every kind: to update, to insert and to delete.
    void oneOfEach()
    {
        bothHave(L"K1", 10, -10);
        sourceHolds(L"K1", L"S", 10);
        onlySourceHas(L"K2", 10);
        sourceHolds(L"K2", L"S", 10);
        onlyDestinationHas(L"K3", -10);
    }

    Statements wholeRun(const Statements& common, const Statements& sourceOnly, const Statements& destinationOnly) const
    {
        return joined({onLocal({changedSql()}), common, onLocal({sourceOnlySql()}), sourceOnly,
                       onLocal({destinationOnlySql()}), destinationOnly, counted(counters())});
    }

    static std::wstring title(int deletes)
    {
        return L"shortcut with PKField: code and delete method: " + std::to_wstring(deletes);
    }
};

TEST_F(KeyFieldTest, StatementsUseTheKeyColumn)
{
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(),
              joined({onLocal({L"select dest.code, src.mod_date src_mod_date, dest.mod_date dest_mod_date from "
                               L"laptop.shortcut dest join office.shortcut src on src.code = dest.code where "
                               L"src.mod_date <> dest.mod_date and ( src.mod_date > '11/15/2026 12:00:00 PM' or "
                               L"dest.mod_date > '11/15/2026 12:00:00 PM')",
                               L"select code, mod_date from office.shortcut where code not in (select code from "
                               L"laptop.shortcut)",
                               L"select code, mod_date from laptop.shortcut where code not in (select code from "
                               L"office.shortcut)"}),
                      counted({})}));
}

TEST_F(KeyFieldTest, RefusedInitHasReplacedKeyFieldAndDeleteHandling)
{
    connectAt(OFFICES);
    table().init(ONE_WAY_WITH_PK_FIELD, L"shortcut", L"", L"unid", DELETE_WITH_UPDATES);
    raised([&] { init(ONE_WAY_WITH_PK_FIELD, L"child", SKIP_DELETES); });
    go();
    EXPECT_EQ(logEntries().back(), summary({}, title(SKIP_DELETES)));
}

TEST_F(KeyFieldTest, MissingKeyFieldOnlyMarksTheRunAsFailed)
{
    useTable(L"shortcut");
    oneOfEach();
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(), marked(L"PKField not set for replicateOneWayWithPKField()"));
    EXPECT_EQ(logBytes(), "");
    EXPECT_EQ(counters(), Counters());
}

TEST_F(KeyFieldTest, MissingKeyFieldIsToldBeforeAMissingDeleteMethod)
{
    useTable(L"shortcut");
    runAt(LAPTOP, UNKNOWN);
    EXPECT_EQ(ado().statements(), marked(L"PKField not set for replicateOneWayWithPKField()"));
}

TEST_F(KeyFieldTest, UnknownDeleteMethodOnlyMarksTheRunAsFailed)
{
    oneOfEach();
    runAt(OFFICES, UNKNOWN);
    EXPECT_EQ(ado().statements(), marked(L"enumReplicatDeletes not set for replicateOneWayWithPKField()"));
    EXPECT_EQ(logBytes(), "");
    EXPECT_EQ(counters(), Counters());
}

TEST_F(KeyFieldTest, FailedChecksLeaveTheCountersAsTheyAre)
{
    oneOfEach();
    runAt(OFFICES);
    init(ONE_WAY_WITH_PK_FIELD, L"", UNKNOWN);
    go();
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntDestDelete = 1}));
}

TEST_F(KeyFieldTest, DeleteWithUpdatesRunsAllSteps)
{
    oneOfEach();
    runAt(OFFICES, DELETE_WITH_UPDATES);
    EXPECT_EQ(ado().statements(),
              wholeRun(joined({onSource({select(L"K1")}), onDestination({update(L"K1", L"S", 10)})}),
                       joined({onSource({select(L"K2")}), onDestination({insert(L"K2", L"S", 10)})}),
                       onDestination({remove(L"K3")})));
    const Counters all{.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntDestDelete = 1};
    EXPECT_EQ(counters(), all);
    EXPECT_EQ(logEntries(),
              (Lines{L"DEBUG: ConnLocal: " + changedSql(), L"DEBUG: ConnSource: " + select(L"K1"),
                     L"DEBUG: ConnDestination: " + update(L"K1", L"S", 10), L"DEBUG: ConnLocal: " + sourceOnlySql(),
                     L"DEBUG: ConnSource: " + select(L"K2"), L"DEBUG: ConnDestination: " + insert(L"K2", L"S", 10),
                     L"DEBUG: ConnLocal: " + destinationOnlySql(), L"DEBUG: ConnDestination: " + remove(L"K3"),
                     summary(all, title(2))}));
}

TEST_F(KeyFieldTest, SkipDeletesDoesNotLookForRowsInTheDestinationOnly)
{
    oneOfEach();
    runAt(OFFICES, SKIP_DELETES);
    EXPECT_EQ(ado().statements(),
              joined({onLocal({changedSql()}), onSource({select(L"K1")}), onDestination({update(L"K1", L"S", 10)}),
                      onLocal({sourceOnlySql()}), onSource({select(L"K2")}), onDestination({insert(L"K2", L"S", 10)}),
                      counted(counters())}));
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 1}));
    EXPECT_EQ(logEntries().back(), summary(counters(), title(3)));
}

TEST_F(KeyFieldTest, OnlyDeletesLooksForRowsInTheDestinationOnly)
{
    oneOfEach();
    runAt(OFFICES, ONLY_DELETES);
    EXPECT_EQ(ado().statements(), joined({onLocal({destinationOnlySql()}), onDestination({remove(L"K3")}),
                                          counted({.lCntDestDelete = 1})}));
    EXPECT_EQ(counters(), (Counters{.lCntDestDelete = 1}));
    EXPECT_EQ(logEntries().back(), summary(counters(), title(4)));
}

TEST_F(KeyFieldTest, AnyOtherDeleteMethodSkipsDeletes)
{
    for (const long deletes : {0L, 5L, -1L, 70000L}) {
        connectAt(OFFICES);
        init(ONE_WAY_WITH_PK_FIELD, L"", deletes);
        go();
        EXPECT_EQ(ado().statements(), joined({onLocal({changedSql(), sourceOnlySql()}), counted({})}));
        EXPECT_EQ(logEntries().back(), summary({}, title(static_cast<int>(deletes))));
        releaseConnections();
    }
}

TEST_F(KeyFieldTest, RowChangedOnBothSidesIsReportedByUnidAndDumpedByKey)
{
    changed(10, 20);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(),
              wholeRun(joined({recorded(L"K1", CHANGED_ON_BOTH, clockText(10), clockText(20),
                                        {L"\"item_name\", \"S\", \"D\""}),
                               onDestination({select(L"K1")}), onSource({select(L"K1")}), marked(kChanged)}),
                       {}, {}));
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
}

TEST_F(KeyFieldTest, DestinationNewerIsAnErrorAtOfficesAndNothingAtLaptop)
{
    changed(-10, 20);
    runAt(OFFICES);
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
    EXPECT_EQ(ado().statements()[6], marked(kChanged)[0]);
    releaseConnections();
    connectAt(LAPTOP);
    go();
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1}));
    EXPECT_EQ(ado().statements(), wholeRun({}, {}, {}));
}

TEST_F(KeyFieldTest, DatesTwoSecondsApartAreEqual)
{
    changed(2, 0);
    runAt(OFFICES);
    EXPECT_EQ(counters(), Counters());
}

TEST_F(KeyFieldTest, OldSourceRowWasDeletedInTheDestination)
{
    inSource(-1);
    runAt(OFFICES);
    EXPECT_EQ(ado().statements(), wholeRun({},
                                           joined({recorded(L"K1", NEW_ON_source, clockText(-1), L"",
                                                            {L"\"unid\", \"K1\", Null", L"\"item_name\", \"S\", Null"}),
                                                   onSource({selectDumped(L"K1")}), marked(kDeletedInDestination)}),
                                           {}));
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
}

TEST_F(KeyFieldTest, NewDestinationRowIsAnErrorAtOfficesAndNothingAtLaptop)
{
    inDestination(0);
    runAt(OFFICES, ONLY_DELETES);
    EXPECT_EQ(ado().statements(),
              joined({onLocal({destinationOnlySql()}),
                      recorded(L"K1", NEW_ON_DEST, L"", clockText(0),
                               {L"\"unid\", Null, \"K1\"", L"\"item_name\", Null, \"D\""}),
                      onDestination({selectDumped(L"K1")}), marked(kNewInDestination), counted(counters())}));
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
    releaseConnections();
    runAt(LAPTOP, ONLY_DELETES);
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1}));
}

TEST_F(KeyFieldTest, OldDestinationRowIsAConflictAtLaptop)
{
    inDestination(-1);
    runAt(LAPTOP, ONLY_DELETES);
    EXPECT_EQ(ado().statements(),
              joined({onLocal({destinationOnlySql()}),
                      recorded(L"K1", DELETED_ON_SOURCE, L"", clockText(-1),
                               {L"\"unid\", Null, \"K1\"", L"\"item_name\", Null, \"D\""}),
                      onDestination({selectDumped(L"K1")}), marked(kDeletedFromSource), counted(counters())}));
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
}

TEST_F(KeyFieldTest, DeletingACompanyClearsItInTheComments)
{
    for (const wchar_t* company : {L"dentist_company", L"DENTIST_COMPANY", L"Dentist_Company"}) {
        useTable(company, L"dc_id");
        if (company[0] == L'd')
            onlyDestinationHas(L"7", -10);
        runAt(OFFICES, ONLY_DELETES);
        const std::wstring clear = L"update chart_comment_info set dc_id = null where dc_id = '7'";
        EXPECT_EQ(ado().statements(), joined({onLocal({destinationOnlySql()}), onDestination({clear, remove(L"7")}),
                                              counted({.lCntDestDelete = 1})}));
        const Lines entries = logEntries();
        EXPECT_EQ(entries[entries.size() - 3], L"DEBUG: ConnDestination: " + clear);
        EXPECT_EQ(entries[entries.size() - 2], L"DEBUG: ConnDestination: " + remove(L"7"));
        releaseConnections();
    }
}

} // namespace
