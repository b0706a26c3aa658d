#include "PairState.h"

#include "com/convert.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr const wchar_t* kSettings[] = {L"QUINMARK_OFFICE_DSN", L"QUINMARK_LAPTOP_DSN", L"QUINMARK_PASSWORD",
                                        L"QUINMARK_OFFICE_PREFIX", L"QUINMARK_LAPTOP_PREFIX"};

/// The last run ended between the old and the new dates of the scenarios.
constexpr wchar_t kControl[] = LR"(
    delete from replication_counts; delete from replication_conflict; delete from replication_conflict_data;
    delete from replication_control;
    insert into replication_control (unique_key, ready_f, error_f, last_timestamp, next_timestamp) values
        (0, true, false, '2025-03-10T12:00:00', '2025-03-10T12:00:00'),
        (1, true, false, '2025-03-10T12:00:00', '2025-03-10T12:00:00');
    delete from control;
    insert into control (type, id) values
        ('ReplicationVersion', '3.46'), ('PatInfoVer', '12'), ('Version', '3.46'), ('DBOffice', 'Norvale');
    do 'begin
        if not exists (select from pg_constraint where conname = ''fk_patient_dentist''
                       and connamespace = current_schema()::text::regnamespace) then
            alter table patient add constraint FK_patient_dentist foreign key (dc_id, dentist_id)
                references dentist (dc_id, dentist_id);
        end if;
    end';
)";

/// Everything but the rows of the scenario's tables. When one side of a conflict lacks the row, its date is left over
/// from an earlier row.
constexpr wchar_t kLines[] = LR"(
    with conflicts as (
        select unid, unique_key || ' ' || table_name || ' ' || patient_id || ' ' || coalesce(guid::text, 'none')
            || ' ' || conflict_type || ' ' || key_info
            || ' ' || case when conflict_type in (3, 5) then '' else coalesce(source_mod_date::text, 'none') end
            || ' ' || case when conflict_type = 2 then '' else coalesce(destination_mod_date::text, 'none') end header
        from replication_conflict)
    select coalesce(string_agg(line, chr(1) order by line collate "C"), '') from (
        select 'row control ' || unique_key || ' ready ' || ready_f
            || ' kept ' || (last_timestamp = '2025-03-10T12:00:00')
            || ' next kept ' || (next_timestamp = '2025-03-10T12:00:00') line from replication_control
        union all select 'row key' from pg_constraint
            where conname = 'fk_patient_dentist' and connamespace = current_schema()::text::regnamespace
        union all select 'mark ' || unique_key || ' ' || error_f || ' ' || coalesce(error_message, 'none')
            from replication_control
        union all select 'count ' || t::text from replication_counts t
        union all select 'conflict ' || header from conflicts
        union all select 'conflict data ' || coalesce(header, 'none') || ' ' || field_name
            || ' ' || coalesce(source_data, 'none') || ' ' || coalesce(destination_data, 'none')
            from replication_conflict_data left join conflicts on unid = conflict_id
)";

std::vector<std::wstring> split(const std::wstring& text)
{
    std::vector<std::wstring> lines;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find(L'\1', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
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

/// The lines of `left` that `right` has not; both in order.
void listMissing(std::wstring& text, const wchar_t* title, const std::vector<std::wstring>& left,
                 const std::vector<std::wstring>& right)
{
    std::vector<std::wstring> lines;
    std::ranges::set_difference(left, right, std::back_inserter(lines));
    for (const std::wstring& line : lines)
        text += std::wstring(L"\n      ") + title + line;
}

} // namespace

bool Pair::isConfigured()
{
    return std::ranges::none_of(kSettings, [](const wchar_t* name) { return setting(name).empty(); });
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
    // A lock that a run leaves would stop the next one for ever.
    for (const PracticeSide* side : {&source_, &destination_})
        side->execute(L"set lock_timeout = '10s'; set client_min_messages = error");
}

void Pair::reset(const Scenario& scenario) const
{
    // Truncated, so that rows are found in one order in every run.
    std::wstring empty;
    for (const std::wstring& table : scenario.tables)
        empty += (empty.empty() ? L"truncate " : L", ") + table;
    empty += std::wstring(L" cascade;") + kControl;
    source_.execute(empty + scenario.sourceRows);
    destination_.execute(empty + scenario.destinationRows);
}

PairState Pair::read(const Scenario& scenario) const
{
    std::wstring query = kLines;
    for (const std::wstring& table : scenario.tables)
        query += L" union all select 'row " + table + L" ' || t::text from " + table + L" t";
    query += L") lines";
    PairState state;
    sort(state, L"S: ", split(com::toText(source_.value(query))), scenario.localIsSource());
    sort(state, L"D: ", split(com::toText(destination_.value(query))), !scenario.localIsSource());
    return state;
}

std::wstring difference(std::vector<std::wstring> expected, std::vector<std::wstring> actual)
{
    std::ranges::sort(expected);
    std::ranges::sort(actual);
    std::wstring text;
    listMissing(text, L"missing: ", expected, actual);
    listMissing(text, L"surplus: ", actual, expected);
    return text;
}
