#include "replication/dump.h"

#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;
using Values = std::vector<std::pair<std::wstring, _variant_t>>;

constexpr wchar_t kSql[] = L"Select * from shortcut where unid = 'K1'";
constexpr wchar_t kRuler[] = L"WARN : --------------------------------------------------";
constexpr wchar_t kDeleteHead[] = L"WARN : Replication Discrepancy (delete) on table: shortcut --> Unid: K1\r\n"
                                  L"Field               Data\r\n"
                                  L"------------------- ----------\r\n"
                                  L"unid                K1";
constexpr wchar_t kMismatchHead[] = L"WARN : Replication Discrepancy (mismatch) on table: shortcut --> Unid: K1\r\n"
                                    L"Field               Primary                                           Secondary"
                                    L"\r\n------------------- ----------                                        "
                                    L"----------";
constexpr wchar_t kNameDiffers[] = L"\r\nname                D                                                 "
                                   L"S                                                 ";
constexpr long kNoRecord = static_cast<long>(0x80040000) + 3021;
constexpr long kNoItem = static_cast<long>(0x80040000) + 3265;

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
        // A side without values lacks the row.
        for (const auto& [side, values] : {std::pair(L"destination", destination), std::pair(L"source", source)})
            ado().answerOn(side, kSql, values.empty() ? adoTexts(L"unid", {}) : AdoAnswer{adoRow(values), 0, {}});
        Utils::dumpDifferences(sTable, kSql);
    }
};

TEST_F(DumpTest, DeletedRowIsListedFieldByField)
{
    const std::wstring sixty(60, L'v');
    dumpDelete({{L"unid", L"K1"},
                {L"item_name", L"O'Brien"},
                {L"count", 12L},
                {L"active", true},
                {L"mod_date", _variant_t(46341.5, VT_DATE)},
                {L"note", adoNull()},
                {L"lock_f", L""},
                {L"exactly_twenty_chars", L"a"},
                {L"a_name_of_25_characters__", sixty.c_str()}});
    EXPECT_EQ(logEntries(), (Lines{kDeleteHead + (L"\r\nitem_name           O'Brien"
                                                  L"\r\ncount               12"
                                                  L"\r\nactive              True"
                                                  L"\r\nmod_date            11/15/2026 12:00:00 PM"
                                                  L"\r\nnote                "
                                                  L"\r\nlock_f              "
                                                  L"\r\nexactly_twenty_charsa"
                                                  L"\r\na_name_of_25_charact" +
                                                  sixty),
                                   kRuler}));
    EXPECT_EQ(ado().statements().size(), 0U);
}

TEST_F(DumpTest, LockOfAPatientIsLeftOutAndItsDateIsNot)
{
    dumpDelete({{L"UNID", adoNull()}, {L"Lock_F", true}, {L"MOD_DATE", L"x"}}, L"Patient");
    EXPECT_EQ(logEntries()[0], L"WARN : Replication Discrepancy (delete) on table: Patient --> Unid: \r\n"
                               L"Field               Data\r\n"
                               L"------------------- ----------\r\n"
                               L"UNID                \r\nMOD_DATE            x");
    dumpDifferences({{L"unid", L"K1"}, {L"LOCK_F", true}, {L"MOD_DATE", L"2"}},
                    {{L"unid", L"K1"}, {L"LOCK_F", false}, {L"MOD_DATE", L"1"}}, L"Patient");
    EXPECT_TRUE(logEntries()[2].ends_with(L"----------\r\nMOD_DATE            2                                       "
                                          L"          1                                                 "));
}

TEST_F(DumpTest, ReportsAreWholeWhereOnlyWarningsAreLogged)
{
    settings().iLogLevel = 4;
    dumpDelete({{L"unid", L"K1"}});
    dumpDifferences({{L"unid", L"K1"}, {L"name", L"D"}}, {{L"unid", L"K1"}, {L"name", L"S"}});
    const Lines reports{kDeleteHead, kRuler, std::wstring(kMismatchHead) + kNameDiffers, kRuler};
    EXPECT_EQ(logEntries(), reports);
    settings().iLogLevel = 5;
    dumpDelete({{L"unid", L"K1"}});
    dumpDifferences({{L"unid", L"K1"}}, {{L"unid", L"K1"}});
    EXPECT_EQ(logEntries(), reports);
}

TEST_F(DumpTest, DeletedRowThatIsGoneOrHasNoUnidRaisesBeforeAnythingIsWritten)
{
    EXPECT_EQ(
        raised([&] { Utils::dumpDelete(L"", ado::Recordset(ado().recordset(adoTexts(L"unid", {}).rows))); }).number,
        kNoRecord);
    const Error error = raised([&] { dumpDelete({{L"code", L"K1"}}); });
    EXPECT_EQ(error.number, kNoItem);
    EXPECT_EQ(error.source, L"Utils.dumpDelete");
    EXPECT_EQ(logBytes(), "");
}

TEST_F(DumpTest, TextThatWasWrittenBeforeAFailureStays)
{
    ado().failMember(L"Field.Value", connectionLost(), 3);
    EXPECT_EQ(raised([&] {
                  dumpDelete({{L"unid", L"K1"}, {L"item_name", L"x"}});
              }),
              (Error{E_FAIL, L"Utils.dumpDelete", L"Connection lost"}));
    EXPECT_EQ(logEntries(), Lines{kDeleteHead});
}

TEST_F(DumpTest, DifferencesAreReadFromTheDestinationAndThenTheSource)
{
    dumpDifferences({{L"unid", L"K1"}, {L"same", L"x"}, {L"null", adoNull()}, {L"name", L"D"}},
                    {{L"unid", L"K1"}, {L"same", L"x"}, {L"null", L""}, {L"name", L"S"}, {L"more", L"x"}});
    EXPECT_EQ(ado().statements(), (std::vector<AdoStatement>{{L"destination", kSql}, {L"source", kSql}}));
    EXPECT_EQ(logEntries(), (Lines{std::wstring(kMismatchHead) + kNameDiffers, kRuler}));
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(DumpTest, ValuesOfAMismatchAreCutButComparedWholeAndByCase)
{
    const std::wstring fifty(50, L'p');
    const std::wstring sixty = fifty + L"0123456789";
    dumpDifferences({{L"unid", L"K1"}, {L"a_name_of_25_characters__", sixty.c_str()}, {L"name", L"a"}},
                    {{L"unid", L"K1"}, {L"a_name_of_25_characters__", fifty.c_str()}, {L"name", L"A"}});
    EXPECT_EQ(logEntries()[0], kMismatchHead + (L"\r\na_name_of_25_charact" + fifty + fifty) +
                                   L"\r\nname                a                                                 "
                                   L"A                                                 ");
}

TEST_F(DumpTest, ColumnsInAnotherOrderEndTheReportAtTheFirstOne)
{
    EXPECT_EQ(raised([&] {
                  dumpDifferences({{L"unid", L"K1"}, {L"name", L"D"}, {L"b", L"2"}, {L"c", L"3"}},
                                  {{L"unid", L"K1"}, {L"name", L"S"}, {L"c", L"3"}, {L"b", L"2"}});
              }),
              (Error{kOwnErrorRaised, L"Utils.dumpDifferences",
                     L"Replication Error: Fields out of sync on table: shortcut"}));
    EXPECT_EQ(logEntries(), Lines{std::wstring(kMismatchHead) + kNameDiffers});
    EXPECT_EQ(ado().liveObjects(), 2);
}

TEST_F(DumpTest, NamesAreComparedWithTheirCaseAndBeforeAColumnIsLeftOut)
{
    EXPECT_EQ(
        raised([&] {
            dumpDifferences({{L"unid", L"K1"}, {L"LOCK_F", L""}}, {{L"unid", L"K1"}, {L"lock_f", L""}}, L"PATIENT");
        }).number,
        kOwnErrorRaised);
}

TEST_F(DumpTest, RowThatOneSideLacksRaises)
{
    const Error error = raised([&] { dumpDifferences({}, {{L"unid", L"K1"}}); });
    EXPECT_EQ(error.number, kNoRecord);
    EXPECT_EQ(error.source, L"Utils.dumpDifferences");
    EXPECT_EQ(logBytes(), "");
    EXPECT_EQ(raised([&] { dumpDifferences({{L"unid", L"K1"}}, {}); }).number, kNoRecord);
    EXPECT_EQ(logEntries(), Lines{kMismatchHead});
}

TEST_F(DumpTest, FailedQueryIsRaisedUnderTheRoutinesName)
{
    for (const wchar_t* side : {L"destination", L"source"}) {
        ado().failStatementOn(side, kSql, connectionLost());
        EXPECT_EQ(raised([] { Utils::dumpDifferences(L"shortcut", kSql); }),
                  (Error{E_FAIL, L"Utils.dumpDifferences", L"Connection lost"}));
    }
}

} // namespace
