#include "support/ReplicationFixture.h"

#include <gmock/gmock.h>

namespace {

class OneWayTest : public ReplicationTest
{
};

TEST_F(OneWayTest, EachKindOfRowIsTreatedInItsOrder)
{
    rowOfEachKind();
    runAt(OFFICES, ONE_WAY_ALLOW_DELETES, L"chart_option_setting");
    EXPECT_EQ(
        transcript(),
        (Lines{
            L"source, logged: select dest.unid, src.mod_date src_mod_date, dest.mod_date dest_mod_date from "
            L"laptop.shortcut dest join office.shortcut src on src.unid = dest.unid where src.mod_date <> "
            L"dest.mod_date and ( src.mod_date > '11/15/2026 12:00:00 PM' or dest.mod_date > "
            L"'11/15/2026 12:00:00 PM')",
            // K1
            L"source, logged: Select * from shortcut where unid = 'K1'",
            L"destination, logged: Update shortcut set unid = 'K1', item_name = 'S', mod_date = "
            L"'11/15/2026 12:00:10 PM' where unid = 'K1'",
            L"destination, logged: delete from chart_option_setting where chart_option_id = 'K1'; insert into "
            L"chart_option_setting select * from office.chart_option_setting where chart_option_id = 'K1'",
            // K2
            L"source: Select * from shortcut where unid = 'K2'",
            L"destination: Select * from shortcut where unid = 'K2'",
            L"source: select item_name from shortcut where unid = 'K2'",
            L"source: InsertReplicationConflict(Null, 0, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K2\", 1, "
            L"\"Item K2\", #11/15/2026 12:00:10 PM#, #11/15/2026 12:00:20 PM#)",
            L"source: InsertReplicationConflictData(\"{C1}\", \"item_name\", \"S\", \"D\")",
            L"destination: Select * from shortcut where unid = 'K2'",
            L"source: Select * from shortcut where unid = 'K2'",
            L"source: SetReplicationError(0, 1, \"Changed on both databases - Destination(LaptopDB) changes are not "
            L"allowed\")",
            // K3
            L"source: Select * from shortcut where unid = 'K3'",
            L"destination: Select * from shortcut where unid = 'K3'",
            L"destination: select item_name from shortcut where unid = 'K3'",
            L"source: InsertReplicationConflict(Null, 0, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K3\", 4, "
            L"\"Item K3\", #11/15/2026 11:59:40 AM#, #11/15/2026 12:00:30 PM#)",
            L"source: InsertReplicationConflictData(\"{C1}\", \"item_name\", \"S\", \"D\")",
            L"source: SetReplicationError(0, 1, \"Changed on both databases - Destination(LaptopDB) changes are not "
            L"allowed\")",
            L"source, logged: select unid, mod_date from office.shortcut where unid not in (select unid from "
            L"laptop.shortcut)",
            // K4
            L"source, logged: Select * from shortcut where unid = 'K4'",
            L"destination, logged: Insert into shortcut (unid, item_name, mod_date) values ('K4', 'S', "
            L"'11/15/2026 12:00:40 PM')",
            L"destination, logged: delete from chart_option_setting where chart_option_id = 'K4'; insert into "
            L"chart_option_setting select * from office.chart_option_setting where chart_option_id = 'K4'",
            // K5
            L"source: Select * from shortcut where unid = 'K5'",
            L"destination: Select * from shortcut where unid = 'K5'",
            L"source: select item_name from shortcut where unid = 'K5'",
            L"source: InsertReplicationConflict(Null, 0, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K5\", 2, "
            L"\"Item K5\", #11/15/2026 11:59:10 AM#, #11/15/2026 12:00:30 PM#)",
            L"source: InsertReplicationConflictData(\"{C1}\", \"unid\", \"K5\", Null)",
            L"source: InsertReplicationConflictData(\"{C1}\", \"item_name\", \"S\", Null)",
            L"source: select * from shortcut where unid = 'K5'",
            L"source: SetReplicationError(0, 1, \"Deleted in destination(LaptopDB) - Destination deletes will not "
            L"replicate properly\")",
            L"source, logged: select unid, mod_date from laptop.shortcut where unid not in (select unid from "
            L"office.shortcut)",
            // K6: the conflict is recorded with the source's date of the row before.
            L"source: Select * from shortcut where unid = 'K6'",
            L"destination: Select * from shortcut where unid = 'K6'",
            L"destination: select item_name from shortcut where unid = 'K6'",
            L"source: InsertReplicationConflict(Null, 0, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K6\", 3, "
            L"\"Item K6\", #11/15/2026 11:59:10 AM#, #11/15/2026 12:01:00 PM#)",
            L"source: InsertReplicationConflictData(\"{C1}\", \"unid\", Null, \"K6\")",
            L"source: InsertReplicationConflictData(\"{C1}\", \"item_name\", Null, \"D\")",
            L"destination: select * from shortcut where unid = 'K6'",
            L"source: SetReplicationError(0, 1, \"New in destination(LaptopDB) - Destination adds are not allowed\")",
            // K7
            L"destination, logged: delete from shortcut where unid = 'K7'",
            L"destination, logged: delete from chart_option_setting where chart_option_id = 'K7'; insert into "
            L"chart_option_setting select * from office.chart_option_setting where chart_option_id = 'K7'",
            L"source: insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"updates',1);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"adds',1);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"deletes',1);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"conflicts',4);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"errors',4)"}));
    EXPECT_EQ(
        counters(),
        (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntDestDelete = 1, .lCntConflict = 4, .lCntError = 4}));
    const std::wstring ruler = L"WARN : --------------------------------------------------";
    EXPECT_EQ(logHeads(), (Lines{L"DEBUG: Select * from shortcut where unid = 'K2'",
                                 L"WARN : Replication Discrepancy (mismatch) on table: shortcut --> Unid: K2", ruler,
                                 L"DEBUG: Select * from shortcut where unid = 'K3'",
                                 L"DEBUG: Select * from shortcut where unid = 'K5'",
                                 L"WARN : Replication Discrepancy (delete) on table: shortcut --> Unid: K5", ruler,
                                 L"DEBUG: Select * from shortcut where unid = 'K6'",
                                 L"WARN : Replication Discrepancy (delete) on table: shortcut --> Unid: K6", ruler,
                                 L"STAT : Replicated table: shortcut"}));
    EXPECT_EQ(logEntries().back(), L"STAT : Replicated table: shortcut\r\n\tAdds to destination: 1\r\n\tUpdates to "
                                   L"destination: 1\r\n\tDeletes to destination: 1\r\n\tConflicts: 4\r\n\tErrors: 4");
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(OneWayTest, DeleteAsksForTheRowsAffectedAndCountsItself)
{
    row(L"K1", kNone, -1);
    runAt(OFFICES, ONE_WAY_ALLOW_DELETES);
    EXPECT_THAT(ado().calls(), testing::Contains(L"Command(destination).Execute(ref 0, missing, -1)").Times(1));
    EXPECT_EQ(counters(), Counters{.lCntDestDelete = 1});
}

TEST_F(OneWayTest, LaptopReportsChangesOnBothSidesAndDeletionsAlone)
{
    rowOfEachKind();
    runAt(LAPTOP, ONE_WAY_ALLOW_DELETES);
    EXPECT_EQ(
        written(),
        (Lines{
            L"destination: Update shortcut set unid = 'K1', item_name = 'S', mod_date = '11/15/2026 12:00:10 PM' where "
            L"unid = 'K1'",
            L"destination: InsertReplicationConflict(Null, 1, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K2\", 1, "
            L"\"Item K2\", #11/15/2026 12:00:10 PM#, #11/15/2026 12:00:20 PM#)",
            L"destination: InsertReplicationConflictData(\"{C1}\", \"item_name\", \"S\", \"D\")",
            L"destination: Insert into shortcut (unid, item_name, mod_date) values ('K4', 'S', "
            L"'11/15/2026 12:00:40 PM')",
            L"destination: InsertReplicationConflict(Null, 1, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K7\", 5, "
            L"\"Item K7\", #11/15/2026 11:59:10 AM#, #11/15/2026 11:58:50 AM#)",
            L"destination: InsertReplicationConflictData(\"{C1}\", \"unid\", Null, \"K7\")",
            L"destination: InsertReplicationConflictData(\"{C1}\", \"item_name\", Null, \"D\")",
            L"destination: SetReplicationError(1, 1, \"Deleted from source(OfficeDB)\")"}));
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntConflict = 2, .lCntError = 1}));
    EXPECT_THAT(logHeads(),
                testing::IsSupersetOf({L"WARN : Replication Discrepancy (mismatch) on table: shortcut --> Unid: K2",
                                       L"WARN : Replication Discrepancy (delete) on table: shortcut --> Unid: K7"}));
}

TEST_F(OneWayTest, OldRowOfTheDestinationIsReportedAtOfficesWhereDeletesAreNotAllowed)
{
    row(L"K1", kNone, -1);
    runAt(OFFICES, ONE_WAY);
    EXPECT_EQ(written(),
              (Lines{L"source: InsertReplicationConflict(Null, 0, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K1\", "
                     L"3, \"Item K1\", Null, #11/15/2026 11:59:59 AM#)",
                     L"source: InsertReplicationConflictData(\"{C1}\", \"unid\", Null, \"K1\")",
                     L"source: InsertReplicationConflictData(\"{C1}\", \"item_name\", Null, \"D\")",
                     L"source: SetReplicationError(0, 1, \"New in destination(LaptopDB) -OR- Deleted from "
                     L"source(OfficeDB)\")"}));
    EXPECT_EQ(logHeads()[1], L"WARN : Replication Discrepancy (delete) on table: shortcut --> Unid: K1");
}

TEST_F(OneWayTest, OldRowOfTheSourceIsReportedWithoutADateOfTheDestinationIfNoRowBeforeHadOne)
{
    row(L"K1", -1, kNone);
    runAt(OFFICES, ONE_WAY);
    EXPECT_EQ(written().at(0),
              L"source: InsertReplicationConflict(Null, 0, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K1\", 2, "
              L"\"Item K1\", #11/15/2026 11:59:59 AM#, Null)");
}

TEST_F(OneWayTest, RowsThatNeedNothingAreLeftAlone)
{
    row(L"K1", 2, 0);
    runAt(OFFICES, ONE_WAY);
    EXPECT_EQ(sent().size(), 4U);
    EXPECT_EQ(counters(), Counters());
}

TEST_F(OneWayTest, ConflictThatShowsNoDifferenceCountsForNothing)
{
    row(L"K1", 10, 20);
    row(L"K2", -20, 20);
    row(L"K3", kNone, -20);
    for (const wchar_t* key : {L"K1", L"K2", L"K3"})
        for (const wchar_t* side : {L"source", L"destination"})
            holds(side, key, L"same");
    runAt(OFFICES, ONE_WAY);
    EXPECT_EQ(written(), Lines());
    EXPECT_EQ(counters(), Counters());
}

TEST_F(OneWayTest, ConflictsAddUpOverTwoCallsAndTheRestStartsAnew)
{
    row(L"K1", 10, 20);
    row(L"K2", 50, -50);
    runAt(OFFICES, ONE_WAY);
    go();
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntConflict = 2, .lCntError = 1}));
}

TEST_F(OneWayTest, ComputerTypesRewriteTheirDependentRowsWithoutDeletesToo)
{
    useTable(L"computer_type");
    row(L"K1", 10, -10);
    runAt(OFFICES, ONE_WAY, L"chart_option_setting");
    EXPECT_EQ(written()[1],
              L"destination: delete from chart_option_setting where chart_option_id = 'K1'; insert into "
              L"chart_option_setting select * from office.chart_option_setting where chart_option_id = 'K1'");
}

} // namespace
