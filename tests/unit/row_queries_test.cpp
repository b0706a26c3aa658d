#include "replication/row_queries.h"

#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

constexpr DATE kLast = 46341.5; // 15 November 2026 at noon
const Prefixes kPrefixes{L"office.", L"laptop."};
constexpr SideAliases kAliases{L"src", L"dest", L"src_mod_date", L"dest_mod_date"};

class RowQueries : public testing::Test
{
protected:
    const KeyedTable table_{L"shortcut", L"unid"};
};

TEST_F(RowQueries, RowsAreAddressedByTheirQuotedKey)
{
    EXPECT_EQ(keyCondition(table_, L"{K1}"), L"unid = '{K1}'");
    EXPECT_EQ(selectRow(table_, L"{K1}"), L"Select * from shortcut where unid = '{K1}'");
    EXPECT_EQ(selectDumpedRow(table_, L"{K1}"), L"select * from shortcut where unid = '{K1}'");
    EXPECT_EQ(deleteRow(table_, L"{K1}"), L"delete from shortcut where unid = '{K1}'");
}

TEST_F(RowQueries, NumbersAreQuotedAndApostrophesAreNotDoubled)
{
    EXPECT_EQ(keyCondition(table_, 12L), L"unid = '12'");
    EXPECT_EQ(keyCondition(table_, L"O'Brien"), L"unid = 'O'Brien'");
}

TEST_F(RowQueries, NullKeyRaises94)
{
    EXPECT_EQ(raised([&] { selectRow(table_, adoNull()); }).number, 94);
}

TEST_F(RowQueries, OtherKeyColumnIsPastedIn)
{
    const KeyedTable keyed{L"computer", L"comp id"};
    EXPECT_EQ(selectRow(keyed, 7L), L"Select * from computer where comp id = '7'");
    EXPECT_EQ(selectMissingRows(keyed, L"a.", L"b."),
              L"select comp id, mod_date from a.computer where comp id not in (select comp id from b.computer)");
}

TEST_F(RowQueries, ChangedRowsJoinBothDatabases)
{
    EXPECT_EQ(selectChangedRows(table_, kPrefixes, kLast, kAliases),
              L"select dest.unid, src.mod_date src_mod_date, dest.mod_date dest_mod_date from laptop.shortcut dest "
              L"join office.shortcut src on src.unid = dest.unid where src.mod_date <> dest.mod_date and ( "
              L"src.mod_date > '11/15/2026 12:00:00 PM' or dest.mod_date > '11/15/2026 12:00:00 PM')");
}

TEST_F(RowQueries, LastRunThatNeverWasIsComparedToNull)
{
    EXPECT_EQ(selectChangedRows(table_, kPrefixes, 0, kAliases),
              L"select dest.unid, src.mod_date src_mod_date, dest.mod_date dest_mod_date from laptop.shortcut dest "
              L"join office.shortcut src on src.unid = dest.unid where src.mod_date <> dest.mod_date and ( "
              L"src.mod_date > Null or dest.mod_date > Null)");
}

TEST_F(RowQueries, EmptyPrefixesNameTheTablesAlone)
{
    EXPECT_EQ(selectMissingRows(table_, L"", L""),
              L"select unid, mod_date from shortcut where unid not in (select unid from shortcut)");
}

} // namespace
