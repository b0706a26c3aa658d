#include "conflicts/report_conflict.h"

#include "com/convert.h"
#include "com/enumerate.h"
#include "support/ReplicationFixture.h"

using namespace quinmark;

namespace {

using com::Error;

AdoRows gone(AdoRows rows)
{
    rows.rows.clear();
    return rows;
}

class DifferingColumns : public RecordingTest
{
protected:
    /// The differences, each as "column: source | destination".
    Lines differences(const AdoRows& source, const AdoRows& destination, const std::wstring& sTable = L"shortcut")
    {
        Lines lines;
        for (const clsConflictData& data : differingColumns(sTable, ado::Recordset(ado().recordset(source)),
                                                            ado::Recordset(ado().recordset(destination))))
            lines.push_back(data.sField + L": " + data.sSourceData + L" | " + data.sDestinationData);
        return lines;
    }
};

TEST_F(DifferingColumns, AreListedInTheirOrder)
{
    EXPECT_EQ(differences(adoRow({{L"unid", L"K"}, {L"b", L"1"}, {L"a", 5L}, {L"same", L"x"}, {L"case", L"Name"}}),
                          adoRow({{L"unid", L"K"}, {L"b", L"2"}, {L"a", 6L}, {L"same", L"x"}, {L"case", L"name"}})),
              (Lines{L"b: 1 | 2", L"a: 5 | 6", L"case: Name | name"}));
}

TEST_F(DifferingColumns, ColumnOrTableOfTheUnfilledMappingHasNoLabel)
{
    EXPECT_EQ(differences(adoRow({{L"asdf", L"1"}}), adoRow({{L"asdf", L"2"}})), Lines{L": 1 | 2"});
    EXPECT_EQ(differences(adoRow({{L"a", L"1"}}), adoRow({{L"a", L"2"}}), L"asdf"), Lines{L": 1 | 2"});
    EXPECT_EQ(columnLabel(L"ASDF", L"Asdf1"), L"Asdf1");
}

TEST_F(DifferingColumns, ModificationDateAndPatientsLockDoNotCount)
{
    EXPECT_EQ(differences(adoRow({{L"MOD_DATE", L"1"}}), adoRow({{L"Mod_Date", L"2"}})), Lines());
    EXPECT_EQ(differences(adoRow({{L"Lock_F", L"1"}}), adoRow({{L"Lock_F", L"0"}}), L"Patient"), Lines());
    EXPECT_EQ(differences(adoRow({{L"Lock_F", L"1"}}), adoRow({{L"Lock_F", L"0"}})), Lines{L"Lock_F: 1 | 0"});
}

TEST_F(DifferingColumns, NullAndEmptyTextAreEqual)
{
    EXPECT_EQ(differences(adoRow({{L"a", adoNull()}, {L"b", L""}, {L"c", adoNull()}, {L"d", L"x"}}),
                          adoRow({{L"a", L""}, {L"b", adoNull()}, {L"c", L"x"}, {L"d", adoNull()}})),
              (Lines{L"c:  | x", L"d: x | "}));
}

TEST_F(DifferingColumns, ArePairedByThePlacesOfTheSource)
{
    EXPECT_EQ(differences(adoRow({{L"a", L"1"}, {L"b", L"2"}}), adoRow({{L"b", L"2"}, {L"a", L"1"}, {L"c", L"3"}})),
              (Lines{L"a: 1 | 2", L"b: 2 | 1"}));
    EXPECT_EQ(raised([&] { differences(adoRow({{L"a", L"1"}, {L"b", L"2"}}), adoRow({{L"a", L"1"}})); }).number, 3265);
}

TEST_F(DifferingColumns, RowThatOneSideLacksListsEveryKeptColumn)
{
    const AdoRows row = adoRow({{L"unid", L"K"}, {L"mod_date", L"1"}, {L"a", adoNull()}, {L"b", L"x"}});
    EXPECT_EQ(differences(row, gone(row)), (Lines{L"unid: K | ", L"a:  | ", L"b: x | "}));
    EXPECT_EQ(differences(gone(row), row), (Lines{L"unid:  | K", L"a:  | ", L"b:  | x"}));
    EXPECT_EQ(raised([&] { differences(gone(row), gone(row)); }).number, 3021);
}

TEST_F(DifferingColumns, MakeTheConflictsCollection)
{
    const auto items = getConflictData(L"shortcut", ado::Recordset(ado().recordset(adoRow({{L"a", L"1"}}))),
                                       ado::Recordset(ado().recordset(adoRow({{L"a", L"2"}}))));
    Lines texts;
    com::forEach(_variant_t(static_cast<IDispatch*>(items.Get())), [&](const _variant_t& item) {
        for (const wchar_t* member : {L"sField", L"sSourceData", L"sDestinationData"})
            texts.push_back(com::toText(com::Dispatch(item.pdispVal).property(member)));
    });
    EXPECT_EQ(texts, (Lines{L"a", L"1", L"2"}));
}

/// Reporting a row of the table "shortcut".
class ReportConflict : public ReplicationTest
{
protected:
    ReportConflict()
    {
        connectAt(OFFICES);
        row(L"K1", 10, 20);
    }

    bool report(long kind, const _variant_t& key = L"K1", const std::wstring& sTable = L"shortcut")
    {
        return reportConflict({sTable, kNext}, key, static_cast<enumConflictType>(kind), at(10), at(20));
    }

    /// The report's failure, after as many statements.
    Error reportError(size_t statements, long kind, const _variant_t& key = L"K1",
                      const std::wstring& sTable = L"shortcut")
    {
        ado().forget();
        const Error error = raised([&] { report(kind, key, sTable); });
        EXPECT_EQ(error.source, L"clsReplicateTable.reportConflict");
        EXPECT_EQ(sent().size(), statements);
        EXPECT_EQ(ado().liveObjects(), 2);
        return error;
    }
};

TEST_F(ReportConflict, BothCopiesAreReadDescribedAndSaved)
{
    EXPECT_TRUE(report(CHANGED_ON_BOTH));
    EXPECT_EQ(sent(),
              (Lines{L"source: Select * from shortcut where unid = 'K1'",
                     L"destination: Select * from shortcut where unid = 'K1'",
                     L"source: select item_name from shortcut where unid = 'K1'",
                     L"source: InsertReplicationConflict(Null, 0, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K1\", "
                     L"1, \"Item K1\", #11/15/2026 12:00:10 PM#, #11/15/2026 12:00:20 PM#)",
                     L"source: InsertReplicationConflictData(\"{C1}\", \"item_name\", \"S\", \"D\")"}));
    EXPECT_EQ(logEntries(), Lines{L"DEBUG: Select * from shortcut where unid = 'K1'"});
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ReportConflict, LaptopRecordsItsOwnSiteInItsOwnDatabase)
{
    connectAt(LAPTOP);
    EXPECT_TRUE(report(CHANGED_ON_DEST));
    EXPECT_EQ(
        written(),
        (Lines{L"destination: InsertReplicationConflict(Null, 1, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"K1\", "
               L"4, \"Item K1\", #11/15/2026 12:00:10 PM#, #11/15/2026 12:00:20 PM#)",
               L"destination: InsertReplicationConflictData(\"{C1}\", \"item_name\", \"S\", \"D\")"}));
}

TEST_F(ReportConflict, RowThatDiffersInItsDateOnlyIsNoConflict)
{
    holds(L"destination", L"K1", L"S", 20);
    EXPECT_FALSE(report(CHANGED_ON_BOTH));
    EXPECT_EQ(sent().size(), 3U);
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ReportConflict, NumericKeyBecomesThePatientId)
{
    row(L"7", 10, 20);
    ado().answer(L"select user_name from users where unid = 7", adoTexts(L"", {L"Seven"}));
    EXPECT_TRUE(report(CHANGED_ON_DEST, L"7", L"USERS"));
    EXPECT_EQ(sent()[3], L"source: InsertReplicationConflict(Null, 0, #11/16/2026 12:00:00 PM#, \"USERS\", 7, Null, 4, "
                         L"\"Seven\", #11/15/2026 12:00:10 PM#, #11/15/2026 12:00:20 PM#)");
    EXPECT_EQ(reportError(2, CHANGED_ON_BOTH, L"seven", L"users").number, 13);
    EXPECT_EQ(reportError(2, CHANGED_ON_BOTH, L"5000000000", L"users").number, 6);
}

TEST_F(ReportConflict, RefusedConflictRaisesWithItsReasons)
{
    row(L"", 10, 20);
    EXPECT_EQ(reportError(3, CHANGED_ON_BOTH, L""),
              (Error{kOwnErrorRaised, L"clsReplicateTable.reportConflict",
                     L"Error saving conflict: Patiend id or table guid not supplied\r\n"}));
}

TEST_F(ReportConflict, RowThatCannotBeReadOrDescribedIsNotSaved)
{
    EXPECT_EQ(reportError(0, CHANGED_ON_BOTH, adoNull()).number, 94);
    EXPECT_EQ(reportError(2, 6).number, 91);
    reportError(3, CHANGED_ON_BOTH, L"K1", L"computer");
    EXPECT_EQ(reportError(3, CHANGED_ON_BOTH, L"K9").number, kNoRecord);
    ado().answer(L"select item_name from shortcut where unid = 'K1'", {adoRow({{L"item_name", adoNull()}}), 0, {}});
    EXPECT_EQ(reportError(3, CHANGED_ON_BOTH).number, 94);
}

TEST_F(ReportConflict, EveryStatementThatFailsIsRaisedUnderTheRoutinesName)
{
    for (size_t failing = 1; failing <= 5; ++failing) {
        ado().failMember(L"Command.Execute", connectionLost(), failing);
        EXPECT_EQ(reportError(failing - 1, CHANGED_ON_BOTH).description, L"Connection lost");
    }
}

} // namespace
