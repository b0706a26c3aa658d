#include "com/enumerate.h"
#include "conflicts/report_conflict.h"

#include "com/convert.h"
#include "support/ReplicationFixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Microsoft::WRL::ComPtr;

constexpr short kText = 200;

AdoRows gone(AdoRows rows)
{
    rows.rows.clear();
    return rows;
}

class ConflictData : public RecordingTest
{
protected:
    /// The differences, each as "column: source | destination".
    Lines differences(const AdoRows& source, const AdoRows& destination, const std::wstring& sTable = L"shortcut")
    {
        const ComPtr<quinmark::Collection> items = getConflictData(sTable, ado::Recordset(ado().recordset(source)),
                                                                   ado::Recordset(ado().recordset(destination)));
        Lines lines;
        com::forEach(_variant_t(static_cast<IDispatch*>(items.Get())), [&](const _variant_t& item) {
            const com::Dispatch data(item.pdispVal);
            lines.push_back(com::toText(data.property(L"sField")) + L": " + com::toText(data.property(L"sSourceData")) +
                            L" | " + com::toText(data.property(L"sDestinationData")));
        });
        return lines;
    }
};

TEST_F(ConflictData, DifferingColumnsAreListedInTheirOrder)
{
    EXPECT_EQ(differences(adoRow({{L"unid", L"K"}, {L"b", L"1"}, {L"a", 5L}, {L"same", L"x"}}),
                          adoRow({{L"unid", L"K"}, {L"b", L"2"}, {L"a", 6L}, {L"same", L"x"}})),
              (Lines{L"b: 1 | 2", L"a: 5 | 6"}));
}

TEST_F(ConflictData, ColumnOrTableOfTheUnfilledMappingHasNoLabel)
{
    EXPECT_EQ(differences(adoRow({{L"asdf", L"1"}}), adoRow({{L"asdf", L"2"}})), Lines{L": 1 | 2"});
    EXPECT_EQ(differences(adoRow({{L"a", L"1"}}), adoRow({{L"a", L"2"}}), L"asdf"), Lines{L": 1 | 2"});
}

TEST_F(ConflictData, ModificationDateNeverCounts)
{
    EXPECT_EQ(differences(adoRow({{L"MOD_DATE", L"1"}}), adoRow({{L"Mod_Date", L"2"}})), Lines());
}

TEST_F(ConflictData, PatientsLockDoesNotCountAndAnotherTablesDoes)
{
    const AdoRows source = adoRow({{L"Lock_F", L"1"}});
    const AdoRows destination = adoRow({{L"Lock_F", L"0"}});
    EXPECT_EQ(differences(source, destination, L"Patient"), Lines());
    EXPECT_EQ(differences(source, destination), Lines{L"Lock_F: 1 | 0"});
}

TEST_F(ConflictData, NullAndEmptyTextAreEqual)
{
    EXPECT_EQ(differences(adoRow({{L"a", adoNull()}, {L"b", L""}, {L"c", adoNull()}}),
                          adoRow({{L"a", L""}, {L"b", adoNull()}, {L"c", adoNull()}})),
              Lines());
    EXPECT_EQ(differences(adoRow({{L"a", adoNull()}}), adoRow({{L"a", L"x"}})), Lines{L"a:  | x"});
    EXPECT_EQ(differences(adoRow({{L"a", L"x"}}), adoRow({{L"a", adoNull()}})), Lines{L"a: x | "});
}

TEST_F(ConflictData, LetterCaseIsADifference)
{
    EXPECT_EQ(differences(adoRow({{L"a", L"Name"}}), adoRow({{L"a", L"name"}})), Lines{L"a: Name | name"});
}

TEST_F(ConflictData, ColumnsArePairedByTheirPlace)
{
    EXPECT_EQ(differences(adoRow({{L"a", L"1"}, {L"b", L"2"}}), adoRow({{L"b", L"2"}, {L"a", L"1"}})),
              (Lines{L"a: 1 | 2", L"b: 2 | 1"}));
}

TEST_F(ConflictData, FurtherColumnsOfTheDestinationAreNotLookedAt)
{
    EXPECT_EQ(differences(adoRow({{L"a", L"1"}}), adoRow({{L"a", L"1"}, {L"b", L"2"}})), Lines());
    EXPECT_EQ(raised([&] { differences(adoRow({{L"a", L"1"}, {L"b", L"2"}}), adoRow({{L"a", L"1"}})); }).number, 3265);
}

TEST_F(ConflictData, RowMissingInTheDestinationListsEveryKeptColumn)
{
    const AdoRows source = adoRow({{L"unid", L"K"}, {L"mod_date", L"1"}, {L"a", adoNull()}, {L"b", L"x"}});
    EXPECT_EQ(differences(source, gone(source)), (Lines{L"unid: K | ", L"a:  | ", L"b: x | "}));
}

TEST_F(ConflictData, RowMissingInTheSourceListsEveryKeptColumn)
{
    const AdoRows destination = adoRow({{L"unid", L"K"}, {L"mod_date", L"1"}, {L"a", adoNull()}, {L"b", L"x"}});
    EXPECT_EQ(differences(gone(destination), destination), (Lines{L"unid:  | K", L"a:  | ", L"b:  | x"}));
}

TEST_F(ConflictData, RowMissingOnBothSidesRaises)
{
    const AdoRows rows = gone(adoRow({{L"a", L"1"}}));
    EXPECT_EQ(raised([&] { differences(rows, rows); }).number, 3021);
}

TEST(ColumnLabel, IsTheNameButForThePlaceholder)
{
    EXPECT_EQ(columnLabel(L"shortcut", L"item_name"), L"item_name");
    EXPECT_EQ(columnLabel(L"asdf", L"item_name"), L"");
    EXPECT_EQ(columnLabel(L"shortcut", L"asdf"), L"");
    EXPECT_EQ(columnLabel(L"ASDF", L"Asdf1"), L"Asdf1");
}

/// Reporting a row of the table "shortcut".
class ReportConflict : public ReplicationTest
{
protected:
    ReportConflict()
    {
        connectAt(OFFICES);
        sourceHolds(L"K1", L"S", 10);
        destinationHolds(L"K1", L"D", 20);
    }

    bool report(long kind, const _variant_t& key = L"K1", const std::wstring& sTable = L"shortcut")
    {
        return reportConflict({sTable, kNext}, key, static_cast<enumConflictType>(kind), at(10), at(20));
    }

    Error reportError(long kind, const _variant_t& key = L"K1", const std::wstring& sTable = L"shortcut")
    {
        return raised([&] { report(kind, key, sTable); });
    }

    /// A table keyed by number whose copies of row 7 differ, and its description.
    void numericTable(const std::wstring& sTable, const std::wstring& describeSql)
    {
        const std::wstring sql = L"Select * from " + sTable + L" where unid = '7'";
        ado().answerOn(L"source", sql, {adoRow({{L"name", L"S"}}), 0, {}});
        ado().answerOn(L"destination", sql, {adoRow({{L"name", L"D"}}), 0, {}});
        ado().answer(describeSql, adoTexts(L"", {L"Seven"}));
    }
};

TEST_F(ReportConflict, BothCopiesAreReadDescribedAndSaved)
{
    EXPECT_TRUE(report(CHANGED_ON_BOTH));
    EXPECT_EQ(ado().statements(),
              recorded(L"K1", CHANGED_ON_BOTH, clockText(10), clockText(20), {L"\"item_name\", \"S\", \"D\""}));
    EXPECT_EQ(logEntries(), Lines{L"DEBUG: " + select(L"K1")});
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ReportConflict, DescriptionComesFromTheSideThatHasTheRow)
{
    for (const long kind : {CHANGED_ON_BOTH, NEW_ON_source, NEW_ON_DEST, CHANGED_ON_DEST, DELETED_ON_SOURCE}) {
        ado().forget();
        EXPECT_TRUE(report(kind));
        EXPECT_EQ(ado().statements(),
                  recorded(L"K1", kind, clockText(10), clockText(20), {L"\"item_name\", \"S\", \"D\""}));
    }
}

TEST_F(ReportConflict, LaptopRecordsItsOwnSiteInItsOwnDatabase)
{
    releaseConnections();
    connectAt(LAPTOP);
    EXPECT_TRUE(report(CHANGED_ON_DEST));
    EXPECT_EQ(ado().statements()[3].first, L"destination");
    EXPECT_EQ(ado().statements(),
              recorded(L"K1", CHANGED_ON_DEST, clockText(10), clockText(20), {L"\"item_name\", \"S\", \"D\""}));
}

TEST_F(ReportConflict, RowThatDiffersInItsDateOnlyIsNoConflict)
{
    sourceHolds(L"K2", L"same", 10);
    destinationHolds(L"K2", L"same", 20);
    EXPECT_FALSE(report(CHANGED_ON_BOTH, L"K2"));
    EXPECT_EQ(ado().statements(), compared(L"K2", true));
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(ReportConflict, NumericKeyBecomesThePatientIdWhateverTheTable)
{
    const std::pair<const wchar_t*, const wchar_t*> tables[] = {
        {L"Patient", L"Select full_name + ' (' + cast(unid as varchar(6)) + ')' from patient where unid = 7"},
        {L"USERS", L"select user_name from users where unid = 7"},
        {L"procs", L"select proc_name from procs where unid = 7"},
        {L"chair_type", L"select chair_type_name from chair_type where unid = 7"},
        {L"procs_letter", L"select cast(proc_id as varchar) + '.' + letter_type + '.' + letter_name from procs_letter "
                          L"where unid = 7"},
        {L"patient_dates", L"select pat.full_name + ' (' + cast(pat.unid as varchar(6)) + ')'  from patient_dates pd "
                           L"join patient pat on pat.unid = pd.patient_id where pd.unid = '7'"},
    };
    for (const auto& [sTable, sDescribe] : tables) {
        ado().forget();
        numericTable(sTable, sDescribe);
        EXPECT_TRUE(report(CHANGED_ON_DEST, L"7", sTable));
        EXPECT_EQ(ado().statements()[3],
                  AdoStatement(L"source", L"InsertReplicationConflict(Null, 0, #11/16/2026 12:00:00 PM#, \"" +
                                              std::wstring(sTable) +
                                              L"\", 7, Null, 4, \"Seven\", #11/15/2026 12:00:10 PM#, "
                                              L"#11/15/2026 12:00:20 PM#)"));
    }
}

TEST_F(ReportConflict, NumericKeyThatIsNoNumberRaises13)
{
    numericTable(L"patient", L"");
    EXPECT_EQ(reportError(CHANGED_ON_BOTH, L"seven", L"patient"),
              (Error{13, L"clsReplicateTable.reportConflict", L"Type mismatch"}));
    EXPECT_EQ(reportError(CHANGED_ON_BOTH, L"5000000000", L"patient"),
              (Error{6, L"clsReplicateTable.reportConflict", L"Overflow"}));
    EXPECT_EQ(ado().statements().size(), 4U);
}

TEST_F(ReportConflict, UnsetDatesAreRecordedAsNull)
{
    EXPECT_TRUE(reportConflict({L"shortcut", kNext}, L"K1", NEW_ON_DEST, 0, at(20)));
    EXPECT_EQ(ado().statements(), recorded(L"K1", NEW_ON_DEST, L"", clockText(20), {L"\"item_name\", \"S\", \"D\""}));
}

TEST_F(ReportConflict, RefusedConflictRaisesWithItsReasons)
{
    sourceHolds(L"", L"S", 10);
    destinationHolds(L"", L"D", 20);
    EXPECT_EQ(reportError(CHANGED_ON_BOTH, L""),
              (Error{kOwnErrorRaised, L"clsReplicateTable.reportConflict",
                     L"Error saving conflict: Patiend id or table guid not supplied\r\n"}));
    EXPECT_EQ(ado().statements(), compared(L"", true));
}

TEST_F(ReportConflict, TableThatCannotBeDescribedIsNotSaved)
{
    for (const wchar_t* side : {L"source", L"destination"})
        ado().answerOn(side, L"Select * from computer where unid = 'K1'", {adoRow({{L"name", side}}), 0, {}});
    EXPECT_EQ(reportError(CHANGED_ON_BOTH, L"K1", L"computer").source, L"clsReplicateTable.reportConflict");
    EXPECT_EQ(ado().statements().size(), 3U);
}

TEST_F(ReportConflict, KindOutsideOneToFiveIsNotSaved)
{
    EXPECT_EQ(reportError(6).number, 91);
    EXPECT_EQ(ado().statements().size(), 2U);
}

TEST_F(ReportConflict, NullDescriptionIsNotSaved)
{
    ado().answerOn(L"source", L"select item_name from shortcut where unid = 'K3'",
                   {{{{L"item_name", kText}}, {{adoNull()}}}, 0, {}});
    EXPECT_EQ(reportError(CHANGED_ON_BOTH, L"K3"),
              (Error{94, L"clsReplicateTable.reportConflict", L"Invalid use of Null"}));
    EXPECT_EQ(ado().statements().size(), 3U);
}

TEST_F(ReportConflict, RowMissingOnBothSidesIsNotSaved)
{
    sourceHolds(L"K4");
    destinationHolds(L"K4");
    const Error error = reportError(CHANGED_ON_BOTH, L"K4");
    EXPECT_EQ(error.number, static_cast<long>(0x80040000) + 3021);
    EXPECT_EQ(error.source, L"clsReplicateTable.reportConflict");
    EXPECT_EQ(ado().statements(), compared(L"K4", true));
}

TEST_F(ReportConflict, NullKeyRaises94)
{
    EXPECT_EQ(reportError(CHANGED_ON_BOTH, adoNull()),
              (Error{94, L"clsReplicateTable.reportConflict", L"Invalid use of Null"}));
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(ReportConflict, EveryStatementThatFailsIsRaisedUnderTheRoutinesName)
{
    for (size_t failing = 1; failing <= 5; ++failing) {
        ado().forget();
        ado().failMember(L"Command.Execute", connectionLost(), failing);
        EXPECT_EQ(reportError(CHANGED_ON_BOTH),
                  (Error{E_FAIL, L"clsReplicateTable.reportConflict", L"Connection lost"}));
        EXPECT_EQ(ado().statements().size(), failing - 1);
        EXPECT_EQ(ado().liveObjects(), 2);
    }
}

} // namespace
