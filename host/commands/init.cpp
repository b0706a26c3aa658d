#include "Proposal.h"
#include "commands.h"
#include "commands/rows.h"
#include "passwords.h"

#include <filesystem>
#include <fmt/format.h>
#include <fstream>

using nlohmann::ordered_json;

namespace {

void refuseExisting(const std::string& path)
{
    if (std::error_code ignored; std::filesystem::exists(toWide(path), ignored))
        throw HostError(kUsage, path + " exists already; it is left as it is", "Name another file with -c.");
}

/// The log beside the configuration, with its full path: a task starts in a folder of the system.
std::string logBeside(const std::string& path)
{
    return toUtf8((std::filesystem::absolute(toWide(path)).parent_path() / L"quinrep-component.log").wstring());
}

/// The version of the local database, which an office's run must have.
std::string versionOf(clsConn& local)
{
    const ordered_json rows = jsonRows(local, L"select id from control where type = 'ReplicationVersion'");
    return rows.size() == 1 && rows[0]["id"].is_string() ? toUtf8(com::trim(toWide(rows[0]["id"].get<std::string>())))
                                                         : "";
}

Proposal proposal(Configuration configuration)
{
    if (isSameName(configuration.source.dsn, configuration.destination.dsn))
        throw HostError(kUsage, "both sides have the data source " + configuration.source.dsn,
                        "Name the office's and the laptop's with --source-dsn and --destination-dsn.");
    resolvePasswords(configuration);
    Databases databases(configuration);
    Proposal result = proposeConfiguration(configuration, databases);
    if (configuration.site == OFFICES)
        if (const std::string version = versionOf(databases.local()); !version.empty())
            result.configuration.programVersion = version;
    if (result.tables.empty())
        throw HostError(kNotReady, "there is no table that both sides have, alike and with unid and mod_date",
                        "Make the practice's tables in both databases, and grant quinmarkapp_user the rights on them "
                        "(see the document \"On SQL Server\", \"4. Rights\").");
    return result;
}

void write(const std::string& path, const std::string& text)
{
    // Another program may have made it meanwhile: it is not overwritten either.
    refuseExisting(path);
    std::ofstream file(toWide(path).c_str());
    if (!(file << text).flush())
        throw HostError(kUsage, path + " cannot be written",
                        "Name a file with -c, in a folder that exists and may be written to.");
}

ordered_json tablesOf(const Proposal& proposal)
{
    ordered_json tables = ordered_json::array();
    for (const ProposedTable& table : proposal.tables)
        tables.push_back({{"table", table.table.name},
                          {"method", methodName(table.table.method)},
                          {"reason", fmt::format("{}", fmt::join(table.reasons, "; "))}});
    return tables;
}

ordered_json leftOutOf(const Proposal& proposal)
{
    ordered_json tables = ordered_json::array();
    for (const ProposedTable& table : proposal.leftOut)
        tables.push_back({{"table", table.table.name}, {"reason", table.reasons.front()}});
    return tables;
}

} // namespace

Outcome initCommand(const InitOptions& options)
{
    refuseExisting(options.path);
    Configuration configuration = options.configuration;
    if (configuration.logFile.empty())
        configuration.logFile = logBeside(options.path);
    configuration.programVersion = "laptop";
    SideConfiguration& source = configuration.source;
    SideConfiguration& destination = configuration.destination;
    if (source.dsn.empty() != destination.dsn.empty())
        throw HostError(kUsage, "--source-dsn and --destination-dsn go together");
    ordered_json result = {
        {"file", options.path}, {"tables", ordered_json::array()}, {"left_out", ordered_json::array()}};
    if (source.dsn.empty()) {
        source.dsn = "QuinmarkOffice";
        destination.dsn = "QuinmarkLaptop";
        for (auto& [side, prefix] : {std::pair(&source, "Office.dbo."), std::pair(&destination, "Laptop.dbo.")})
            if (side->prefix.empty())
                side->prefix = prefix;
        write(options.path, configurationTemplate(configuration));
        return {result};
    }
    const Proposal proposed = proposal(configuration);
    write(options.path, configurationText(proposed));
    result["tables"] = tablesOf(proposed);
    result["left_out"] = leftOutOf(proposed);
    return {result};
}
