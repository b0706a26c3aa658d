#include "replication/row_sql.h"

#include "ado/constants.h"
#include "support/MessageBoxes.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"
#include "version.h"

namespace {

using com::Error;

constexpr short kSingle = 4;
constexpr short kBigInt = 20;
constexpr short kNumeric = 131;
constexpr short kWChar = 130;
constexpr short kVarWChar = 202;
constexpr short kLongVarChar = 201;
constexpr short kBinary = 128;

class RowSqlTest : public RecordingTest
{
protected:
    /// One row of the given columns.
    ado::Recordset row(const std::vector<std::pair<AdoColumn, _variant_t>>& cells)
    {
        AdoRows rows;
        rows.rows.emplace_back();
        for (const auto& [column, value] : cells) {
            rows.columns.push_back(column);
            rows.rows[0].push_back(value);
        }
        return ado::Recordset(ado().recordset(rows));
    }

    std::wstring literal(short type, const _variant_t& value)
    {
        return Utils::getValue(row({{{L"a", type}, value}}).field(0));
    }

    ado::Recordset patient()
    {
        return row({{{L"unid", ado::adInteger}, 7L},
                    {{L"LOCK_F", ado::adBoolean}, true},
                    {{L"last_name", ado::adVarChar}, L"O'Brien"},
                    {{L"mod_date", ado::adDBTimeStamp}, _variant_t(46341.0, VT_DATE)}});
    }
};

TEST_F(RowSqlTest, EveryColumnIsWrittenInItsOrderByItsName)
{
    const auto rs = row({{{L"a", ado::adInteger}, 1L}, {{L"Odd Name", ado::adVarChar}, L"x"}});
    EXPECT_EQ(Utils::getUpdateSql(rs, L"dbo.T", L"unid = 'K'"),
              L"Update dbo.T set a = 1, Odd Name = 'x' where unid = 'K'");
    EXPECT_EQ(Utils::getInsertSql(rs, L"dbo.T"), L"Insert into dbo.T (a, Odd Name) values (1, 'x')");
    EXPECT_EQ(ado().statements(), std::vector<AdoStatement>());
}

TEST_F(RowSqlTest, PatientsLockIsNeverCopiedAndAnotherTablesIs)
{
    EXPECT_EQ(Utils::getUpdateSql(patient(), L"Patient", L"unid = '7'"),
              L"Update Patient set unid = 7, last_name = 'O''Brien', mod_date = '11/15/2026' where unid = '7'");
    EXPECT_EQ(Utils::getInsertSql(patient(), L"patient"),
              L"Insert into patient (unid, last_name, mod_date) values (7, 'O''Brien', '11/15/2026')");
    EXPECT_EQ(Utils::getInsertSql(patient(), L"users"),
              L"Insert into users (unid, LOCK_F, last_name, mod_date) values (7, 1, 'O''Brien', '11/15/2026')");
}

TEST_F(RowSqlTest, RowWithoutAnyColumnLeftIsMalformed)
{
    const auto rs = row({{{L"lock_f", ado::adBoolean}, true}});
    EXPECT_EQ(Utils::getInsertSql(rs, L"patient"), L"Insert into patient () values ()");
    EXPECT_EQ(Utils::getUpdateSql(rs, L"patient", L"unid = '7'"), L"Update patient se where unid = '7'");
}

TEST_F(RowSqlTest, ValuesAreLiteralsByTheirType)
{
    struct
    {
        short type;
        _variant_t value;
        const wchar_t* sLiteral;
    } const kCases[] = {
        {ado::adSmallInt, static_cast<short>(-3), L"-3"},
        {ado::adInteger, 2147483647L, L"2147483647"},
        {ado::adDouble, 1.5, L"1.5"},
        {ado::adDouble, 0.1, L"0.1"},
        {ado::adCurrency, _variant_t(CY{.int64 = 12345600}), L"1234.56"},
        {ado::adBoolean, true, L"1"},
        {ado::adBoolean, false, L"0"},
        {ado::adBoolean, 2L, L"1"},
        {ado::adGUID, L"{0F4B-1}", L"'{0F4B-1}'"},
        {ado::adGUID, L"a'b", L"'a'b'"}, // nothing is doubled
        {ado::adVarChar, L"O'Brien", L"'O''Brien'"},
        {ado::adVarChar, L"%", L"'%'"},
        {ado::adVarChar, L"", L"Null"},
        {ado::adChar, L"ab  ", L"'ab  '"},
        {ado::adChar, L"", L"Null"},
        {ado::adDBTimeStamp, _variant_t(46341.5, VT_DATE), L"'11/15/2026 12:00:00 PM'"},
        {ado::adDBTimeStamp, _variant_t(0.0, VT_DATE), L"Null"},
        {kBinary, adoNull(), L"Null"}, // also of a type that is not supported
    };
    for (const auto& [type, value, sLiteral] : kCases) {
        EXPECT_EQ(literal(type, value), sLiteral) << type;
        EXPECT_EQ(literal(type, adoNull()), L"Null") << type;
    }
}

TEST_F(RowSqlTest, EveryOtherTypeShowsABoxAndLeavesTheValueOut)
{
    MessageBoxes boxes;
    const std::vector<short> types{kSingle,   ado::adTinyInt, kBigInt, kNumeric, kWChar,
                                   kVarWChar, kLongVarChar,   kBinary, 7};
    for (const short type : types)
        EXPECT_EQ(Utils::getInsertSql(row({{{L"a", type}, 1L}, {{L"b", ado::adInteger}, 1L}}), L"T"),
                  L"Insert into T (a, b) values (, 1)");
    EXPECT_EQ(boxes.shown(),
              std::vector<ShownBox>(types.size(), {kComponentName, L"ado type not coded, see debug", {L"OK"}}));
}

TEST_F(RowSqlTest, FailuresNameRoutineAndTable)
{
    const auto rs = patient();
    ado().failMember(L"Fields.Count", connectionLost());
    EXPECT_EQ(raised([&] { Utils::getUpdateSql(rs, L"patient", L""); }),
              (Error{E_FAIL, L"Utils.getUpdateSql(patient)", L"Connection lost"}));
    ado().failMember(L"Field.Value", connectionLost());
    EXPECT_EQ(raised([&] { Utils::getInsertSql(rs, L"patient"); }),
              (Error{E_FAIL, L"Utils.getInsertSql(patient)", L"Connection lost"}));
    ado().failMember(L"Field.Type", connectionLost());
    EXPECT_EQ(raised([&] { Utils::getValue(rs.field(0)); }), (Error{E_FAIL, L"Utils.getValue", L"Connection lost"}));
    EXPECT_EQ(raised([&] { Utils::getInsertSql(ado::Recordset(), L"T"); }).number, 91);
}

TEST_F(RowSqlTest, RowBehindTheLastOneRaisesAdosError)
{
    auto rs = patient();
    rs.moveNext();
    const Error error = raised([&] { Utils::getInsertSql(rs, L"patient"); });
    EXPECT_EQ(error.number, static_cast<long>(0x80040000) + 3021);
    EXPECT_EQ(error.source, L"Utils.getInsertSql(patient)");
}

TEST_F(RowSqlTest, ChartOptionSettingsAloneAreRewrittenWithTheirParent)
{
    EXPECT_EQ(Utils::getDependentSql(L"Chart_Option_Setting", L"{K}", L"office."),
              L"delete from chart_option_setting where chart_option_id = '{K}'; "
              L"insert into chart_option_setting select * from office.Chart_Option_Setting "
              L"where chart_option_id = '{K}'");
    for (const wchar_t* table : {L"chart_option", L"chart_option_setting; delete from users; --"})
        EXPECT_EQ(Utils::getDependentSql(table, adoNull(), L""), L"");
    EXPECT_EQ(raised([] { Utils::getDependentSql(L"chart_option_setting", adoNull(), L""); }),
              (Error{94, L"Utils.getDependentSql(chart_option_setting)", L"Invalid use of Null"}));
}

TEST_F(RowSqlTest, SkipRuleLeavesOutModDateOnlyWhenAsked)
{
    EXPECT_TRUE(Utils::isSkipField(L"users", L"Mod_Date", true));
    EXPECT_FALSE(Utils::isSkipField(L"users", L"mod_date", false));
    EXPECT_TRUE(Utils::isSkipField(L"Patient", L"lock_f", false));
    EXPECT_TRUE(Utils::isSkipField(L"patient", L"LOCK_F", true));
    EXPECT_FALSE(Utils::isSkipField(L"patients", L"lock_f", true));
    EXPECT_FALSE(Utils::isSkipField(L"dentist", L"lock_f", true));
    EXPECT_FALSE(Utils::isSkipField(L"patient", L"mobile", true));
    EXPECT_FALSE(Utils::isSkipField(L"patient", L"lock", true));
}

} // namespace
