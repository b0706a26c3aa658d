#include "Scenario.h"

namespace {

/// A statement, in which "{1}" stands for a GUID.
std::wstring sql(const wchar_t* text)
{
    std::wstring result;
    for (; *text; ++text) {
        result += *text;
        if (*text == L'{')
            result += L"0000000";
        if (text[0] != L'{' && text[1] == L'}')
            result += L"-0000-4000-8000-000000000000";
    }
    return result;
}

// 1 changed in the source, 2 on both sides, 3 in the destination; 4 new and 5 old in the source alone; 6 new and 7 old
// in the destination alone.
constexpr wchar_t kSource[] = LR"(
    ('{1}', 'changed', '2025-03-11T09:15:00'), ('{2}', 'of source', '2025-03-12T10:45:00'),
    ('{3}', 'before', '2025-03-01T08:30:00'), ('{4}', 'new', '2025-03-11T09:15:00'),
    ('{5}', 'old', '2025-03-01T08:30:00');)";
constexpr wchar_t kDestination[] = LR"(
    ('{1}', 'before', '2025-03-01T08:30:00'), ('{2}', 'of destination', '2025-03-11T09:15:00'),
    ('{3}', 'changed', '2025-03-11T09:15:00'), ('{6}', 'new', '2025-03-11T09:15:00'),
    ('{7}', 'old', '2025-02-01T08:30:00');)";

// Rows that depend on them.
constexpr wchar_t kSourceDependents[] = LR"(
    insert into chart_option_setting (unid, chart_option_id, setting_name, mod_date) values
        ('{a}', '{1}', 'red', '2025-03-11T09:15:00'), ('{b}', '{1}', 'blue', '2025-03-11T09:15:00'),
        ('{c}', '{4}', 'green', '2025-03-11T09:15:00');)";
constexpr wchar_t kDestinationDependents[] = LR"(
    insert into chart_option_setting (unid, chart_option_id, setting_name, mod_date) values
        ('{d}', '{1}', 'black', '2025-03-11T09:15:00'), ('{e}', '{7}', 'white', '2025-03-11T09:15:00');)";

constexpr wchar_t kSourceCompanies[] = LR"(
    insert into dentist_company (unid, dc_id, company_name, mod_date) values
        ('{1}', 1, 'changed', '2025-03-11T09:15:00'), ('{4}', 4, 'new', '2025-03-11T09:15:00');)";
constexpr wchar_t kDestinationCompanies[] = LR"(
    insert into dentist_company (unid, dc_id, company_name, mod_date) values
        ('{1}', 1, 'before', '2025-03-01T08:30:00'), ('{7}', 7, 'gone', '2025-03-01T08:30:00');
    insert into chart_comment_info (unid, dc_id, comment_text, mod_date) values
        ('{7}', 7, 'of 7', '2025-03-01T08:30:00');)";

constexpr wchar_t kSourceConfig[] = LR"(
    insert into config (unid, category, config_name, mod_date) values
        ('{1}', 'run', 'one', '2025-03-11T09:15:00'), ('{2}', 'run', 'two', '2025-03-11T09:15:00');)";
constexpr wchar_t kDestinationConfig[] = LR"(
    insert into config (unid, category, config_name, mod_date) values
        ('{2}', 'run', 'stale', '2025-03-11T09:15:00'), ('{3}', 'run', 'gone', '2025-03-11T09:15:00');)";

constexpr wchar_t kSourceTypes[] = LR"(
    insert into computer_type (unid, type_name, mod_date) values
        ('{1}', 'desk', '2025-03-11T09:15:00'), ('{2}', 'chair', '2025-03-11T09:15:00');
    insert into computer_type_setting (unid, computer_type_id, setting_name, mod_date) values
        ('{1}', '{1}', 'colours', '2025-03-11T09:15:00'), ('{2}', '{2}', 'colours', '2025-03-11T09:15:00');)";
constexpr wchar_t kDestinationTypes[] = LR"(
    insert into computer_type (unid, type_name, mod_date) values
        ('{2}', 'stale', '2025-03-11T09:15:00'), ('{3}', 'gone', '2025-03-11T09:15:00');
    insert into computer_type_setting (unid, computer_type_id, setting_name, mod_date) values
        ('{2}', '{2}', 'colours', '2025-03-11T09:15:00'), ('{3}', '{3}', 'colours', '2025-03-11T09:15:00');)";

/// Those rows in a table, which has a GUID for key, or a number.
Scenario changes(const wchar_t* name, enumReplicationMethod method, const std::wstring& table, const wchar_t* column,
                 bool byNumber = false)
{
    const auto insertion = [&](std::wstring rows) {
        if (byNumber)
            std::erase_if(rows, [](wchar_t character) { return character == L'{' || character == L'}'; });
        return L"insert into " + table + L" (unid, " + column + L", mod_date) values " + sql(rows.c_str());
    };
    return {.name = name,
            .method = method,
            .table = table,
            .sourceRows = insertion(kSource),
            .destinationRows = insertion(kDestination)};
}

Scenario shortcuts(const wchar_t* name, enumReplicationMethod method)
{
    return changes(name, method, L"shortcut", L"item_name");
}

Scenario withDependents()
{
    Scenario scenario = changes(L"one way with deletes", ONE_WAY_ALLOW_DELETES, L"chart_option", L"option_name");
    scenario.sourceRows += sql(kSourceDependents);
    scenario.destinationRows += sql(kDestinationDependents);
    scenario.dependentTable = L"chart_option_setting";
    scenario.tables = {scenario.dependentTable};
    return scenario;
}

Scenario users(const wchar_t* name, const wchar_t* keyField)
{
    Scenario scenario = changes(name, ONE_WAY_WITH_PK_FIELD, L"users", L"user_name", true);
    scenario.keyField = keyField;
    scenario.deletes = DELETE_WITH_UPDATES;
    return scenario;
}

Scenario wholeLife()
{
    Scenario scenario = shortcuts(L"whole life", ONE_WAY);
    scenario.wholeLife = true;
    return scenario;
}

} // namespace

std::vector<Scenario> scenarios()
{
    const std::vector<Scenario> ofBothSites = {{.name = L"full copy",
                                                .method = ONE_WAY_DELETE_ALL,
                                                .table = L"config",
                                                .sourceRows = sql(kSourceConfig),
                                                .destinationRows = sql(kDestinationConfig)},
                                               shortcuts(L"one way", ONE_WAY),
                                               withDependents(),
                                               shortcuts(L"two way", TWO_WAY),
                                               shortcuts(L"two way without deletes", TWO_WAY_NO_DELETES),
                                               {.name = L"computer types",
                                                .method = COMPUTER_TYPE,
                                                .table = L"computer_type",
                                                .sourceRows = sql(kSourceTypes),
                                                .destinationRows = sql(kDestinationTypes),
                                                .tables = {L"computer_type_setting"}},
                                               users(L"by key field", L"unid"),
                                               users(L"without key field", L""),
                                               wholeLife()};
    std::vector<Scenario> all = ofBothSites;
    for (Scenario scenario : ofBothSites) {
        scenario.site = LAPTOP;
        all.push_back(std::move(scenario));
    }
    all.push_back({.name = L"companies by key field",
                   .method = ONE_WAY_WITH_PK_FIELD,
                   .table = L"dentist_company",
                   .sourceRows = sql(kSourceCompanies),
                   .destinationRows = sql(kDestinationCompanies),
                   .keyField = L"dc_id",
                   .deletes = DELETE_WITH_UPDATES,
                   .tables = {L"chart_comment_info"}});
    for (Scenario& scenario : all) {
        scenario.name += scenario.site == OFFICES ? L" at the offices" : L" at the laptop";
        scenario.tables.push_back(scenario.table);
    }
    return all;
}
