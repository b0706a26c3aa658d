#include "PairState.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr const wchar_t* kSettings[] = {L"QUINMARK_OFFICE_DSN", L"QUINMARK_LAPTOP_DSN", L"QUINMARK_PASSWORD",
                                        L"QUINMARK_OFFICE_PREFIX", L"QUINMARK_LAPTOP_PREFIX"};

std::wstring joined(const std::vector<std::wstring>& tables)
{
    std::wstring list;
    for (const std::wstring& table : tables)
        list += (list.empty() ? L"" : L", ") + table;
    return list;
}

constexpr wchar_t kRestoreKey[] =
    L"do 'begin if not exists (select from pg_constraint where conname = ''fk_patient_dentist'' and connamespace ="
    L" current_schema()::text::regnamespace) then alter table patient add constraint FK_patient_dentist foreign key"
    L" (dc_id, dentist_id) references dentist (dc_id, dentist_id); end if; end';";

std::wstring controlRows()
{
    const std::wstring last = Pair::kLastRun;
    return L"delete from replication_control; insert into replication_control (unique_key, ready_f, error_f,"
           L" last_timestamp, next_timestamp) values (0, true, false, '" +
           last + L"', '" + last + L"'), (1, true, false, '" + last + L"', '" + last +
           L"'); delete from control; insert into control (type, id) values ('ReplicationVersion', '3.46'),"
           L" ('PatInfoVer', '12'), ('Version', '3.46'), ('DBOffice', 'Norvale');";
}

std::wstring linesQuery(const std::vector<std::wstring>& tables)
{
    const std::wstring last = L"'" + std::wstring(Pair::kLastRun) + L"'";
    std::wstring query = L"select line from (";
    for (const std::wstring& table : tables)
        query += L"select 'row " + table + L" ' || t::text as line from " + table + L" t union all ";
    query += L"select 'row control ' || unique_key || ' ready ' || ready_f || ' kept ' || (last_timestamp = " + last +
             L") || ' next kept ' || (next_timestamp = " + last +
             L") from replication_control union all select 'row key' from pg_constraint where conname ="
             L" 'fk_patient_dentist' and connamespace = current_schema()::text::regnamespace"
             L" union all select 'mark ' || unique_key || ' ' || error_f || ' ' || coalesce(error_message, 'none')"
             L" from replication_control union all select 'count ' || t::text from replication_counts t";
    // The date of the side that lacks the row is that of an earlier row.
    const std::wstring header =
        L"unique_key || ' ' || table_name || ' ' || patient_id || ' ' || coalesce(guid::text, 'none') || ' ' ||"
        L" conflict_type || ' ' || key_info || ' ' || case when conflict_type in (3, 5) then '' else"
        L" coalesce(source_mod_date::text, 'none') end || ' ' || case when conflict_type = 2 then '' else"
        L" coalesce(destination_mod_date::text, 'none') end";
    query += L" union all select 'conflict ' || " + header +
             L" from replication_conflict union all select 'conflict data ' || coalesce(" + header +
             L", 'none') || ' ' || field_name || ' ' || coalesce(source_data, 'none') || ' ' ||"
             L" coalesce(destination_data, 'none') from replication_conflict_data left join replication_conflict on"
             L" unid = conflict_id";
    return query + L") lines order by line collate \"C\"";
}

void sort(PairState& state, const std::wstring& side, const std::vector<std::wstring>& lines, bool isLocal)
{
    for (const std::wstring& line : lines) {
        const std::wstring text = side + line;
        if (line.starts_with(L"row "))
            state.rows.push_back(text);
        else if (line.starts_with(L"count "))
            state.counts.push_back(text);
        else if (line.starts_with(L"conflict "))
            state.conflicts.push_back(text);
        else if (isLocal)
            state.marks.push_back(line);
    }
}

void list(std::wstring& text, const wchar_t* title, const std::vector<std::wstring>& lines)
{
    for (const std::wstring& line : lines)
        text += std::wstring(L"\n      ") + title + line;
}

} // namespace

bool Pair::isConfigured()
{
    return std::ranges::none_of(kSettings, [](const wchar_t* name) { return setting(name).empty(); });
}

bool Pair::isPostgreSql()
{
    return setting(L"QUINMARK_SERVER") != L"sqlserver";
}

std::wstring Pair::setting(const wchar_t* name)
{
    wchar_t text[256] = L"";
    GetEnvironmentVariableW(name, text, static_cast<DWORD>(std::size(text)));
    return text;
}

Pair::Pair()
    : source_(setting(L"QUINMARK_OFFICE_DSN"), setting(L"QUINMARK_PASSWORD")),
      destination_(setting(L"QUINMARK_LAPTOP_DSN"), setting(L"QUINMARK_PASSWORD"))
{
    // What a run leaves locked would stop the next one for ever.
    for (const PracticeSide* side : {&source_, &destination_})
        side->execute(L"set lock_timeout = '10s'; set client_min_messages = error");
}

void Pair::reset(const std::vector<std::wstring>& tables, const std::wstring& sourceRows,
                 const std::wstring& destinationRows) const
{
    // Truncated, so that rows are found in one order in every run.
    const std::wstring empty = L"truncate " + joined(tables) +
                               L" cascade; delete from replication_counts; delete from replication_conflict;"
                               L" delete from replication_conflict_data;" +
                               controlRows() + kRestoreKey;
    source_.execute(empty + sourceRows);
    destination_.execute(empty + destinationRows);
}

PairState Pair::read(const std::vector<std::wstring>& tables, bool localIsSource) const
{
    const std::wstring query = linesQuery(tables);
    PairState state;
    sort(state, L"S: ", source_.rows(query), localIsSource);
    sort(state, L"D: ", destination_.rows(query), !localIsSource);
    return state;
}

std::wstring difference(const std::vector<std::wstring>& expected, const std::vector<std::wstring>& actual)
{
    std::vector<std::wstring> missing;
    std::vector<std::wstring> surplus;
    std::vector<std::wstring> left = expected;
    std::vector<std::wstring> right = actual;
    std::ranges::sort(left);
    std::ranges::sort(right);
    std::ranges::set_difference(left, right, std::back_inserter(missing));
    std::ranges::set_difference(right, left, std::back_inserter(surplus));
    std::wstring text;
    list(text, L"missing: ", missing);
    list(text, L"surplus: ", surplus);
    return text;
}
