#include "PairState.h"

#include "support/Requirements.h"

#include <algorithm>
#include <iterator>

namespace {

/// The server's own times as whether they are those of the last run.
const std::wstring kControlRecords = std::wstring(L"select unique_key, ready_f, case when last_timestamp = '") +
                                     PracticeSide::kLastRun + L"' then 'kept' end, case when next_timestamp = '" +
                                     PracticeSide::kLastRun +
                                     L"' then 'kept' end"
                                     L" from replication_control";

/// When one side of a conflict lacks the row, its date is left over from an earlier row.
constexpr wchar_t kConflicts[] =
    L"select unique_key, table_name, patient_id, guid, conflict_type, key_info,"
    L" case when conflict_type not in (3, 5) then source_mod_date end,"
    L" case when conflict_type <> 2 then destination_mod_date end, field_name, source_data, destination_data"
    L" from replication_conflict full join replication_conflict_data on unid = conflict_id";

constexpr wchar_t kForgetRuns[] =
    L"delete from replication_counts; delete from replication_conflict; delete from replication_conflict_data;";

void add(std::vector<std::wstring>& lines, const std::wstring& title, const std::vector<std::wstring>& rows)
{
    for (const std::wstring& row : rows)
        lines.push_back(title + L" " + row);
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

Pair::Pair()
    : source_(setting(L"QUINMARK_OFFICE_DSN"), setting(L"QUINMARK_PASSWORD")),
      destination_(setting(L"QUINMARK_LAPTOP_DSN"), setting(L"QUINMARK_PASSWORD"))
{
    for (const PracticeSide* side : {&source_, &destination_})
        side->execute(lockTimeoutStatement());
}

void Pair::reset(const Scenario& scenario) const
{
    for (const auto& [side, rows] :
         {std::pair(&source_, &scenario.sourceRows), {&destination_, &scenario.destinationRows}}) {
        side->execute(emptyStatement(scenario.tables) + kForgetRuns + *rows);
        side->restoreControl();
        side->restorePatientKey();
    }
}

PairState Pair::read(const Scenario& scenario) const
{
    PairState state;
    for (const auto& [title, side] : {std::pair(std::wstring(L"S: "), &source_), {L"D: ", &destination_}}) {
        for (const std::wstring& table : scenario.tables)
            add(state.rows, title + table, side->rows(L"select * from " + table));
        add(state.rows, title + L"control", side->rows(kControlRecords));
        add(state.rows, title + L"key", {side->hasPatientKey() ? L"True" : L"False"});
        add(state.counts, title, side->rows(L"select * from replication_counts"));
        add(state.conflicts, title, side->rows(kConflicts));
    }
    const PracticeSide& local = scenario.localIsSource() ? source_ : destination_;
    state.marks = local.rows(L"select unique_key, error_f from replication_control");
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
