#include "conflicts/key_info.h"

#include "control/pairing.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

#include <gmock/gmock.h>

using namespace quinmark;

namespace {

using com::Error;
using Statements = std::vector<AdoStatement>;

struct Description
{
    const wchar_t* sTable;
    const wchar_t* sSql; // for the key K
    bool numericKey;
};

// The blanks in front of "+ ' / '" and "from patient_dates" are two each.
constexpr Description kDescriptions[] = {
    {L"PATIENT", L"Select full_name + ' (' + cast(unid as varchar(6)) + ')' from patient where unid = K", true},
    {L"DENTIST", L"Select dbo.FN_DentistFullName('K') + isnull(' (' + address1 + ')','') from dentist where unid = 'K'",
     false},
    {L"SPECIALIST",
     L"Select dbo.FN_SpecialistFullName('K') + isnull(' (' + address1 + ')','') from specialist where unid = 'K'",
     false},
    {L"CHART_HDR",
     L"Select pat.full_name + ' (' + cast(pat.unid as varchar(6)) + ')' from chart_hdr ch join patient pat on pat.unid "
     L"= ch.patient_id where ch.unid = 'K'",
     false},
    {L"CHART_ITEM",
     L"Select pat.full_name + ' date: ' + cast(ci.treatment_date as varchar(12)) from chart_item ci join patient pat "
     L"on pat.unid = ci.patient_id where ci.unid = 'K'",
     false},
    {L"CHART_COMMENT_INFO",
     L"Select pat.full_name + ' date: ' + cast(ci.treatment_date as varchar(12)) from chart_comment_info cci join "
     L"chart_item ci on ci.unid = cci.unid join chart_hdr ch on ch.unid = ci.chart_hdr_id join patient pat on pat.unid "
     L"= ch.patient_id where ci.unid = 'K'",
     false},
    {L"USERS", L"select user_name from users where unid = K", true},
    {L"PROCS", L"select proc_name from procs where unid = K", true},
    {L"CHAIR_TYPE", L"select chair_type_name from chair_type where unid = K", true},
    {L"SHORTCUT", L"select item_name from shortcut where unid = 'K'", false},
    {L"COMBO_VALUES", L"select combo_name + '.' + combo_value from combo_values where unid = 'K'", false},
    {L"CONFIG", L"select category + '.' + config_name from config where unid = 'K'", false},
    {L"PROCS_LETTER",
     L"select cast(proc_id as varchar) + '.' + letter_type + '.' + letter_name from procs_letter where unid = K", true},
    {L"PATIENT_SPEC_XREF",
     L"select pat.full_name + ' (' + cast(pat.unid as varchar(6)) + ')'  + ' / ' + "
     L"dbo.FN_SpecialistFullName(psx.spec_id) from patient_spec_xref psx join patient pat on pat.unid = psx.patient_id "
     L"join specialist spec on spec.unid = psx.spec_id where psx.unid = 'K'",
     false},
    {L"CHART_OPTION", L"select option_name from chart_option where unid = 'K'", false},
    {L"PATIENT_DATES",
     L"select pat.full_name + ' (' + cast(pat.unid as varchar(6)) + ')'  from patient_dates pd join patient pat on "
     L"pat.unid = pd.patient_id where pd.unid = 'K'",
     true},
    {L"ADA_CODE", L"select ada_code + ': ' + ada_code_desc from ada_code where unid = 'K'", false},
};

class KeyInfoOf : public testing::TestWithParam<Description>
{
};

TEST_P(KeyInfoOf, TableIsDescribedByItsOwnStatement)
{
    EXPECT_EQ(keyInfoSql(GetParam().sTable, L"K"), GetParam().sSql);
}

TEST_P(KeyInfoOf, NamesAreComparedWithoutCase)
{
    std::wstring lower = GetParam().sTable;
    CharLowerW(lower.data());
    EXPECT_EQ(keyInfoSql(lower, L"K"), GetParam().sSql);
    EXPECT_EQ(hasNumericKey(lower), GetParam().numericKey);
}

TEST_P(KeyInfoOf, KindOfKeyIsKnown)
{
    EXPECT_EQ(hasNumericKey(GetParam().sTable), GetParam().numericKey);
}

INSTANTIATE_TEST_SUITE_P(SeventeenTables, KeyInfoOf, testing::ValuesIn(kDescriptions), [](const auto& info) {
    const std::wstring name = info.param.sTable;
    return std::string(name.begin(), name.end());
});

TEST(KeyInfoSql, OtherTablesHaveNoStatementAndGuidKeys)
{
    for (const wchar_t* table : {L"computer", L"PATIENTS", L"DENTIST_COMPANY", L""}) {
        EXPECT_EQ(keyInfoSql(table, L"K"), L"") << table;
        EXPECT_FALSE(hasNumericKey(table)) << table;
    }
}

TEST(KeyInfoSql, BracesOfAGuidKeyStayAsTheyAre)
{
    EXPECT_EQ(keyInfoSql(L"DENTIST", L"{Q}"),
              L"Select dbo.FN_DentistFullName('{Q}') + isnull(' (' + address1 + ')','') from dentist where unid = "
              L"'{Q}'");
}

TEST(KeyInfoSql, NumbersAreWrittenAsTheyAre)
{
    EXPECT_EQ(keyInfoSql(L"users", 12L), L"select user_name from users where unid = 12");
    EXPECT_EQ(keyInfoSql(L"config", 12L), L"select category + '.' + config_name from config where unid = '12'");
}

class GetKeyInfo : public RecordingTest
{
protected:
    GetKeyInfo() { connectedSettings(); }

    static std::wstring describe(long kind, const std::wstring& sTable = L"shortcut")
    {
        return getKeyInfo(sTable, L"K", kind, {*Utils::getConnSource(), *Utils::getConnDest()});
    }

    const std::wstring sql_ = L"select item_name from shortcut where unid = 'K'";
};

TEST_F(GetKeyInfo, DescriptionIsReadFromTheSideThatHasTheRow)
{
    ado().answerOn(L"source", sql_, adoTexts(L"item_name", {L"from source"}));
    ado().answerOn(L"destination", sql_, adoTexts(L"item_name", {L"from destination"}));
    EXPECT_EQ(describe(CHANGED_ON_BOTH), L"from source");
    EXPECT_EQ(describe(NEW_ON_source), L"from source");
    EXPECT_EQ(describe(NEW_ON_DEST), L"from destination");
    EXPECT_EQ(describe(CHANGED_ON_DEST), L"from destination");
    EXPECT_EQ(describe(DELETED_ON_SOURCE), L"from destination");
    EXPECT_EQ(logBytes(), "");
}

TEST_F(GetKeyInfo, FirstColumnOfTheFirstRowBecomesText)
{
    ado().answer(sql_, {{{{L"a", 3}, {L"b", 200}}, {{12L, L"x"}, {13L, L"y"}}}, 0, {}});
    EXPECT_EQ(describe(NEW_ON_DEST), L"12");
    EXPECT_THAT(ado().calls(), testing::Contains(L"Recordset.Close()").Times(1));
}

TEST_F(GetKeyInfo, NullDescriptionRaises94)
{
    ado().answer(sql_, {{{{L"item_name", 200}}, {{adoNull()}}}, 0, {}});
    EXPECT_EQ(raised([] { describe(NEW_ON_DEST); }),
              (Error{94, L"clsReplicateTable.getKeyInfo", L"Invalid use of Null"}));
}

TEST_F(GetKeyInfo, RowThatVanishedRaises)
{
    ado().answer(sql_, {{{{L"item_name", 200}}, {}}, 0, {}});
    const Error error = raised([] { describe(NEW_ON_DEST); });
    EXPECT_EQ(error.source, L"clsReplicateTable.getKeyInfo");
    EXPECT_EQ(error.number, static_cast<long>(0x80040000) + 3021);
}

TEST_F(GetKeyInfo, TableThatCannotBeDescribedRaises)
{
    EXPECT_EQ(raised([] { describe(NEW_ON_DEST, L"computer"); }).source, L"clsReplicateTable.getKeyInfo");
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L""}}));
}

TEST_F(GetKeyInfo, KindOutsideOneToFiveRunsNoQueryAndRaises)
{
    for (const long kind : {0L, 6L, -1L})
        EXPECT_EQ(raised([kind] { describe(kind); }),
                  (Error{91, L"clsReplicateTable.getKeyInfo", L"Object variable or With block variable not set"}));
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(GetKeyInfo, FailedQueryIsRaisedUnderTheRoutinesName)
{
    ado().failStatementOn(L"source", sql_, connectionLost());
    EXPECT_EQ(raised([] { describe(CHANGED_ON_BOTH); }),
              (Error{E_FAIL, L"clsReplicateTable.getKeyInfo", L"Connection lost"}));
}

} // namespace
