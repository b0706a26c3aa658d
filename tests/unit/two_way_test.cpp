#include "support/MessageBoxes.h"
#include "support/ReplicationFixture.h"

namespace {

using com::Error;

/// Two-way replication, deleting (TWO_WAY) or not (TWO_WAY_NO_DELETES).
class TwoWayTest : public ReplicationTest
{
protected:
    void runAt(long site, long method = TWO_WAY)
    {
        ReplicationTest::runAt(site, method);
        EXPECT_EQ(counters(), Counters());
    }

    MessageBoxes boxes_;
};

TEST_F(TwoWayTest, EachKindOfRowIsCopiedInItsOrder)
{
    rowOfEachKind();
    runAt(OFFICES);
    EXPECT_EQ(
        transcript(),
        (Lines{
            L"source: select zt.unid, nrv.mod_date nrv_mod_date, zt.mod_date zt_mod_date from laptop.shortcut zt join "
            L"office.shortcut nrv on nrv.unid = zt.unid where nrv.mod_date <> zt.mod_date and ( nrv.mod_date > "
            L"'11/15/2026 12:00:00 PM' or zt.mod_date > '11/15/2026 12:00:00 PM')",
            L"source: Select * from shortcut where unid = 'K1'",
            L"destination, logged: Update shortcut set unid = 'K1', item_name = 'S', mod_date = "
            L"'11/15/2026 12:00:10 PM' where unid = 'K1'",
            L"destination: Select * from shortcut where unid = 'K2'",
            L"source, logged: Update shortcut set unid = 'K2', item_name = 'D', mod_date = '11/15/2026 12:00:20 PM' "
            L"where unid = 'K2'",
            L"destination: Select * from shortcut where unid = 'K3'",
            L"source, logged: Update shortcut set unid = 'K3', item_name = 'D', mod_date = '11/15/2026 12:00:30 PM' "
            L"where unid = 'K3'",
            L"source: select unid, mod_date from office.shortcut where unid not in (select unid from laptop.shortcut)",
            L"source: Select * from office.shortcut where unid = 'K4'",
            L"destination, logged: Insert into shortcut (unid, item_name, mod_date) values ('K4', 'S', "
            L"'11/15/2026 12:00:40 PM')",
            L"source: Select * from office.shortcut where unid = 'K5'",
            L"destination, logged: Insert into shortcut (unid, item_name, mod_date) values ('K5', 'S', "
            L"'11/15/2026 11:59:10 AM')",
            L"source: select unid, mod_date from laptop.shortcut where unid not in (select unid from office.shortcut)",
            L"destination: Select * from shortcut where unid = 'K6'",
            L"source, logged: Insert into shortcut (unid, item_name, mod_date) values ('K6', 'D', "
            L"'11/15/2026 12:01:00 PM')",
            L"destination: Select * from shortcut where unid = 'K7'",
            L"source, logged: Insert into shortcut (unid, item_name, mod_date) values ('K7', 'D', "
            L"'11/15/2026 11:58:50 AM')",
            L"source: insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"updates',0);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"adds',0);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"deletes',0);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"updates',0);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"adds',0);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"deletes',0);insert into replication_counts (unique_key, count_name, count_value) values (0,'shortcut "
            L"errors',0)"}));
    EXPECT_EQ(logHeads(), Lines{L"STAT : Replicated table: shortcut"});
    EXPECT_EQ(logEntries().back(),
              L"STAT : Replicated table: shortcut\r\n\tAdds to source: 0\r\n\tUpdates to source: 0\r\n\tDeletes to "
              L"source: 0\r\n\tAdds to destination: 0\r\n\tUpdates to destination: 0\r\n\tDeletes to destination: 0"
              L"\r\n\tErrors: 0");
    EXPECT_EQ(boxes_.shown(), (std::vector<ShownBox>{{L"QuinmarkRepDLL", L"replication conflict", {L"OK"}},
                                                     {L"QuinmarkRepDLL", L"TODO: delete from Nrv", {L"OK"}},
                                                     {L"QuinmarkRepDLL", L"TODO: delete from ZT", {L"OK"}}}));
    for (const std::wstring& call : ado().calls())
        EXPECT_EQ(call.find(L"Execute(ref"), std::wstring::npos) << "no statement asks how many rows it changed";
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(TwoWayTest, LaptopsRowsGoTheSameWaysAndOldOnesAreConflictsWithoutDeletes)
{
    rowOfEachKind();
    runAt(OFFICES);
    const Lines atOffices = written();
    runAt(LAPTOP, TWO_WAY_NO_DELETES);
    EXPECT_EQ(written(), atOffices);
    const Lines texts = boxes_.texts();
    EXPECT_EQ(Lines(texts.begin() + 3, texts.end()),
              (Lines{L"replication conflict",
                     L"replication conflict - new row on Nrv shortcut table before last Replicate date",
                     L"replication conflict - new row on ZT shortcut table before last Replicate date"}));
}

TEST_F(TwoWayTest, ConflictIsAnnouncedBeforeTheRowIsReadAndTheLaterSourceWins)
{
    row(L"K1", 20, 10);
    Lines before;
    boxes_.whileShown([&] { before = sent(); });
    runAt(OFFICES);
    EXPECT_EQ(before.size(), 1U);
    EXPECT_EQ(written(), Lines{L"destination: Update shortcut set unid = 'K1', item_name = 'S', mod_date = "
                               L"'11/15/2026 12:00:20 PM' where unid = 'K1'"});
}

TEST_F(TwoWayTest, TheLastRunsOwnTimeIsNoChangeAndSinceTheRun)
{
    row(L"K1", 0, 10);
    row(L"K2", 10, 0);
    row(L"K3", 0, kNone);
    row(L"K4", kNone, 0);
    runAt(OFFICES);
    EXPECT_EQ(boxes_.texts(), Lines());
}

TEST_F(TwoWayTest, DatesOfTheSameSecondAreAnnouncedWhereBothAreNewButNotCopied)
{
    row(L"K1", 10, 10.3);
    row(L"K2", -10, -9.7);
    runAt(OFFICES);
    EXPECT_EQ(written(), Lines());
    EXPECT_EQ(boxes_.texts(), Lines{L"replication conflict"});
}

TEST_F(TwoWayTest, OneSecondApartIsCopied)
{
    row(L"K1", 1, 0);
    runAt(OFFICES);
    EXPECT_EQ(written().size(), 1U);
}

TEST_F(TwoWayTest, EarlierCountsAreReportedAsTheyStand)
{
    row(L"K1", 10, 20);
    ReplicationTest::runAt(OFFICES, ONE_WAY);
    init(TWO_WAY);
    go();
    EXPECT_EQ(counters(), (Counters{.lCntConflict = 1, .lCntError = 1}));
    EXPECT_TRUE(sent().back().ends_with(L"'shortcut errors',1)"));
    EXPECT_TRUE(logEntries().back().ends_with(L"Errors: 1"));
}

TEST_F(TwoWayTest, EveryStatementThatFailsEndsTheRunWithoutMarkingIt)
{
    row(L"K1", 10, -10);
    row(L"K2", 10, kNone);
    row(L"K3", kNone, 10);
    connectAt(OFFICES);
    init(TWO_WAY);
    expectEveryFailureEndsTheRun(L"Connection lost", {});
}

TEST_F(TwoWayTest, RoutineNamesItselfAndTheTable)
{
    connectAt(OFFICES);
    init(TWO_WAY);
    ado().failMember(L"Command.Execute", connectionLost());
    EXPECT_EQ(raised([&] { table().replicateTableTwoWay(true); }),
              (Error{E_FAIL, L"clsReplicateTable.replicateTable(shortcut)", L"Connection lost"}));
}

TEST_F(TwoWayTest, RowThatVanishedEndsTheRun)
{
    row(L"K1", 10, kNone);
    vanishes(L"source", L"K1");
    connectAt(OFFICES);
    init(TWO_WAY);
    EXPECT_EQ(goError().number, kNoRecord);
    EXPECT_EQ(sent().size(), 3U);
    EXPECT_EQ(logBytes(), "");
}

TEST_F(TwoWayTest, NullModificationDateEndsTheRun)
{
    connectAt(OFFICES);
    init(TWO_WAY);
    ado().answer(L"select unid, mod_date from laptop.shortcut where unid not in (select unid from office.shortcut)",
                 {adoRow({{L"unid", L"K1"}, {L"mod_date", adoNull()}}), 0, {}});
    EXPECT_EQ(goError(), (Error{94, L"clsReplicateTable.go", L"Invalid use of Null"}));
}

} // namespace
