#include "replication/dump.h"

#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;
using Statements = std::vector<AdoStatement>;

constexpr short kText = 200;
constexpr wchar_t kSql[] = L"Select * from shortcut where unid = 'K1'";
constexpr wchar_t kRuler[] = L"WARN : --------------------------------------------------";
constexpr long kNoRecord = static_cast<long>(0x80040000) + 3021;
constexpr long kNoItem = static_cast<long>(0x80040000) + 3265;

using Values = std::vector<std::pair<std::wstring, _variant_t>>;

std::wstring padded(std::wstring text, size_t width)
{
    text.append(width - text.size(), L' ');
    return text;
}

class DumpTest : public RecordingTest
{
protected:
    DumpTest() { connectedSettings(); }

    void dumpDelete(const Values& values, const std::wstring& sTable = L"shortcut")
    {
        Utils::dumpDelete(sTable, ado::Recordset(ado().recordset(adoRow(values))));
    }

    void dumpDifferences(const Values& destination, const Values& source, const std::wstring& sTable = L"shortcut")
    {
        ado().answerOn(L"destination", kSql, {adoRow(destination), 0, {}});
        ado().answerOn(L"source", kSql, {adoRow(source), 0, {}});
        Utils::dumpDifferences(sTable, kSql);
    }

    static std::wstring deleteHead(const std::wstring& sTable = L"shortcut", const std::wstring& unid = L"K1")
    {
        return L"WARN : Replication Discrepancy (delete) on table: " + sTable + L" --> Unid: " + unid +
               L"\r\nField               Data\r\n------------------- ----------";
    }

    static std::wstring mismatchHead(const std::wstring& sTable = L"shortcut", const std::wstring& unid = L"K1")
    {
        return L"WARN : Replication Discrepancy (mismatch) on table: " + sTable + L" --> Unid: " + unid +
               L"\r\nField               Primary                                           Secondary\r\n"
               L"------------------- ----------                                        ----------";
    }

    static std::wstring difference(const std::wstring& name, const std::wstring& primary, const std::wstring& secondary)
    {
        return L"\r\n" + padded(name, 20) + padded(primary, 50) + padded(secondary, 50);
    }
};

TEST_F(DumpTest, DeletedRowIsListedFieldByField)
{
    dumpDelete({{L"unid", L"{K1}"},
                {L"item_name", L"O'Brien"},
                {L"count", 12L},
                {L"active", true},
                {L"mod_date", _variant_t(46341.5, VT_DATE)},
                {L"note", adoNull()},
                {L"empty", L""}});
    EXPECT_EQ(logEntries(), (Lines{deleteHead(L"shortcut", L"{K1}") + L"\r\nunid                {K1}"
                                                                      L"\r\nitem_name           O'Brien"
                                                                      L"\r\ncount               12"
                                                                      L"\r\nactive              True"
                                                                      L"\r\nmod_date            11/15/2026 12:00:00 PM"
                                                                      L"\r\nnote                "
                                                                      L"\r\nempty               ",
                                   kRuler}));
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(DumpTest, LockOfAPatientIsLeftOutAndItsDateIsNot)
{
    for (const wchar_t* patient : {L"PATIENT", L"patient", L"Patient"}) {
        dumpDelete({{L"UNID", 7L}, {L"Lock_F", true}, {L"MOD_DATE", L"x"}}, patient);
        const Lines entries = logEntries();
        EXPECT_EQ(entries[entries.size() - 2],
                  deleteHead(patient, L"7") + L"\r\nUNID                7\r\nMOD_DATE            x");
    }
}

TEST_F(DumpTest, LockOfAnotherTableIsListed)
{
    dumpDelete({{L"unid", L"K1"}, {L"lock_f", 1L}});
    EXPECT_EQ(logEntries()[0], deleteHead() + L"\r\nunid                K1\r\nlock_f              1");
}

TEST_F(DumpTest, LongNamesAreCutAndLongValuesOfADeletedRowAreNot)
{
    const std::wstring value(60, L'v');
    dumpDelete({{L"unid", L"K1"}, {L"exactly_twenty_chars", L"a"}, {L"a_name_of_25_characters__", value.c_str()}});
    EXPECT_EQ(logEntries()[0], deleteHead() +
                                   L"\r\nunid                K1\r\nexactly_twenty_charsa\r\n"
                                   L"a_name_of_25_charact" +
                                   value);
}

TEST_F(DumpTest, NullKeyLeavesTheHeaderWithoutOne)
{
    dumpDelete({{L"unid", adoNull()}});
    EXPECT_EQ(logEntries()[0], deleteHead(L"shortcut", L"") + L"\r\nunid                ");
}

TEST_F(DumpTest, ReportsAreWholeWhereOnlyWarningsAreLogged)
{
    settings().iLogLevel = 4;
    dumpDelete({{L"unid", L"K1"}});
    dumpDifferences({{L"unid", L"K1"}, {L"name", L"D"}}, {{L"unid", L"K1"}, {L"name", L"S"}});
    EXPECT_EQ(logEntries(), (Lines{deleteHead() + L"\r\nunid                K1", kRuler,
                                   mismatchHead() + difference(L"name", L"D", L"S"), kRuler}));
}

TEST_F(DumpTest, ReportsAreWarnings)
{
    settings().iLogLevel = 4;
    dumpDelete({{L"unid", L"K1"}});
    EXPECT_EQ(logEntries().size(), 2U);
    settings().iLogLevel = 5;
    dumpDelete({{L"unid", L"K1"}});
    dumpDifferences({{L"unid", L"K1"}}, {{L"unid", L"K1"}});
    EXPECT_EQ(logEntries().size(), 2U);
}

TEST_F(DumpTest, DeletedRowThatIsGoneRaisesBeforeAnythingIsWritten)
{
    const ado::Recordset gone(ado().recordset({{{L"unid", kText}}, {}}));
    const Error error = raised([&] { Utils::dumpDelete(L"shortcut", gone); });
    EXPECT_EQ(error.number, kNoRecord);
    EXPECT_EQ(error.source, L"Utils.dumpDelete");
    EXPECT_EQ(logBytes(), "");
}

TEST_F(DumpTest, DeletedRowWithoutAUnidRaises)
{
    const Error error = raised([&] { dumpDelete({{L"code", L"K1"}}); });
    EXPECT_EQ(error.number, kNoItem);
    EXPECT_EQ(error.source, L"Utils.dumpDelete");
    EXPECT_EQ(logBytes(), "");
}

TEST_F(DumpTest, WhatWasWrittenBeforeAFailureStays)
{
    ado().failMember(L"Field.Value", connectionLost(), 3);
    EXPECT_EQ(raised([&] {
                  dumpDelete({{L"unid", L"K1"}, {L"item_name", L"x"}});
              }),
              (Error{E_FAIL, L"Utils.dumpDelete", L"Connection lost"}));
    EXPECT_EQ(logEntries(), Lines{deleteHead() + L"\r\nunid                K1"});
}

TEST_F(DumpTest, DifferencesAreReadFromTheDestinationAndThenTheSource)
{
    dumpDifferences({{L"unid", L"K1"}, {L"item_name", L"D"}, {L"mod_date", L"2"}},
                    {{L"unid", L"K1"}, {L"item_name", L"S"}, {L"mod_date", L"1"}});
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", kSql}, {L"source", kSql}}));
    EXPECT_EQ(
        logEntries(),
        (Lines{mismatchHead() + difference(L"item_name", L"D", L"S") + difference(L"mod_date", L"2", L"1"), kRuler}));
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(DumpTest, IdenticalRowsLeaveHeaderAndRuler)
{
    dumpDifferences({{L"unid", L"K1"}, {L"item_name", L"x"}}, {{L"unid", L"K1"}, {L"item_name", L"x"}});
    EXPECT_EQ(logEntries(), (Lines{mismatchHead(), kRuler}));
}

TEST_F(DumpTest, LetterCaseIsADifference)
{
    dumpDifferences({{L"unid", L"K1"}, {L"item_name", L"Name"}}, {{L"unid", L"K1"}, {L"item_name", L"name"}});
    EXPECT_EQ(logEntries()[0], mismatchHead() + difference(L"item_name", L"Name", L"name"));
}

TEST_F(DumpTest, NullAndEmptyTextAreNoDifference)
{
    dumpDifferences({{L"unid", L"K1"}, {L"a", adoNull()}, {L"b", L""}},
                    {{L"unid", L"K1"}, {L"a", L""}, {L"b", adoNull()}});
    EXPECT_EQ(logEntries(), (Lines{mismatchHead(), kRuler}));
}

TEST_F(DumpTest, LongValuesOfAMismatchAreCutButComparedWhole)
{
    const std::wstring fifty(50, L'p');
    const std::wstring sixty = fifty + L"0123456789";
    dumpDifferences({{L"unid", L"K1"}, {L"a_name_of_25_characters__", sixty.c_str()}},
                    {{L"unid", L"K1"}, {L"a_name_of_25_characters__", fifty.c_str()}});
    EXPECT_EQ(logEntries()[0], mismatchHead() + L"\r\na_name_of_25_charact" + fifty + fifty);
}

TEST_F(DumpTest, PatientsLockIsNoDifferenceAndItsDateIs)
{
    dumpDifferences({{L"unid", 7L}, {L"LOCK_F", true}, {L"MOD_DATE", L"2"}},
                    {{L"unid", 7L}, {L"LOCK_F", false}, {L"MOD_DATE", L"1"}}, L"Patient");
    EXPECT_EQ(logEntries(), (Lines{mismatchHead(L"Patient", L"7") + difference(L"MOD_DATE", L"2", L"1"), kRuler}));
}

TEST_F(DumpTest, ColumnsInAnotherOrderEndTheReportAtTheFirstOne)
{
    EXPECT_EQ(raised([&] {
                  dumpDifferences({{L"unid", L"K1"}, {L"a", L"1"}, {L"b", L"2"}, {L"c", L"3"}},
                                  {{L"unid", L"K1"}, {L"a", L"x"}, {L"c", L"3"}, {L"b", L"2"}});
              }),
              (Error{kOwnErrorRaised, L"Utils.dumpDifferences",
                     L"Replication Error: Fields out of sync on table: shortcut"}));
    EXPECT_EQ(logEntries(), Lines{mismatchHead() + difference(L"a", L"1", L"x")});
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(DumpTest, ColumnNamesAreComparedWithTheirCase)
{
    EXPECT_EQ(raised([&] { dumpDifferences({{L"unid", L"K1"}}, {{L"Unid", L"K1"}}); }).number, kOwnErrorRaised);
}

TEST_F(DumpTest, NamesAreComparedBeforeAColumnIsLeftOut)
{
    EXPECT_EQ(raised([&] {
                  dumpDifferences({{L"unid", 7L}, {L"LOCK_F", true}}, {{L"unid", 7L}, {L"other", true}}, L"PATIENT");
              }).number,
              kOwnErrorRaised);
}

TEST_F(DumpTest, FurtherColumnsOfTheSourceAreNotReported)
{
    dumpDifferences({{L"unid", L"K1"}}, {{L"unid", L"K1"}, {L"more", L"x"}});
    EXPECT_EQ(logEntries(), (Lines{mismatchHead(), kRuler}));
}

TEST_F(DumpTest, RowMissingInTheDestinationRaisesWithoutAReport)
{
    ado().answerOn(L"destination", kSql, {{{{L"unid", kText}}, {}}, 0, {}});
    ado().answerOn(L"source", kSql, {adoRow({{L"unid", L"K1"}}), 0, {}});
    const Error error = raised([] { Utils::dumpDifferences(L"shortcut", kSql); });
    EXPECT_EQ(error.number, kNoRecord);
    EXPECT_EQ(error.source, L"Utils.dumpDifferences");
    EXPECT_EQ(logBytes(), "");
}

TEST_F(DumpTest, RowMissingInTheSourceRaisesAfterTheHeader)
{
    ado().answerOn(L"destination", kSql, {adoRow({{L"unid", L"K1"}}), 0, {}});
    ado().answerOn(L"source", kSql, {{{{L"unid", kText}}, {}}, 0, {}});
    EXPECT_EQ(raised([] { Utils::dumpDifferences(L"shortcut", kSql); }).number, kNoRecord);
    EXPECT_EQ(logEntries(), Lines{mismatchHead()});
}

TEST_F(DumpTest, FailedQueryIsRaisedUnderTheRoutinesName)
{
    for (const wchar_t* side : {L"destination", L"source"}) {
        ado().failStatementOn(side, kSql, connectionLost());
        EXPECT_EQ(raised([&] {
                      dumpDifferences({{L"unid", L"K1"}}, {{L"unid", L"K1"}});
                  }),
                  (Error{E_FAIL, L"Utils.dumpDifferences", L"Connection lost"}));
    }
}

} // namespace
