#include "Scenario.h"

#include <initializer_list>

namespace {

constexpr wchar_t kOlder[] = L"2025-02-01T08:30:00";
constexpr wchar_t kOld[] = L"2025-03-01T08:30:00";
constexpr wchar_t kNew[] = L"2025-03-11T09:15:00";
constexpr wchar_t kNewer[] = L"2025-03-12T10:45:00";

struct Row
{
    std::wstring key;
    std::wstring text;
    const wchar_t* modified = kNew;
};

std::wstring guid(const wchar_t* digit)
{
    return std::wstring(L"'{0000000") + digit + L"-0000-4000-8000-000000000000}'";
}

/// `columns` are those of the keys and the text.
std::wstring insert(const std::wstring& table, const std::wstring& columns, std::initializer_list<Row> rows)
{
    std::wstring values;
    for (const Row& row : rows)
        values += (values.empty() ? L"(" : L", (") + row.key + L", '" + row.text + L"', '" + row.modified + L"')";
    return L"insert into " + table + L" (" + columns + L", mod_date) values " + values + L";";
}

/// 1 changed in the source, 2 on both sides, 3 in the destination; 4 new and 5 old in the source alone; 6 new and 7 old
/// in the destination alone.
template <class Key>
Scenario rowsOf(const std::wstring& table, const std::wstring& textColumn, Key key)
{
    Scenario scenario{};
    scenario.table = table;
    scenario.tables = {table};
    scenario.sourceRows = insert(table, L"unid, " + textColumn,
                                 {{key(L"1"), L"changed", kNew},
                                  {key(L"2"), L"of source", kNewer},
                                  {key(L"3"), L"before", kOld},
                                  {key(L"4"), L"new", kNew},
                                  {key(L"5"), L"old", kOld}});
    scenario.destinationRows = insert(table, L"unid, " + textColumn,
                                      {{key(L"1"), L"before", kOld},
                                       {key(L"2"), L"of destination", kNew},
                                       {key(L"3"), L"changed", kNew},
                                       {key(L"6"), L"new", kNew},
                                       {key(L"7"), L"old", kOlder}});
    return scenario;
}

Scenario shortcuts(const wchar_t* name, enumReplicationMethod method)
{
    Scenario scenario = rowsOf(L"shortcut", L"item_name", guid);
    scenario.name = name;
    scenario.method = method;
    if (method == ONE_WAY)
        scenario.routine = L"clsReplicateTable.replicateOneWay";
    return scenario;
}

Scenario wholeLife()
{
    Scenario scenario = shortcuts(L"whole life", ONE_WAY);
    scenario.wholeLife = true;
    return scenario;
}

Scenario withDependents()
{
    const std::wstring settings = L"chart_option_setting";
    const std::wstring columns = L"unid, chart_option_id, setting_name";
    const auto key = [](const wchar_t* own, const wchar_t* parent) { return guid(own) + L", " + guid(parent); };
    Scenario scenario = rowsOf(L"chart_option", L"option_name", guid);
    scenario.name = L"one way with deletes";
    scenario.method = ONE_WAY_ALLOW_DELETES;
    scenario.routine = L"clsReplicateTable.replicateOneWay";
    scenario.dependentTable = settings;
    scenario.tables.push_back(settings);
    scenario.sourceRows +=
        insert(settings, columns, {{key(L"a", L"1"), L"red"}, {key(L"b", L"1"), L"blue"}, {key(L"c", L"4"), L"green"}});
    scenario.destinationRows += insert(settings, columns, {{key(L"d", L"1"), L"black"}, {key(L"e", L"7"), L"white"}});
    return scenario;
}

Scenario byKey(Scenario scenario, const wchar_t* name, const wchar_t* keyField)
{
    scenario.name = name;
    scenario.method = ONE_WAY_WITH_PK_FIELD;
    scenario.routine = L"clsReplicateTable.replicateOneWayWithPKField";
    scenario.keyField = keyField;
    scenario.deletes = DELETE_WITH_UPDATES;
    return scenario;
}

Scenario users()
{
    return rowsOf(L"users", L"user_name", [](const wchar_t* digit) { return std::wstring(digit); });
}

Scenario companies()
{
    const auto key = [](const wchar_t* digit) { return guid(digit) + L", " + digit; };
    const auto rows = [](const wchar_t* table, const wchar_t* text, std::initializer_list<Row> values) {
        return insert(table, std::wstring(L"unid, dc_id, ") + text, values);
    };
    Scenario scenario{};
    scenario.table = L"dentist_company";
    scenario.tables = {L"dentist_company", L"chart_comment_info"};
    scenario.sourceRows =
        rows(L"dentist_company", L"company_name", {{key(L"1"), L"changed", kNew}, {key(L"4"), L"new", kNew}});
    scenario.destinationRows =
        rows(L"dentist_company", L"company_name", {{key(L"1"), L"before", kOld}, {key(L"7"), L"gone", kOld}}) +
        rows(L"chart_comment_info", L"comment_text", {{key(L"7"), L"of 7", kOld}});
    return byKey(scenario, L"companies by key field", L"dc_id");
}

Scenario fullCopy()
{
    const std::wstring columns = L"category, unid, config_name";
    const auto key = [](const wchar_t* digit) { return L"'run', " + guid(digit); };
    Scenario scenario{L"full copy", {}, ONE_WAY_DELETE_ALL, L"config", {L"config"}, {}, {}};
    scenario.sourceRows = insert(L"config", columns, {{key(L"1"), L"one"}, {key(L"2"), L"two"}});
    scenario.destinationRows = insert(L"config", columns, {{key(L"2"), L"stale"}, {key(L"3"), L"gone"}});
    return scenario;
}

Scenario computerTypes()
{
    const auto rows = [](std::initializer_list<Row> types) {
        std::wstring text = insert(L"computer_type", L"unid, type_name", types);
        for (const Row& type : types)
            text += insert(L"computer_type_setting", L"unid, computer_type_id, setting_name",
                           {{type.key + L", " + type.key, L"colours"}});
        return text;
    };
    return {L"computer types",
            {},
            COMPUTER_TYPE,
            L"computer_type",
            {L"computer_type", L"computer_type_setting"},
            rows({{guid(L"1"), L"desk"}, {guid(L"2"), L"chair"}}),
            rows({{guid(L"2"), L"stale"}, {guid(L"3"), L"gone"}})};
}

} // namespace

std::vector<Scenario> scenarios()
{
    const Scenario atBothSites[] = {fullCopy(),
                                    shortcuts(L"one way", ONE_WAY),
                                    withDependents(),
                                    shortcuts(L"two way", TWO_WAY),
                                    shortcuts(L"two way without deletes", TWO_WAY_NO_DELETES),
                                    computerTypes(),
                                    byKey(users(), L"by key field", L"unid"),
                                    byKey(users(), L"without key field", L""),
                                    wholeLife()};
    std::vector<Scenario> all;
    const auto add = [&all](Scenario scenario, enumReplicationUniqueId site) {
        scenario.site = site;
        scenario.name += site == OFFICES ? L" at the offices" : L" at the laptop";
        all.push_back(std::move(scenario));
    };
    for (const Scenario& scenario : atBothSites)
        for (const enumReplicationUniqueId site : {OFFICES, LAPTOP})
            add(scenario, site);
    add(companies(), OFFICES);
    return all;
}
