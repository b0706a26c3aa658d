#include "conflicts/key_info.h"

#include "control/pairing.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

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

TEST(KeyInfoSql, EachTableIsDescribedByItsOwnStatementAndNamedWithoutCase)
{
    for (const auto& [sTable, sSql, numericKey] : kDescriptions) {
        std::wstring lower = sTable;
        CharLowerW(lower.data());
        for (const std::wstring& name : {std::wstring(sTable), lower}) {
            EXPECT_EQ(keyInfoSql(name, L"K"), sSql);
            EXPECT_EQ(hasNumericKey(name), numericKey) << sSql;
        }
    }
}

TEST(KeyInfoSql, OtherTablesHaveNoStatementAndGuidKeys)
{
    for (const wchar_t* table : {L"computer", L"PATIENTS", L""}) {
        EXPECT_EQ(keyInfoSql(table, L"K"), L"") << table;
        EXPECT_FALSE(hasNumericKey(table)) << table;
    }
}

TEST(KeyInfoSql, KeysAreWrittenAsTheyAre)
{
    EXPECT_EQ(keyInfoSql(L"DENTIST", L"{Q}"),
              L"Select dbo.FN_DentistFullName('{Q}') + isnull(' (' + address1 + ')','') from dentist where unid = "
              L"'{Q}'");
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
    EXPECT_EQ(closedResults(), 1);
}

TEST_F(GetKeyInfo, TextThatCannotBeReadRaisesUnderTheRoutinesName)
{
    const auto number = [](long kind, const std::wstring& sTable = L"shortcut") {
        const Error error = raised([&] { describe(kind, sTable); });
        EXPECT_EQ(error.source, L"clsReplicateTable.getKeyInfo");
        return error.number;
    };
    ado().answer(sql_, adoTexts(L"item_name", {}));
    EXPECT_EQ(number(NEW_ON_DEST), static_cast<long>(0x80040000) + 3021);
    ado().answer(sql_, {adoRow({{L"item_name", adoNull()}}), 0, {}});
    EXPECT_EQ(number(NEW_ON_DEST), 94);
    ado().failStatementOn(L"source", sql_, connectionLost());
    EXPECT_EQ(number(CHANGED_ON_BOTH), E_FAIL);
    ado().forget();
    for (const long kind : {0L, 6L, -1L})
        EXPECT_EQ(number(kind), 91);
    EXPECT_EQ(ado().statements(), Statements());
    number(NEW_ON_DEST, L"computer");
    EXPECT_EQ(ado().statements(), (Statements{{L"destination", L""}}));
}

} // namespace
