#include "conflicts/decisions.h"

#include "Failure.h"
#include "ForeignKeyPreview.h"
#include "com/convert.h"
#include "commands/rows.h"
#include "conflicts/DecisionLog.h"
#include "result_text.h"

#include <algorithm>
#include <map>

using namespace quinmark;
using Microsoft::WRL::ComPtr;
using nlohmann::ordered_json;

namespace {

/// The component wants every column of a record, and a row that one side lacks may have been recorded without a date:
/// resolving looks at none of those that are filled in here.
constexpr wchar_t kLoadable[] =
    L"select unid, coalesce(last_replicate_date, getdate()) last_replicate_date, table_name, coalesce(patient_id, 0) "
    L"patient_id, guid, conflict_type, key_info, coalesce(source_mod_date, destination_mod_date, last_replicate_date, "
    L"getdate()) source_mod_date, coalesce(destination_mod_date, source_mod_date, last_replicate_date, getdate()) "
    L"destination_mod_date from replication_conflict where unid in ";

ComPtr<_clsConflict> createConflict(Component& component, const std::string& id)
{
    _variant_t conflictId = com::textVariant(toWide(id));
    ComPtr<_clsConflict> conflict;
    com::checkCall(component.factory().createConflict(&conflictId, &conflict));
    return conflict;
}

/// Fills a conflict from its record.
void loadConflict(clsConn& local, const std::string& id, _clsConflict& conflict)
{
    ado::Recordset rs = openForwardOnly(local, kLoadable + idList({id}));
    IDispatch* row = rs.object().get();
    com::checkCall(conflict.loadFromRs(&row));
    rs.close();
}

/// Lets the component resolve; the reason when it refuses.
std::string resolveConflict(_clsConflict& conflict, enumResolution use)
{
    short resolution = static_cast<short>(use);
    com::checkCall(conflict.put_iResolutionType(&resolution));
    VARIANT_BOOL done = VARIANT_FALSE;
    com::checkCall(conflict.resolve(&done));
    if (done != VARIANT_FALSE)
        return {};
    return toUtf8(textProperty([&](BSTR* text) { return conflict.get_sErrorMessage(text); }));
}

/// The copy that a decision, or the next run after a dismissal, overwrites or deletes: null when none is lost.
ordered_json lostRow(const ConflictedRow& row, Effect effect)
{
    return effect == Effect::Overwrites || effect == Effect::Deletes ? row.destination.columns : ordered_json();
}

ordered_json lostRow(const ConflictedRow& row, NextRun next)
{
    switch (next) {
    case NextRun::OverwritesDestination:
    case NextRun::DeletesAtDestination:
        return row.destination.columns;
    case NextRun::OverwritesSource:
        return row.source.columns;
    default:
        return nullptr;
    }
}

ordered_json logEntry(const ConflictedRow& row, const std::string& choice, const std::string& reason,
                      const ordered_json& lost)
{
    return {{"ids", row.ids()},
            {"table", row.table},
            {"key", row.key},
            {"key_info", row.latest().keyInfo},
            {"kind", kindWord(row.latest().kind)},
            {"choice", choice},
            {"reason", reason},
            {"columns", differences(row)},
            {"lost_row", lost}};
}

Decided decided(const ConflictedRow& row, const std::string& choice, bool settled, const std::string& refused)
{
    return {{{"unid", row.latest().id},
             {"ids", row.ids()},
             {"table_name", row.table},
             {"key", row.key},
             {"key_info", row.latest().keyInfo},
             {"choice", choice},
             {"settled", settled},
             {"refused", refused},
             {"next_run", nextRunText(row.next)}}};
}

/// The error in flight, as a reason why a row's conflicts stay.
Decided failedDecision(const ConflictedRow& row, const std::string& choice, const com::Error& error)
{
    Decided result = decided(row, choice, false, errorText(errorJson(error)));
    result.failed = true;
    return result;
}

/// Details first: should it break off in between, the record is there to be closed again.
void removeRecords(clsConn& local, const std::vector<std::string>& ids)
{
    const std::wstring list = idList(ids);
    local.execute(L"delete from replication_conflict_data where conflict_id in " + list +
                      L";delete from replication_conflict where unid in " + list,
                  false);
}

/// One choice on its way through rows.
class Resolution
{
public:
    Resolution(const Configuration& configuration, Databases& databases, enumResolution use)
        : component_(configuration),
          log_(configuration),
          configuration_(configuration),
          databases_(databases),
          use_(use)
    {
    }

    Decided carryOut(const ConflictedRow& row, const Choice& choice)
    {
        log_.begin(logEntry(row, useName(use_), "", lostRow(row, choice.effect)));
        Decided result = tryOut(row, choice.effect);
        const std::string refused = result.result["refused"];
        log_.end(!refused.empty() ? "refused: " + refused : "settled");
        return result;
    }

private:
    Decided tryOut(const ConflictedRow& row, Effect effect)
    try {
        if (effect == Effect::Deletes) {
            if (!keys_)
                keys_.emplace(configuration_, databases_);
            if (const std::string others = keys_->takenAlong(row.table, toWide(row.key)); !others.empty())
                return decided(row, useName(use_), false, others);
        }
        const ComPtr<_clsConflict> latest = createConflict(component_, row.latest().id);
        // The record decides about the row's data. Accepting the destination's row needs only the id.
        if (use_ != USE_DESTINATION)
            loadConflict(databases_.local(), row.latest().id, *latest.Get());
        std::string refused = resolveConflict(*latest.Get(), use_);
        // The latest record has decided about the row. To close its repeats one by one takes the component as many
        // statements as there were nights.
        if (std::vector<std::string> repeats = row.ids(); refused.empty() && repeats.size() > 1)
            removeRecords(databases_.local(), {repeats.begin() + 1, repeats.end()});
        return decided(row, useName(use_), refused.empty(), refused);
    }
    catch (const com::Error& error) {
        return failedDecision(row, useName(use_), error);
    }

    Component component_;
    DecisionLog log_;
    const Configuration& configuration_;
    Databases& databases_;
    std::optional<ForeignKeyPreview> keys_;
    enumResolution use_;
};

} // namespace

ordered_json columnsToday(const ConflictedRow& row, Values values)
{
    ordered_json columns = ordered_json::array();
    const CopyToday& names = row.source.row.exists ? row.source : row.destination;
    for (const auto& column : (names.*values).items())
        columns.push_back({{"column", column.key()},
                           {"source", (row.source.*values).value(column.key(), ordered_json())},
                           {"destination", (row.destination.*values).value(column.key(), ordered_json())}});
    return columns;
}

ordered_json differences(const ConflictedRow& row, Values values)
{
    ordered_json columns = ordered_json::array();
    for (const ordered_json& column : columnsToday(row, values))
        if (column["source"] != column["destination"])
            columns.push_back(column);
    return columns;
}

std::vector<Decided> resolveRows(const Configuration& configuration, Databases& databases,
                                 const std::vector<ConflictedRow>& rows, const std::vector<Choice>& choices)
{
    std::optional<Resolution> resolution;
    std::vector<Decided> results;
    for (size_t index = 0; index < rows.size(); ++index) {
        const ConflictedRow& row = rows[index];
        const Choice& choice = choices[index];
        if (choice.effect == Effect::Stays) {
            results.push_back(decided(row, useName(choice.use), false, choice.possible ? "" : choice.explanation));
            continue;
        }
        if (!resolution)
            resolution.emplace(configuration, databases, choice.use);
        results.push_back(resolution->carryOut(row, choice));
    }
    return results;
}

std::vector<Decided> dismissRows(const Configuration& configuration, Databases& databases,
                                 const std::vector<ConflictedRow>& rows, const std::string& reason)
{
    constexpr char kDismissed[] = "dismissed";
    DecisionLog log(configuration);
    std::vector<Decided> results;
    for (const ConflictedRow& row : rows) {
        log.begin(logEntry(row, kDismissed, reason, lostRow(row, row.next)));
        try {
            removeRecords(databases.local(), row.ids());
            results.push_back(decided(row, kDismissed, true, ""));
            log.end(kDismissed);
        }
        catch (const com::Error& error) {
            results.push_back(failedDecision(row, kDismissed, error));
            log.end("failed: " + results.back().result["refused"].get<std::string>());
        }
    }
    return results;
}

ordered_json countEffects(const std::vector<Effect>& effects, size_t dismissed)
{
    const auto count = [&](Effect effect) { return std::ranges::count(effects, effect); };
    return {{"overwritten", count(Effect::Overwrites)},
            {"deleted", count(Effect::Deletes)},
            {"kept", count(Effect::Keeps)},
            {"waiting", count(Effect::Stays)},
            {"dismissed", dismissed}};
}
