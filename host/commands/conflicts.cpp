#include "Session.h"
#include "commands.h"
#include "conflicts/DecisionLog.h"
#include "conflicts/decisions.h"

#include <iostream>

using nlohmann::ordered_json;

namespace {

ordered_json counted(const Configuration& configuration, const std::vector<ConflictedRow>& rows, enumResolution use)
{
    std::vector<Effect> effects;
    for (const ConflictedRow& row : rows)
        effects.push_back(describeChoice(configuration.site, use, row).effect);
    return countEffects(effects, 0);
}

/// What a decision would do with each row, without doing it.
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
    conflict["columns"] = recordedColumns(databases.local(), row);
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
    ordered_json counts = counted(configuration, rows, options.use);
    if (options.dryRun)
        return {{{"planned", planned(rows,
                                     [&](const ConflictedRow& row) {
                                         return describeChoice(configuration.site, options.use, row).explanation;
                                     })},
                 {"counts", std::move(counts)}}};
    return told(resolveRows(configuration, databases, rows, options.use), std::move(counts));
}

Outcome dismissConflictsCommand(const Configuration& configuration, const DismissOptions& options)
{
    Databases databases(configuration);
    const std::vector<ConflictedRow> rows = conflictedRows(configuration, databases, options.filter);
    ordered_json counts = countEffects({}, rows.size());
    if (options.dryRun)
        return {{{"planned", planned(rows, describeDismissal)}, {"counts", std::move(counts)}}};
    for (const ConflictedRow& row : rows)
        std::cerr << row.table << " " << (row.latest().keyInfo.empty() ? row.key : row.latest().keyInfo) << ": "
                  << nextRunText(row.next) << "\n";
    return told(dismissRows(configuration, databases, rows, options.reason), std::move(counts));
}

Outcome decisionLogCommand(const Configuration& configuration, const ConflictFilter& filter)
{
    filter.requireDay();
    ordered_json decisions = ordered_json::array();
    for (const ordered_json& decision : DecisionLog::read(configuration)) {
        const std::string kind = decision.value("kind", "");
        if (filter.fits(decision.value("table", ""), kindOfWord(kind), decision.value("key_info", ""),
                        decision.value("time", "")))
            decisions.push_back(decision);
    }
    return {{{"decisions", std::move(decisions)}}};
}
