#include "Session.h"
#include "commands.h"
#include "commands/rows.h"

#include <functional>

using nlohmann::ordered_json;

namespace {

/// Something wrong, and what to do about it.
struct Finding
{
    std::string text;
    std::string todo;
};

/// Collects what was looked at and what is wrong with it.
class Findings
{
public:
    void good(const std::string& what) { add(what, true, "", ""); }
    void bad(const std::string& what, const std::string& finding, const std::string& todo)
    {
        add(what, false, finding, todo);
    }

    /// Runs a look; what it raises is the finding, with `todo` unless its own advice is known.
    void look(const std::string& what, const std::string& todo, const std::function<void()>& body)
    {
        try {
            body();
            good(what);
        }
        catch (const com::Error& error) {
            const std::string known = advice(error);
            bad(what, toUtf8(error.description), known.empty() ? todo : known);
        }
        catch (const Finding& finding) {
            bad(what, finding.text, finding.todo);
        }
        catch (const HostError& error) {
            bad(what, error.what(), todo);
        }
    }

    Outcome outcome() const { return {{{"checks", checks_}}, failed_ ? kNotReady : kDone}; }

private:
    void add(const std::string& what, bool ok, const std::string& finding, const std::string& todo)
    {
        checks_.push_back({{"check", what}, {"ok", ok}, {"finding", finding}, {"todo", todo}});
        failed_ = failed_ || !ok;
    }

    ordered_json checks_ = ordered_json::array();
    bool failed_ = false;
};

/// The columns of a table in their order. Raises Finding when there is no such table on that side.
std::vector<std::string> columns(clsConn& conn, const std::string& side, const std::string& table)
{
    try {
        ado::Recordset rs = openForwardOnly(conn, L"select * from " + toWide(table) + L" where 1 = 0");
        std::vector<std::string> names;
        const long count = rs.fieldCount();
        for (long index = 0; index < count; ++index)
            names.push_back(toUtf8(rs.field(index).name()));
        rs.close();
        return names;
    }
    catch (const com::Error& error) {
        throw Finding{"the " + side + " cannot read it: " + toUtf8(error.description),
                      "correct the name, or create the table on both sides and grant the login rights on it"};
    }
}

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    for (const std::string& candidate : names)
        if (com::upperCase(toWide(candidate)) == com::upperCase(toWide(name)))
            return true;
    return false;
}

void checkTable(Databases& databases, const TableConfiguration& table)
{
    const std::vector<std::string> source = columns(databases.source(), "source", table.name);
    const std::vector<std::string> destination = columns(databases.destination(), "destination", table.name);
    const bool byRows = table.method != ONE_WAY_DELETE_ALL && table.method != COMPUTER_TYPE;
    for (const std::string& column : {table.keyColumn(), std::string("mod_date")})
        if (byRows && !(contains(source, column) && contains(destination, column)))
            throw Finding{"there is no column " + column + " on both sides",
                          "add it on both sides, or use method \"full_copy\""};
    if (source != destination)
        throw Finding{"the two sides do not have the same columns in the same order",
                      "give the destination the source's columns, in the source's order"};
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
    if (rows.size() != 1)
        throw Finding{"the site has " + std::to_string(rows.size()) + " rows in replication_control",
                      "leave exactly one with its unique_key in the local database"};
    const ordered_json& control = rows.front();
    if (control["last_timestamp"].is_null())
        throw Finding{"last_timestamp of the site's control record is empty",
                      "set it to a date before all changes that are to be replicated"};
    if (control["error_f"] == true)
        throw Finding{"the last run is in error: " + (control["error_message"].is_string()
                                                          ? control["error_message"].get<std::string>()
                                                          : std::string("without a text")),
                      "look into it, then `quinrep run --reset-error`"};
}

void checkDatabases(Findings& findings, const Configuration& configuration)
{
    Databases databases(configuration);
    findings.look("program version", "", [&] { checkProgramVersion(databases, configuration); });
    findings.look("control record", "grant the login the right to read the control tables",
                  [&] { checkControlRecord(databases, configuration); });
    for (const TableConfiguration& table : configuration.tables)
        findings.look("table " + table.name, "", [&] { checkTable(databases, table); });
}

} // namespace

Outcome checkCommand(const Configuration& configuration)
{
    Findings findings;
    findings.look("component and pair of databases",
                  "compare the control tables of both databases (docs/administration.md, Control tables)",
                  [&] { Component(configuration).ensureReplication(); });
    findings.look("connections", "try the data source in odbcad32 of SysWOW64 with the login quinmarkapp_user",
                  [&] { checkDatabases(findings, configuration); });
    return findings.outcome();
}
