#include "support/ReplicationFixture.h"

#include <gmock/gmock.h>

namespace {

using com::Error;

constexpr wchar_t kNoKeyField[] = L"source: SetReplicationError(0, 1, \"PKField not set for "
                                  L"replicateOneWayWithPKField()\")";
constexpr wchar_t kNoDeleteMethod[] = L"source: SetReplicationError(0, 1, \"enumReplicatDeletes not set for "
                                      L"replicateOneWayWithPKField()\")";

/// Rows matched by the column `code`.
class KeyFieldTest : public ReplicationTest
{
protected:
    KeyFieldTest() { useTable(L"shortcut", L"code"); }

    void runAt(long site, long deletes = DELETE_WITH_UPDATES)
    {
        ReplicationTest::runAt(site, ONE_WAY_WITH_PK_FIELD, L"", deletes);
    }
};

TEST_F(KeyFieldTest, RowsAreReportedByUnidAndElseAddressedByTheKey)
{
    rowOfEachKind();
    runAt(LAPTOP);
    Lines lines = transcript();
    std::erase_if(lines, [](const std::wstring& line) { return line.find(L" where ") == std::wstring::npos; });
    EXPECT_EQ(
        lines,
        (Lines{L"destination, logged: select dest.code, src.mod_date src_mod_date, dest.mod_date dest_mod_date from "
               L"laptop.shortcut dest join office.shortcut src on src.code = dest.code where src.mod_date <> "
               L"dest.mod_date and ( src.mod_date > '11/15/2026 12:00:00 PM' or dest.mod_date > "
               L"'11/15/2026 12:00:00 PM')",
               L"source, logged: Select * from shortcut where code = 'K1'",
               L"destination, logged: Update shortcut set unid = 'K1', item_name = 'S', mod_date = "
               L"'11/15/2026 12:00:10 PM' where code = 'K1'",
               L"source: Select * from shortcut where unid = 'K2'",
               L"destination: Select * from shortcut where unid = 'K2'",
               L"source: select item_name from shortcut where unid = 'K2'",
               L"destination: Select * from shortcut where code = 'K2'",
               L"source: Select * from shortcut where code = 'K2'",
               L"destination, logged: select code, mod_date from office.shortcut where code not in (select code from "
               L"laptop.shortcut)",
               L"source, logged: Select * from shortcut where code = 'K4'",
               L"destination, logged: select code, mod_date from laptop.shortcut where code not in (select code from "
               L"office.shortcut)",
               L"source: Select * from shortcut where unid = 'K7'",
               L"destination: Select * from shortcut where unid = 'K7'",
               L"destination: select item_name from shortcut where unid = 'K7'",
               L"destination: select * from shortcut where code = 'K7'"}));
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntConflict = 2, .lCntError = 1}));
    EXPECT_EQ(logHeads().back(), L"STAT : Replicated table: shortcut with PKField: code and delete method: 2");
}

TEST_F(KeyFieldTest, DeleteMethodSaysWhichPassesAreMade)
{
    rowOfEachKind();
    runAt(OFFICES, SKIP_DELETES);
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntConflict = 3, .lCntError = 3}));
    EXPECT_EQ(logHeads().back(), L"STAT : Replicated table: shortcut with PKField: code and delete method: 3");
    runAt(OFFICES, ONLY_DELETES);
    EXPECT_EQ(counters(), (Counters{.lCntDestDelete = 1, .lCntConflict = 4, .lCntError = 1}));
}

TEST_F(KeyFieldTest, MissingKeyFieldOrDeleteMethodOnlyMarksTheRunAsFailed)
{
    rowOfEachKind();
    runAt(OFFICES, UNKNOWN);
    EXPECT_EQ(sent(), Lines{kNoDeleteMethod});
    useTable(L"shortcut");
    for (const long deletes : {UNKNOWN, DELETE_WITH_UPDATES}) {
        runAt(OFFICES, deletes);
        EXPECT_EQ(sent(), Lines{kNoKeyField});
    }
    EXPECT_EQ(logBytes(), "");
    EXPECT_EQ(counters(), Counters());
}

TEST_F(KeyFieldTest, FailedChecksLeaveTheCountersAsTheyAre)
{
    rowOfEachKind();
    runAt(LAPTOP);
    runAt(LAPTOP, UNKNOWN);
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 1, .lCntConflict = 2, .lCntError = 1}));
}

TEST_F(KeyFieldTest, RefusedInitHasReplacedKeyFieldAndDeleteMethod)
{
    connectAt(LAPTOP);
    table().init(ONE_WAY_WITH_PK_FIELD, L"shortcut", L"", L"unid", DELETE_WITH_UPDATES);
    raised([&] { init(ONE_WAY_WITH_PK_FIELD, L"child", SKIP_DELETES); });
    go();
    EXPECT_EQ(logHeads().back(), L"STAT : Replicated table: shortcut with PKField: code and delete method: 3");
}

TEST_F(KeyFieldTest, DeletingACompanyClearsItInTheComments)
{
    row(L"K1", kNone, -10);
    for (const wchar_t* company : {L"dentist_company", L"Dentist_Company"}) {
        useTable(company, L"dc_id");
        runAt(OFFICES, ONLY_DELETES);
        EXPECT_EQ(written(), (Lines{L"destination: update chart_comment_info set dc_id = null where dc_id = 'K1'",
                                    std::wstring(L"destination: delete from ") + company + L" where dc_id = 'K1'"}));
    }
    EXPECT_THAT(logEntries(), testing::Contains(L"DEBUG: ConnDestination: update chart_comment_info set dc_id = null "
                                                L"where dc_id = 'K1'"));
}

TEST_F(KeyFieldTest, ComputerTypesHaveNoDependentRows)
{
    useTable(L"computer_type", L"code");
    row(L"K1", kNone, -10);
    ReplicationTest::runAt(OFFICES, ONE_WAY_WITH_PK_FIELD, L"chart_option_setting", ONLY_DELETES);
    EXPECT_EQ(written(), Lines{L"destination: delete from computer_type where code = 'K1'"});
}

TEST_F(KeyFieldTest, FailureIsMarkedAndNamesRoutineAndTable)
{
    connectAt(OFFICES);
    init(ONE_WAY_WITH_PK_FIELD, L"", ONLY_DELETES);
    ado().failMember(L"Command.Execute", connectionLost());
    EXPECT_EQ(raised([&] { table().replicateOneWayWithPKField(); }),
              (Error{E_FAIL, L"clsReplicateTable.replicateOneWayWithPKField(shortcut)",
                     L"clsReplicateTable.replicateOneWayWithPKField(shortcut): Connection lost"}));
    EXPECT_EQ(sent(),
              Lines{L"source: SetReplicationError(0, 1, \"clsReplicateTable.replicateOneWayWithPKField: Connection "
                    L"lost\")"});
}

TEST_F(KeyFieldTest, FailureToMarkAFailedCheckIsTheRoutinesFailure)
{
    connectAt(OFFICES);
    init(ONE_WAY_WITH_PK_FIELD);
    ado().failStatement(L"SetReplicationError", connectionLost());
    EXPECT_EQ(goError(), (Error{E_FAIL, L"clsReplicateTable.go",
                                L"clsReplicateTable.replicateOneWayWithPKField(shortcut): Connection lost"}));
}

TEST_F(KeyFieldTest, KeyColumnThatIsNotThereEndsTheRunAtItsFirstRow)
{
    connectAt(OFFICES);
    init(ONE_WAY_WITH_PK_FIELD, L"", ONLY_DELETES);
    ado().answer(L"select code, mod_date from laptop.shortcut where code not in (select code from office.shortcut)",
                 {adoRow({{L"unid", L"K7"}, {L"mod_date", L"11/14/2026"}}), 0, {}});
    EXPECT_EQ(goError().number, static_cast<long>(0x80040000) + 3265);
    EXPECT_EQ(counters(), Counters());
}

} // namespace
