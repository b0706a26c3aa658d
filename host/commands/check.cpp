#include "DependentTable.h"
#include "ForeignKeys.h"
#include "Session.h"
#include "WrittenColumns.h"
#include "commands.h"
#include "commands/Findings.h"
#include "commands/rows.h"
#include "conflicts/DecisionLog.h"
#include "conflicts/key_info.h"
#include "files.h"
#include "replication/method_plan.h"

#include <algorithm>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

std::vector<std::wstring> columns(clsConn& conn, const std::string& side, const std::string& table)
{
    try {
        return columnNames(conn, toWide(table));
    }
    catch (const com::Error& error) {
        const bool plain = table.starts_with('[') || isPlainName(conn, toWide(table));
        throw Finding{"the " + side + " cannot read it: " + trimmed(toUtf8(error.description)),
                      plain ? "correct the name, or create the table on both sides and grant the login rights on it"
                            : "write the name in brackets in the configuration: [" + table + "]"};
    }
}

/// The statements of a run reach both sides from the local database, by their prefixes.
void checkPrefix(clsConn& local, const std::string& side, const std::string& prefix, const std::string& table)
{
    try {
        columnNames(local, toWide(prefix + table));
    }
    catch (const com::Error& error) {
        throw Finding{"the local database does not reach " + prefix + table + ": " + trimmed(toUtf8(error.description)),
                      "correct the " + side + "'s prefix; to another server it needs a linked server there " +
                          "(see the document \"On SQL Server\", \"5. Prefixes\")"};
    }
}

/// Raises Finding unless both sides have the table, alike and with the columns that are needed, in reach of each other.
/// `copiedWhole`: its rows are copied by statements that name no columns.
void checkSides(const Configuration& configuration, Databases& databases, const std::string& table,
                const std::vector<std::string>& needed, bool copiedWhole)
{
    const std::vector<std::wstring> source = columns(databases.source(), "source", table);
    const std::vector<std::wstring> destination = columns(databases.destination(), "destination", table);
    for (const std::string& column : needed)
        if (!containsName(source, toWide(column)) || !containsName(destination, toWide(column)))
            throw Finding{"there is no column " + column + " on both sides",
                          copiedWhole ? "add it on both sides" : "add it on both sides, or use method \"full_copy\""};
    if (source != destination)
        throw Finding{"the two sides do not have the same columns in the same order",
                      "give the destination the source's columns, in the source's order"};
    checkPrefix(databases.local(), "source", configuration.source.prefix, table);
    checkPrefix(databases.local(), "destination", configuration.destination.prefix, table);
    if (!copiedWhole)
        return;
    const std::vector<UnwritableColumn> filled =
        serverFilledColumns(databases.destination(), "destination", toWide(table));
    if (!filled.empty())
        throw Finding{filled.front().text + ": a run deletes the table's rows and then fails to copy the source's",
                      filled.front().todo};
}

/// Warns of the columns that end a run at the first row that it copies from one side to the other.
void warnOfColumns(Findings& findings, const std::string& table, clsConn& read, clsConn& written,
                   const std::string& writtenSide)
{
    const std::string what = "table " + table;
    const std::vector<UnwritableColumn> unwritable = unwritableColumns(written, writtenSide, toWide(table));
    for (const UnwritableColumn& column : unwritable)
        findings.warn(what, {column.text + ": a run ends in an error at the first row that it writes", column.todo});
    for (const std::wstring& column : unsupportedColumns(read, toWide(table)))
        if (std::ranges::find(unwritable, toUtf8(column), &UnwritableColumn::name) == unwritable.end())
            findings.warn(what, {"column " + toUtf8(column) +
                                     " is of a type that cannot be copied: a value in it opens a "
                                     "message box and ends the run",
                                 "change its type (see the document \"How tables are replicated\", \"Values\"), or use "
                                 "method \"full_copy\""});
}

void warnOfTriggers(Findings& findings, const std::string& table, clsConn& written, const std::string& side)
{
    for (const std::string& trigger : triggersOf(written, toWide(table)))
        findings.warn("table " + table,
                      {"trigger " + trigger + " of the " + side +
                           " fires for the rows that a run writes and deletes, with the rights of quinmarkapp_user; "
                           "rows and dates that it writes count as somebody's own",
                       "let it do nothing for the user quinmarkapp_user, unless it is meant for copied rows too"});
}

/// Warns of what goes with rows that a run, or a decision, deletes at the destination.
void warnOfKeys(Findings& findings, const TableConfiguration& table, const std::vector<ForeignKey>& keys)
{
    for (const ForeignKey& key : keys)
        if (const std::string effect = deletionEffect(key); !effect.empty() && isSameName(key.parent, table.name))
            findings.warn("table " + table.name, {effect, "let the key refuse it (no action), unless that is meant. A "
                                                          "run that would do so stops first"});
}

/// Warns of methods and columns that end a run, or make it wait for a person, once there are rows for it.
void warnOfTable(Findings& findings, Databases& databases, const TableConfiguration& table,
                 const std::vector<ForeignKey>& keys)
{
    const std::string what = "table " + table.name;
    const MethodPlan plan = planOf(table.method, table.deletes);
    if (plan.engine == Engine::TwoWay)
        findings.warn(what, {"two-way replication opens message boxes, for which an unattended run would wait for ever",
                             "run stops with exit code 7 where boxes would open; then run with --attended"});
    if (plan.byKeyField && com::upperCase(toWide(table.key)) != L"UNID")
        findings.warn(what, {"it is matched by " + table.key +
                                 ", and conflicts are read by unid, so a run ends in an "
                                 "error at its first conflict",
                             "keep both sides from changing the same rows"});
    else if (plan.engine == Engine::OneWay && keyInfoSql(toWide(table.name), com::textVariant(L"0")).empty())
        findings.warn(what, {"replication has no description for its rows, so a run ends in an error at its first "
                             "conflict",
                             "keep both sides from changing the same rows; where the source alone changes the table, "
                             "and no other table refers to it, method \"full_copy\" goes too"});
    warnOfTriggers(findings, table.name, databases.destination(), "destination");
    if (plan.engine != Engine::TwoWay)
        warnOfKeys(findings, table, keys);
    if (plan.copiesRows)
        warnOfColumns(findings, table.name, databases.source(), databases.destination(), "destination");
    if (plan.engine != Engine::TwoWay)
        return;
    warnOfTriggers(findings, table.name, databases.source(), "source");
    warnOfColumns(findings, table.name, databases.destination(), databases.source(), "source");
}

/// Raises Finding where a run would leave the dependent table as it is, or end in an error.
void checkDependent(const Configuration& configuration, Databases& databases, const TableConfiguration& table)
{
    const std::string leaveOut = "leave dependent out, and list the table as a [[table]] of its own";
    const MethodPlan plan = planOf(table.method, table.deletes);
    if (plan.engine != Engine::OneWay || plan.byKeyField)
        throw Finding{"method \"" + methodName(table.method) + "\" copies no dependent rows", leaveOut};
    if (!isKnownDependent(table.dependent))
        throw Finding{"replication knows no dependent table of this name, so its rows would not be copied", leaveOut};
    if (com::upperCase(toWide(table.name)) != L"CHART_OPTION")
        throw Finding{"its rows belong to chart_option, not to " + table.name,
                      "give the dependent to chart_option, and leave it out here"};
    checkSides(configuration, databases, table.dependent, {"chart_option_id"}, true);
}

/// Rows that are compared one by one need their key and a date of change; copied ones and dependent ones do not.
void checkTable(Findings& findings, const Configuration& configuration, Databases& databases,
                const TableConfiguration& table, const std::vector<ForeignKey>& keys)
{
    std::vector<std::string> needed;
    const bool copiedWhole = table.method == ONE_WAY_DELETE_ALL || table.method == COMPUTER_TYPE;
    if (!copiedWhole)
        needed = {table.keyColumn(), "mod_date"};
    if (findings.look("table " + table.name, "",
                      [&] { checkSides(configuration, databases, table.name, needed, copiedWhole); }))
        warnOfTable(findings, databases, table, keys);
    const auto with = [&table](const std::string& dependent) { return "table " + dependent + ", with " + table.name; };
    if (table.method == COMPUTER_TYPE)
        findings.look(with("computer_type_setting"), "",
                      [&] { checkSides(configuration, databases, "computer_type_setting", {}, true); });
    if (!table.dependent.empty())
        findings.look(with(table.dependent), "", [&] { checkDependent(configuration, databases, table); });
}

void checkProgramVersion(Databases& databases, const Configuration& configuration)
{
    if (com::upperCase(toWide(configuration.programVersion)) == L"LAPTOP")
        return;
    const ordered_json rows = jsonRows(databases.local(), L"select id from control where type = 'ReplicationVersion'");
    const ordered_json version = rows.empty() ? ordered_json() : rows.front().front();
    if (!version.is_string() || toUtf8(com::trim(toWide(version.get<std::string>()))) != configuration.programVersion)
        throw Finding{"program_version is \"" + configuration.programVersion + "\", the local database has " +
                          version.dump(),
                      "set program_version to the version of the database (control row ReplicationVersion), or update "
                      "one of them"};
}

void checkControlRecord(Databases& databases, const Configuration& configuration)
{
    const ordered_json rows = jsonRows(databases.local(), L"select last_timestamp, error_f, error_message from "
                                                          L"replication_control where unique_key = " +
                                                              siteKey(configuration.site));
    if (rows.empty())
        throw missingControlRecord();
    if (rows.size() > 1)
        throw Finding{"the site has " + std::to_string(rows.size()) + " rows in replication_control",
                      "leave exactly one with its unique_key in the local database"};
    const ordered_json& control = rows.front();
    if (control["last_timestamp"].is_null())
        throw Finding{"last_timestamp of the site's control record is empty", kSetLastTimestamp};
    if (control["error_f"] == true)
        throw Finding{"the last run is in error: " + (control["error_message"].is_string()
                                                          ? control["error_message"].get<std::string>()
                                                          : std::string("without a text")),
                      "look at the conflicts with `quinrep review`, then `quinrep run --ready --reset-error`"};
}

/// The pair is compared by the component, which does not begin without its log.
void checkDatabases(Findings& findings, const Configuration& configuration, bool log)
{
    if (log)
        findings.look("pair of databases",
                      "compare the control tables of both databases (see the document \"For administrators\", "
                      "\"Control tables\")",
                      [&] { Component(configuration).ensureReplication(); });
    Databases databases(configuration);
    findings.look("prefixes", "", [&] { requireOwnPrefixes(configuration, databases); });
    findings.look("program version", "", [&] { checkProgramVersion(databases, configuration); });
    findings.look("control record", "grant the login the right to read the control tables",
                  [&] { checkControlRecord(databases, configuration); });
    const std::vector<ForeignKey> keys = foreignKeysOf(databases.destination());
    for (const TableConfiguration& table : configuration.tables)
        checkTable(findings, configuration, databases, table, keys);
}

bool canConnect(Findings& findings, const std::string& name, const SideConfiguration& side)
{
    return findings.look(name + " " + side.dsn,
                         "try the data source in odbcad32 of SysWOW64 with the login quinmarkapp_user", [&] {
                             clsConn conn;
                             openSide(conn, side);
                         });
}

} // namespace

Outcome checkCommand(const Configuration& configuration)
{
    Findings findings;
    const bool log =
        findings.look("log " + configuration.logFile, "", [&] { requireWritableLog(configuration.logFile); });
    const std::string decisionLog = DecisionLog::path(configuration);
    if (log)
        findings.look("decision log " + decisionLog, "",
                      [&] { requireWritable("the decision log", decisionLog, kNameAnotherLog); });
    findings.look("component", "install it again", [] { createFactory(); });
    const bool source = canConnect(findings, "source", configuration.source);
    const bool destination = canConnect(findings, "destination", configuration.destination);
    if (source && destination)
        checkDatabases(findings, configuration, log);
    return findings.outcome();
}
