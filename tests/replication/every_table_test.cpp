#include "support/PracticePair.h"

#include <gmock/gmock.h>

namespace {

constexpr wchar_t kOwnKey[] = L"{0F8FAD5B-D9CB-469F-A165-70867728950E}";
constexpr wchar_t kKeyOfOther[] = L"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}";

/// A row of a table that is replicated: every column but mod_date, with K for its own key and O for the key of another
/// row; the patient id of its conflict (0 with a GUID), and what that says about it. Without a description it cannot
/// be in conflict.
struct SampleRow
{
    std::wstring table;
    const wchar_t* columns;
    const wchar_t* values;
    long patientId = 0;
    std::wstring description = {};
};

const std::vector<SampleRow> kSampleRows = {
    {L"patient",
     L"unid, full_name, first_name, last_name, sex, birth_date, file_no, city, phone, dc_id, dentist_id,"
     L" recall_months, balance, risk_score, household_id, remarks, active_f",
     L"6, 'Brandt, Jörn', 'Jörn', 'Brandt', 'M', '1984-02-29T00:00:00', 'P6', 'Müllheim €5', null, null, null,"
     L" -6, -1234.5678, 0.1, K, 'Doesn''t like ''waiting''', 0",
     6, L"Brandt, Jörn (6)"},
    {L"dentist_company", L"unid, dc_id, company_name, address1, city, phone, monthly_fee, contract_f",
     L"K, 3, 'Müller & Søn', 'Cooper''s Yard 1', 'Île', '555', 1234.5678, 1"},
    {L"dentist", L"unid, dc_id, dentist_id, title, first_name, last_name, address1, city, phone, commission, active_f",
     L"K, 1, 2, 'Dr.', 'Renée', 'D''Amberley', 'Cooper''s Yard 2', 'Lowmarsh', '555-0201', 12.125, 0", 0,
     L"Dr. Renée D'Amberley (Cooper's Yard 2)"},
    {L"specialist", L"unid, title, first_name, last_name, specialty, address1, phone",
     L"K, 'Dr.', 'Zoë', 'Vaucelle', 'Endodontics', 'Elm Court', '555'", 0, L"Dr. Zoë Vaucelle (Elm Court)"},
    {L"patient_dates", L"unid, patient_id, date_type, event_date, remarks",
     L"2147483647, 5, 'recall', '1999-12-31T00:00:00', '100 % [sure] _ ''quoted'''", 2147483647,
     L"O'Brannick, Zoë (5)"},
    {L"patient_spec_xref", L"unid, patient_id, spec_id, referral_date", L"K, 5, O, '2024-02-29T12:00:00'", 0,
     L"O'Brannick, Zoë (5) / Dr. Kaja Ellinor"},
    {L"users", L"unid, user_name, initials, access_level, active_f", L"1, 'Gesa', 'GR', -32768, 0", 1, L"Gesa"},
    {L"procs", L"unid, proc_name, proc_code, fee, duration_min", L"9, 'Crown ½', 'C1', -0.0001, 32767", 9, L"Crown ½"},
    {L"procs_letter", L"unid, proc_id, letter_type, letter_name, delay_days", L"9, 4, 'before', 'How to prepare', 0", 9,
     L"4.before.How to prepare"},
    {L"chart_hdr", L"unid, patient_id, opened_date, status, lock_f", L"K, 5, '2020-01-01T08:00:01', 3, 1", 0,
     L"O'Brannick, Zoë (5)"},
    {L"chart_item", L"unid, chart_hdr_id, patient_id, proc_id, tooth, surface, treatment_date, fee, hours, completed_f",
     L"K, O, 5, 4, 18, 'MOD', '2025-01-02T15:45:00', 922337203685.4775, 0.1, 1", 0, L"O'Brannick, Zoë date: "},
    {L"chart_comment_info", L"unid, dc_id, comment_text", L"O, null, 'two'", 0, L"O'Brannick, Zoë date: "},
    {L"ada_code", L"unid, ada_code, ada_code_desc, fee", L"K, 'D0120', 'It''s €5; -- no comment /* here */', 5", 0,
     L"D0120: It's €5; -- no comment /* here */"},
    {L"chair_type", L"unid, chair_type_name, chairs, hourly_cost", L"2, 'Siège', 4, 99.99", 2, L"Siège"},
    {L"shortcut", L"unid, item_name, item_text", L"K, 'select', 'select * from users; delete'", 0, L"select"},
    {L"combo_values", L"unid, combo_name, combo_value, sort_order", L"K, 'surface', 'm?d', -1", 0, L"surface.m?d"},
    {L"config", L"unid, category, config_name, config_value", L"K, 'run', 'path', 'C:\\chart\\%1'", 0, L"run.path"},
    {L"chart_option", L"unid, option_name, option_group, sort_order, enabled_f", L"K, '  blanks  ', 'G', 1, 0", 0,
     L"  blanks  "},
    {L"chart_option_setting", L"unid, chart_option_id, setting_name, setting_value, weight",
     L"K, O, 'size', null, -1.5e-7"},
    {L"computer_type", L"unid, type_name, screen_width", L"K, 'reception', 1024"},
};

/// The letters K and O, where they stand for a value.
std::wstring withKeys(std::wstring values)
{
    for (const auto& [letter, key] : {std::pair(L'K', kOwnKey), std::pair(L'O', kKeyOfOther)}) {
        const std::wstring value = L"'" + std::wstring(key) + L"'";
        for (size_t at = 0; at + 1 < values.size(); ++at)
            if (values[at] == letter && values[at + 1] == L',' &&
                (at == 0 || values[at - 1] == L' ' || values[at - 1] == L'('))
                values.replace(at, 1, value);
    }
    return values;
}

class EveryTable : public PracticePair
{
protected:
    static void addRows(const PracticeSide& side, const wchar_t* modified)
    {
        for (const SampleRow& row : kSampleRows)
            side.execute(L"insert into " + row.table + L" (" + row.columns + L", mod_date) values (" +
                         withKeys(row.values) + L", '" + modified + L"')");
    }

    /// Rows of both sides that descriptions refer to.
    void addReferredRows()
    {
        for (const PracticeSide* side : {&source(), &destination()})
            side->execute(withKeys(L"insert into patient (unid, full_name, mod_date) values (5, 'O''Brannick, Zoë', "
                                   L"'2025-03-01'); insert into chart_hdr (unid, patient_id, mod_date) values (O, 5, "
                                   L"'2025-03-01'); insert into specialist (unid, title, first_name, last_name, "
                                   L"mod_date) values (O, 'Dr.', 'Kaja', 'Ellinor', '2025-03-01'); insert into "
                                   L"chart_item (unid, chart_hdr_id, patient_id, treatment_date, mod_date) values (O, "
                                   L"O, 5, '2025-01-02T15:45:00', '2025-03-01')"));
    }

    /// Runs over all tables, each of which counts this, and leaves both sides with the same number of rows.
    void expectOfEach(enumReplicationMethod method, const TableCounters& counters, long rows)
    {
        std::vector<TablePlan> plans;
        for (const SampleRow& row : kSampleRows)
            plans.push_back({.method = method, .table = row.table});
        const std::vector<TableCounters> found = replicate(plans);
        for (size_t index = 0; index < kSampleRows.size(); ++index) {
            const std::wstring& table = kSampleRows[index].table;
            EXPECT_EQ(found[index], counters) << table;
            const std::vector<std::wstring> left = destination().rows(L"select * from " + table);
            EXPECT_EQ(left, source().rows(L"select * from " + table));
            EXPECT_EQ(static_cast<long>(left.size()), rows) << table;
        }
        EXPECT_EQ(recordedError(), L"none");
    }
};

TEST_F(EveryTable, HasItsNewRowsArriveAsTheyAre)
{
    addRows(source(), kNew);
    expectOfEach(ONE_WAY, {.destAdd = 1}, 1);
    restoreControl();
    expectOfEach(ONE_WAY, {}, 1);
}

TEST_F(EveryTable, HasItsChangedRowsArriveAsTheyAre)
{
    addRows(source(), kNew);
    addRows(destination(), kOlder);
    expectOfEach(ONE_WAY, {.destUpdate = 1}, 1);
}

TEST_F(EveryTable, HasItsOldRowsGoWithTheSources)
{
    addRows(destination(), kOlder);
    expectOfEach(ONE_WAY_ALLOW_DELETES, {.destDelete = 1}, 0);
}

TEST_F(EveryTable, HasItsRowsArriveFromTheDestinationToo)
{
    addRows(destination(), kNew);
    expectOfEach(TWO_WAY, {}, 1);
}

TEST_F(EveryTable, HasItsConflictsSayWhichRowTheyMean)
{
    addReferredRows();
    addRows(destination(), kNew);
    // Each server has a way of its own to write a date.
    const std::wstring date = local().row(L"select cast(treatment_date as varchar(12)) from chart_item");
    EXPECT_THAT(date, testing::HasSubstr(L"2025"));
    std::vector<TablePlan> plans;
    std::vector<std::wstring> expected;
    for (const SampleRow& row : kSampleRows)
        if (!row.description.empty()) {
            plans.push_back({.method = ONE_WAY, .table = row.table});
            const std::wstring guid = row.table == L"chart_comment_info" ? kKeyOfOther : kOwnKey;
            expected.push_back(row.table + L"|" + std::to_wstring(row.patientId) + L"|" +
                               (row.patientId != 0 ? L"<Null>" : guid) + L"|3|" + row.description +
                               (row.description.ends_with(L"date: ") ? date : L""));
        }
    for (const TableCounters& counters : replicate(plans))
        EXPECT_EQ(counters, (TableCounters{.conflict = 1, .error = 1}));
    EXPECT_THAT(conflicts(), testing::UnorderedElementsAreArray(expected));
}

} // namespace
