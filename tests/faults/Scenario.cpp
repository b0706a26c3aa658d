#include "Scenario.h"

namespace {

constexpr wchar_t kOlder[] = L"2025-02-01T08:30:00";
constexpr wchar_t kOld[] = L"2025-03-01T08:30:00";
constexpr wchar_t kNew[] = L"2025-03-11T09:15:00";
constexpr wchar_t kNewer[] = L"2025-03-12T10:45:00";

/// A row of the case `kind` in a table whose key is a GUID or a number, with a name.
struct RowForm
{
    const wchar_t* insert;
    bool isGuid;
};

constexpr RowForm kShortcut{L"insert into shortcut (unid, item_name, mod_date) values ", true};
constexpr RowForm kOption{L"insert into chart_option (unid, option_name, mod_date) values ", true};
constexpr RowForm kUser{L"insert into users (unid, user_name, mod_date) values ", false};

std::wstring key(const RowForm& form, int number)
{
    const std::wstring digit = std::to_wstring(number);
    return form.isGuid ? L"'{0000000" + digit + L"-0000-4000-8000-000000000000}'" : digit;
}

std::wstring row(const RowForm& form, int number, const std::wstring& name, const std::wstring& modified)
{
    return form.insert + (L"(" + key(form, number)) + L", '" + name + L"', '" + modified + L"');";
}

/// 1 changed in the source, 2 on both sides, 3 in the destination; 4 new and 5 old in the source alone; 6 new and 7 old
/// in the destination alone.
std::wstring sourceRows(const RowForm& form)
{
    return row(form, 1, L"changed", kNew) + row(form, 2, L"of source", kNewer) + row(form, 3, L"before", kOld) +
           row(form, 4, L"new", kNew) + row(form, 5, L"old", kOld);
}

std::wstring destinationRows(const RowForm& form)
{
    return row(form, 1, L"before", kOld) + row(form, 2, L"of destination", kNew) + row(form, 3, L"changed", kNew) +
           row(form, 6, L"new", kNew) + row(form, 7, L"old", kOlder);
}

std::wstring settingsOf(int number, const std::wstring& name)
{
    return L"insert into chart_option_setting (unid, chart_option_id, setting_name, mod_date) values ('{0000000" +
           std::to_wstring(number) + L"-0000-4000-8000-00000000000" + std::to_wstring(name.size() % 10) + L"}', " +
           key(kOption, number) + L", '" + name + L"', '" + kNew + L"');";
}

std::wstring company(int number, const std::wstring& name, const std::wstring& modified)
{
    return L"insert into dentist_company (unid, dc_id, company_name, mod_date) values ('{0000000" +
           std::to_wstring(number) + L"-0000-4000-8000-00000000000c}', " + std::to_wstring(number) + L", '" + name +
           L"', '" + modified + L"');";
}

constexpr wchar_t kComment[] = L"insert into chart_comment_info (unid, dc_id, comment_text, mod_date) values"
                               L" ('{00000007-0000-4000-8000-00000000000d}', 7, 'of 7', '2025-03-01T08:30:00');";

std::wstring configRow(const std::wstring& digit, const std::wstring& name)
{
    return L"insert into config (unid, category, config_name, mod_date) values ('{0000000" + digit +
           L"-0000-4000-8000-00000000000e}', 'run', '" + name + L"', '" + kNew + L"');";
}

std::wstring computerType(const std::wstring& digit, const std::wstring& name)
{
    const std::wstring id = L"'{0000000" + digit + L"-0000-4000-8000-00000000000f}', ";
    return L"insert into computer_type (unid, type_name, mod_date) values (" + id + L"'" + name + L"', '" + kNew +
           L"'); insert into computer_type_setting (unid, computer_type_id, setting_name, mod_date) values (" + id +
           id + L"'colours', '" + kNew + L"');";
}

Scenario rowsOf(const wchar_t* name, enumReplicationUniqueId site, enumReplicationMethod method, const wchar_t* table,
                const RowForm& form)
{
    Scenario scenario;
    scenario.name = name;
    scenario.site = site;
    scenario.method = method;
    scenario.table = table;
    scenario.tables = {table};
    scenario.sourceRows = sourceRows(form);
    scenario.destinationRows = destinationRows(form);
    return scenario;
}

Scenario withDependents(enumReplicationUniqueId site)
{
    Scenario scenario = rowsOf(L"one way with deletes", site, ONE_WAY_ALLOW_DELETES, L"chart_option", kOption);
    scenario.dependentTable = L"chart_option_setting";
    scenario.tables.push_back(scenario.dependentTable);
    scenario.sourceRows += settingsOf(1, L"red") + settingsOf(1, L"blue") + settingsOf(4, L"green");
    scenario.destinationRows += settingsOf(1, L"black") + settingsOf(7, L"white");
    return scenario;
}

Scenario byKey(enumReplicationUniqueId site)
{
    Scenario scenario = rowsOf(L"by key field", site, ONE_WAY_WITH_PK_FIELD, L"users", kUser);
    scenario.keyField = L"unid";
    scenario.deletes = DELETE_WITH_UPDATES;
    return scenario;
}

Scenario companiesByKey()
{
    Scenario scenario = rowsOf(L"companies by key field", OFFICES, ONE_WAY_WITH_PK_FIELD, L"dentist_company", kUser);
    scenario.keyField = L"dc_id";
    scenario.deletes = DELETE_WITH_UPDATES;
    scenario.tables.push_back(L"chart_comment_info");
    scenario.sourceRows = company(1, L"changed", kNew) + company(4, L"new", kNew);
    scenario.destinationRows = company(1, L"before", kOld) + company(7, L"gone", kOld) + kComment;
    return scenario;
}

Scenario withoutKey(enumReplicationUniqueId site)
{
    Scenario scenario = byKey(site);
    scenario.name = L"without key field";
    scenario.keyField.clear();
    return scenario;
}

Scenario fullCopy(enumReplicationUniqueId site)
{
    Scenario scenario = rowsOf(L"full copy", site, ONE_WAY_DELETE_ALL, L"config", kUser);
    scenario.sourceRows = configRow(L"1", L"one") + configRow(L"2", L"two");
    scenario.destinationRows = configRow(L"2", L"stale") + configRow(L"3", L"gone");
    return scenario;
}

Scenario computerTypes(enumReplicationUniqueId site)
{
    Scenario scenario = rowsOf(L"computer types", site, COMPUTER_TYPE, L"computer_type", kUser);
    scenario.tables.push_back(L"computer_type_setting");
    scenario.sourceRows = computerType(L"1", L"desk") + computerType(L"2", L"chair");
    scenario.destinationRows = computerType(L"2", L"stale") + computerType(L"3", L"gone");
    return scenario;
}

Scenario wholeLife(enumReplicationUniqueId site)
{
    Scenario scenario = rowsOf(L"whole life", site, ONE_WAY, L"shortcut", kShortcut);
    scenario.wholeLife = true;
    return scenario;
}

} // namespace

std::wstring Scenario::routine() const
{
    switch (method) {
    case ONE_WAY:
    case ONE_WAY_ALLOW_DELETES:
        return L"clsReplicateTable.replicateOneWay";
    case ONE_WAY_WITH_PK_FIELD:
        return L"clsReplicateTable.replicateOneWayWithPKField";
    default:
        return {};
    }
}

std::vector<Scenario> scenarios()
{
    std::vector<Scenario> all;
    for (const enumReplicationUniqueId site : {OFFICES, LAPTOP}) {
        all.push_back(fullCopy(site));
        all.push_back(rowsOf(L"one way", site, ONE_WAY, L"shortcut", kShortcut));
        all.push_back(withDependents(site));
        all.push_back(rowsOf(L"two way", site, TWO_WAY, L"shortcut", kShortcut));
        all.push_back(rowsOf(L"two way without deletes", site, TWO_WAY_NO_DELETES, L"shortcut", kShortcut));
        all.push_back(computerTypes(site));
        all.push_back(byKey(site));
        all.push_back(withoutKey(site));
        all.push_back(wholeLife(site));
    }
    all.push_back(companiesByKey());
    for (Scenario& scenario : all)
        scenario.name += scenario.site == OFFICES ? L" at the offices" : L" at the laptop";
    return all;
}
