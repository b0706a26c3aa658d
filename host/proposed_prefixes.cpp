#include "Proposal.h"

#include "HostError.h"
#include "commands/rows.h"

#include <algorithm>
#include <fmt/format.h>

using namespace quinmark;
using nlohmann::ordered_json;

namespace {

/// A connection's server and schema; the server is empty where only SQL Server would tell it.
struct Place
{
    std::string server;
    std::string schema;
};

Place placeOf(clsConn& conn)
{
    const ordered_json rows = catalogRows(
        conn, L"select cast(serverproperty('ServerName') as varchar(128)) as server, schema_name() as in_schema",
        L"select '' as server, current_schema as in_schema");
    return {rows.at(0)["server"], rows.at(0)["in_schema"]};
}

bool isOrdinaryName(const std::string& name)
{
    return !name.empty() && name.find_first_of("0123456789") != 0 &&
           std::ranges::all_of(name, [](unsigned char c) { return std::isalnum(c) || c == '_'; });
}

std::string bracketed(const std::string& name)
{
    return isOrdinaryName(name) ? name : "[" + name + "]";
}

/// The name under which a server knows another one; empty when it does not.
std::string linkedServer(clsConn& local, const std::string& server)
{
    for (const ordered_json& row : jsonRows(local, L"select name from sys.servers where is_linked = 1 order by name")) {
        std::string name = row["name"];
        try {
            const ordered_json found =
                jsonRows(local, L"select server from openquery(" + toWide(bracketed(name)) +
                                    L", 'select cast(serverproperty(''ServerName'') as varchar(128)) as server')");
            if (found.at(0)["server"] == server)
                return name;
        }
        catch (const com::Error&) {
            // A linked server that does not answer is not the one.
            continue;
        }
    }
    return {};
}

/// The prefix by which the local connection reaches a side's tables.
std::string prefixOf(clsConn& local, clsConn& side, const char* name)
{
    const Place place = placeOf(side);
    if (place.server.empty())
        return bracketed(place.schema) + ".";
    std::string prefix = bracketed(toUtf8(side.getConn().defaultDatabase())) + "." + bracketed(place.schema) + ".";
    const std::string localServer = placeOf(local).server;
    if (place.server == localServer)
        return prefix;
    const std::string linked = linkedServer(local, place.server);
    if (linked.empty())
        throw HostError(
            kNotReady,
            fmt::format("the local database is on {}, which has no linked server for {}", localServer, place.server),
            fmt::format("Make a linked server (see the document \"On SQL Server\", \"5. Prefixes\"), or name the {0}'s "
                        "prefix with --{0}-prefix, such as OFFICESRV.{1}",
                        name, prefix));
    return bracketed(linked) + "." + prefix;
}

} // namespace

void proposePrefixes(Configuration& configuration, Databases& databases)
{
    const auto propose = [&](SideConfiguration& side, clsConn& conn, const char* name) {
        if (side.prefix.empty())
            side.prefix = prefixOf(databases.local(), conn, name);
        try {
            columnNames(databases.local(), toWide(side.prefix) + L"control");
        }
        catch (const com::Error& error) {
            throw HostError(kNotReady,
                            fmt::format("the local database does not reach {}control: {}", side.prefix,
                                        trimmed(toUtf8(error.description))),
                            fmt::format("Both databases need the control tables (see the document \"On SQL "
                                        "Server\", \"3. Control tables and procedures\"). If the {0} has them, "
                                        "name its prefix with --{0}-prefix; to another server it needs a linked "
                                        "server there.",
                                        name));
        }
    };
    propose(configuration.source, databases.source(), "source");
    propose(configuration.destination, databases.destination(), "destination");
    if (isSameName(configuration.source.prefix, configuration.destination.prefix))
        throw HostError(kUsage, fmt::format("both data sources lead to one database, {}", configuration.source.prefix),
                        "Give each its own default database, and name the office's with --source-dsn.");
    requireOwnPrefixes(configuration, databases);
}
