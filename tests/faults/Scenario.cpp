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
constexpr wchar_t kSourceShortcuts[] = LR"(
    insert into shortcut (unid, item_name, mod_date) values
        ('{1}', 'changed', '2025-03-11T09:15:00'), ('{2}', 'of source', '2025-03-12T10:45:00'),
        ('{3}', 'before', '2025-03-01T08:30:00'), ('{4}', 'new', '2025-03-11T09:15:00'),
        ('{5}', 'old', '2025-03-01T08:30:00');)";
constexpr wchar_t kDestinationShortcuts[] = LR"(
    insert into shortcut (unid, item_name, mod_date) values
        ('{1}', 'before', '2025-03-01T08:30:00'), ('{2}', 'of destination', '2025-03-11T09:15:00'),
        ('{3}', 'changed', '2025-03-11T09:15:00'), ('{6}', 'new', '2025-03-11T09:15:00'),
        ('{7}', 'old', '2025-02-01T08:30:00');)";

// The same with a number for key.
constexpr wchar_t kSourceUsers[] = LR"(
    insert into users (unid, user_name, mod_date) values
        (1, 'changed', '2025-03-11T09:15:00'), (2, 'of source', '2025-03-12T10:45:00'),
        (3, 'before', '2025-03-01T08:30:00'), (4, 'new', '2025-03-11T09:15:00'), (5, 'old', '2025-03-01T08:30:00');)";
constexpr wchar_t kDestinationUsers[] = LR"(
    insert into users (unid, user_name, mod_date) values
        (1, 'before', '2025-03-01T08:30:00'), (2, 'of destination', '2025-03-11T09:15:00'),
        (3, 'changed', '2025-03-11T09:15:00'), (6, 'new', '2025-03-11T09:15:00'), (7, 'old', '2025-02-01T08:30:00');)";

// The same with dependent rows.
constexpr wchar_t kSourceOptions[] = LR"(
    insert into chart_option (unid, option_name, mod_date) values
        ('{1}', 'changed', '2025-03-11T09:15:00'), ('{2}', 'of source', '2025-03-12T10:45:00'),
        ('{3}', 'before', '2025-03-01T08:30:00'), ('{4}', 'new', '2025-03-11T09:15:00'),
        ('{5}', 'old', '2025-03-01T08:30:00');
    insert into chart_option_setting (unid, chart_option_id, setting_name, mod_date) values
        ('{a}', '{1}', 'red', '2025-03-11T09:15:00'), ('{b}', '{1}', 'blue', '2025-03-11T09:15:00'),
        ('{c}', '{4}', 'green', '2025-03-11T09:15:00');)";
constexpr wchar_t kDestinationOptions[] = LR"(
    insert into chart_option (unid, option_name, mod_date) values
        ('{1}', 'before', '2025-03-01T08:30:00'), ('{2}', 'of destination', '2025-03-11T09:15:00'),
        ('{3}', 'changed', '2025-03-11T09:15:00'), ('{6}', 'new', '2025-03-11T09:15:00'),
        ('{7}', 'old', '2025-02-01T08:30:00');
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

constexpr wchar_t kOneWay[] = L"clsReplicateTable.replicateOneWay";
constexpr wchar_t kByKey[] = L"clsReplicateTable.replicateOneWayWithPKField";

/// Of the offices.
std::vector<Scenario> ofBothSites()
{
    const std::wstring shortcuts[] = {sql(kSourceShortcuts), sql(kDestinationShortcuts)};
    const auto ofShortcuts = [&](const wchar_t* name, enumReplicationMethod method, const wchar_t* routine) {
        return Scenario{name, OFFICES, method, L"shortcut", {L"shortcut"}, shortcuts[0], shortcuts[1], routine};
    };
    std::vector<Scenario> all = {{L"full copy",
                                  OFFICES,
                                  ONE_WAY_DELETE_ALL,
                                  L"config",
                                  {L"config"},
                                  sql(kSourceConfig),
                                  sql(kDestinationConfig)},
                                 ofShortcuts(L"one way", ONE_WAY, kOneWay),
                                 {L"one way with deletes",
                                  OFFICES,
                                  ONE_WAY_ALLOW_DELETES,
                                  L"chart_option",
                                  {L"chart_option", L"chart_option_setting"},
                                  sql(kSourceOptions),
                                  sql(kDestinationOptions),
                                  kOneWay,
                                  L"chart_option_setting"},
                                 ofShortcuts(L"two way", TWO_WAY, L""),
                                 ofShortcuts(L"two way without deletes", TWO_WAY_NO_DELETES, L""),
                                 {L"computer types",
                                  OFFICES,
                                  COMPUTER_TYPE,
                                  L"computer_type",
                                  {L"computer_type", L"computer_type_setting"},
                                  sql(kSourceTypes),
                                  sql(kDestinationTypes)},
                                 {L"by key field",
                                  OFFICES,
                                  ONE_WAY_WITH_PK_FIELD,
                                  L"users",
                                  {L"users"},
                                  kSourceUsers,
                                  kDestinationUsers,
                                  kByKey,
                                  L"",
                                  L"unid",
                                  DELETE_WITH_UPDATES},
                                 {L"without key field",
                                  OFFICES,
                                  ONE_WAY_WITH_PK_FIELD,
                                  L"users",
                                  {L"users"},
                                  kSourceUsers,
                                  kDestinationUsers,
                                  kByKey,
                                  L"",
                                  L"",
                                  DELETE_WITH_UPDATES},
                                 ofShortcuts(L"whole life", ONE_WAY, kOneWay)};
    all.back().wholeLife = true;
    return all;
}

} // namespace

std::vector<Scenario> scenarios()
{
    std::vector<Scenario> all = ofBothSites();
    for (Scenario scenario : ofBothSites()) {
        scenario.site = LAPTOP;
        all.push_back(std::move(scenario));
    }
    all.push_back({L"companies by key field",
                   OFFICES,
                   ONE_WAY_WITH_PK_FIELD,
                   L"dentist_company",
                   {L"dentist_company", L"chart_comment_info"},
                   sql(kSourceCompanies),
                   sql(kDestinationCompanies),
                   kByKey,
                   L"",
                   L"dc_id",
                   DELETE_WITH_UPDATES});
    for (Scenario& scenario : all)
        scenario.name += scenario.site == OFFICES ? L" at the offices" : L" at the laptop";
    return all;
}
