#include "Session.h"
#include "commands.h"
#include "commands/rows.h"

#include <functional>

using nlohmann::ordered_json;

namespace {

/// Collects what was looked at and what is wrong with it.
class Findings
{
public:
    void good(const std::string& what) { add(what, true, "", ""); }
    void bad(const std::string& what, const std::string& finding, const std::string& todo)
    {
        add(what, false, finding, todo);
    }

    /// Runs a look; what it raises is the finding.
    void look(const std::string& what, const std::function<void()>& body)
    {
        try {
            body();
            good(what);
        }
        catch (const com::Error& error) {
            bad(what, toUtf8(error.description), advice(error));
        }
        catch (const HostError& error) {
            bad(what, error.what(), "");
        }
    }

    Outcome outcome() const { return {{{"checks", checks_}}, failed_ ? kFailed : kDone}; }

private:
    void add(const std::string& what, bool ok, const std::string& finding, const std::string& todo)
    {
        checks_.push_back({{"check", what}, {"ok", ok}, {"finding", finding}, {"todo", todo}});
        failed_ = failed_ || !ok;
    }

    ordered_json checks_ = ordered_json::array();
    bool failed_ = false;
};

/// The columns of a table in their order; raises when there is no such table.
std::vector<std::string> columns(clsConn& conn, const std::string& table)
{
    ado::Recordset rs = openForwardOnly(conn, L"select * from " + toWide(table) + L" where 1 = 0");
    std::vector<std::string> names;
    const long count = rs.fieldCount();
    for (long index = 0; index < count; ++index)
        names.push_back(toUtf8(rs.field(index).name()));
    rs.close();
    return names;
}

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    for (const std::string& candidate : names)
        if (com::upperCase(toWide(candidate)) == com::upperCase(toWide(name)))
            return true;
    return false;
}

void checkColumns(Findings& findings, const TableConfiguration& table, const std::vector<std::string>& source,
                  const std::vector<std::string>& destination)
{
    const std::string what = "table " + table.name;
    if (source != destination)
        return findings.bad(what, "the two sides do not have the same columns in the same order",
                            "give the destination the source's columns, in the source's order");
    const bool byRows = table.method != ONE_WAY_DELETE_ALL && table.method != COMPUTER_TYPE;
    for (const std::string& column : {table.keyColumn(), std::string("mod_date")})
        if (byRows && !contains(source, column))
            return findings.bad(what, "there is no column " + column,
                                "add it on both sides, or use method \"full_copy\"");
    findings.good(what);
}

void checkTable(Findings& findings, Databases& databases, const TableConfiguration& table)
{
    std::vector<std::string> source;
    std::vector<std::string> destination;
    try {
        source = columns(databases.source(), table.name);
        destination = columns(databases.destination(), table.name);
    }
    catch (const com::Error& error) {
        return findings.bad("table " + table.name, toUtf8(error.description), "create the table on both sides");
    }
    checkColumns(findings, table, source, destination);
}

void checkProgramVersion(Databases& databases, const Configuration& configuration)
{
    if (com::upperCase(toWide(configuration.programVersion)) == L"LAPTOP")
        return;
    const ordered_json rows = jsonRows(databases.local(), L"select id from control where type = 'ReplicationVersion'");
    const std::string version = rows.empty() ? "none" : rows.front().begin()->dump();
    if (rows.empty() ||
        toUtf8(com::trim(toWide(rows.front().begin()->get<std::string>()))) != configuration.programVersion)
        throw HostError(kFailed,
                        "program_version is \"" + configuration.programVersion + "\", the database has " + version);
}

void checkControlRecord(Databases& databases, const Configuration& configuration)
{
    const ordered_json rows = jsonRows(databases.local(), L"select last_timestamp from replication_control where "
                                                          L"unique_key = " +
                                                              siteKey(configuration.site));
    if (rows.size() != 1)
        throw HostError(kFailed, "the site has " + std::to_string(rows.size()) +
                                     " rows in replication_control; it needs exactly one");
    if (rows.front()["last_timestamp"].is_null())
        throw HostError(kFailed, "last_timestamp of the site's control record is empty; set it to a date before all "
                                 "changes that are to be replicated");
}

} // namespace

Outcome checkCommand(const Configuration& configuration)
{
    Findings findings;
    findings.look("component", [&] { Component(configuration).ensureReplication(); });
    try {
        Databases databases(configuration);
        findings.good("connections");
        findings.look("program version", [&] { checkProgramVersion(databases, configuration); });
        findings.look("control record", [&] { checkControlRecord(databases, configuration); });
        for (const TableConfiguration& table : configuration.tables)
            checkTable(findings, databases, table);
    }
    catch (const com::Error& error) {
        findings.bad("connections", toUtf8(error.description), advice(error));
    }
    return findings.outcome();
}
