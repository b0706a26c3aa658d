#include "Session.h"
#include "commands.h"
#include "conflicts/DecisionLog.h"
#include "conflicts/decisions.h"
#include "conflicts/rows_today.h"

#include <algorithm>
#include <iostream>
#include <iterator>

using nlohmann::ordered_json;

namespace {

bool isChangedSince(Databases& databases, const ConflictedRow& row)
{
    return !isStillAsRecorded(row, recordedColumns(databases.local(), row));
}

/// The choice for a row. A row that has changed since it was found is not overwritten or deleted unseen.
Choice choiceFor(const Configuration& configuration, Databases& databases, const ResolveOptions& options,
                 const ConflictedRow& row)
{
    Choice choice = describeChoice(configuration.site, options.use, row);
    const bool losesRow = choice.effect == Effect::Overwrites || choice.effect == Effect::Deletes;
    if (losesRow && !options.changedToo && isChangedSince(databases, row))
        choice = {options.use, false, Effect::Stays,
                  "The row is no longer as it was found. Look at it with `quinrep conflicts show " + row.latest().id +
                      "`; with --changed-too it is decided as it is today."};
    return choice;
}

/// Says what a decision would do with each row.
template <class Explain>
ordered_json planned(const std::vector<ConflictedRow>& rows, Explain explain)
{
    ordered_json plan = ordered_json::array();
    for (const ConflictedRow& row : rows) {
        ordered_json entry = row.toJson();
        entry["would"] = explain(row);
        plan.push_back(std::move(entry));
    }
    return plan;
}

Outcome told(const std::vector<Decided>& decided, ordered_json counts)
{
    Outcome outcome{{{"resolved", ordered_json::array()}, {"counts", std::move(counts)}}};
    for (const Decided& one : decided) {
        outcome.result["resolved"].push_back(one.result);
        if (one.failed)
            outcome.exitCode = kFailed;
        else if (!one.result["settled"].get<bool>() && outcome.exitCode == kDone)
            outcome.exitCode = kRecorded;
    }
    return outcome;
}

} // namespace

Outcome listConflictsCommand(const Configuration& configuration, const ConflictFilter& filter)
{
    Databases databases(configuration);
    ordered_json conflicts = ordered_json::array();
    for (const ConflictedRow& row : conflictedRows(configuration, databases, filter))
        conflicts.push_back(row.toJson());
    return {{{"conflicts", std::move(conflicts)}}};
}

Outcome showConflictCommand(const Configuration& configuration, const std::string& id)
{
    Databases databases(configuration);
    const ConflictedRow row = conflictedRows(configuration, databases, {.ids = {id}}).front();
    ordered_json conflict = row.toJson();
    const ordered_json recorded = recordedColumns(databases.local(), row);
    conflict["columns"] = shownColumns(row, recorded);
    conflict["changed_since"] = row.state != RowState::Unknown && !isStillAsRecorded(row, recorded);
    conflict["source_has_it"] = row.source.row.exists;
    conflict["destination_has_it"] = row.destination.row.exists;
    conflict["today"] = differences(row);
    conflict["choices"] = ordered_json::array();
    for (const enumResolution use : {USE_SOURCE, USE_DESTINATION, WORK_LATER}) {
        const Choice choice = describeChoice(configuration.site, use, row);
        conflict["choices"].push_back(
            {{"use", useName(use)}, {"possible", choice.possible}, {"explanation", choice.explanation}});
    }
    return {{{"conflict", std::move(conflict)}}};
}

Outcome resolveConflictsCommand(const Configuration& configuration, const ResolveOptions& options)
{
    Databases databases(configuration);
    const std::vector<ConflictedRow> rows = conflictedRows(configuration, databases, options.filter);
    std::vector<Choice> choices;
    for (const ConflictedRow& row : rows)
        choices.push_back(choiceFor(configuration, databases, options, row));
    std::vector<Effect> effects;
    std::ranges::transform(choices, std::back_inserter(effects), &Choice::effect);
    ordered_json counts = countEffects(effects, 0);
    if (options.dryRun) {
        size_t next = 0;
        const ExitCode exitCode = std::ranges::all_of(choices, &Choice::possible) ? kDone : kRecorded;
        return {{{"planned", planned(rows, [&](const ConflictedRow&) { return choices[next++].explanation; })},
                 {"counts", std::move(counts)}},
                exitCode};
    }
    return told(resolveRows(configuration, databases, rows, choices), std::move(counts));
}

Outcome dismissConflictsCommand(const Configuration& configuration, const DismissOptions& options)
{
    Databases databases(configuration);
    const std::vector<ConflictedRow> rows = conflictedRows(configuration, databases, options.filter);
    ordered_json counts = countEffects({}, rows.size());
    if (options.dryRun)
        return {{{"planned", planned(rows, [](const ConflictedRow& row) { return describeDismissal(row); })},
                 {"counts", std::move(counts)}}};
    for (const ConflictedRow& row : rows)
        std::cerr << row.table << " " << (row.latest().keyInfo.empty() ? row.key : row.latest().keyInfo) << ": "
                  << nextRunText(row.next, SideNames(configuration)) << "\n";
    return told(dismissRows(configuration, databases, rows, options.reason), std::move(counts));
}

Outcome decisionLogCommand(const Configuration& configuration, const ConflictFilter& filter)
{
    const ordered_json logged = DecisionLog::read(configuration);
    std::vector<std::string> tables;
    for (const ordered_json& decision : logged)
        tables.push_back(decision.value("table", ""));
    filter.requireTable(configuration, tables);
    filter.requireDay();
    ordered_json decisions = ordered_json::array();
    for (const ordered_json& decision : logged) {
        const std::string kind = decision.value("kind", "");
        if (filter.fits(decision.value("table", ""), kindOfWord(kind), decision.value("key_info", ""),
                        decision.value("time", "")))
            decisions.push_back(decision);
    }
    return {{{"decisions", std::move(decisions)}}};
}
