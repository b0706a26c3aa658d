#include "Failure.h"
#include "Session.h"
#include "commands.h"
#include "commands/rows.h"
#include "result_text.h"

using Microsoft::WRL::ComPtr;
using nlohmann::ordered_json;

namespace {

constexpr wchar_t kColumns[] = L"select unid, table_name, conflict_type, patient_id, guid, key_info, source_mod_date, "
                               L"destination_mod_date, last_replicate_date from replication_conflict";

const char* typeName(long type)
{
    switch (type) {
    case CHANGED_ON_BOTH:
        return "changed on both sides";
    case NEW_ON_source:
        return "new on the source";
    case NEW_ON_DEST:
        return "new on the destination";
    case CHANGED_ON_DEST:
        return "changed on the destination";
    case DELETED_ON_SOURCE:
        return "deleted on the source";
    default:
        return "unknown";
    }
}

bool isGuid(const std::string& id)
{
    const std::wstring braced = id.starts_with('{') ? toWide(id) : L"{" + toWide(id) + L"}";
    GUID guid;
    return SUCCEEDED(IIDFromString(braced.c_str(), &guid));
}

/// A literal for an id that a person gave.
std::wstring idLiteral(const std::string& id)
{
    return Common::SqlQuote(toWide(id), false, false);
}

ordered_json conflicts(clsConn& local, const std::wstring& condition)
{
    ordered_json rows = jsonRows(local, kColumns + condition + L" order by table_name, key_info");
    for (ordered_json& row : rows)
        row["conflict"] = typeName(row["conflict_type"].get<long>());
    return rows;
}

ordered_json oneConflict(clsConn& local, const std::string& id)
{
    ordered_json rows = isGuid(id) ? conflicts(local, L" where unid = " + idLiteral(id)) : ordered_json();
    if (rows.empty())
        throw HostError(kUsage, "there is no conflict \"" + id + "\"", "`quinrep conflicts list` shows the ids.");
    return rows.front();
}

/// Lets the component settle one conflict; the reason when it refuses.
std::string askComponent(Component& component, clsConn& local, const std::string& id, enumResolution use)
{
    ado::Recordset rs = openForwardOnly(local, kColumns + std::wstring(L" where unid = ") + idLiteral(id));
    _variant_t conflictId = com::textVariant(toWide(id));
    ComPtr<_clsConflict> conflict;
    com::checkCall(component.factory().createConflict(&conflictId, &conflict));
    IDispatch* row = rs.object().get();
    com::checkCall(conflict->loadFromRs(&row));
    rs.close();
    short resolution = static_cast<short>(use);
    com::checkCall(conflict->put_iResolutionType(&resolution));
    VARIANT_BOOL done = VARIANT_FALSE;
    com::checkCall(conflict->resolve(&done));
    if (done != VARIANT_FALSE)
        return {};
    return toUtf8(textProperty([&](BSTR* text) { return conflict->get_sErrorMessage(text); }));
}

/// The component wants both dates of a conflict, and a row that one side lacks may have been recorded without one.
bool lacksDate(const ordered_json& conflict)
{
    return conflict["source_mod_date"].is_null() || conflict["destination_mod_date"].is_null();
}

/// The reason why a conflict stays against the wish of the person; empty when there is none.
std::string resolveOne(Component& component, clsConn& local, const ordered_json& conflict, enumResolution use)
{
    try {
        return askComponent(component, local, conflict["unid"], use);
    }
    catch (const com::Error& error) {
        const std::string text = errorText(errorJson(error));
        return lacksDate(conflict)
                   ? text + "\n  One of its dates is empty, so the component cannot load it: settle the "
                            "row in the database, then delete the conflict there."
                   : text;
    }
}

bool exists(clsConn& local, const std::string& id)
{
    return !conflicts(local, L" where unid = " + idLiteral(id)).empty();
}

} // namespace

Outcome listConflictsCommand(const Configuration& configuration)
{
    Databases databases(configuration);
    return {{{"conflicts", conflicts(databases.local(), L"")}}};
}

Outcome showConflictCommand(const Configuration& configuration, const std::string& id)
{
    Databases databases(configuration);
    ordered_json conflict = oneConflict(databases.local(), id);
    // The value columns have names of the database's own choice: they are read by their place.
    ado::Recordset rs = openForwardOnly(
        databases.local(), L"select * from replication_conflict_data where conflict_id = " + idLiteral(id));
    ordered_json columns = ordered_json::array();
    for (; !rs.eof(); rs.moveNext())
        columns.push_back({{"column", toUtf8(com::concatText(rs.field(1).value()))},
                           {"source", toUtf8(com::concatText(rs.field(2).value()))},
                           {"destination", toUtf8(com::concatText(rs.field(3).value()))}});
    rs.close();
    conflict["columns"] = std::move(columns);
    return {{{"conflict", std::move(conflict)}}};
}

Outcome resolveConflictsCommand(const Configuration& configuration, const ResolveOptions& options)
{
    Databases databases(configuration);
    clsConn& local = databases.local();
    ordered_json chosen = ordered_json::array();
    if (!options.id.empty())
        chosen.push_back(oneConflict(local, options.id));
    else
        chosen = conflicts(local, options.table.empty() ? L""
                                                        : L" where table_name = " +
                                                              Common::SqlQuote(toWide(options.table), false, false));

    Component component(configuration);
    Outcome outcome{{{"resolved", ordered_json::array()}}};
    for (ordered_json& conflict : chosen) {
        const std::string id = conflict["unid"];
        const std::string refusal = resolveOne(component, local, conflict, options.use);
        const bool waits = exists(local, id);
        outcome.result["resolved"].push_back({{"unid", id},
                                              {"table_name", conflict["table_name"]},
                                              {"key_info", conflict["key_info"]},
                                              {"settled", !waits},
                                              {"refused", refusal}});
        if (!refusal.empty())
            outcome.exitCode = kFailed;
        else if (waits && outcome.exitCode == kDone)
            outcome.exitCode = kRecorded;
    }
    return outcome;
}
