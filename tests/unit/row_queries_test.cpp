#include "replication/row_queries.h"

#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

constexpr DATE kLast = 46341.5; // 15 November 2026 at noon
const Prefixes kPrefixes{L"office.", L"laptop."};
constexpr SideAliases kAliases{L"src", L"dest", L"src_mod_date", L"dest_mod_date"};

const KeyedTable kTable{L"shortcut", L"unid"};

TEST(RowQueries, RowsAreAddressedByTheirQuotedKey)
{
    EXPECT_EQ(keyCondition(kTable, L"{K1}"), L"unid = '{K1}'");
    EXPECT_EQ(keyCondition(kTable, 12L), L"unid = '12'");
    EXPECT_EQ(keyCondition(kTable, L"O'Brien"), L"unid = 'O'Brien'");
    EXPECT_EQ(selectRow(kTable, L"{K1}"), L"Select * from shortcut where unid = '{K1}'");
    EXPECT_EQ(selectDumpedRow(kTable, L"{K1}"), L"select * from shortcut where unid = '{K1}'");
    EXPECT_EQ(deleteRow(kTable, L"{K1}"), L"delete from shortcut where unid = '{K1}'");
    EXPECT_EQ(raised([] { selectRow(kTable, adoNull()); }).number, 94);
}

TEST(RowQueries, ChangedRowsJoinBothDatabases)
{
    EXPECT_EQ(selectChangedRows(kTable, kPrefixes, kLast, kAliases),
              L"select dest.unid, src.mod_date src_mod_date, dest.mod_date dest_mod_date from laptop.shortcut dest "
              L"join office.shortcut src on src.unid = dest.unid where src.mod_date <> dest.mod_date and ( "
              L"src.mod_date > '11/15/2026 12:00:00 PM' or dest.mod_date > '11/15/2026 12:00:00 PM')");
}

TEST(RowQueries, LastRunThatNeverWasIsComparedToNull)
{
    EXPECT_TRUE(selectChangedRows(kTable, kPrefixes, 0, kAliases)
                    .ends_with(L" and ( src.mod_date > Null or dest.mod_date > Null)"));
}

TEST(RowQueries, PrefixesAndAnyKeyColumnArePastedIn)
{
    EXPECT_EQ(selectMissingRows({L"computer", L"comp id"}, L"a.", L""),
              L"select comp id, mod_date from a.computer where comp id not in (select comp id from computer)");
}

} // namespace
