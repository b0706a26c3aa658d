#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

constexpr wchar_t kGuid[] = L"{0F8FAD5B-D9CB-469F-A165-70867728950E}";

/// A table, the statements that give the destination a new row of it (and what its description needs), and what the
/// conflict says about the row. K is the row's GUID, O another one, N a date since the last run.
struct Described
{
    const wchar_t* table;
    std::vector<std::wstring> rows;
    const wchar_t* key;
    const wchar_t* description;
};

void PrintTo(const Described& described, std::ostream* stream)
{
    *stream << testing::PrintToString(described.table);
}

const std::wstring kPatient = L"insert into patient (unid, full_name) values (5, 'O''Brannick, Zoë')";
const std::wstring kItem = L"insert into chart_item (unid, chart_hdr_id, patient_id, treatment_date, mod_date) values"
                           L" (K, O, 5, '2025-01-02T15:45:00', N)";
const std::wstring kSpecialist = L"insert into specialist (unid, title, first_name, last_name, mod_date) values"
                                 L" (K, 'Dr.', 'Renée', 'Vaucelle', N)";

const std::vector<Described> kDescribed = {
    {L"patient",
     {L"insert into patient (unid, full_name, mod_date) values (5, 'O''Brannick, Zoë', N)"},
     L"5|<Null>",
     L"O'Brannick, Zoë (5)"},
    {L"dentist",
     {L"insert into dentist (unid, dc_id, dentist_id, title, first_name, last_name, address1, mod_date) values"
      L" (K, 1, 1, 'Dr.', 'Kaja', 'D''Amberley', 'Cooper''s Yard 2', N)"},
     nullptr,
     L"Dr. Kaja D'Amberley (Cooper's Yard 2)"},
    {L"specialist", {kSpecialist}, nullptr, L"Dr. Renée Vaucelle"},
    {L"chart_hdr",
     {kPatient, L"insert into chart_hdr (unid, patient_id, mod_date) values (K, 5, N)"},
     nullptr,
     L"O'Brannick, Zoë (5)"},
    {L"chart_item", {kPatient, kItem}, nullptr, L"O'Brannick, Zoë date: @"},
    {L"chart_comment_info",
     {kPatient, kItem, L"insert into chart_hdr (unid, patient_id) values (O, 5)",
      L"insert into chart_comment_info (unid, comment_text, mod_date) values (K, 'note', N)"},
     nullptr,
     L"O'Brannick, Zoë date: @"},
    {L"users", {L"insert into users (unid, user_name, mod_date) values (7, 'Gesa', N)"}, L"7|<Null>", L"Gesa"},
    {L"procs", {L"insert into procs (unid, proc_name, mod_date) values (7, 'Crown', N)"}, L"7|<Null>", L"Crown"},
    {L"chair_type",
     {L"insert into chair_type (unid, chair_type_name, mod_date) values (7, 'Siège', N)"},
     L"7|<Null>",
     L"Siège"},
    {L"shortcut", {L"insert into shortcut (unid, item_name, mod_date) values (K, 'recall', N)"}, nullptr, L"recall"},
    {L"combo_values",
     {L"insert into combo_values (unid, combo_name, combo_value, mod_date) values (K, 'surface', 'MOD', N)"},
     nullptr,
     L"surface.MOD"},
    {L"config",
     {L"insert into config (unid, category, config_name, mod_date) values (K, 'run', 'path', N)"},
     nullptr,
     L"run.path"},
    {L"procs_letter",
     {L"insert into procs_letter (unid, proc_id, letter_type, letter_name, mod_date) values (7, 4, 'before', 'Plan', "
      L"N)"},
     L"7|<Null>",
     L"4.before.Plan"},
    {L"patient_spec_xref",
     {kPatient, L"insert into specialist (unid, title, first_name, last_name) values (O, 'Dr.', 'Renée', 'Vaucelle')",
      L"insert into patient_spec_xref (unid, patient_id, spec_id, mod_date) values (K, 5, O, N)"},
     nullptr,
     L"O'Brannick, Zoë (5) / Dr. Renée Vaucelle"},
    {L"chart_option",
     {L"insert into chart_option (unid, option_name, mod_date) values (K, 'colour', N)"},
     nullptr,
     L"colour"},
    {L"patient_dates",
     {kPatient, L"insert into patient_dates (unid, patient_id, date_type, mod_date) values (7, 5, 'recall', N)"},
     L"7|<Null>",
     L"O'Brannick, Zoë (5)"},
    {L"ada_code",
     {L"insert into ada_code (unid, ada_code, ada_code_desc, mod_date) values (K, 'D0120', 'Exam', N)"},
     nullptr,
     L"D0120: Exam"},
};

std::wstring withValue(std::wstring sql, const std::wstring& place, const std::wstring& value)
{
    for (const std::wstring& context : {L"(" + place + L",", L", " + place + L",", L", " + place + L")"}) {
        const size_t found = sql.find(context);
        if (found != std::wstring::npos)
            sql.replace(found + context.size() - 1 - place.size(), place.size(), L"'" + value + L"'");
    }
    return sql;
}

class KeyDescription : public PracticePair, public testing::WithParamInterface<Described>
{
protected:
    void addRows()
    {
        for (const std::wstring& row : GetParam().rows)
            destination().execute(withValue(
                withValue(withValue(row, L"K", kGuid), L"O", L"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}"), L"N", kNew));
    }

    /// The database's own short form of the treatment date stands for @.
    static std::wstring description()
    {
        std::wstring text = GetParam().description;
        if (const size_t date = text.find(L'@'); date != std::wstring::npos)
            text.replace(date, 1, isPostgreSql() ? L"2025-01-02 1" : L"Jan  2 2025 ");
        return text;
    }
};

INSTANTIATE_TEST_SUITE_P(Tables, KeyDescription, testing::ValuesIn(kDescribed),
                         [](const testing::TestParamInfo<Described>& info) {
                             const std::wstring name = info.param.table;
                             return std::string(name.begin(), name.end());
                         });

TEST_P(KeyDescription, OfAConflictSaysWhatTheRowIs)
{
    addRows();
    EXPECT_EQ(replicate({.method = ONE_WAY, .table = GetParam().table}), (Counters{.conflict = 1, .error = 1}));
    const std::wstring key = GetParam().key ? GetParam().key : L"0|" + std::wstring(kGuid);
    EXPECT_THAT(conflicts(), ElementsAre(std::wstring(GetParam().table) + L"|" + key + L"|3|" + description()));
}

} // namespace
