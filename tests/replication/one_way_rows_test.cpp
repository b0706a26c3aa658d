#include "com/convert.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr wchar_t kKey[] = L"{0F8FAD5B-D9CB-469F-A165-70867728950E}";
constexpr wchar_t kOtherKey[] = L"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}";

/// A row with every column filled, of a table that is replicated.
struct SampleRow
{
    const wchar_t* table;
    const wchar_t* columns;
    const wchar_t* values;
};

void PrintTo(const SampleRow& row, std::ostream* stream)
{
    *stream << testing::PrintToString(row.table);
}

constexpr SampleRow kSampleRows[] = {
    {L"dentist_company", L"unid, dc_id, company_name, address1, city, phone, monthly_fee, contract_f, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 3, 'Müller & Søn', 'Cooper''s Yard 1', 'Île', '555', 1234.5678, 1, "
     L"'2025-03-11T09:15:00'"},
    {L"dentist",
     L"unid, dc_id, dentist_id, title, first_name, last_name, address1, city, phone, commission, active_f, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 1, 2, 'Dr.', 'Renée', 'D''Amberley', 'Dyke Road 2', 'Lowmarsh', "
     L"'555-0201', 12.125, 0, '2025-03-11T00:00:00'"},
    {L"specialist", L"unid, title, first_name, last_name, specialty, address1, phone, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'Dr.', 'Zoë', 'Vaucelle', 'Endodontics', 'Elm Court', '555', "
     L"'2025-03-11T23:59:59'"},
    {L"patient_dates", L"unid, patient_id, date_type, event_date, remarks, mod_date",
     L"2147483647, -2147483648, 'recall', '1999-12-31T00:00:00', '100 % [sure] _ ''quoted''', '2025-03-11T09:15:00'"},
    {L"patient_spec_xref", L"unid, patient_id, spec_id, referral_date, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 5, '{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', '2024-02-29T12:00:00', "
     L"'2025-03-11T09:15:00'"},
    {L"users", L"unid, user_name, initials, access_level, active_f, mod_date",
     L"1, 'Gesa', 'GR', -32768, 0, '2025-03-11T09:15:00'"},
    {L"procs", L"unid, proc_name, proc_code, fee, duration_min, mod_date",
     L"-1, 'Crown ½', 'C1', -0.0001, 32767, '2025-03-11T09:15:00'"},
    {L"procs_letter", L"unid, proc_id, letter_type, letter_name, delay_days, mod_date",
     L"9, 4, 'before', 'How to prepare', 0, '2025-03-11T09:15:00'"},
    {L"chart_hdr", L"unid, patient_id, opened_date, status, lock_f, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 5, '2020-01-01T08:00:01', 3, 1, '2025-03-11T09:15:00'"},
    {L"chart_item",
     L"unid, chart_hdr_id, patient_id, proc_id, tooth, surface, treatment_date, fee, hours, completed_f, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', '{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 5, 4, 18, 'MOD', "
     L"'2025-01-02T15:45:00', 922337203685.4775, 0.1, 1, '2025-03-11T09:15:00'"},
    {L"chart_comment_info", L"unid, dc_id, comment_text, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', null, 'two' , '2025-03-11T09:15:00'"},
    {L"ada_code", L"unid, ada_code, ada_code_desc, fee, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'D0120', 'It''s €5; -- no comment /* here */', 5, "
     L"'2025-03-11T09:15:00'"},
    {L"chair_type", L"unid, chair_type_name, chairs, hourly_cost, mod_date",
     L"2, 'Siège', 4, 99.99, '2025-03-11T09:15:00'"},
    {L"shortcut", L"unid, item_name, item_text, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'select', 'select * from users; delete', '2025-03-11T09:15:00'"},
    {L"combo_values", L"unid, combo_name, combo_value, sort_order, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'surface', 'm?d', -1, '2025-03-11T09:15:00'"},
    {L"config", L"unid, category, config_name, config_value, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'run', 'path', 'C:\\chart\\%1', '2025-03-11T09:15:00'"},
    {L"chart_option", L"unid, option_name, option_group, sort_order, enabled_f, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', '  blanks  ', 'G', 1, 0, '2025-03-11T09:15:00'"},
    {L"chart_option_setting", L"unid, chart_option_id, setting_name, setting_value, weight, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', '{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 'size', null, -1.5e-7, "
     L"'2025-03-11T09:15:00'"},
    {L"computer_type", L"unid, type_name, screen_width, mod_date",
     L"'{0F8FAD5B-D9CB-469F-A165-70867728950E}', 'reception', 1024, '2025-03-11T09:15:00'"},
};

class OneWayRows : public PracticePair
{
protected:
    static void insert(const PracticeSide& side, const SampleRow& row)
    {
        side.execute(L"insert into " + std::wstring(row.table) + L" (" + row.columns + L") values (" + row.values +
                     L")");
    }

    static std::wstring rowOf(const PracticeSide& side, const std::wstring& table)
    {
        return side.row(L"select * from " + table);
    }

    /// Patient 5 as the source has it, with the odds and ends that a copy changes.
    void addPatient()
    {
        source().execute(
            L"insert into patient (unid, full_name, first_name, last_name, sex, birth_date, file_no, address1, city,"
            L" phone, dc_id, dentist_id, recall_months, balance, risk_score, household_id, remarks, active_f, lock_f,"
            L" mod_date) values (5, 'O''Brannick, Zoë', 'Zoë', 'O''Brannick', 'F', '1984-02-29T00:00:00', 'P5', '',"
            L" 'Müllheim €5', null, null, null, -6, -1234.5678, 0.1, '{0F8FAD5B-D9CB-469F-A165-70867728950E}',"
            L" 'Doesn''t like ''waiting''', 0, 1, '2025-03-11T09:15:30.250')");
    }

    static constexpr wchar_t kCopiedPatient[] =
        L"5|O'Brannick, Zoë|Zoë|O'Brannick|F|1984-02-29 00:00:00.000|P5|<Null>|Müllheim €5|<Null>|<Null>|<Null>|-6|"
        L"-1234.5678|0.1|{0F8FAD5B-D9CB-469F-A165-70867728950E}|Doesn't like 'waiting'|False|False|"
        L"2025-03-11 09:15:30.000";
};

class OneWayEveryTable : public OneWayRows, public testing::WithParamInterface<SampleRow>
{
};

INSTANTIATE_TEST_SUITE_P(Tables, OneWayEveryTable, testing::ValuesIn(kSampleRows),
                         [](const testing::TestParamInfo<SampleRow>& info) {
                             const std::wstring name = info.param.table;
                             return std::string(name.begin(), name.end());
                         });

TEST_P(OneWayEveryTable, ANewRowArrivesAsItIs)
{
    insert(source(), GetParam());
    const std::wstring row = rowOf(source(), GetParam().table);
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = GetParam().table}), (Counters{.destAdd = 1}));
    EXPECT_EQ(rowOf(destination(), GetParam().table), row);
    EXPECT_EQ(rowOf(source(), GetParam().table), row);
}

TEST_P(OneWayEveryTable, AChangedRowArrivesAsItIs)
{
    const std::wstring table = GetParam().table;
    for (const PracticeSide* side : {&source(), &destination()})
        insert(*side, GetParam());
    destination().execute(L"update " + table + L" set mod_date = '2025-02-01T08:30:00'");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = table}), (Counters{.destUpdate = 1}));
    EXPECT_EQ(rowOf(destination(), table), rowOf(source(), table));
}

TEST_P(OneWayEveryTable, AnOldRowGoesWithTheSources)
{
    const std::wstring table = GetParam().table;
    insert(destination(), GetParam());
    destination().execute(L"update " + table + L" set mod_date = '2025-02-01T08:30:00'");
    EXPECT_EQ(replicate({.method = ONE_WAY_ALLOW_DELETES, .table = table}), (Counters{.destDelete = 1}));
    EXPECT_EQ(destination().count(table), 0);
}

TEST_F(OneWayRows, NewPatientArrivesWithoutLockEmptyTextAndFractionOfASecond)
{
    addPatient();
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"patient"}), (Counters{.destAdd = 1}));
    EXPECT_EQ(rowOf(destination(), L"patient"), kCopiedPatient);
}

TEST_F(OneWayRows, ChangedPatientKeepsTheLockOfTheDestination)
{
    addPatient();
    source().execute(L"update patient set lock_f = 0");
    destination().execute(L"insert into patient (unid, full_name, address1, phone, recall_months, balance, risk_score,"
                          L" household_id, active_f, lock_f, mod_date) values (5, 'old', 'old', 'old', 1, 1, 1,"
                          L" '{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 1, 1, '2025-02-01T08:30:00')");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"Patient"}), (Counters{.destUpdate = 1}));
    EXPECT_EQ(
        rowOf(destination(), L"patient"),
        std::wstring(kCopiedPatient).replace(std::wstring(kCopiedPatient).find(L"|False|False|"), 13, L"|False|True|"));
}

TEST_F(OneWayRows, ConflictOfAGuidKeyedRowListsItsColumns)
{
    for (const PracticeSide* side : {&source(), &destination()})
        side->execute(L"insert into shortcut (unid, item_name, item_text, mod_date) values ('" + std::wstring(kKey) +
                      L"', 'recall', '', '" + kOlder + L"')");
    source().execute(L"update shortcut set item_name = 'Rückruf', item_text = null, mod_date = '" + std::wstring(kNew) +
                     L"'");
    destination().execute(L"update shortcut set item_name = 'RECALL', mod_date = '" + std::wstring(kNewer) + L"'");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"shortcut"}), (Counters{.conflict = 1, .error = 1}));
    EXPECT_THAT(conflicts(), ElementsAre(L"shortcut|0|" + std::wstring(kKey) + L"|1|Rückruf"));
    EXPECT_THAT(conflictData(), ElementsAre(L"item_name|Rückruf|RECALL"));
}

TEST_F(OneWayRows, DumpOfAMismatchShowsTheDifferingColumnsSideBySide)
{
    const std::wstring longText(60, L'x');
    source().execute(L"insert into shortcut (unid, item_name, item_text, mod_date) values ('" + std::wstring(kKey) +
                     L"', 'same', 'Müller', '" + kNew + L"')");
    destination().execute(L"insert into shortcut (unid, item_name, item_text, mod_date) values ('" +
                          std::wstring(kKey) + L"', 'same', '" + longText + L"', '" + kNewer + L"')");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"shortcut"}), (Counters{.conflict = 1, .error = 1}));
    const auto dateOf = [](const PracticeSide& side) {
        std::wstring text = com::toText(side.value(L"select mod_date from shortcut"));
        text.resize(50, L' ');
        return text;
    };
    const std::wstring report =
        L"Replication Discrepancy (mismatch) on table: shortcut --> Unid: " + std::wstring(kKey) + L"\r\nField" +
        std::wstring(15, L' ') + L"Primary" + std::wstring(43, L' ') + L"Secondary\r\n------------------- ----------" +
        std::wstring(40, L' ') + L"----------\r\nitem_text           " + std::wstring(50, L'x') + L"Müller" +
        std::wstring(44, L' ') + L"\r\nmod_date            " + dateOf(destination()) + dateOf(source()) + L"\r\n\r\n";
    const size_t start = log().find(report);
    ASSERT_NE(start, std::wstring::npos) << log();
    const std::wstring rest = log().substr(start + report.size());
    EXPECT_EQ(rest.substr(rest.find(L": WARN"), 61), L": WARN : " + std::wstring(50, L'-') + L"\r\n");
}

TEST_F(OneWayRows, DumpOfADeleteShowsEveryColumnInFull)
{
    addUser(source(), 7, L"Müller", kOld);
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"users"}), (Counters{.conflict = 1, .error = 1}));
    const std::wstring report = L": WARN : Replication Discrepancy (delete) on table: users --> Unid: 7\r\nField" +
                                std::wstring(15, L' ') +
                                L"Data\r\n------------------- ----------\r\n"
                                L"unid                7\r\nuser_name           Müller\r\ninitials            \r\n"
                                L"access_level        1\r\nactive_f            True\r\nmod_date            " +
                                com::toText(source().value(L"select mod_date from users")) + L"\r\n\r\n";
    EXPECT_TRUE(logged(report)) << log();
}

TEST_F(OneWayRows, DumpOfAPatientLeavesOutTheLock)
{
    source().execute(L"insert into patient (unid, full_name, lock_f, mod_date) values (5, 'Kaja', 1, '" +
                     std::wstring(kOld) + L"')");
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = L"patient"}), (Counters{.conflict = 1, .error = 1}));
    EXPECT_TRUE(logged(L"\r\nactive_f            True\r\nmod_date            "));
    EXPECT_TRUE(
        destination().rows(L"select field_name from replication_conflict_data where field_name = 'lock_f'").empty());
    EXPECT_THAT(conflicts(), ElementsAre(L"patient|5|<Null>|2|Kaja (5)"));
}

class DependentRows : public PracticePair
{
protected:
    const TablePlan kOptions{
        .method = ONE_WAY_ALLOW_DELETES, .table = L"chart_option", .dependentTable = L"Chart_Option_Setting"};

    static void addOption(const PracticeSide& side, const std::wstring& modified)
    {
        side.execute(L"insert into chart_option (unid, option_name, mod_date) values ('" + std::wstring(kKey) +
                     L"', 'colour', '" + modified + L"')");
    }

    static void addSetting(const PracticeSide& side, const std::wstring& option, const std::wstring& name)
    {
        side.execute(L"insert into chart_option_setting (chart_option_id, setting_name) values ('" + option + L"', '" +
                     name + L"')");
    }

    static std::vector<std::wstring> settings(const PracticeSide& side)
    {
        return side.rows(L"select setting_name from chart_option_setting order by setting_name");
    }
};

TEST_F(DependentRows, ComeWithANewParent)
{
    addOption(source(), kNew);
    addSetting(source(), kKey, L"blue");
    addSetting(source(), kKey, L"green");
    addSetting(source(), kOtherKey, L"of another option");
    addSetting(destination(), kKey, L"stale");
    EXPECT_EQ(replicate(kOptions), (Counters{.destAdd = 1}));
    EXPECT_THAT(settings(destination()), ElementsAre(L"blue", L"green"));
    EXPECT_EQ(source().rows(L"select * from chart_option_setting where setting_name = 'blue'"),
              destination().rows(L"select * from chart_option_setting where setting_name = 'blue'"));
}

TEST_F(DependentRows, AreRewrittenWithAChangedParent)
{
    addOption(source(), kNew);
    addOption(destination(), kOld);
    addSetting(source(), kKey, L"blue");
    addSetting(destination(), kKey, L"stale");
    addSetting(destination(), kOtherKey, L"of another option");
    EXPECT_EQ(replicate(kOptions), (Counters{.destUpdate = 1}));
    EXPECT_THAT(settings(destination()), ElementsAre(L"blue", L"of another option"));
}

TEST_F(DependentRows, GoWithADeletedParent)
{
    addOption(destination(), kOld);
    addSetting(destination(), kKey, L"stale");
    EXPECT_EQ(replicate(kOptions), (Counters{.destDelete = 1}));
    EXPECT_THAT(settings(destination()), IsEmpty());
    EXPECT_EQ(destination().count(L"chart_option"), 0);
}

TEST_F(DependentRows, StayWithAnUnchangedParent)
{
    addOption(source(), kOld);
    addOption(destination(), kOld);
    addSetting(source(), kKey, L"blue");
    EXPECT_EQ(replicate(kOptions), Counters{});
    EXPECT_THAT(settings(destination()), IsEmpty());
}

TEST_F(DependentRows, OfAnyOtherTableAreLeft)
{
    addOption(source(), kNew);
    addSetting(source(), kKey, L"blue");
    EXPECT_EQ(replicate({.method = ONE_WAY_ALLOW_DELETES, .table = L"chart_option", .dependentTable = L"shortcut"}),
              (Counters{.destAdd = 1}));
    EXPECT_THAT(settings(destination()), IsEmpty());
}

} // namespace
